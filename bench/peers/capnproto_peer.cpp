// SPDX-License-Identifier: MIT
#include "halves.h"
#include "model.h"

#include <capnp/message.h>
#include <capnp/serialize.h>
#include <template.capnp.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <typeinfo>
#include <utility>

namespace peers
{
namespace
{
void put(Id const &id, capn::Id::Builder target)
{
    target.setHigh(high(id));
    target.setLow(low(id));
}

Id idOf(capn::Id::Reader id) { return peers::idOf(id.getHigh(), id.getLow()); }

void put(Parameter const &parameter, capn::Parameter::Builder target)
{
    target.setName(parameter.name);
    target.setType(parameter.type);
    target.setValue(parameter.value);
    target.setListIndex(parameter.listIndex);
    put(parameter.category, target.initCategory());
    put(parameter.owner, target.initOwner());
    target.setExpression(parameter.expression);
    target.setDescription(parameter.description);
}

void put(Category const &category, capn::Category::Builder target)
{
    target.setName(category.name);
    put(category.group, target.initGroup());
    auto list = target.initParameters(static_cast<unsigned int>(category.parameters.size()));
    for (unsigned int i = 0; i < list.size(); ++i)
        put(category.parameters[i], list[i]);
}

void put(Picture const &picture, capn::Picture::Builder target)
{
    target.setData(kj::arrayPtr(picture.data.data(), picture.data.size()));
    target.setCamera(kj::arrayPtr(picture.camera.data(), picture.camera.size()));
}

std::string textOf(capnp::Text::Reader text) { return {text.begin(), text.size()}; }

std::unique_ptr<Object> taken(capn::Parameter::Reader source)
{
    auto parameter = std::make_unique<Parameter>();
    parameter->name = textOf(source.getName());
    parameter->type = source.getType();
    parameter->value = source.getValue();
    parameter->listIndex = source.getListIndex();
    parameter->category = idOf(source.getCategory());
    parameter->owner = idOf(source.getOwner());
    parameter->expression = textOf(source.getExpression());
    parameter->description = textOf(source.getDescription());
    return parameter;
}

std::unique_ptr<Object> taken(capn::Category::Reader source)
{
    auto category = std::make_unique<Category>();
    category->name = textOf(source.getName());
    category->group = idOf(source.getGroup());
    category->parameters.reserve(source.getParameters().size());
    for (capn::Id::Reader const id : source.getParameters())
        category->parameters.push_back(idOf(id));
    return category;
}

std::unique_ptr<Object> taken(capn::Picture::Reader source)
{
    auto picture = std::make_unique<Picture>();
    picture->data.assign(source.getData().begin(), source.getData().end());
    auto const camera = source.getCamera();
    for (unsigned int i = 0; i < std::min<std::size_t>(camera.size(), picture->camera.size()); ++i)
        picture->camera[i] = camera[i];
    return picture;
}

std::string save(Objects const &objects)
{
    capnp::MallocMessageBuilder message;
    auto entries = message.initRoot<capn::Template>().initEntries(static_cast<unsigned int>(objects.size()));
    unsigned int next = 0;
    for (auto const &[id, object] : objects)
    {
        capn::Entry::Builder entry = entries[next++];
        put(id, entry.initId());
        if (typeid(*object) == typeid(Parameter))
            put(static_cast<Parameter const &>(*object), entry.initParameter());
        else if (typeid(*object) == typeid(Category))
            put(static_cast<Category const &>(*object), entry.initCategory());
        else
            put(static_cast<Picture const &>(*object), entry.initPicture());
    }
    auto const words = capnp::messageToFlatArray(message);
    auto const bytes = words.asBytes();
    return {reinterpret_cast<char const *>(bytes.begin()), bytes.size()};
}

Objects load(std::string const &image)
{
    // A string of this size stands in memory of the heap, which is aligned as words have to be.
    capnp::ReaderOptions options;
    options.traversalLimitInWords = std::numeric_limits<std::uint64_t>::max();
    capnp::FlatArrayMessageReader message(
        kj::arrayPtr(reinterpret_cast<capnp::word const *>(image.data()), image.size() / sizeof(capnp::word)), options);
    Objects objects;
    for (capn::Entry::Reader const entry : message.getRoot<capn::Template>().getEntries())
    {
        std::unique_ptr<Object> object;
        if (entry.isParameter())
            object = taken(entry.getParameter());
        else if (entry.isCategory())
            object = taken(entry.getCategory());
        else if (entry.isPicture())
            object = taken(entry.getPicture());
        objects.emplace_hint(objects.end(), idOf(entry.getId()), std::move(object));
    }
    return objects;
}
} // namespace

Peer const kCapnProto = {"Cap'n Proto", save, load};
} // namespace peers
