// SPDX-License-Identifier: MIT
#include "halves.h"
#include "model.h"

#include <google/protobuf/arena.h>
#include <template.pb.h>

#include <algorithm>
#include <cstring>
#include <typeinfo>
#include <utility>

namespace peers
{
namespace
{
void put(Parameter const &parameter, wire::Parameter &message)
{
    message.set_name(parameter.name);
    message.set_type(parameter.type);
    message.set_value(parameter.value);
    message.set_list_index(parameter.listIndex);
    message.set_category_high(high(parameter.category));
    message.set_category_low(low(parameter.category));
    message.set_owner_high(high(parameter.owner));
    message.set_owner_low(low(parameter.owner));
    message.set_expression(parameter.expression);
    message.set_description(parameter.description);
}

void put(Category const &category, wire::Category &message)
{
    message.set_name(category.name);
    message.set_group_high(high(category.group));
    message.set_group_low(low(category.group));
    message.mutable_parameters()->Reserve(static_cast<int>(2 * category.parameters.size()));
    for (Id const &id : category.parameters)
    {
        message.add_parameters(high(id));
        message.add_parameters(low(id));
    }
}

void put(Picture const &picture, wire::Picture &message)
{
    message.set_data(picture.data.data(), picture.data.size());
    message.mutable_camera()->Add(picture.camera.begin(), picture.camera.end());
}

// The strings of a message that is parsed on an arena cannot be moved out of it: they are copied.
std::unique_ptr<Object> take(wire::Parameter const &message)
{
    auto parameter = std::make_unique<Parameter>();
    parameter->name = message.name();
    parameter->type = message.type();
    parameter->value = message.value();
    parameter->listIndex = message.list_index();
    parameter->category = idOf(message.category_high(), message.category_low());
    parameter->owner = idOf(message.owner_high(), message.owner_low());
    parameter->expression = message.expression();
    parameter->description = message.description();
    return parameter;
}

std::unique_ptr<Object> take(wire::Category const &message)
{
    auto category = std::make_unique<Category>();
    category->name = message.name();
    category->group = idOf(message.group_high(), message.group_low());
    category->parameters.reserve(static_cast<std::size_t>(message.parameters_size()) / 2);
    for (int i = 0; i + 1 < message.parameters_size(); i += 2)
        category->parameters.push_back(idOf(message.parameters(i), message.parameters(i + 1)));
    return category;
}

std::unique_ptr<Object> take(wire::Picture const &message)
{
    auto picture = std::make_unique<Picture>();
    picture->data.assign(message.data().begin(), message.data().end());
    std::copy_n(message.camera().begin(), std::min<std::size_t>(message.camera().size(), picture->camera.size()),
                picture->camera.begin());
    return picture;
}

/// The object as one of exactly that class, or null.
template <typename T> T const *as(Object const &object)
{
    return typeid(object) == typeid(T) ? static_cast<T const *>(&object) : nullptr;
}

std::string save(Objects const &objects)
{
    google::protobuf::Arena arena;
    auto &all = *google::protobuf::Arena::CreateMessage<wire::Template>(&arena);
    all.mutable_entries()->Reserve(static_cast<int>(objects.size()));
    for (auto const &[id, object] : objects)
    {
        wire::Entry &entry = *all.add_entries();
        entry.set_id_high(high(id));
        entry.set_id_low(low(id));
        if (auto const *const parameter = as<Parameter>(*object))
            put(*parameter, *entry.mutable_parameter());
        else if (auto const *const category = as<Category>(*object))
            put(*category, *entry.mutable_category());
        else if (auto const *const picture = as<Picture>(*object))
            put(*picture, *entry.mutable_picture());
    }
    return all.SerializeAsString();
}

Objects load(std::string const &image)
{
    google::protobuf::Arena arena;
    auto &all = *google::protobuf::Arena::CreateMessage<wire::Template>(&arena);
    Objects objects;
    if (!all.ParseFromString(image))
        return objects;
    for (wire::Entry const &entry : all.entries())
    {
        std::unique_ptr<Object> object;
        if (entry.has_parameter())
            object = take(entry.parameter());
        else if (entry.has_category())
            object = take(entry.category());
        else if (entry.has_picture())
            object = take(entry.picture());
        objects.emplace_hint(objects.end(), idOf(entry.id_high(), entry.id_low()), std::move(object));
    }
    return objects;
}
} // namespace

Peer const kProtobuf = {"Protocol Buffers", save, load};
} // namespace peers
