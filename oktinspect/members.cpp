// SPDX-License-Identifier: MIT
#include <oktinspect/members.h>

#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktshortage.h>

#include <algorithm>

namespace okt
{

namespace
{

constexpr char16_t kRootClass[] = u"OKTDbObject";

std::string pointText(OKTGeXYZ const &point)
{
    return sentence("({}, {}, {})", number(point.X()), number(point.Y()), number(point.Z()));
}

/// A filer that stores the names and values that an object writes, as text.
class MemberLister : public OKTMemoryFiler
{
public:
    std::vector<Member> take() { return std::move(m_members); }

    bool beginWriteClass(CString name, CString className, int) override
    {
        // The frames of the object and of its bases have the same name; any other frame is a value.
        m_frames.push_back(className == kRootClass ? Part::Root : name == u"Object" ? Part::Class : Part::Value);
        if (m_frames.back() == Part::Value)
            note(name, printable(className), 0);
        return true;
    }
    bool endWriteClass() override
    {
        if (!m_frames.empty())
            m_frames.pop_back();
        return true;
    }
    bool beginWriteMembers(int) override { return true; }
    bool endWriteMembers() override { return true; }
    bool writeDouble(CString const &name, double const &value) override { return note(name, number(value)); }
    bool writeLong(CString const &name, unsigned long const &value) override { return note(name, std::to_string(value)); }
    bool writeLong(CString const &name, long const &value) override { return note(name, std::to_string(value)); }
    bool writeString(CString const &name, CString const &value) override { return note(name, quoted(value)); }
    bool writeObjectId(CString const &name, OKTDbObjectId const &value) override { return note(name, idText(value)); }
    bool writePoint3d(CString const &name, OKTGeXYZ const &value) override { return note(name, pointText(value)); }
    bool writeBool(CString const &name, bool const &value) override { return note(name, value ? "true" : "false"); }
    bool writeBool(CString const &name, int const &value) override { return note(name, std::to_string(value)); }
    bool writeInt(CString const &name, unsigned int const &value) override { return note(name, std::to_string(value)); }
    bool writeInt(CString const &name, int const &value) override { return note(name, std::to_string(value)); }
    bool writeShort(CString const &name, unsigned short const &value) override { return note(name, std::to_string(value)); }
    bool writeShort(CString const &name, short const &value) override { return note(name, std::to_string(value)); }
    bool writeVariant(CString const &name, tagVARIANT const &value) override { return note(name, variantText(value)); }
    bool writeByteArray(CString const &name, CByteArray const &value) override
    {
        return note(name, plural(value.GetSize(), "byte"));
    }

private:
    enum class Part
    {
        Root,
        Class,
        Value
    };

    bool note(CString const &name, std::string value)
    {
        auto const inside = std::count(m_frames.begin(), m_frames.end(), Part::Value);
        return note(name, std::move(value), static_cast<std::size_t>(inside));
    }

    bool note(CString const &name, std::string value, std::size_t indent)
    {
        if (std::find(m_frames.begin(), m_frames.end(), Part::Root) == m_frames.end())
            m_members.push_back({std::string(2 * indent, ' ') + printable(name), std::move(value)});
        return true;
    }

    std::vector<Member> m_members;
    std::vector<Part> m_frames;
};

/// Reads the records of a frame that is known to be whole.
class RecordLister
{
public:
    explicit RecordLister(CByteArray const &frame) : m_bytes(frame), m_filer(1) { m_filer.readInPlace(m_bytes); }

    std::vector<Member> members()
    {
        for (bool going = true; going;)
            going = record();
        return std::move(m_members);
    }

private:
    bool record()
    {
        int const position = m_filer.getPosition();
        if (position >= m_bytes.GetSize())
            return false;
        switch (m_bytes[position])
        {
        case VarBool:
        {
            unsigned char value = 0;
            return m_filer.readBool(value) && note("bool", value == 0 ? "false" : "true");
        }
        case VarShort:
        {
            unsigned short value = 0;
            return m_filer.readShort(value) && note("short", std::to_string(static_cast<short>(value)));
        }
        case VarLong:
        {
            std::uint32_t value = 0;
            return m_filer.readLong(value) && note("long", std::to_string(static_cast<std::int32_t>(value)));
        }
        case VarDouble:
        {
            double value = 0;
            return m_filer.readDouble(value) && note("double", number(value));
        }
        case VarWideString:
        {
            CString value;
            return m_filer.readWideString(value) && note("text", quoted(value));
        }
        case VarAnsiString:
        {
            CString value;
            return m_filer.readAnsiString(value) && note("8-bit text", quoted(value));
        }
        case VarByteArray:
        {
            CByteArray value;
            return m_filer.readByteArray(value) && note("bytes", plural(value.GetSize(), "byte"));
        }
        case VarClassBegin: return beginClass();
        case VarMembersBegin: return beginMembers();
        default: return end();
        }
    }

    bool beginClass()
    {
        CString name;
        std::uint32_t version = 0;
        if (!m_filer.checkType(VarClassBegin) || !m_filer.readAnsiString(name) || !m_filer.readLong(version))
            return false;
        bool const isOwn = m_depth == 0;
        bool const isRoot = name.CompareNoCase(kRootClass) == 0;
        if (!isOwn && !isRoot)
            note(printable(name), "");
        ++m_depth;
        if (isRoot && m_rootDepth == 0)
            m_rootDepth = m_depth;
        return true;
    }

    bool beginMembers()
    {
        std::uint32_t number = 0;
        if (!m_filer.checkType(VarMembersBegin) || !m_filer.readLong(number))
            return false;
        note(sentence("section {}", number), "");
        ++m_depth;
        return true;
    }

    bool end()
    {
        int type = 0;
        if (!m_filer.readType(type) || --m_depth <= 0)
            return false;
        if (m_depth < m_rootDepth)
            m_rootDepth = 0;
        return true;
    }

    bool note(std::string const &kind, std::string value)
    {
        if (m_rootDepth == 0)
            m_members.push_back(
                {std::string(2 * static_cast<std::size_t>(std::max(m_depth - 1, 0)), ' ') + kind, std::move(value)});
        return true;
    }

    CByteArray const &m_bytes;
    OKTByteFiler m_filer;
    std::vector<Member> m_members;
    int m_depth = 0;     ///< frames and sections that are open
    int m_rootDepth = 0; ///< inside the frame of OKTDbObject: its depth
};

} // namespace

std::string variantText(tagVARIANT const &value)
{
    switch (value.vt)
    {
    case VT_I2: return std::to_string(value.iVal);
    case VT_I4: return std::to_string(value.lVal);
    case VT_R4: // a file holds a double in this kind too, and reading keeps it as one
    case VT_R8: return number(value.dblVal);
    case VT_BSTR: return quoted(CString(value.bstrVal, static_cast<int>(SysStringLen(value.bstrVal))));
    case VT_BOOL: return value.lVal == 0 ? "false" : value.lVal == -1 ? "true" : std::to_string(value.lVal);
    default: return "";
    }
}

std::vector<Member> membersOf(OKTDbObject const &object)
{
    MemberLister lister;
    OktWithMemory([&] { return object.xmlOut(&lister); });
    return lister.take();
}

std::vector<Member> recordsOf(CByteArray const &frame) { return RecordLister(frame).members(); }

} // namespace okt
