// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

// The template as a program without this library would hold it: plain structures, texts in UTF-8, a map that owns its objects.
namespace peers
{
struct Id
{
    std::array<std::uint8_t, 16> bytes = {};

    auto operator<=>(Id const &) const = default;
};

struct Object
{
    Object() = default;
    Object(Object const &) = delete;
    Object &operator=(Object const &) = delete;
    virtual ~Object() = 0;
};

inline Object::~Object() = default;

struct Parameter final : Object
{
    std::string name;
    std::int32_t type = 0;
    double value = 0.0;
    std::int32_t listIndex = 0;
    Id category;
    Id owner;
    std::string expression;
    std::string description;
};

struct Category final : Object
{
    std::string name;
    Id group;
    std::vector<Id> parameters;
};

struct Picture final : Object
{
    std::vector<std::uint8_t> data;
    std::array<double, 9> camera = {}; // position, target, up
};

using Objects = std::map<Id, std::unique_ptr<Object>>;

/// A serialiser to compare with: a buffer in memory from the map, and a map from a buffer.
struct Peer
{
    char const *name;
    std::string (*save)(Objects const &objects);
    Objects (*load)(std::string const &image);
    /// From a file, where the library can do this without an image of it in memory; else null.
    Objects (*loadFile)(std::string const &path) = nullptr;
};

extern Peer const kCereal;
extern Peer const kBoost;
extern Peer const kProtobuf;
extern Peer const kFlatBuffers;
extern Peer const kCapnProto;
} // namespace peers
