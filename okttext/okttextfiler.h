// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktmemoryfiler.h>
#include <okttext/okttextfault.h>

#include <string>
#include <string_view>
#include <vector>

/// The text filer: the protocol as JSON. What any stored class writes to it can be had as text, and what a text holds can be
/// read by the class:
///
///     OKTTextFiler writer;
///     parameter.xmlOut(&writer);
///     std::string const text = writer.text();
///
///     OKTTextFiler reader(&pool);
///     OKTTextFault fault;
///     bool const read = reader.loadText(text, fault) && other.xmlIn(&reader) == eFilerOk;
///
/// It is a memory filer whose records are converted to text, so both store exactly the same, with the same limits. As in
/// every filer of records, members are read by position: the names in a text are only for people.
class OKTTextFiler : public OKTMemoryFiler
{
public:
    OKTTextFiler(OKTDbPool *pool = nullptr) : OKTMemoryFiler(pool) {} // NOLINT: the published signature

    /// The document written so far; empty while a frame is open, and while reading.
    std::string text();
    /// Switches to reading, at the first record of the text. False, and the filer is unchanged: the text is not JSON, or not of this
    /// form.
    bool loadText(std::string_view text, OKTTextFault &fault);

    /// The names of the frames and values that were written, in their order, as they appear between quotation marks.
    std::vector<std::string> const &names() const { return m_names; }

    bool beginWriteClass(CString name, CString className, int version) override;
    bool writeDouble(CString const &name, double const &value) override;
    bool writeLong(CString const &name, unsigned long const &value) override;
    bool writeLong(CString const &name, long const &value) override;
    bool writeString(CString const &name, CString const &value) override;
    bool writeBool(CString const &name, bool const &value) override;
    bool writeBool(CString const &name, int const &value) override;
    bool writeShort(CString const &name, unsigned short const &value) override;
    bool writeShort(CString const &name, short const &value) override;
    bool writeByteArray(CString const &name, CByteArray const &value) override;

private:
    bool note(CString const &name, bool written);

    std::vector<std::string> m_names;
};
