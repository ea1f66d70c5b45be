// SPDX-License-Identifier: MIT
#pragma once

#include <okttext/oktrecords.h>
#include <okttext/okttextpool.h>

#include <map>
#include <optional>
#include <string>
#include <utility>

/// Converts records to JSON, one value a line. Own writing, joined by hand: a pool of any size goes out as it is read, and the bytes are promised. Not installed.
namespace okttext
{

class TextWriter
{
public:
    /// Position (from the start of the objects block) and size of the objects, by id. If an id occurs twice, of the first object.
    using Places = std::map<std::string, std::pair<std::int32_t, std::int32_t>>;

    /// `bytes` is the stream whose records are written.
    TextWriter(Bytes bytes, OKTTextSink sink, OKTTextPutFile put)
        : m_bytes(bytes), m_sink(std::move(sink)), m_put(std::move(put))
    {
    }

    /// The first lines: notation and its version.
    void beginDocument();
    /// The stated size of the header, where it is wrong.
    void headerSize(std::int32_t size);
    /// The header of a pool; positions and sizes of objects are written as words.
    void header(Record const &frame, Places const &places);
    void beginList(std::string_view key);
    /// An entry of the list.
    void record(Record const &record);
    void raw(Bytes stretch);
    void endList();
    void endDocument();

private:
    using List = std::vector<Record>;

    void newLine();
    void beginEntry(bool &isFirst);
    void content(List const &records, bool isPicture);
    void entry(Record const &record);
    void value(Record const &record);
    void name(Record const &record);
    void stored(std::string_view key, Bytes bytes, bool isWorthAFile);
    std::size_t idList(List const &records, std::size_t first, bool &isFirst);
    bool picture(Record const &head, Record const &rest, bool &isFirst);
    std::optional<std::string_view> placeWord(Record const &record) const;
    void flush(std::size_t beyond);

    Bytes m_bytes;
    OKTTextSink m_sink;
    OKTTextPutFile m_put;
    std::string m_text;
    std::size_t m_indent = 0;
    bool m_isFirst = true; ///< of the list
    Places const *m_places = nullptr;
    std::string m_lastId;
    std::string m_stem; ///< for files beside: the id of the object
};

} // namespace okttext
