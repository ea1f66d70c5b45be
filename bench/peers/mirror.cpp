// SPDX-License-Identifier: MIT
#include "mirror.h"

#include <oktdatabase/oktdbcategory.h>
#include <oktdatabase/oktdbparameter.h>
#include <oktdatabase/oktdbpicture.h>
#include <oktdatabase/oktdbpool.h>

#include <algorithm>
#include <cstring>
#include <tuple>
#include <typeinfo>

namespace peers
{
namespace
{
Id idOf(OKTDbObjectId const &id)
{
    _GUID const guid = id.getGuid();
    Id made;
    std::memcpy(made.bytes.data(), &guid, sizeof guid);
    return made;
}

std::unique_ptr<Object> mirror(OKTDbParameter const &source)
{
    auto made = std::make_unique<Parameter>();
    made->name = source.UserName().ToUtf8();
    made->type = source.Type();
    made->value = source.Value().dblVal;
    made->listIndex = source.ListIndex();
    made->category = idOf(source.Category());
    made->owner = idOf(source.OwnerId());
    made->expression = source.Expression().ToUtf8();
    made->description = source.Description().ToUtf8();
    return made;
}

std::unique_ptr<Object> mirror(OKTDbCategory const &source)
{
    auto made = std::make_unique<Category>();
    made->name = source.CategoryName().ToUtf8();
    made->group = idOf(source.GroupCategory());
    IdArray ids;
    source.getAllParameters(ids);
    for (OKTDbObjectId const &id : ids)
        made->parameters.push_back(idOf(id));
    return made;
}

std::unique_ptr<Object> mirror(OKTDbPicture &source)
{
    auto made = std::make_unique<Picture>();
    CByteArray bytes;
    source.getPictureData(bytes);
    made->data.assign(bytes.GetData(), bytes.GetData() + bytes.GetSize());
    OKTGeXYZ places[3];
    source.getCameraData(places[0], places[1], places[2]);
    for (std::size_t i = 0; i < 3; ++i)
    {
        made->camera[3 * i] = places[i].X();
        made->camera[3 * i + 1] = places[i].Y();
        made->camera[3 * i + 2] = places[i].Z();
    }
    return made;
}

bool isEqual(Parameter const &left, Parameter const &right)
{
    auto const members = [](Parameter const &of) {
        return std::tie(of.name, of.type, of.value, of.listIndex, of.category, of.owner, of.expression, of.description);
    };
    return members(left) == members(right);
}

bool isEqual(Category const &left, Category const &right)
{
    return left.name == right.name && left.group == right.group && left.parameters == right.parameters;
}

bool isEqual(Picture const &left, Picture const &right) { return left.data == right.data && left.camera == right.camera; }

template <typename T> bool areEqualAs(Object const &left, Object const &right)
{
    return typeid(left) == typeid(T) && typeid(right) == typeid(T) &&
           isEqual(static_cast<T const &>(left), static_cast<T const &>(right));
}
} // namespace

Objects mirrorOf(OKTDbPool &pool)
{
    Objects objects;
    IdArray ids;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
    {
        OKTDbObject *object = nullptr;
        std::unique_ptr<Object> made;
        if (!pool.findObject(id, object))
            continue;
        if (auto const *const parameter = OKTDbParameter::cast(object))
            made = mirror(*parameter);
        else if (auto const *const category = OKTDbCategory::cast(object))
            made = mirror(*category);
        else if (auto *const picture = OKTDbPicture::cast(object))
            made = mirror(*picture);
        objects.emplace_hint(objects.end(), idOf(id), std::move(made));
    }
    return objects;
}

bool areEqual(Objects const &left, Objects const &right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](auto const &one, auto const &other) {
        Object const *const a = one.second.get();
        Object const *const b = other.second.get();
        return one.first == other.first && a != nullptr && b != nullptr &&
               (areEqualAs<Parameter>(*a, *b) || areEqualAs<Category>(*a, *b) || areEqualAs<Picture>(*a, *b));
    });
}
} // namespace peers
