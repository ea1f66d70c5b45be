// SPDX-License-Identifier: MIT
#include "support/streambuilder.h"

#include <oktdatabase/oktdbpool.h>

#include <algorithm>
#include <bit>
#include <cctype>

namespace
{
constexpr std::string_view kNullText = "{00000000-0000-0000-0000-000000000000}";

int digitValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    return std::tolower(static_cast<unsigned char>(digit)) - 'a' + 10;
}

std::uint32_t number(std::string_view digits)
{
    std::uint32_t value = 0;
    for (char const digit : digits)
        value = value * 16 + static_cast<std::uint32_t>(digitValue(digit));
    return value;
}

_GUID guidOf(std::string_view text)
{
    if (text.empty())
        text = kNullText;
    _GUID guid = {};
    guid.Data1 = number(text.substr(1, 8));
    guid.Data2 = static_cast<std::uint16_t>(number(text.substr(10, 4)));
    guid.Data3 = static_cast<std::uint16_t>(number(text.substr(15, 4)));
    for (std::size_t i = 0; i < 8; ++i)
        guid.Data4[i] = static_cast<unsigned char>(number(text.substr((i < 2 ? 20 : 21) + 2 * i, 2)));
    return guid;
}

void appendHex(std::string &text, std::uint32_t value, int digits)
{
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        text += "0123456789ABCDEF"[value >> shift & 15];
}
} // namespace

StreamBuilder &StreamBuilder::littleEndian(std::uint64_t value, int count)
{
    for (int i = 0; i < count; ++i)
        m_bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
    return *this;
}

StreamBuilder &StreamBuilder::raw(std::initializer_list<int> bytes)
{
    for (int const byte : bytes)
        m_bytes.push_back(static_cast<unsigned char>(byte));
    return *this;
}

StreamBuilder &StreamBuilder::append(StreamBuilder const &other)
{
    std::vector<unsigned char> const copy = other.m_bytes;
    m_bytes.insert(m_bytes.end(), copy.begin(), copy.end());
    return *this;
}

StreamBuilder &StreamBuilder::beginClass(std::string_view name, int version)
{
    return raw({6}).ansiText(name).integer(version);
}

StreamBuilder &StreamBuilder::beginMembers(int section) { return raw({8}).integer(section); }

StreamBuilder &StreamBuilder::boolean(int value) { return raw({0, value}); }

StreamBuilder &StreamBuilder::shortInteger(int value) { return raw({1}).littleEndian(static_cast<std::uint64_t>(value), 2); }

StreamBuilder &StreamBuilder::integer(std::int64_t value)
{
    return raw({2}).littleEndian(static_cast<std::uint64_t>(value), 4);
}

StreamBuilder &StreamBuilder::real(double value) { return raw({3}).littleEndian(std::bit_cast<std::uint64_t>(value), 8); }

StreamBuilder &StreamBuilder::wideText(std::u16string_view text)
{
    raw({4}).littleEndian(text.size(), 2);
    for (char16_t const unit : text)
        littleEndian(unit, 2);
    return *this;
}

StreamBuilder &StreamBuilder::ansiText(std::string_view text)
{
    raw({5}).littleEndian(text.size(), 2);
    m_bytes.insert(m_bytes.end(), text.begin(), text.end());
    return *this;
}

StreamBuilder &StreamBuilder::byteArray(std::initializer_list<int> bytes)
{
    return raw({10}).littleEndian(bytes.size(), 4).raw(bytes);
}

StreamBuilder &StreamBuilder::id(std::string_view guid)
{
    _GUID const words = guidOf(guid);
    beginClass("OKTObjectId").beginMembers(1);
    integer(words.Data1);
    raw({2}).littleEndian(words.Data2, 2).littleEndian(words.Data3, 2);
    raw({2, words.Data4[0], words.Data4[1], words.Data4[2], words.Data4[3]});
    raw({2, words.Data4[4], words.Data4[5], words.Data4[6], words.Data4[7]});
    return endMembers().endClass();
}

StreamBuilder &StreamBuilder::point(double x, double y, double z)
{
    return beginClass("OKTGeXYZ").beginMembers(1).real(x).real(y).real(z).endMembers().endClass();
}

StreamBuilder &StreamBuilder::variant(int kind, StreamBuilder const &value)
{
    return beginClass("OKTVariant").beginMembers(1).integer(kind).append(value).endMembers().endClass();
}

StreamBuilder &StreamBuilder::objectBase(std::string_view guid)
{
    return beginClass("OKTDbObject").beginMembers(1).id(guid).endMembers().endClass();
}

CByteArray StreamBuilder::bytes() const
{
    CByteArray bytes;
    bytes.SetSize(size());
    std::copy(m_bytes.begin(), m_bytes.end(), bytes.GetData());
    return bytes;
}

OKTDbObjectId idOf(std::string_view guid)
{
    OKTDbObjectId id;
    id.setGuid(guidOf(guid));
    return id;
}

OKTDbObjectId idOf(std::string_view guid, OKTDbPool *pool)
{
    OKTDbObjectId id = idOf(guid);
    id.fixPoolPointer(pool);
    return id;
}

std::string textOf(OKTDbObjectId const &id)
{
    _GUID const guid = id.getGuid();
    std::string text = "{";
    appendHex(text, guid.Data1, 8);
    text += '-';
    appendHex(text, guid.Data2, 4);
    text += '-';
    appendHex(text, guid.Data3, 4);
    text += '-';
    for (int i = 0; i < 8; ++i)
    {
        if (i == 2)
            text += '-';
        appendHex(text, guid.Data4[i], 2);
    }
    return text + "}";
}

CByteArray fromHex(std::string_view digits)
{
    CByteArray bytes;
    int high = -1;
    for (char const digit : digits)
    {
        if (std::isspace(static_cast<unsigned char>(digit)) != 0)
            continue;
        if (high < 0)
        {
            high = digitValue(digit);
            continue;
        }
        bytes.Add(static_cast<BYTE>(high * 16 + digitValue(digit)));
        high = -1;
    }
    return bytes;
}

CByteArray bytesOf(std::initializer_list<int> values) { return StreamBuilder().raw(values).bytes(); }

CByteArray stretch(CByteArray const &bytes, int first, int count)
{
    CByteArray part;
    part.SetSize(count);
    for (int i = 0; i < count; ++i)
        part.SetAt(i, bytes.GetAt(first + i));
    return part;
}

CByteArray cut(CByteArray const &bytes, int count) { return stretch(bytes, 0, count); }

StreamBuilder poolHeader(HeaderFields const &fields)
{
    auto const has = [&fields](int section) {
        return section <= fields.sections &&
               std::find(fields.absent.begin(), fields.absent.end(), section) == fields.absent.end();
    };
    auto const place = [](StreamBuilder &stream, HeaderFields::Place const &at) {
        stream.integer(at.position).integer(at.size);
    };

    StreamBuilder header;
    header.beginClass("OKTDbPool", fields.version);
    if (has(1))
    {
        header.beginMembers(1).id(fields.id).id(fields.constructId);
        place(header, fields.construct);
        place(header.id(fields.secondId), fields.second);
        place(header.id(fields.indexId), fields.index);
        header.wideText(fields.name).endMembers();
    }
    if (has(2))
        header.beginMembers(2).real(fields.factor).endMembers();
    if (has(3))
        header.beginMembers(3).id(fields.ppActionsId).endMembers();
    if (has(4))
        header.beginMembers(4).id(fields.sketchId).endMembers();
    if (has(5))
    {
        header.beginMembers(5).integer(fields.pictureCount < 0 ? static_cast<int>(fields.pictures.size())
                                                               : fields.pictureCount);
        for (HeaderFields::Picture const &picture : fields.pictures)
            place(header.id(picture.id), picture.place);
        header.endMembers();
    }
    if (has(6))
        header.beginMembers(6).id(fields.radialReinfId).endMembers();
    return header.append(fields.behind).endClass();
}

CByteArray poolImage(HeaderFields const &fields, StreamBuilder const &objects)
{
    StreamBuilder const header = poolHeader(fields);
    return StreamBuilder().integer(header.size()).append(header).append(objects).bytes();
}

StreamBuilder parameterFrame(ParameterFields const &fields)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbParameter", 2).objectBase(fields.id).beginMembers(1);
    frame.wideText(fields.userName).integer(fields.type).append(fields.value).integer(fields.listIndex);
    frame.id(fields.category).id(fields.owner);
    frame.integer(fields.paramCount < 0 ? static_cast<int>(fields.params.size()) : fields.paramCount);
    for (std::string const &param : fields.params)
        frame.id(param);
    frame.wideText(fields.expression).endMembers();
    if (fields.hasDescription)
        frame.beginMembers(2).wideText(fields.description).endMembers();
    return frame.endClass();
}

StreamBuilder relationFrame(std::string_view guid)
{
    return StreamBuilder().beginClass("OKTDbRelation").objectBase(guid).beginMembers(1).endMembers().endClass();
}

namespace
{
void appendIds(StreamBuilder &stream, std::vector<std::string> const &ids)
{
    stream.integer(static_cast<std::int64_t>(ids.size()));
    for (std::string const &id : ids)
        stream.id(id);
}
} // namespace

StreamBuilder categoryFrame(std::string_view guid, std::string_view group, std::vector<std::string> const &params,
                            std::u16string_view name)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbCategory").objectBase(guid).beginMembers(1).id(group);
    appendIds(frame, params);
    return frame.wideText(name).endMembers().endClass();
}

StreamBuilder groupCategoryFrame(std::string_view guid, std::vector<std::string> const &categories)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbGroupCategory").objectBase(guid).beginMembers(1);
    appendIds(frame, categories);
    return frame.endMembers().endClass();
}

StreamBuilder paramRelationFrame(std::string_view guid, std::vector<std::string> const &params)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbParamRelation").append(relationFrame(guid)).beginMembers(1);
    appendIds(frame, params);
    return frame.endMembers().endClass();
}

StreamBuilder pictureFrame(std::string_view guid, std::vector<std::string> const &chunks)
{
    StreamBuilder frame;
    frame.beginClass("OKTDbPicture", 3).objectBase(guid);
    frame.beginMembers(1).ansiText(chunks.empty() ? std::string() : chunks.front()).endMembers();
    frame.beginMembers(2).integer(static_cast<std::int64_t>(chunks.size()) - 1);
    for (std::size_t i = 1; i < chunks.size(); ++i)
        frame.ansiText(chunks[i]);
    frame.endMembers();
    return frame.beginMembers(3).point(0, 0, 0).point(0, 0, 0).point(0, 0, 0).endMembers().endClass();
}

StreamBuilder clientFrame(std::string_view className, std::string_view guid, int number, std::u16string_view text)
{
    StreamBuilder frame;
    frame.beginClass(className).objectBase(guid).beginMembers(1).integer(number).wideText(text).endMembers();
    return frame.endClass();
}
