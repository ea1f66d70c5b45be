// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobjectid.h>
#include <oktplatform/oktarrays.h>

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

/// A stream put together record by record, without the code under test. Operations append and give the builder itself.
class StreamBuilder
{
public:
    StreamBuilder &beginClass(std::string_view name, int version = 1);
    StreamBuilder &endClass() { return raw({7}); }
    StreamBuilder &beginMembers(int section);
    StreamBuilder &endMembers() { return raw({9}); }

    StreamBuilder &boolean(int value);
    StreamBuilder &shortInteger(int value);
    StreamBuilder &integer(std::int64_t value);
    StreamBuilder &real(double value);
    StreamBuilder &wideText(std::u16string_view text);
    StreamBuilder &ansiText(std::string_view text);
    StreamBuilder &byteArray(std::initializer_list<int> bytes);

    /// The frame of an id, given in registry form with braces. An empty text is the null id.
    StreamBuilder &id(std::string_view guid);
    StreamBuilder &point(double x, double y, double z);
    /// The frames of values. The first of them is any kind with whatever value records `value` holds.
    StreamBuilder &variant(int kind, StreamBuilder const &value);
    StreamBuilder &variantReal(double value) { return variant(5, StreamBuilder().real(value)); }
    StreamBuilder &variantInteger(std::int64_t value) { return variant(3, StreamBuilder().integer(value)); }
    StreamBuilder &variantText(std::u16string_view value) { return variant(8, StreamBuilder().wideText(value)); }
    /// The frame of OKTDbObject, which every stored class holds first.
    StreamBuilder &objectBase(std::string_view guid);

    StreamBuilder &raw(std::initializer_list<int> bytes);
    StreamBuilder &append(StreamBuilder const &other);

    int size() const { return static_cast<int>(m_bytes.size()); }
    CByteArray bytes() const;

private:
    StreamBuilder &littleEndian(std::uint64_t value, int count);

    std::vector<unsigned char> m_bytes;
};

/// The id of a text in registry form, without a pool.
OKTDbObjectId idOf(std::string_view guid);
/// The same as an id of that pool.
OKTDbObjectId idOf(std::string_view guid, OKTDbPool *pool);
/// The text in registry form, made here.
std::string textOf(OKTDbObjectId const &id);

/// Bytes from hexadecimal digits; white space is passed over.
CByteArray fromHex(std::string_view digits);
CByteArray bytesOf(std::initializer_list<int> values);
/// The first `count` bytes.
CByteArray cut(CByteArray const &bytes, int count);
/// `count` bytes from `first` on.
CByteArray stretch(CByteArray const &bytes, int first, int count);

/// What the header block of a pool image says. Sections above `sections` are left out, and those in `absent`.
struct HeaderFields
{
    struct Place
    {
        int position = -1;
        int size = -1;
    };
    struct Picture
    {
        std::string id;
        Place place;
    };

    std::string id = "{11111111-2222-3333-4444-555555555555}";
    std::string constructId;
    Place construct;
    std::string secondId; ///< the picture of an old file
    Place second;
    std::string indexId;
    Place index;
    std::u16string name;
    double factor = 1.0;
    std::string ppActionsId;
    std::string sketchId;
    std::vector<Picture> pictures;
    int pictureCount = -1; ///< -1: as many as there are
    std::string radialReinfId;
    int version = 6;
    int sections = 6;
    std::vector<int> absent;
    StreamBuilder behind; ///< what stands behind the last section, within the frame
};
StreamBuilder poolHeader(HeaderFields const &fields);
/// Length record, header block, objects block.
CByteArray poolImage(HeaderFields const &fields, StreamBuilder const &objects);

/// What the frame of a parameter says.
struct ParameterFields
{
    std::string id;
    std::u16string userName;
    int type = -1;
    StreamBuilder value = StreamBuilder().variantInteger(0);
    int listIndex = 0;
    std::string category;
    std::string owner;
    std::vector<std::string> params;
    int paramCount = -1; ///< -1: as many as there are
    std::u16string expression;
    bool hasDescription = true;
    std::u16string description;
};
StreamBuilder parameterFrame(ParameterFields const &fields);
/// A frame of OKTDbRelation, the shortest stored object with a class of its own.
StreamBuilder relationFrame(std::string_view guid);
StreamBuilder categoryFrame(std::string_view guid, std::string_view group, std::vector<std::string> const &params,
                            std::u16string_view name);
StreamBuilder groupCategoryFrame(std::string_view guid, std::vector<std::string> const &categories);
StreamBuilder paramRelationFrame(std::string_view guid, std::vector<std::string> const &params);
/// A picture with its text in these chunks and its camera at the origin. No chunk at all: an empty picture.
StreamBuilder pictureFrame(std::string_view guid, std::vector<std::string> const &chunks);
/// A frame of one of the client classes.
StreamBuilder clientFrame(std::string_view className, std::string_view guid, int number, std::u16string_view text);
