// SPDX-License-Identifier: MIT
#include "memorystream.h"
#include "model.h"

#include <boost/archive/binary_iarchive.hpp>
#include <boost/archive/binary_oarchive.hpp>
#include <boost/serialization/array.hpp>
#include <boost/serialization/assume_abstract.hpp>
#include <boost/serialization/base_object.hpp>
#include <boost/serialization/export.hpp>
#include <boost/serialization/is_bitwise_serializable.hpp>
#include <boost/serialization/map.hpp>
#include <boost/serialization/string.hpp>
#include <boost/serialization/tracking.hpp>
#include <boost/serialization/unique_ptr.hpp>
#include <boost/serialization/vector.hpp>

#include <sstream>
#include <utility>

// No object is pointed to twice, so none is tracked; ids are plain bytes, so a list of them goes in one piece.
BOOST_IS_BITWISE_SERIALIZABLE(peers::Id)
BOOST_CLASS_IMPLEMENTATION(peers::Id, boost::serialization::primitive_type)
BOOST_SERIALIZATION_ASSUME_ABSTRACT(peers::Object)
BOOST_CLASS_TRACKING(peers::Object, boost::serialization::track_never)
BOOST_CLASS_TRACKING(peers::Parameter, boost::serialization::track_never)
BOOST_CLASS_TRACKING(peers::Category, boost::serialization::track_never)
BOOST_CLASS_TRACKING(peers::Picture, boost::serialization::track_never)
BOOST_CLASS_TRACKING(peers::Objects, boost::serialization::track_never)

namespace peers
{
template <typename A> void serialize(A &, Object &, unsigned int) {}

template <typename A> void serialize(A &archive, Parameter &parameter, unsigned int)
{
    archive &parameter.name &parameter.type &parameter.value &parameter.listIndex &parameter.category &parameter
        .owner &parameter.expression &parameter.description;
}

template <typename A> void serialize(A &archive, Category &category, unsigned int)
{
    archive &category.name &category.group &category.parameters;
}

template <typename A> void serialize(A &archive, Picture &picture, unsigned int) { archive &picture.data &picture.camera; }

namespace
{
// What base_object() would do in each class, which has nothing of its base to store.
[[maybe_unused]] bool const g_related = [] {
    boost::serialization::void_cast_register<Parameter, Object>();
    boost::serialization::void_cast_register<Category, Object>();
    boost::serialization::void_cast_register<Picture, Object>();
    return true;
}();

std::string save(Objects const &objects)
{
    std::stringbuf buffer(std::ios::out | std::ios::binary);
    {
        boost::archive::binary_oarchive archive(buffer, boost::archive::no_header | boost::archive::no_codecvt);
        archive << objects;
    }
    return std::move(buffer).str();
}

Objects load(std::string const &image)
{
    MemoryReader reader(image);
    boost::archive::binary_iarchive archive(reader, boost::archive::no_header | boost::archive::no_codecvt);
    Objects objects;
    archive >> objects;
    return objects;
}
} // namespace

Peer const kBoost = {"Boost.Serialization", save, load};
} // namespace peers

BOOST_CLASS_EXPORT(peers::Parameter)
BOOST_CLASS_EXPORT(peers::Category)
BOOST_CLASS_EXPORT(peers::Picture)
