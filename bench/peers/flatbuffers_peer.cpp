// SPDX-License-Identifier: MIT
#include "halves.h"
#include "model.h"

#include <template_generated.h>

#include <algorithm>
#include <cstring>
#include <typeinfo>
#include <utility>

// By the object API: the library makes structures of its own from an image and an image from them.

namespace peers
{
namespace
{
flat::Id idOf(Id const &id) { return {high(id), low(id)}; }

std::unique_ptr<flat::Id> pointerTo(Id const &id) { return std::make_unique<flat::Id>(high(id), low(id)); }

Id idOf(flat::Id const &id) { return peers::idOf(id.high(), id.low()); }

Id idOf(std::unique_ptr<flat::Id> const &id) { return id == nullptr ? Id() : idOf(*id); }

flat::ParameterT made(Parameter const &parameter)
{
    flat::ParameterT made;
    made.name = parameter.name;
    made.type = parameter.type;
    made.value = parameter.value;
    made.list_index = parameter.listIndex;
    made.category = pointerTo(parameter.category);
    made.owner = pointerTo(parameter.owner);
    made.expression = parameter.expression;
    made.description = parameter.description;
    return made;
}

flat::CategoryT made(Category const &category)
{
    flat::CategoryT made;
    made.name = category.name;
    made.group = pointerTo(category.group);
    made.parameters.reserve(category.parameters.size());
    for (Id const &id : category.parameters)
        made.parameters.push_back(idOf(id));
    return made;
}

flat::PictureT made(Picture const &picture)
{
    flat::PictureT made;
    made.data = picture.data;
    made.camera.assign(picture.camera.begin(), picture.camera.end());
    return made;
}

std::unique_ptr<Object> taken(flat::ParameterT &source)
{
    auto parameter = std::make_unique<Parameter>();
    parameter->name = std::move(source.name);
    parameter->type = source.type;
    parameter->value = source.value;
    parameter->listIndex = source.list_index;
    parameter->category = idOf(source.category);
    parameter->owner = idOf(source.owner);
    parameter->expression = std::move(source.expression);
    parameter->description = std::move(source.description);
    return parameter;
}

std::unique_ptr<Object> taken(flat::CategoryT &source)
{
    auto category = std::make_unique<Category>();
    category->name = std::move(source.name);
    category->group = idOf(source.group);
    category->parameters.reserve(source.parameters.size());
    for (flat::Id const &id : source.parameters)
        category->parameters.push_back(idOf(id));
    return category;
}

std::unique_ptr<Object> taken(flat::PictureT &source)
{
    auto picture = std::make_unique<Picture>();
    picture->data = std::move(source.data);
    std::copy_n(source.camera.begin(), std::min(source.camera.size(), picture->camera.size()), picture->camera.begin());
    return picture;
}

std::string save(Objects const &objects)
{
    flat::TemplateT all;
    all.entries.reserve(objects.size());
    for (auto const &[id, object] : objects)
    {
        auto entry = std::make_unique<flat::EntryT>();
        entry->id = pointerTo(id);
        if (typeid(*object) == typeid(Parameter))
            entry->object.Set(made(static_cast<Parameter const &>(*object)));
        else if (typeid(*object) == typeid(Category))
            entry->object.Set(made(static_cast<Category const &>(*object)));
        else
            entry->object.Set(made(static_cast<Picture const &>(*object)));
        all.entries.push_back(std::move(entry));
    }
    flatbuffers::FlatBufferBuilder builder;
    builder.Finish(flat::Template::Pack(builder, &all));
    return {reinterpret_cast<char const *>(builder.GetBufferPointer()), builder.GetSize()};
}

Objects load(std::string const &image)
{
    std::unique_ptr<flat::TemplateT> const all = flat::UnPackTemplate(image.data());
    Objects objects;
    for (auto const &entry : all->entries)
    {
        std::unique_ptr<Object> object;
        if (flat::ParameterT *const parameter = entry->object.AsParameter())
            object = taken(*parameter);
        else if (flat::CategoryT *const category = entry->object.AsCategory())
            object = taken(*category);
        else if (flat::PictureT *const picture = entry->object.AsPicture())
            object = taken(*picture);
        objects.emplace_hint(objects.end(), idOf(entry->id), std::move(object));
    }
    return objects;
}
} // namespace

Peer const kFlatBuffers = {"FlatBuffers", save, load};
} // namespace peers
