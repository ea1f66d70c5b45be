// SPDX-License-Identifier: MIT
#include "support/pooljson.h"

#include "support/clientclasses.h"
#include "support/sha256.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <bit>
#include <cstdio>

std::string bitsOf(double value)
{
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llX", static_cast<unsigned long long>(std::bit_cast<std::uint64_t>(value)));
    return digits;
}

double doubleOfBits(std::string const &digits)
{
    return std::bit_cast<double>(static_cast<std::uint64_t>(std::stoull(digits, nullptr, 16)));
}

Json describe(CString const &text)
{
    OktTextView const units = text.View();
    bool const printable = std::all_of(units.begin(), units.end(), [](WCHAR unit) { return unit >= 0x20 && unit < 0x7F; });
    if (printable)
        return std::string(units.begin(), units.end());
    Json list = Json::array();
    for (WCHAR const unit : units)
        list.push_back(static_cast<unsigned int>(unit));
    return list;
}

Json describe(IdArray const &ids)
{
    Json list = Json::array();
    for (OKTDbObjectId const &id : ids)
        list.push_back(textOf(id));
    return list;
}

Json describe(tagVARIANT const &value)
{
    Json json = {{"vt", static_cast<int>(value.vt)}};
    switch (value.vt)
    {
    case VT_I2: json["data"] = static_cast<int>(value.iVal); break;
    case VT_I4:
    case VT_BOOL: json["data"] = static_cast<int>(value.lVal); break;
    case VT_R4:
    case VT_R8: json["data"] = bitsOf(value.dblVal); break;
    case VT_BSTR: json["data"] = describe(CString(value.bstrVal, static_cast<int>(SysStringLen(value.bstrVal)))); break;
    default: break;
    }
    return json;
}

Json describeBytes(CByteArray const &bytes)
{
    return {{"size", bytes.GetSize()}, {"sha256", sha256Hex(bytes.GetData(), static_cast<std::size_t>(bytes.GetSize()))}};
}

namespace
{
void add(OKTDbParameter const &parameter, Json &json)
{
    json["userName"] = describe(parameter.UserName());
    json["type"] = parameter.Type();
    json["value"] = describe(parameter.Value());
    json["listIndex"] = parameter.ListIndex();
    json["category"] = textOf(parameter.Category());
    json["owner"] = textOf(parameter.OwnerId());
    json["params"] = describe(parameter.TabParams());
    json["expression"] = describe(parameter.Expression());
    json["description"] = describe(parameter.Description());
}

void add(OKTDbPicture &picture, Json &json)
{
    CByteArray bytes;
    picture.getPictureData(bytes);
    json.update(describeBytes(bytes));
    OKTGeXYZ points[3];
    picture.getCameraData(points[0], points[1], points[2]);
    Json camera = Json::array();
    for (OKTGeXYZ const &point : points)
        for (double const coordinate : {point.X(), point.Y(), point.Z()})
            camera.push_back(bitsOf(coordinate));
    json["camera"] = camera;
}
} // namespace

Json describe(OKTDbObject *object)
{
    Json json = {{"class", object->isA()->ClassName().ToUtf8()}, {"id", textOf(object->objectId())}};
    if (auto const *const parameter = OKTDbParameter::cast(object))
        add(*parameter, json);
    if (auto *const picture = OKTDbPicture::cast(object))
        add(*picture, json);
    if (auto const *const category = OKTDbCategory::cast(object))
    {
        json["groupCategory"] = textOf(category->GroupCategory());
        json["categoryName"] = describe(category->CategoryName());
        IdArray ids;
        category->getAllParameters(ids);
        json["params"] = describe(ids);
    }
    if (auto const *const group = OKTDbGroupCategory::cast(object))
    {
        IdArray ids;
        group->getAllCategories(ids);
        json["categories"] = describe(ids);
    }
    if (auto const *const relation = OKTDbParamRelation::cast(object))
    {
        IdArray ids;
        relation->getAllParameters(ids);
        json["params"] = describe(ids);
    }
    if (auto const *const construct = ClientConstruct::cast(object))
    {
        json["number"] = construct->m_number;
        json["text"] = describe(construct->m_text);
    }
    if (auto const *const index = ClientIndexData::cast(object))
    {
        json["number"] = index->m_number;
        json["text"] = describe(index->m_text);
    }
    return json;
}

Json describeHeader(OKTDbPool const &pool)
{
    return {{"objectId", textOf(pool.objectId())},           {"poolName", describe(pool.poolName())},
            {"metricsFactor", bitsOf(pool.metricsFactor())}, {"constructId", textOf(pool.constructId())},
            {"sketchId", textOf(pool.sketchId())},           {"indexId", textOf(pool.indexId())},
            {"ppActionsId", textOf(pool.ppActionsId())},     {"radialReinfId", textOf(pool.RadialReinfId())},
            {"pictures", describe(pool.picturesId())},       {"objectCount", pool.objectCount()}};
}

Json describeObjects(OKTDbPool &pool)
{
    Json list = Json::array();
    IdArray ids;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
    {
        OKTDbObject *object = nullptr;
        pool.findObject(id, object);
        list.push_back(object == nullptr ? Json() : describe(object));
    }
    return list;
}

Json describe(InfoMap const &places)
{
    Json json = Json::object();
    for (auto const &[id, place] : places)
        json[textOf(id)] = {{"position", place.nObjectPosition}, {"size", place.nObjectSize}};
    return json;
}
