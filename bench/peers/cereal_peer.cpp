// SPDX-License-Identifier: MIT
#include "memorystream.h"
#include "model.h"

#include <cereal/archives/binary.hpp>
#include <cereal/types/array.hpp>
#include <cereal/types/map.hpp>
#include <cereal/types/memory.hpp>
#include <cereal/types/polymorphic.hpp>
#include <cereal/types/string.hpp>
#include <cereal/types/vector.hpp>

#include <fstream>
#include <istream>
#include <sstream>
#include <utility>

namespace peers
{
template <typename A> void serialize(A &archive, Id &id) { archive(id.bytes); }

template <typename A> void serialize(A &archive, Parameter &parameter)
{
    archive(parameter.name, parameter.type, parameter.value, parameter.listIndex, parameter.category, parameter.owner,
            parameter.expression, parameter.description);
}

template <typename A> void serialize(A &archive, Category &category)
{
    archive(category.name, category.group, category.parameters);
}

template <typename A> void serialize(A &archive, Picture &picture) { archive(picture.data, picture.camera); }

namespace
{
std::string save(Objects const &objects)
{
    std::ostringstream stream(std::ios::binary);
    {
        cereal::BinaryOutputArchive archive(stream);
        archive(objects);
    }
    return std::move(stream).str();
}

Objects load(std::string const &image)
{
    MemoryReader reader(image);
    std::istream stream(&reader);
    cereal::BinaryInputArchive archive(stream);
    Objects objects;
    archive(objects);
    return objects;
}

Objects loadFile(std::string const &path)
{
    std::ifstream stream(path, std::ios::binary);
    cereal::BinaryInputArchive archive(stream);
    Objects objects;
    archive(objects);
    return objects;
}
} // namespace

Peer const kCereal = {"cereal", save, load, loadFile};
} // namespace peers

CEREAL_REGISTER_TYPE(peers::Parameter)
CEREAL_REGISTER_TYPE(peers::Category)
CEREAL_REGISTER_TYPE(peers::Picture)
CEREAL_REGISTER_POLYMORPHIC_RELATION(peers::Object, peers::Parameter)
CEREAL_REGISTER_POLYMORPHIC_RELATION(peers::Object, peers::Category)
CEREAL_REGISTER_POLYMORPHIC_RELATION(peers::Object, peers::Picture)
