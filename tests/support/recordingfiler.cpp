// SPDX-License-Identifier: MIT
#include "support/recordingfiler.h"

#include <charconv>

namespace
{
std::string shown(CString const &name) { return " " + name.ToUtf8(); }

std::string shownText(CString const &text, bool ansi) { return " \"" + text.ToUtf8() + "\"" + (ansi ? " ansi" : ""); }

std::string shown(bool value) { return value ? " true" : " false"; }

template <typename T>
    requires std::is_arithmetic_v<T> std::string shown(T value)
    {
        char digits[64];
        auto const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        return " " + std::string(digits, end);
    }

void appendHex(std::string &text, std::uint32_t value, int digits)
{
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        text += "0123456789ABCDEF"[(value >> shift) & 15u];
}

std::string shown(OKTDbObjectId const &id)
{
    _GUID const guid = id.getGuid();
    std::string text = " {";
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

std::string shown(OKTGeXYZ const &point)
{
    return " (" + shown(point.X()).substr(1) + "," + shown(point.Y()) + "," + shown(point.Z()) + ")";
}

std::string shown(CByteArray const &bytes)
{
    std::string text = shown(bytes.GetSize()) + ":";
    for (int i = 0; i < bytes.GetSize(); ++i)
    {
        text += ' ';
        appendHex(text, bytes.GetData()[i], 2);
    }
    return text;
}

std::string shown(tagVARIANT const &value)
{
    switch (value.vt)
    {
    case VT_EMPTY: return " VT_EMPTY";
    case VT_NULL: return " VT_NULL";
    case VT_I2: return " VT_I2" + shown(value.iVal);
    case VT_I4: return " VT_I4" + shown(value.lVal);
    case VT_R4: return " VT_R4" + shown(value.fltVal);
    case VT_R8: return " VT_R8" + shown(value.dblVal);
    case VT_BSTR: return " VT_BSTR" + shownText(CString(value.bstrVal, static_cast<int>(SysStringLen(value.bstrVal))), false);
    case VT_BOOL: return " VT_BOOL" + shown(value.boolVal);
    default: return " VT" + shown(value.vt);
    }
}

template <typename T> bool taken(std::deque<T> &given, T &value)
{
    if (!given.empty())
    {
        value = given.front();
        given.pop_front();
    }
    return true;
}
} // namespace

void CallRecord::clearCalls()
{
    m_calls.clear();
    m_allCalls.clear();
}

bool CallRecord::note(std::string const &operation, std::string const &values)
{
    m_allCalls.push_back(std::string(2 * m_level, ' ') + operation + values);
    if (m_level == 0)
        m_calls.push_back(operation + values);
    std::string const counted = m_level == 0 ? operation : kInside + operation;
    int const nth = ++m_counts[counted];
    if (m_throwing[counted].count(nth) != 0)
        throw std::runtime_error("the test asked for it");
    return m_failing[counted].count(nth) == 0;
}

bool RecordingFiler::beginWriteClass(CString name, CString className, int version)
{
    return perform("beginWriteClass", shown(name) + shown(className) + shown(version),
                   [&] { return OKTMemoryFiler::beginWriteClass(name, className, version); });
}

bool RecordingFiler::endWriteClass()
{
    return perform("endWriteClass", "", [&] { return OKTMemoryFiler::endWriteClass(); });
}

bool RecordingFiler::beginWriteMembers(int section)
{
    return perform("beginWriteMembers", shown(section), [&] { return OKTMemoryFiler::beginWriteMembers(section); });
}

bool RecordingFiler::endWriteMembers()
{
    return perform("endWriteMembers", "", [&] { return OKTMemoryFiler::endWriteMembers(); });
}

bool RecordingFiler::writeDouble(CString const &name, double const &value)
{
    return perform("writeDouble", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeDouble(name, value); });
}

bool RecordingFiler::writeLong(CString const &name, unsigned long const &value)
{
    return perform("writeUnsignedLong", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeLong(name, value); });
}

bool RecordingFiler::writeLong(CString const &name, long const &value)
{
    return perform("writeLong", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeLong(name, value); });
}

bool RecordingFiler::writeString(CString const &name, CString const &value)
{
    return perform("writeString", shown(name) + shownText(value, getIsAnsiString()),
                   [&] { return OKTMemoryFiler::writeString(name, value); });
}

bool RecordingFiler::writeObjectId(CString const &name, OKTDbObjectId const &value)
{
    return perform("writeObjectId", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeObjectId(name, value); });
}

bool RecordingFiler::writePoint3d(CString const &name, OKTGeXYZ const &value)
{
    return perform("writePoint3d", shown(name) + shown(value), [&] { return OKTMemoryFiler::writePoint3d(name, value); });
}

bool RecordingFiler::writeBool(CString const &name, bool const &value)
{
    return perform("writeBool", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeBool(name, value); });
}

bool RecordingFiler::writeBool(CString const &name, int const &value)
{
    return perform("writeBoolInt", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeBool(name, value); });
}

bool RecordingFiler::writeInt(CString const &name, unsigned int const &value)
{
    return perform("writeUnsignedInt", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeInt(name, value); });
}

bool RecordingFiler::writeInt(CString const &name, int const &value)
{
    return perform("writeInt", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeInt(name, value); });
}

bool RecordingFiler::writeShort(CString const &name, unsigned short const &value)
{
    return perform("writeUnsignedShort", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeShort(name, value); });
}

bool RecordingFiler::writeShort(CString const &name, short const &value)
{
    return perform("writeShort", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeShort(name, value); });
}

bool RecordingFiler::writeVariant(CString const &name, tagVARIANT const &value)
{
    return perform("writeVariant", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeVariant(name, value); });
}

bool RecordingFiler::writeByteArray(CString const &name, CByteArray const &value)
{
    return perform("writeByteArray", shown(name) + shown(value), [&] { return OKTMemoryFiler::writeByteArray(name, value); });
}

bool RecordingFiler::beginReadClass(CString name, CString className)
{
    return perform("beginReadClass", shown(name) + shown(className),
                   [&] { return OKTMemoryFiler::beginReadClass(name, className); });
}

bool RecordingFiler::endReadClass()
{
    return perform("endReadClass", "", [&] { return OKTMemoryFiler::endReadClass(); });
}

bool RecordingFiler::beginReadMembers(int section)
{
    return perform("beginReadMembers", shown(section), [&] { return OKTMemoryFiler::beginReadMembers(section); });
}

bool RecordingFiler::endReadMembers()
{
    return perform("endReadMembers", "", [&] { return OKTMemoryFiler::endReadMembers(); });
}

bool RecordingFiler::readString(CString const &name, CString &value)
{
    return perform("readString", shown(name) + (getIsAnsiString() ? " ansi" : ""),
                   [&] { return OKTMemoryFiler::readString(name, value); });
}

bool RecordingFiler::readLong(CString const &name, unsigned long &value)
{
    return perform("readUnsignedLong", shown(name), [&] { return OKTMemoryFiler::readLong(name, value); });
}

bool RecordingFiler::readLong(CString const &name, long &value)
{
    return perform("readLong", shown(name), [&] { return OKTMemoryFiler::readLong(name, value); });
}

bool RecordingFiler::readDouble(CString const &name, double &value)
{
    return perform("readDouble", shown(name), [&] { return OKTMemoryFiler::readDouble(name, value); });
}

bool RecordingFiler::readObjectId(CString const &name, OKTDbObjectId &value)
{
    return perform("readObjectId", shown(name), [&] { return OKTMemoryFiler::readObjectId(name, value); });
}

bool RecordingFiler::readPoint3d(CString const &name, OKTGeXYZ &value)
{
    return perform("readPoint3d", shown(name), [&] { return OKTMemoryFiler::readPoint3d(name, value); });
}

bool RecordingFiler::readBool(CString const &name, bool &value)
{
    return perform("readBool", shown(name), [&] { return OKTMemoryFiler::readBool(name, value); });
}

bool RecordingFiler::readBool(CString const &name, int &value)
{
    return perform("readBoolInt", shown(name), [&] { return OKTMemoryFiler::readBool(name, value); });
}

bool RecordingFiler::readInt(CString const &name, unsigned int &value)
{
    return perform("readUnsignedInt", shown(name), [&] { return OKTMemoryFiler::readInt(name, value); });
}

bool RecordingFiler::readInt(CString const &name, int &value)
{
    return perform("readInt", shown(name), [&] { return OKTMemoryFiler::readInt(name, value); });
}

bool RecordingFiler::readShort(CString const &name, unsigned short &value)
{
    return perform("readUnsignedShort", shown(name), [&] { return OKTMemoryFiler::readShort(name, value); });
}

bool RecordingFiler::readShort(CString const &name, short &value)
{
    return perform("readShort", shown(name), [&] { return OKTMemoryFiler::readShort(name, value); });
}

bool RecordingFiler::readVariant(CString const &name, tagVARIANT &value)
{
    return perform("readVariant", shown(name), [&] { return OKTMemoryFiler::readVariant(name, value); });
}

bool RecordingFiler::readByteArray(CString const &name, CByteArray &value)
{
    return perform("readByteArray", shown(name), [&] { return OKTMemoryFiler::readByteArray(name, value); });
}

bool ScriptedFiler::beginWriteClass(CString name, CString className, int version)
{
    return perform("beginWriteClass", shown(name) + shown(className) + shown(version), [] { return true; });
}

bool ScriptedFiler::endWriteClass()
{
    return perform("endWriteClass", "", [] { return true; });
}

bool ScriptedFiler::beginWriteMembers(int section)
{
    return perform("beginWriteMembers", shown(section), [] { return true; });
}

bool ScriptedFiler::endWriteMembers()
{
    return perform("endWriteMembers", "", [] { return true; });
}

bool ScriptedFiler::writeDouble(CString const &name, double const &value)
{
    return perform("writeDouble", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeLong(CString const &name, unsigned long const &value)
{
    return perform("writeUnsignedLong", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeLong(CString const &name, long const &value)
{
    return perform("writeLong", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeString(CString const &name, CString const &value)
{
    return perform("writeString", shown(name) + shownText(value, getIsAnsiString()), [] { return true; });
}

bool ScriptedFiler::writeObjectId(CString const &name, OKTDbObjectId const &value)
{
    return perform("writeObjectId", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writePoint3d(CString const &name, OKTGeXYZ const &value)
{
    return perform("writePoint3d", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeBool(CString const &name, bool const &value)
{
    return perform("writeBool", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeBool(CString const &name, int const &value)
{
    return perform("writeBoolInt", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeInt(CString const &name, unsigned int const &value)
{
    return perform("writeUnsignedInt", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeInt(CString const &name, int const &value)
{
    return perform("writeInt", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeShort(CString const &name, unsigned short const &value)
{
    return perform("writeUnsignedShort", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeShort(CString const &name, short const &value)
{
    return perform("writeShort", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeVariant(CString const &name, tagVARIANT const &value)
{
    return perform("writeVariant", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::writeByteArray(CString const &name, CByteArray const &value)
{
    return perform("writeByteArray", shown(name) + shown(value), [] { return true; });
}

bool ScriptedFiler::beginReadClass(CString name, CString className)
{
    return perform("beginReadClass", shown(name) + shown(className), [] { return true; });
}

bool ScriptedFiler::endReadClass()
{
    return perform("endReadClass", "", [] { return true; });
}

bool ScriptedFiler::beginReadMembers(int section)
{
    return perform("beginReadMembers", shown(section), [] { return true; });
}

bool ScriptedFiler::endReadMembers()
{
    return perform("endReadMembers", "", [] { return true; });
}

bool ScriptedFiler::readString(CString const &name, CString &value)
{
    return perform("readString", shown(name) + (getIsAnsiString() ? " ansi" : ""), [&] { return taken(m_texts, value); });
}

bool ScriptedFiler::readLong(CString const &name, unsigned long &value)
{
    return perform("readUnsignedLong", shown(name), [&] { return taken(m_unsignedLongs, value); });
}

bool ScriptedFiler::readLong(CString const &name, long &value)
{
    return perform("readLong", shown(name), [&] { return taken(m_longs, value); });
}

bool ScriptedFiler::readDouble(CString const &name, double &value)
{
    return perform("readDouble", shown(name), [&] { return taken(m_doubles, value); });
}

bool ScriptedFiler::readObjectId(CString const &name, OKTDbObjectId &value)
{
    return perform("readObjectId", shown(name), [&] { return taken(m_ids, value); });
}

bool ScriptedFiler::readPoint3d(CString const &name, OKTGeXYZ &value)
{
    return perform("readPoint3d", shown(name), [&] { return taken(m_points, value); });
}

bool ScriptedFiler::readBool(CString const &name, bool &value)
{
    return perform("readBool", shown(name), [&] { return taken(m_bools, value); });
}

bool ScriptedFiler::readBool(CString const &name, int &value)
{
    return perform("readBoolInt", shown(name), [&] { return taken(m_boolInts, value); });
}

bool ScriptedFiler::readInt(CString const &name, unsigned int &value)
{
    return perform("readUnsignedInt", shown(name), [&] { return taken(m_unsignedInts, value); });
}

bool ScriptedFiler::readInt(CString const &name, int &value)
{
    return perform("readInt", shown(name), [&] { return taken(m_ints, value); });
}

bool ScriptedFiler::readShort(CString const &name, unsigned short &value)
{
    return perform("readUnsignedShort", shown(name), [&] { return taken(m_unsignedShorts, value); });
}

bool ScriptedFiler::readShort(CString const &name, short &value)
{
    return perform("readShort", shown(name), [&] { return taken(m_shorts, value); });
}

bool ScriptedFiler::readVariant(CString const &name, tagVARIANT &value)
{
    return perform("readVariant", shown(name), [&] { return taken(m_variants, value); });
}

bool ScriptedFiler::readByteArray(CString const &name, CByteArray &value)
{
    return perform("readByteArray", shown(name), [&] { return taken(m_byteArrays, value); });
}
