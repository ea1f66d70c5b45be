// SPDX-License-Identifier: MIT
// Pool files, images and single records: frames, sections and values, with the size of the header and the places in it set right
// behind each change.

#include "mutator.h"

#include <oktdatabase/oktbytefiler.h>
#include <oktformat/base64.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <map>
#include <optional>

namespace
{
constexpr std::size_t kMostPieces = 3000;
constexpr std::size_t kLengthRecord = 5;
constexpr std::size_t kGuidSize = 20; // four long records
constexpr std::size_t kSectionHead = 6;
constexpr std::string_view kIdName("\x05\x0B\x00OKTObjectId", 14);
constexpr int kLong = VarLong;
constexpr int kFrameBegin = VarClassBegin;
constexpr int kFrameEnd = VarClassEnd;
constexpr int kSectionBegin = VarMembersBegin;
constexpr int kSectionEnd = VarMembersEnd;
constexpr int kFrame = 100;
constexpr int kSection = 101;
constexpr int kIdFrame = 102;

constexpr std::array<std::string_view, 14> kClasses = {
    "OKTDbObject",        "OKTDbParameter", "OKTDbGroupParameter", "OKTDbCategory",  "OKTDbGroupCategory", "OKTDbRelation",
    "OKTDbParamRelation", "OKTDbPicture",   "OKTDbConstruct",      "OKTDbIndexData", "OKTObjectId",        "OKTVariant",
    "OKTGeXYZ",           "OKTDbPool"};

std::string littleEndian(std::uint64_t value, std::size_t size)
{
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i)
        bytes += static_cast<char>(static_cast<unsigned char>(value >> (8 * i)));
    return bytes;
}

std::int64_t numberAt(std::string const &input, std::size_t at, std::size_t size)
{
    std::uint32_t value = 0;
    for (std::size_t i = size; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(input[at + i]);
    return static_cast<std::int32_t>(value);
}

std::string text8(std::string_view text) { return "\x05" + littleEndian(text.size(), 2) + std::string(text); }

/// Of the record at that place; of a frame with its name and version. 0: it is none.
std::size_t recordSize(std::string const &input, std::size_t at)
{
    auto const number = [&](std::size_t from, std::size_t size) {
        std::size_t value = 0;
        for (std::size_t i = size; i-- > 0;)
            value = value << 8 | (from + i < input.size() ? static_cast<unsigned char>(input[from + i]) : 0xFFu);
        return value;
    };
    switch (input[at])
    {
    case VarBool: return 2;
    case VarShort: return 3;
    case kLong: return kLengthRecord;
    case VarDouble: return 9;
    case VarWideString: return 3 + 2 * number(at + 1, 2);
    case VarAnsiString: return 3 + number(at + 1, 2);
    case VarByteArray: return 5 + number(at + 1, 4);
    case kSectionBegin: return number(at + 1, 1) == kLong ? 6 : 0;
    case kFrameBegin:
    {
        std::size_t const name = number(at + 1, 1) == VarAnsiString ? 4 + number(at + 2, 2) : 0;
        return name > 0 && number(at + name, 1) == kLong ? name + kLengthRecord : 0;
    }
    default: return 0;
    }
}

void writeNumber(std::string &input, std::size_t record, std::size_t number)
{
    input.replace(record + 1, 4, littleEndian(number, 4));
}

bool hasGuid(Piece const &id) { return id.inside + kSectionHead + kGuidSize <= id.end; }
std::string guidOf(std::string const &input, Piece const &id) { return input.substr(id.inside + kSectionHead, kGuidSize); }

class PoolStructure : public Structure
{
public:
    std::vector<Piece> pieces(std::string const &input) const override;
    void change(std::string &input, Piece const &piece, MutationRandom &random) const override;
    void repair(std::string &input) const override;

private:
    static void changeNumber(std::string &input, Piece const &piece, std::size_t size, MutationRandom &random);
    static void changeDouble(std::string &input, Piece const &piece, MutationRandom &random);
    static void changeText(std::string &input, Piece const &piece, std::size_t head, std::size_t unit, MutationRandom &random);
    static void changeFrame(std::string &input, Piece const &piece, MutationRandom &random);
    void changeId(std::string &input, Piece const &piece, MutationRandom &random) const;
};

std::vector<Piece> PoolStructure::pieces(std::string const &input) const
{
    std::vector<Piece> found;
    found.reserve(input.size() / 8 + 4);
    std::vector<std::size_t> open;
    for (std::size_t at = 0; at < input.size() && found.size() < kMostPieces;)
    {
        auto const type = static_cast<unsigned char>(input[at]);
        if (type == kFrameEnd || type == kSectionEnd)
        {
            ++at;
            if (!open.empty())
            {
                found[open.back()].end = at;
                open.pop_back();
            }
            continue;
        }
        std::size_t const size = recordSize(input, at);
        if (size == 0 || size > input.size() - at) // no record is here
        {
            ++at;
            continue;
        }
        Piece piece{at, at + size, 0, type};
        if (type == kFrameBegin || type == kSectionBegin)
        {
            bool const isId = type == kFrameBegin && input.compare(at + 1, kIdName.size(), kIdName) == 0;
            piece.kind = isId ? kIdFrame : type == kFrameBegin ? kFrame : kSection;
            piece.inside = piece.end;
            open.push_back(found.size());
        }
        found.push_back(piece);
        at += size;
    }
    for (std::size_t const index : open)
        found[index].end = input.size();
    return found;
}

void PoolStructure::changeNumber(std::string &input, Piece const &piece, std::size_t size, MutationRandom &random)
{
    std::int64_t const number = numberAt(input, piece.begin + 1, size);
    input.replace(piece.begin + 1, size, littleEndian(static_cast<std::uint64_t>(oddNumber(number, random)), size));
}

void PoolStructure::changeDouble(std::string &input, Piece const &piece, MutationRandom &random)
{
    using Limits = std::numeric_limits<double>;
    static constexpr std::array kOdd = {0.0,
                                        -0.0,
                                        1.0,
                                        0.0254,
                                        1000.0,
                                        39.3700787401575,
                                        -1.0,
                                        1e300,
                                        -1e300,
                                        Limits::min(),
                                        Limits::max(),
                                        Limits::denorm_min(),
                                        Limits::infinity(),
                                        -Limits::infinity(),
                                        Limits::quiet_NaN(),
                                        0.1 + 0.2};
    double const value = random.of(kOdd);
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    if (random.oneIn(3))
        bits = random.word();
    input.replace(piece.begin + 1, 8, littleEndian(bits, 8));
}

/// Of a text its units, the bytes that its base64 stands for, or only its count.
void PoolStructure::changeText(std::string &input, Piece const &piece, std::size_t head, std::size_t unit,
                               MutationRandom &random)
{
    std::size_t const countSize = head - 1;
    std::string const text = input.substr(piece.begin + head, piece.end - piece.begin - head);
    if (random.oneIn(8))
    {
        auto const count = static_cast<std::int64_t>(text.size() / unit);
        input.replace(piece.begin + 1, countSize,
                      littleEndian(static_cast<std::uint64_t>(oddNumber(count, random)), countSize));
        return;
    }
    std::string changed;
    std::optional<std::string> const bytes =
        unit == 1 && !random.oneIn(4) ? okt::parseBase64(text, okt::Base64Padding::Without) : std::nullopt;
    if (bytes && text.size() > 4)
        changed = okt::base64(changedBytes(*bytes, 64), okt::Base64Padding::Without);
    else if (unit == 1 && countSize == 2 && text.size() < 24 && random.oneIn(2))
        changed = random.of(kClasses);
    else
        changed = changedBytes(text, 64);
    changed.resize(std::min<std::size_t>(changed.size() / unit * unit, 0xFFFE * unit));
    input.replace(piece.begin + 1, piece.end - piece.begin - 1, littleEndian(changed.size() / unit, countSize) + changed);
}

/// Its class name, or its version; of a section its number.
void PoolStructure::changeFrame(std::string &input, Piece const &piece, MutationRandom &random)
{
    if (piece.inside < piece.begin + kLengthRecord || piece.inside > input.size())
        return;
    std::size_t const number = piece.inside - kLengthRecord;
    if (piece.kind == kSection || random.oneIn(3))
    {
        std::int64_t const old = numberAt(input, number + 1, 4);
        std::int64_t const changed = random.oneIn(2) ? static_cast<std::int64_t>(random.below(7)) : oddNumber(old, random);
        input.replace(number + 1, 4, littleEndian(static_cast<std::uint64_t>(changed), 4));
        return;
    }
    std::string name = input.substr(piece.begin + 4, number - piece.begin - 4);
    if (random.oneIn(4) && !name.empty())
        name[random.below(name.size())] ^= random.oneIn(2) ? ' ' : '\x80'; // another case, or no letter any more
    else
        name = random.of(kClasses);
    input.replace(piece.begin + 1, number - piece.begin - 1, text8(name));
}

/// Another id of the input, the null id, or one that is in no place but this.
void PoolStructure::changeId(std::string &input, Piece const &piece, MutationRandom &random) const
{
    if (!hasGuid(piece))
        return changeFrame(input, piece, random);
    std::string guid = guidOf(input, piece);
    if (random.oneIn(4))
    {
        for (std::size_t i = 0; i < kGuidSize; ++i)
            if (i % kLengthRecord != 0)
                guid[i] = '\0';
    }
    else if (random.oneIn(4))
        guid[1 + random.below(4) + kLengthRecord * random.below(4)] ^= static_cast<char>(1 + random.below(127));
    else
    {
        std::vector<Piece> const all = pieces(input);
        for (int turn = 0; turn < 16; ++turn)
        {
            Piece const &other = random.of(all);
            if (other.kind == kIdFrame && hasGuid(other))
            {
                guid = guidOf(input, other);
                break;
            }
        }
    }
    input.replace(piece.inside + kSectionHead, kGuidSize, guid);
}

void PoolStructure::change(std::string &input, Piece const &piece, MutationRandom &random) const
{
    if (piece.kind == kIdFrame)
        return changeId(input, piece, random);
    if (piece.kind >= kFrame)
        return changeFrame(input, piece, random);
    if (random.oneIn(16)) // another type of record
    {
        input[piece.begin] = static_cast<char>(random.below(12));
        return;
    }
    switch (piece.kind)
    {
    case VarBool: return changeNumber(input, piece, 1, random);
    case VarShort: return changeNumber(input, piece, 2, random);
    case VarLong: return changeNumber(input, piece, 4, random);
    case VarDouble: return changeDouble(input, piece, random);
    case VarWideString: return changeText(input, piece, 3, 2, random);
    case VarAnsiString: return changeText(input, piece, 3, 1, random);
    default: return changeText(input, piece, 5, 1, random);
    }
}

void PoolStructure::repair(std::string &input) const
{
    std::vector<Piece> const all = pieces(input);
    if (all.size() < 3 || all[0].kind != kLong || all[0].begin != 0 || all[1].kind != kFrame)
        return;
    Piece const header = all[1];
    writeNumber(input, 0, header.end - kLengthRecord);

    std::map<std::string, Piece> objects; // by the first id in each
    auto const isInHeader = [&](Piece const &piece) { return piece.begin < header.end; };
    Piece object;
    for (Piece const &piece : all)
    {
        if (isInHeader(piece))
            continue;
        if (piece.begin >= object.end && piece.kind == kFrame)
            object = piece;
        else if (piece.kind == kIdFrame && piece.end <= object.end && hasGuid(piece))
            objects.try_emplace(guidOf(input, piece), object);
    }
    for (std::size_t i = 0; i + 6 < all.size() && isInHeader(all[i]); ++i)
    {
        if (all[i].kind != kIdFrame || !hasGuid(all[i]))
            continue;
        auto const found = objects.find(guidOf(input, all[i]));
        std::size_t next = i; // behind the id with all that is in it
        while (next < all.size() && all[next].begin < all[i].end)
            ++next;
        if (found == objects.end() || next + 1 >= all.size() || all[next].kind != kLong || all[next + 1].kind != kLong)
            continue;
        writeNumber(input, all[next].begin, found->second.begin - header.end);
        writeNumber(input, all[next + 1].begin, found->second.end - found->second.begin);
    }
}
} // namespace

Structure const &poolStructure()
{
    static PoolStructure const structure;
    return structure;
}
