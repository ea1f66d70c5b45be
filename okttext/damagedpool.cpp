// SPDX-License-Identifier: MIT
#include <okttext/damagedpool.h>

#include <oktformat/objectscan.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>

#include <algorithm>
#include <optional>

namespace okt
{

namespace
{

using okttext::Bytes;
using okttext::Record;

/// The frame of that stretch, where its records are whole.
std::optional<Record> recordOf(Bytes bytes, std::size_t begin, std::size_t end)
{
    try
    {
        Record record = okttext::parseRecord(bytes, begin);
        if (record.end == end)
            return record;
    }
    catch (OKTTextFault const &)
    {
        // Bytes in the shape of an object, then.
    }
    return std::nullopt;
}

/// Reads a file from start to end.
class Apart
{
public:
    explicit Apart(Bytes bytes) : m_bytes(bytes), m_source(bytes) {}

    DamagedPool take()
    {
        std::int64_t const begin = takeHeader();
        ObjectScan scan(m_source, begin);
        bool isRestOfHeader = !m_pool.hasHeader;
        while (std::optional<Stretch> const stretch = scan.next())
        {
            bool const isObject = stretch->kind == Stretch::Kind::Object && takeObject(*stretch);
            if (!isObject)
                takeRaw(stretch->begin, stretch->end);
            if (!isObject && stretch->kind != Stretch::Kind::Gap && !isRestOfHeader)
                m_pool.faults.push_back({stretch->faultAt, stretch->fault()});
            isRestOfHeader = false;
        }
        return std::move(m_pool);
    }

private:
    std::int64_t takeHeader()
    {
        HeaderPlace header = findHeader(m_source);
        header.end = std::min(header.end, m_source.size()); // a file of a few bytes may end before that offset
        auto const begin = static_cast<std::size_t>(header.begin);
        std::optional<Record> frame;
        if (header.isWhole)
            frame = recordOf(m_bytes, begin, static_cast<std::size_t>(header.end));
        if (frame)
        {
            if (header.statedSize < 0 || begin != okttext::kLengthRecord)
                takeRaw(0, header.begin); // the record with the size of the header is missing
            m_pool.hasHeader = true;
            m_pool.parts.header = std::move(*frame);
            m_pool.parts.headerSize = header.statedSize;
            return header.end;
        }
        if (!header.isWhole)
            m_pool.faults.push_back({header.faultAt, header.fault});
        takeRaw(0, header.end);
        return header.end;
    }

    bool takeObject(Stretch const &stretch)
    {
        auto const begin = static_cast<std::size_t>(stretch.begin);
        auto const end = static_cast<std::size_t>(stretch.end);
        std::optional<Record> const frame = recordOf(m_bytes, begin, end);
        if (!frame)
            return false;
        std::string id = okttext::firstIdIn(*frame);
        if (!id.empty() && m_pool.hasHeader)
        {
            auto const block =
                static_cast<std::uint32_t>(okttext::kLengthRecord) + static_cast<std::uint32_t>(m_pool.parts.headerSize);
            m_pool.parts.places.try_emplace(id, static_cast<std::int32_t>(static_cast<std::uint32_t>(begin) - block),
                                            static_cast<std::int32_t>(end - begin));
        }
        m_pool.parts.objects.push_back({begin, end, true, std::move(id)});
        return true;
    }

    /// Adjacent raw stretches become one.
    void takeRaw(std::int64_t begin, std::int64_t end)
    {
        if (begin == end)
            return;
        std::vector<okttext::PoolPiece> &objects = m_pool.parts.objects;
        if (!objects.empty() && !objects.back().isObject)
            objects.back().end = static_cast<std::size_t>(end);
        else
            objects.push_back({static_cast<std::size_t>(begin), static_cast<std::size_t>(end), false, {}});
    }

    Bytes m_bytes;
    ByteSource m_source;
    DamagedPool m_pool;
};

/// Valid UTF-8 without a zero byte.
bool isText(Bytes bytes) { return bytes.find('\0') == Bytes::npos && CString::FromUtf8(bytes).ToUtf8() == bytes; }

} // namespace

std::string PoolFault::text() const { return sentence("{}: {}", byteAt(byte), reason); }

bool DamagedPool::isNothing() const
{
    return !hasHeader && std::none_of(parts.objects.begin(), parts.objects.end(),
                                      [](okttext::PoolPiece const &stretch) { return stretch.isObject; });
}

DamagedPool takeApartDamaged(Bytes bytes, OKTTextFault const &fault)
{
    DamagedPool pool = Apart(bytes).take();
    if (pool.faults.empty())
        pool.faults.push_back({fault.byte, fault.reason});
    return pool;
}

void writeDamagedText(Bytes bytes, OKTTextFault const &fault, OKTTextSink const &sink)
{
    constexpr std::size_t kLine = 57; // 76 characters of base64
    DamagedPool pool = takeApartDamaged(bytes, fault);
    for (PoolFault const &found : pool.faults)
        sink(sentence("! {}\n", printable(std::string_view(found.text()))));
    if (pool.isNothing() && isText(bytes))
    {
        sink(bytes);
        if (!bytes.ends_with('\n'))
            sink("\n");
        return;
    }
    okttext::TextWriter writer(bytes, sink, {});
    writer.beginDocument();
    if (pool.hasHeader)
    {
        if (static_cast<std::size_t>(pool.parts.headerSize) != pool.parts.header.end - pool.parts.header.begin)
            writer.headerSize(pool.parts.headerSize);
        okttext::nameHeader(pool.parts.header, bytes);
        writer.header(pool.parts.header, pool.parts.places);
    }
    writer.beginList("objects");
    for (okttext::PoolPiece const &stretch : pool.parts.objects)
    {
        if (!stretch.isObject)
        {
            for (std::size_t at = stretch.begin; at < stretch.end; at += kLine)
                writer.raw(bytes.substr(at, std::min(kLine, stretch.end - at)));
            continue;
        }
        Record frame = okttext::parseRecord(bytes, stretch.begin);
        okttext::nameObject(frame, bytes);
        writer.record(frame);
    }
    writer.endList();
    writer.endDocument();
}

} // namespace okt
