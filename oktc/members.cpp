// SPDX-License-Identifier: MIT
#include <oktc/handles.h>
#include <oktc/objects.h>
#include <oktc/texts.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <cstring>

// Texts, references and lists of pools and objects.

using namespace oktc;

namespace
{

// --- Texts -------------------------------------------------------------------------------------------------------------------

CString getText(UsedPool &used, std::int32_t member)
{
    OKTDbObject *const object = used.object();
    if (member == OKTC_NAME && object == nullptr)
        return used.pool().poolName();
    if (member == OKTC_NAME)
        if (OKTDbCategory const *const category = OKTDbCategory::cast(object))
            return category->CategoryName();
    if (member < OKTC_NAME || member > OKTC_VALUE)
        refuse(OKTC_BAD_ARGUMENT, "there is no text of this number");
    OKTDbParameter const &parameter = as<OKTDbParameter>(object);
    switch (member)
    {
    case OKTC_NAME: return parameter.UserName();
    case OKTC_EXPRESSION: return parameter.Expression();
    case OKTC_DESCRIPTION: return parameter.Description();
    default: break;
    }
    tagVARIANT const value = parameter.Value();
    if (value.vt != VT_BSTR)
        refuse(OKTC_WRONG_KIND, "the value is no text");
    return CString(value.bstrVal, static_cast<int>(SysStringLen(value.bstrVal)));
}

void setText(UsedPool &used, std::int32_t member, CString const &text)
{
    OKTDbObject *const object = used.object();
    constexpr int kLongest = 65535; // a file holds the rest of a longer one alone (quirk 28)
    if (member < OKTC_NAME || member > OKTC_VALUE)
        refuse(OKTC_BAD_ARGUMENT, "there is no text of this number");
    if (text.GetLength() > kLongest)
        refuse(OKTC_TOO_LARGE, "a text has at most 65535 units of UTF-16");
    if (member == OKTC_NAME && object == nullptr)
        used.pool().setPoolName(text);
    else if (OKTDbCategory *const category = member == OKTC_NAME ? OKTDbCategory::cast(object) : nullptr)
        category->setCategoryName(text);
    else
    {
        OKTDbParameter &parameter = as<OKTDbParameter>(object);
        switch (member)
        {
        case OKTC_NAME: parameter.setUserName(text, false); break;
        case OKTC_EXPRESSION: parameter.setExpression(text); break;
        case OKTC_DESCRIPTION: parameter.setDescription(text); break;
        default: parameter.setValue(text, parameter.ListIndex()); break;
        }
    }
    checkReports();
}

// --- References --------------------------------------------------------------------------------------------------------------

OKTDbObjectId getReference(UsedPool &used, std::int32_t member)
{
    OKTDbPool const &pool = used.pool();
    OKTDbObject *const object = used.object();
    switch (member)
    {
    case OKTC_ID: return object == nullptr ? pool.objectId() : object->objectId();
    case OKTC_OWNER: return as<OKTDbParameter>(object).OwnerId();
    case OKTC_CATEGORY: return as<OKTDbParameter>(object).Category();
    case OKTC_GROUP: return as<OKTDbCategory>(object).GroupCategory();
    case OKTC_CONSTRUCT: noObject(object); return pool.constructId();
    case OKTC_INDEX: noObject(object); return pool.indexId();
    case OKTC_SKETCH: noObject(object); return pool.sketchId();
    case OKTC_ACTIONS: noObject(object); return pool.ppActionsId();
    case OKTC_RADIAL: noObject(object); return pool.RadialReinfId();
    default: refuse(OKTC_BAD_ARGUMENT, "there is no reference of this number");
    }
}

void setReference(UsedPool &used, std::int32_t member, OKTDbObjectId const &id)
{
    OKTDbPool &pool = used.pool();
    OKTDbObject *const object = used.object();
    switch (member)
    {
    case OKTC_ID:
        if (object != nullptr)
            refuse(OKTC_BAD_ARGUMENT, "the id of an object cannot be set");
        pool.setObjectId(id);
        break;
    case OKTC_OWNER: as<OKTDbParameter>(object).setOwnerId(id); break;
    case OKTC_CATEGORY: as<OKTDbParameter>(object).setCategory(id); break;
    case OKTC_GROUP: as<OKTDbCategory>(object).setGroupCategory(id); break;
    case OKTC_CONSTRUCT:
        noObject(object);
        pool.setConstructId(id);
        break;
    case OKTC_INDEX:
        noObject(object);
        pool.setIndexId(id);
        break;
    case OKTC_SKETCH:
        noObject(object);
        pool.setSketchId(id);
        break;
    case OKTC_ACTIONS:
        noObject(object);
        pool.setPPActionsId(id);
        break;
    case OKTC_RADIAL:
        noObject(object);
        pool.setRadialReinfId(id);
        break;
    default: refuse(OKTC_BAD_ARGUMENT, "there is no reference of this number");
    }
}

// --- Lists -------------------------------------------------------------------------------------------------------------------

IdArray getList(UsedPool &used, std::int32_t member)
{
    OKTDbObject *const object = used.object();
    IdArray ids;
    switch (member)
    {
    case OKTC_PARAMETERS:
        if (OKTDbParamRelation const *const relation = OKTDbParamRelation::cast(object))
            relation->getAllParameters(ids);
        else
            as<OKTDbCategory>(object).getAllParameters(ids);
        break;
    case OKTC_CATEGORIES: as<OKTDbGroupCategory>(object).getAllCategories(ids); break;
    case OKTC_USES: ids = as<OKTDbParameter>(object).TabParams(); break;
    case OKTC_ELEMENTS: as<OKTDbGroupParameter>(object).getAllElements(ids); break;
    case OKTC_PICTURES:
        noObject(object);
        ids = used.pool().picturesId();
        break;
    default: refuse(OKTC_BAD_ARGUMENT, "there is no list of this number");
    }
    checkReports();
    return ids;
}

void append(UsedPool &used, std::int32_t member, OKTDbObjectId const &id)
{
    OKTDbObject *const object = used.object();
    IdArray ids = getList(used, member); // refuses what has no such list
    if (member != OKTC_USES && ids.contains(id))
        return;
    ids.append(id);
    switch (member)
    {
    case OKTC_PARAMETERS:
        if (OKTDbParamRelation *const relation = OKTDbParamRelation::cast(object))
            relation->appendParameter(id);
        else
            as<OKTDbCategory>(object).appendParameter(id);
        break;
    case OKTC_CATEGORIES: as<OKTDbGroupCategory>(object).appendCategory(id); break;
    case OKTC_USES: as<OKTDbParameter>(object).setTabParams(ids); break;
    case OKTC_ELEMENTS:
        if (OKTDbParameter::cast(OKTDbObjectId(id)) == nullptr)
            refuse(OKTC_WRONG_CLASS, "an element is a parameter of the pool");
        as<OKTDbGroupParameter>(object).addElement(id);
        break;
    default: used.pool().setPicturesIds(ids); break;
    }
    checkReports();
}

void remove(UsedPool &used, std::int32_t member, OKTDbObjectId const &id)
{
    OKTDbObject *const object = used.object();
    IdArray ids = getList(used, member);
    if (!ids.remove(id))
        refuse(OKTC_NOT_FOUND, "the list does not have this id");
    switch (member)
    {
    case OKTC_PARAMETERS:
        if (OKTDbParamRelation *const relation = OKTDbParamRelation::cast(object))
            relation->removeParameter(id);
        else
            as<OKTDbCategory>(object).removeParameter(id);
        break;
    case OKTC_CATEGORIES: as<OKTDbGroupCategory>(object).removeCagegory(id); break;
    case OKTC_USES: as<OKTDbParameter>(object).setTabParams(ids); break;
    case OKTC_ELEMENTS: as<OKTDbGroupParameter>(object).removeElement(id); break;
    default: used.pool().setPicturesIds(ids); break;
    }
    checkReports();
}

} // namespace

OktcStatus OKTC_CALL oktcText(OktcHandle handle, int32_t member, char **text, uint64_t *length)
{
    return call(Results(text, length), [&] {
        UsedPool used(handle);
        oktc::give(plain(getText(used, member)), text, length);
    });
}

OktcStatus OKTC_CALL oktcEscapedText(OktcHandle handle, int32_t member, char **text, uint64_t *length)
{
    return call(Results(text, length), [&] {
        UsedPool used(handle);
        oktc::give(escaped(getText(used, member)), text, length);
    });
}

OktcStatus OKTC_CALL oktcSetText(OktcHandle handle, int32_t member, char const *text, int64_t length)
{
    return call([&] {
        UsedPool used(handle);
        setText(used, member, textOf(text, length));
    });
}

OktcStatus OKTC_CALL oktcSetEscapedText(OktcHandle handle, int32_t member, char const *text, int64_t length)
{
    return call([&] {
        UsedPool used(handle);
        setText(used, member, unescaped(utf8(text, length)));
    });
}

OktcStatus OKTC_CALL oktcReference(OktcHandle handle, int32_t member, uint8_t id[16])
{
    return call(Results::ofId(id), [&] {
        UsedPool used(handle);
        oktc::give(idOf(getReference(used, member)), id);
    });
}

OktcStatus OKTC_CALL oktcSetReference(OktcHandle handle, int32_t member, uint8_t const *id)
{
    return call([&] {
        UsedPool used(handle);
        setReference(used, member, idIn(&used.pool(), id));
    });
}

OktcStatus OKTC_CALL oktcList(OktcHandle handle, int32_t member, uint8_t **ids, uint64_t *count)
{
    return call(Results(ids, count), [&] {
        UsedPool used(handle);
        IdArray const list = getList(used, member);
        std::string bytes;
        for (OKTDbObjectId const &entry : list)
        {
            Id const id = idOf(entry);
            bytes.append(id.begin(), id.end());
        }
        oktc::give(bytes.data(), bytes.size(), ids);
        *count = static_cast<std::uint64_t>(list.getSize());
    });
}

OktcStatus OKTC_CALL oktcListAppend(OktcHandle handle, int32_t member, uint8_t const id[16])
{
    return call([&] {
        UsedPool used(handle);
        needed(id, "the id");
        append(used, member, idIn(&used.pool(), id));
    });
}

OktcStatus OKTC_CALL oktcListRemove(OktcHandle handle, int32_t member, uint8_t const id[16])
{
    return call([&] {
        UsedPool used(handle);
        needed(id, "the id");
        remove(used, member, idIn(&used.pool(), id));
    });
}
