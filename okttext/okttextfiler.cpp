// SPDX-License-Identifier: MIT
#include <okttext/okttextfiler.h>

#include <okttext/oktnotation.h>
#include <okttext/okttextreader.h>
#include <okttext/okttextwriter.h>

#include <oktdatabase/oktcrashhandler.h>

#include <algorithm>
#include <sstream>

namespace
{
std::string notationOf(CString const &name)
{
    std::string units;
    for (WCHAR const unit : name.View())
        okttext::appendLittle(units, static_cast<std::uint16_t>(unit), 2);
    std::string json;
    okttext::appendUnits(json, units);
    return json;
}

/// Splits the bytes into records; empty: one of them is open or damaged.
std::vector<okttext::Record> recordsOf(okttext::Bytes bytes, std::vector<std::string> const &names)
{
    std::vector<okttext::Record> records;
    std::size_t nextName = 0;
    try
    {
        for (std::size_t offset = 0; offset < bytes.size(); offset = records.back().end)
            records.push_back(okttext::parseRecord(bytes, offset, &names, nextName));
    }
    catch (OKTTextFault const &)
    {
        records.clear();
    }
    return records;
}
} // namespace

std::string OKTTextFiler::text()
try
{
    CByteArray written;
    if (!saveFiler(written))
        return {};
    okttext::Bytes const bytes(reinterpret_cast<char const *>(written.GetData()), static_cast<std::size_t>(written.GetSize()));
    std::vector<okttext::Record> const records = recordsOf(bytes, m_names);
    if (records.empty() && !bytes.empty())
        return {};
    std::string text;
    okttext::TextWriter writer(
        bytes, [&text](std::string_view piece) { text += piece; }, nullptr);
    writer.beginDocument();
    writer.beginList("content");
    for (okttext::Record const &record : records)
        writer.record(record);
    writer.endList();
    writer.endDocument();
    return text;
}
OKT_ANSWER_ZERO

bool OKTTextFiler::loadText(std::string_view text, OKTTextFault &fault)
try
{
    std::istringstream stream{std::string(text)};
    std::string bytes;
    try
    {
        bytes = okttext::readRecords(stream);
    }
    catch (OKTTextFault &found)
    {
        fault = std::move(found);
        return false;
    }
    CByteArray records;
    std::copy_n(bytes.data(), bytes.size(), reinterpret_cast<char *>(records.Extend(static_cast<int>(bytes.size()))));
    return loadFiler(records);
}
OKT_ANSWER_ZERO

bool OKTTextFiler::note(CString const &name, bool written)
try
{
    if (written)
        m_names.push_back(notationOf(name));
    return written;
}
OKT_ANSWER_ZERO

// The other write operations call these.

bool OKTTextFiler::beginWriteClass(CString name, CString className, int version)
{
    return note(name, OKTMemoryFiler::beginWriteClass(name, className, version));
}

bool OKTTextFiler::writeDouble(CString const &name, double const &value)
{
    return note(name, OKTMemoryFiler::writeDouble(name, value));
}

bool OKTTextFiler::writeLong(CString const &name, unsigned long const &value)
{
    return note(name, OKTMemoryFiler::writeLong(name, value));
}

bool OKTTextFiler::writeLong(CString const &name, long const &value)
{
    return note(name, OKTMemoryFiler::writeLong(name, value));
}

bool OKTTextFiler::writeString(CString const &name, CString const &value)
{
    return note(name, OKTMemoryFiler::writeString(name, value));
}

bool OKTTextFiler::writeBool(CString const &name, bool const &value)
{
    return note(name, OKTMemoryFiler::writeBool(name, value));
}

bool OKTTextFiler::writeBool(CString const &name, int const &value) { return OKTMemoryFiler::writeBool(name, value); }

bool OKTTextFiler::writeShort(CString const &name, unsigned short const &value)
{
    return note(name, OKTMemoryFiler::writeShort(name, value));
}

bool OKTTextFiler::writeShort(CString const &name, short const &value)
{
    return note(name, OKTMemoryFiler::writeShort(name, value));
}

bool OKTTextFiler::writeByteArray(CString const &name, CByteArray const &value)
{
    return note(name, OKTMemoryFiler::writeByteArray(name, value));
}
