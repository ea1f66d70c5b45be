// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/recordtype.h>
#include <okttext/okttextfault.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The records of a stream as a tree, found by the bytes alone, and the way back. Not installed.
/// The grammar is that of RecordWalk, which finds them; nothing but the nesting is insisted on.
namespace okttext
{

using Bytes = std::string_view;

/// Frames and sections that stand deeper than this in each other are kept as they are, not looked into.
inline constexpr std::size_t kDeepest = 64;

/// What a string record can hold, in units or bytes.
inline constexpr std::size_t kLongestText = 65535;

struct Record
{
    /// FrameBegin of a frame, SectionBegin of a section, with what they hold. Nothing: a stretch that is not looked into.
    std::optional<okt::RecordType> type;
    std::size_t begin = 0; ///< of its type byte
    std::size_t end = 0;
    Bytes payload;           ///< of a value: its number or text; of a frame: the class name; of a raw stretch: all of it
    std::int32_t number = 0; ///< of a bool, short and long: the value; of a frame: the version; of a section: its number
    std::string name;        ///< as it stands between quotation marks of the text form; empty: not known
    std::vector<Record> children;

    bool isFrame() const { return type == okt::RecordType::FrameBegin; }
    bool isSection() const { return type == okt::RecordType::SectionBegin; }
};

/// The record that begins at `offset`. With names, the records but sections take them from `nextName` on, in the order in which
/// they begin. Throws OKTTextFault with the byte at fault.
Record parseRecord(Bytes bytes, std::size_t offset, std::vector<std::string> const *names, std::size_t &nextName);
Record parseRecord(Bytes bytes, std::size_t offset);

/// The 16 bytes of a frame that is that of an id, to the last byte; empty for any other record. They lie in pieces, hence a
/// copy.
std::string idOf(Record const &record);
/// The first such id in a record, in the order of the bytes.
std::string firstIdIn(Record const &record);

/// A piece of the objects block: the frame of an object, or what stands between and behind them.
struct PoolPiece
{
    std::size_t begin = 0;
    std::size_t end = 0;
    bool isObject = false;
    std::string id; ///< the first id in the frame: the object's own
};

/// All pieces from `offset` to the end, as a reader of pools finds the objects: at the bytes 6, 5 behind a 7. Throws
/// OKTTextFault for a frame that is damaged or cut.
std::vector<PoolPiece> findObjects(Bytes image, std::size_t offset);

void appendLittle(std::string &out, std::uint64_t value, int bytes);
void appendBool(std::string &out, unsigned char value);
void appendShort(std::string &out, std::int16_t value);
void appendLong(std::string &out, std::int32_t value);
void appendDouble(std::string &out, double value);
/// The units as bytes, little-endian.
void appendString16(std::string &out, Bytes units);
void appendString8(std::string &out, Bytes text);
void appendBytes(std::string &out, Bytes bytes);
void appendFrameBegin(std::string &out, Bytes className, std::int32_t version);
void appendFrameEnd(std::string &out);
void appendSectionBegin(std::string &out, std::int32_t number);
void appendSectionEnd(std::string &out);
void appendId(std::string &out, Bytes guid);
void appendPoint(std::string &out, double x, double y, double z);
/// The two sections of a picture that hold its image as chunks of base64.
void appendPicture(std::string &out, Bytes image);

} // namespace okttext
