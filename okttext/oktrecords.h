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

/// The records of a stream as a tree, and the stream of such a tree. No class is needed. Not installed.
/// The records are found by RecordWalk; only wrong nesting is an error.
namespace okttext
{

using Bytes = std::string_view;

/// Frames and sections nested deeper than this are kept as raw bytes.
inline constexpr std::size_t kDeepest = 64;

/// The maximum length of a string record, in units or bytes.
inline constexpr std::size_t kLongestText = 65535;

struct Record
{
    /// FrameBegin stands for a whole frame, SectionBegin for a whole section. Empty: raw bytes.
    std::optional<okt::RecordType> type;
    std::size_t begin = 0; ///< of its type byte
    std::size_t end = 0;
    Bytes payload;           ///< of a value: its number or text; of a frame: the class name; of a raw stretch: all of it
    std::int32_t number = 0; ///< of a bool, short and long: the value; of a frame: the version; of a section: its number
    std::string name;        ///< as written between the quotation marks in the text form; empty: not known
    std::vector<Record> children;

    bool isFrame() const { return type == okt::RecordType::FrameBegin; }
    bool isSection() const { return type == okt::RecordType::SectionBegin; }
};

/// The record at `offset`. With `names`, all records except sections get names, from `nextName` on, in the order in which
/// they begin. Throws OKTTextFault with the offset of the fault.
Record parseRecord(Bytes bytes, std::size_t offset, std::vector<std::string> const *names, std::size_t &nextName);
Record parseRecord(Bytes bytes, std::size_t offset);

/// The 16 bytes of an id if the record is exactly the frame of an id; else empty. The bytes are not contiguous, hence a
/// copy.
std::string idOf(Record const &record);
/// The first id inside a record.
std::string firstIdIn(Record const &record);

/// A part of the objects block: the frame of an object, or the bytes between and after objects.
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
