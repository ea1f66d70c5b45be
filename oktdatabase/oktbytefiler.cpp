// SPDX-License-Identifier: MIT
#include <oktdatabase/oktbytefiler.h>

#include <oktdatabase/oktcrashhandler.h>
#include <oktdatabase/oktwholeframe.h>
#include <oktplatform/oktcodepage.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>
#include <limits>
#include <numeric>
#include <vector>

// A stream is a sequence of records: a type byte, then a payload whose length depends on the type. Numbers are little-endian. There
// is no alignment, no checksum and no escape. docs/formats/records.md describes it in full.

namespace
{
constexpr int kRecordTypes = 11;
constexpr int kMostSections = 64; // of a frame, that room is kept for
constexpr unsigned char kNoBool = 255;
constexpr unsigned short kNoShort = 65535;
constexpr std::uint32_t kNoLong = 0x80000001u;
constexpr double kNoDouble = -std::numeric_limits<double>::max();

template <int Bytes, typename T> void store(BYTE *place, T value)
{
    for (int i = 0; i < Bytes; ++i)
        place[i] = static_cast<BYTE>(value >> (8 * i));
}

template <int Bytes, typename T> T fetch(BYTE const *place)
{
    T value = 0;
    for (int i = 0; i < Bytes; ++i)
        value = static_cast<T>(value | static_cast<T>(place[i]) << (8 * i));
    return value;
}

bool isAscii(OktTextView text)
{
    WCHAR all = 0;
    for (WCHAR const unit : text)
        all = static_cast<WCHAR>(all | unit);
    return all < 0x80;
}

void storeUnits(BYTE *place, OktTextView text)
{
    for (WCHAR const unit : text)
    {
        store<2>(place, static_cast<std::uint16_t>(unit));
        place += 2;
    }
}
} // namespace

OKTByteFiler::OKTByteFiler(int const &growBy) { m_buffer.SetSize(0, growBy); }

OKTByteFiler::~OKTByteFiler() = default;

bool OKTByteFiler::saveBytes(CByteArray &target)
try
{
    target.RemoveAll();
    if (m_mode == 0)
        return false;
    target.Append(bytes());
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::loadBytes(CByteArray const &source)
try
{
    m_borrowed = nullptr;
    forgetOwed();
    m_buffer.RemoveAll();
    if (m_mode != 0)
        return false;
    m_buffer.Append(source);
    return true;
}
OKT_ANSWER_ZERO

void OKTByteFiler::readInPlace(CByteArray const &source)
{
    m_mode = 0;
    m_position = 0;
    m_borrowed = &source;
}

CByteArray OKTByteFiler::takeBytes()
{
    forgetOwed();
    return std::move(m_buffer);
}

// --- Writing ---

BYTE *OKTByteFiler::extend(int count)
{
    bool const hasRoom = count >= 0 && count <= m_buffer.GetCapacity() - m_buffer.GetSize() - m_owed;
    if (hasRoom && m_borrowed == nullptr) // as nearly always
        return m_buffer.Extend(count, m_owed);
    // What is owed may reach beyond the largest size already.
    std::int64_t const needed = std::int64_t{m_buffer.GetSize()} + m_owed + count;
    if (count < 0 || needed > std::numeric_limits<int>::max() || m_borrowed != nullptr)
        return nullptr;
    return m_buffer.Extend(count, m_owed);
}

bool OKTByteFiler::appendBytes(void const *data, int const &count)
try
{
    BYTE *const place = extend(count);
    if (place == nullptr)
        return count == 0;
    std::copy_n(static_cast<BYTE const *>(data), count, place);
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::writeType(_VariableType const &type)
try
{
    BYTE *const place = extend(1);
    if (place == nullptr)
        return false;
    *place = static_cast<BYTE>(type);
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::writeBool(bool const &value)
try
{
    BYTE *const place = extend(2);
    if (place == nullptr)
        return false;
    place[0] = VarBool;
    place[1] = value ? 1 : 0;
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::writeShort(unsigned short const &value)
try
{
    BYTE *const place = extend(3);
    if (place == nullptr)
        return false;
    place[0] = VarShort;
    store<2>(place + 1, value);
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::writeLong(std::uint32_t const &value)
try
{
    BYTE *const place = extend(5);
    if (place == nullptr)
        return false;
    place[0] = VarLong;
    store<4>(place + 1, value);
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::writeDouble(double const &value)
try
{
    BYTE *const place = extend(9);
    if (place == nullptr)
        return false;
    place[0] = VarDouble;
    store<8>(place + 1, std::bit_cast<std::uint64_t>(value));
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::writeWideString(CString const &text)
try
{
    OktTextView const units = text.View();
    auto const count = static_cast<std::uint16_t>(units.size());
    BYTE *const place = extend(3 + 2 * count);
    if (place == nullptr)
        return false;
    place[0] = VarWideString;
    store<2>(place + 1, count);
    storeUnits(place + 3, units.substr(0, count));
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::writeAnsiString(CString const &text)
try
{
    OktTextView const units = text.View();
    auto const count = static_cast<std::uint16_t>(units.size());
    std::vector<char> converted;
    bool const plain = OktThreadCodePageKeepsAscii() && isAscii(units.substr(0, count));
    if (!plain)
    {
        auto const length = static_cast<int>(units.size());
        int const size = OktToMultiByte(CP_THREAD_ACP, units.data(), length, nullptr, 0);
        // A conversion shorter than the count ends in zeros.
        converted.resize(static_cast<std::size_t>(std::max<int>(size, count)));
        OktToMultiByte(CP_THREAD_ACP, units.data(), length, converted.data(), size);
    }
    BYTE *const place = extend(3 + count);
    if (place == nullptr)
        return false;
    place[0] = VarAnsiString;
    store<2>(place + 1, count);
    if (plain)
        std::transform(units.begin(), units.begin() + count, place + 3, [](WCHAR unit) { return static_cast<BYTE>(unit); });
    else
        std::copy_n(converted.begin(), count, place + 3);
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::writeByteArray(CByteArray const &value)
try
{
    int const count = value.GetSize();
    BYTE *const place = count > std::numeric_limits<int>::max() - 5 ? nullptr : extend(5 + count);
    if (place == nullptr)
        return false;
    place[0] = VarByteArray;
    store<4>(place + 1, static_cast<std::uint32_t>(count));
    std::copy_n(value.GetData(), count, place + 5);
    return true;
}
OKT_ANSWER_ZERO

// The head of frames of a class whose name is a short literal of ASCII letters, or null. It is made once for each literal of this
// library: one of a client module may go, and another come to its place.
OKTByteFiler::ClassHead const *OKTByteFiler::classHead(CString const &className)
{
    WCHAR const *const literal = className.Literal();
    if (literal == nullptr || !OktIsImageConstant(literal) || !OktThreadCodePageKeepsAscii())
        return nullptr;
    ClassHead &head = m_classHeads[(reinterpret_cast<std::uintptr_t>(literal) >> 3) % kClassHeads];
    if (head.literal == literal)
        return &head;
    OktTextView const name = className.View();
    if (name.size() > ClassHead::kRoom - 4 || !isAscii(name))
        return nullptr;
    head.literal = literal;
    head.size = static_cast<std::uint16_t>(4 + name.size());
    head.bytes[0] = VarClassBegin;
    head.bytes[1] = VarAnsiString;
    store<2>(head.bytes + 2, static_cast<std::uint16_t>(name.size()));
    std::transform(name.begin(), name.end(), head.bytes + 4, [](WCHAR unit) { return static_cast<BYTE>(unit); });
    return &head;
}

bool OKTByteFiler::writeClassBegin(CString const &className, int const &version)
try
{
    ClassHead const *const head = classHead(className);
    if (head == nullptr)
        return writeType(VarClassBegin) && writeAnsiString(className) && writeLong(static_cast<std::uint32_t>(version));
    BYTE *const place = extend(head->size + 5);
    if (place == nullptr)
        return false;
    std::memcpy(place, head->bytes, head->size);
    place[head->size] = VarLong;
    store<4>(place + head->size + 1, static_cast<std::uint32_t>(version));
    return true;
}
OKT_ANSWER_ZERO

void OKTByteFiler::forgetOwed()
{
    m_owed = 0;
    m_depth = 0;
}

void OKTByteFiler::leaveFrame()
{
    if (m_depth == 0)
        return; // one end too many
    int const *const sections = sectionsOwed();
    m_owed = std::max(m_owed - 1 - (sections == nullptr ? 0 : kSection * *sections), 0);
    --m_depth;
}

bool OKTByteFiler::beginFrame(CString const &className, int version)
{
    ++m_depth;
    ++m_owed;
    if (int *const sections = sectionsOwed())
    {
        *sections = std::clamp(version, 0, kMostSections);
        m_owed += kSection * *sections;
    }
    bool const done = writeClassBegin(className, version);
    if (!done)
        leaveFrame();
    return done;
}

bool OKTByteFiler::beginSection(int section)
{
    int *const sections = sectionsOwed();
    bool const isOwed = sections != nullptr && *sections > 0;
    if (isOwed)
    {
        --*sections;
        m_owed -= kSection;
    }
    ++m_owed;
    bool const done = writeType(VarMembersBegin) && writeLong(static_cast<std::uint32_t>(section));
    if (!done)
        --m_owed;
    return done;
}

bool OKTByteFiler::endSection()
{
    m_owed -= m_owed > 0 ? 1 : 0;
    return writeType(VarMembersEnd);
}

bool OKTByteFiler::endFrame()
{
    leaveFrame();
    return writeType(VarClassEnd);
}

bool OKTByteFiler::writeIdFrame(unsigned char const *guid)
try
{
    BYTE *const place = extend(static_cast<int>(kIdFrame.size()));
    if (place == nullptr)
        return false;
    std::memcpy(place, kIdFrame.data(), kIdFrame.size());
    storeGuid(place, guid);
    return true;
}
OKT_ANSWER_ZERO

// --- Reading ---

BYTE const *OKTByteFiler::unreadBytes(BYTE const *&end) const
{
    bool const any = m_mode == 0 && isBeforeEnd(0);
    end = any ? bytes().GetData() + getLength() : nullptr;
    return any ? payload() : nullptr;
}

// True when the byte `offset` behind the position lies within the buffer.
bool OKTByteFiler::isBeforeEnd(int offset) const
{
    if (m_position >= 0 && m_position < getLength() && offset < getLength() - m_position)
        return true;
    m_hasMetEnd = true;
    return false;
}

bool OKTByteFiler::readType(int &type)
try
{
    type = -1;
    if (m_mode != 0 || !isBeforeEnd(0))
        return false;
    BYTE const byte = *payload();
    if (byte >= kRecordTypes)
        return false;
    type = byte;
    ++m_position;
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::checkType(int const &expected)
try
{
    int const saved = m_position;
    int type;
    if (!readType(type))
        return false;
    if (type == expected)
        return true;
    m_position = saved;
    return false;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::readBool(unsigned char &value)
try
{
    value = kNoBool;
    if (!checkType(VarBool) || !isBeforeEnd(0))
        return false;
    value = *payload();
    m_position += 1;
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::readShort(unsigned short &value)
try
{
    value = kNoShort;
    if (!checkType(VarShort) || !isBeforeEnd(2))
        return false;
    value = fetch<2, unsigned short>(payload());
    m_position += 2;
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::readLong(std::uint32_t &value)
try
{
    value = kNoLong;
    if (!checkType(VarLong) || !isBeforeEnd(4))
        return false;
    value = fetch<4, std::uint32_t>(payload());
    m_position += 4;
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::readDouble(double &value)
try
{
    value = kNoDouble;
    if (!checkType(VarDouble) || !isBeforeEnd(8))
        return false;
    value = std::bit_cast<double>(fetch<8, std::uint64_t>(payload()));
    m_position += 8;
    return true;
}
OKT_ANSWER_ZERO

// The count of a string record, with the position behind it. One more byte must stand behind the characters (quirk 27).
bool OKTByteFiler::readCount(int &count, int bytesPerElement)
{
    if (!isBeforeEnd(2))
        return false;
    count = fetch<2, std::uint16_t>(payload());
    m_position += 2;
    return isBeforeEnd(count * bytesPerElement);
}

bool OKTByteFiler::readWideString(CString &text)
try
{
    text.Truncate(0);
    int count;
    if (!checkType(VarWideString) || !readCount(count, 2))
        return false;
    BYTE const *const bytes = payload();
    int length = 0;
    while (length < count && (bytes[2 * length] != 0 || bytes[2 * length + 1] != 0))
        ++length;
    text.SetUnits(length, [bytes](WCHAR *units, int size) {
        for (int i = 0; i < size; ++i)
            units[i] = static_cast<WCHAR>(fetch<2, std::uint16_t>(bytes + 2 * i));
    });
    m_position += 2 * count;
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::readAnsiString(CString &text)
try
{
    return takeAnsiString(text);
}
OKT_ANSWER_ZERO

bool OKTByteFiler::takeAnsiString(CString &text)
{
    text.Truncate(0);
    int count;
    if (!checkType(VarAnsiString) || !readCount(count, 1))
        return false;
    BYTE const *const bytes = payload();
    auto const *const zero = static_cast<BYTE const *>(std::memchr(bytes, 0, static_cast<std::size_t>(count)));
    auto const length = zero == nullptr ? count : static_cast<int>(zero - bytes);
    BYTE const all = std::accumulate(bytes, bytes + length, BYTE{0}, std::bit_or<>());
    if (all < 0x80 && OktThreadCodePageKeepsAscii())
        text.SetUnits(length, [bytes](WCHAR *units, int size) { std::copy_n(bytes, size, units); });
    else
    {
        auto const *const narrow = reinterpret_cast<char const *>(bytes);
        int const size = OktToWideChar(CP_THREAD_ACP, narrow, length, nullptr, 0);
        text.SetUnits(size,
                      [narrow, length](WCHAR *units, int room) { OktToWideChar(CP_THREAD_ACP, narrow, length, units, room); });
    }
    m_position += count;
    return true;
}

bool OKTByteFiler::findClassName(CString &className)
{
    struct Place
    {
        ~Place() { filer.m_position = saved; }
        OKTByteFiler &filer;
        int saved;
    } const place{*this, m_position};
    bool const begun = checkType(VarClassBegin);
    bool const named = takeAnsiString(className); // tried where no frame begins, too (quirk 34)
    return begun && named;
}

bool OKTByteFiler::readByteArray(CByteArray &value)
try
{
    value.RemoveAll();
    if (!checkType(VarByteArray) || !isBeforeEnd(4))
        return false;
    auto const count = static_cast<std::int32_t>(fetch<4, std::uint32_t>(payload()));
    m_position += 4;
    if (!isBeforeEnd(count))
        return false;
    value.SetSize(count); // throws for a negative count, which passes the test above (quirk 31)
    std::copy_n(payload(), count, value.GetData());
    m_position += count;
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::readClassBegin(CString const &className)
try
{
    std::uint32_t version;
    ClassHead const *const head = m_mode == 0 ? classHead(className) : nullptr;
    if (head != nullptr && isBeforeEnd(head->size) && std::memcmp(payload(), head->bytes, head->size) == 0)
    {
        m_position += head->size;
        return readLong(version);
    }
    bool const begun = checkType(VarClassBegin);
    bool const named = checkAnsiString(className);
    bool const versioned = readLong(version);
    return begun && named && versioned;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::readIdFrame(unsigned char *guid)
try
{
    constexpr int kSize = static_cast<int>(kIdFrame.size());
    if (m_mode != 0 || !isBeforeEnd(kSize - 1) || !isStretch(payload(), kAnyId))
        return false;
    fetchGuid(payload(), guid);
    m_position += kSize;
    return true;
}
OKT_ANSWER_ZERO

bool OKTByteFiler::checkLong(int const &expected)
try
{
    std::uint32_t value;
    return readLong(value) && value == static_cast<std::uint32_t>(expected);
}
OKT_ANSWER_ZERO

bool OKTByteFiler::checkAnsiString(CString const &expected)
try
{
    // Nearly every name in a stream is the expected one, letter by letter: no text needs to be made of it.
    int const saved = m_position;
    int count;
    if (checkType(VarAnsiString) && readCount(count, 1) && OktThreadCodePageKeepsAscii())
    {
        OktTextView const units = expected.View();
        BYTE const *const bytes = payload();
        if (units.size() == static_cast<std::size_t>(count) &&
            std::equal(units.begin(), units.end(), bytes,
                       [](WCHAR unit, BYTE byte) { return byte < 0x80 && byte != 0 && unit == byte; }))
        {
            m_position += count;
            return true;
        }
    }
    m_position = saved;
    CString text;
    return readAnsiString(text) && text.CompareNoCase(expected) == 0;
}
OKT_ANSWER_ZERO

// --- Walking ---

bool OKTByteFiler::enterMembers(int const &section)
try
{
    int const saved = m_position;
    if (checkType(VarMembersBegin) && checkLong(section))
        return true;
    m_position = saved;
    return false;
}
OKT_ANSWER_ZERO

// Reads one structural record; any other record, or a broken one, leaves the position.
bool OKTByteFiler::readStructure(int &type)
{
    int const saved = m_position;
    if (!readType(type))
        return false;
    std::uint32_t number;
    bool done = false;
    if (type == VarClassBegin)
        done = skipText(VarAnsiString, 1) && readLong(number);
    else if (type == VarMembersBegin)
        done = readLong(number);
    else
        done = type == VarClassEnd || type == VarMembersEnd;
    if (!done)
        m_position = saved;
    return done;
}

// Keeps the stack of open frames and sections; false for an end that does not close the innermost of them.
bool OKTByteFiler::trackStructure(TypeStack &stack, int type)
{
    if (type == VarClassBegin || type == VarMembersBegin)
    {
        stack.append(static_cast<_VariableType>(type));
        return true;
    }
    _VariableType const opener = type == VarClassEnd ? VarClassBegin : VarMembersBegin;
    int const last = stack.getSize() - 1;
    if ((type != VarClassEnd && type != VarMembersEnd) || last < 0 || stack.at(last) != opener)
        return false;
    stack.removeAt(last);
    return true;
}

bool OKTByteFiler::skipText(int type, int bytesPerElement)
{
    int count;
    if (!checkType(type) || !readCount(count, bytesPerElement))
        return false;
    m_position += count * bytesPerElement;
    return true;
}

bool OKTByteFiler::skipValue()
{
    int const saved = m_position;
    int type;
    if (!readType(type))
        return false;
    m_position = saved;
    switch (type)
    {
    case VarBool:
    {
        unsigned char value;
        return readBool(value);
    }
    case VarShort:
    {
        unsigned short value;
        return readShort(value);
    }
    case VarLong:
    {
        std::uint32_t value;
        return readLong(value);
    }
    case VarDouble:
    {
        double value;
        return readDouble(value);
    }
    case VarWideString: return skipText(type, 2);
    case VarAnsiString: return skipText(type, 1);
    case VarByteArray:
    {
        CByteArray value;
        return readByteArray(value);
    }
    default: return false;
    }
}

bool OKTByteFiler::skipMembers()
try
{
    std::uint32_t section;
    while (checkType(VarMembersBegin) && readLong(section))
    {
        TypeStack stack;
        stack.append(VarMembersBegin);
        while (stack.getSize() > 0)
        {
            int type;
            if (readStructure(type) ? !trackStructure(stack, type) : !skipValue())
                return false;
        }
    }
    return checkType(VarClassEnd);
}
OKT_ANSWER_ZERO

bool OKTByteFiler::findNextObject(int &where)
try
{
    BYTE const *const data = bytes().GetData();
    int const last = getLength() - 1;
    for (where = std::max(m_position, 0); where < last; ++where)
        if ((where == 0 || data[where - 1] == VarClassEnd) && data[where] == VarClassBegin && data[where + 1] == VarAnsiString)
            return true;
    return false;
}
OKT_ANSWER_ZERO
