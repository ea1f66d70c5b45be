// SPDX-License-Identifier: MIT
#include <okttext/okttextpool.h>

#include <oktformat/sentence.h>
#include <okttext/oktpoolparts.h>
#include <okttext/okttextreader.h>
#include <okttext/okttextwriter.h>

#include <algorithm>

namespace
{
using namespace okttext;

void writeText(Bytes bytes, PoolParts &image, OKTTextSink const &sink, OKTTextPutFile const &put,
               OKTTextProgress const &progress)
{
    TextWriter writer(bytes, sink, put);
    writer.beginDocument();
    if (static_cast<std::size_t>(image.headerSize) != image.header.end - image.header.begin)
        writer.headerSize(image.headerSize);
    nameHeader(image.header, bytes);
    writer.header(image.header, image.places);
    writer.beginList("objects");
    std::size_t objects = 0;
    for (PoolPiece const &stretch : image.objects)
    {
        if (progress)
            progress(stretch.begin, objects);
        if (!stretch.isObject)
        {
            writer.raw(bytes.substr(stretch.begin, stretch.end - stretch.begin));
            continue;
        }
        Record frame = parseRecord(bytes, stretch.begin);
        nameObject(frame, bytes);
        writer.record(frame);
        ++objects;
    }
    writer.endList();
    writer.endDocument();
}

/// The value to store in the header for the position or size of an object.
void fillPlaces(std::string &bytes, std::vector<PlaceWord> const &words, TextWriter::Places const &places)
{
    for (PlaceWord const &word : words)
    {
        auto const place = places.find(word.id);
        std::int32_t const known = place == places.end() ? -1 : word.isPosition ? place->second.first : place->second.second;
        std::string number;
        appendLong(number, known);
        bytes.replace(kLengthRecord + word.offset, number.size(), number);
    }
}

std::string assemble(PoolText const &text)
{
    std::string bytes;
    bytes.reserve(kLengthRecord + text.header.size() + text.objects.size());
    appendLong(bytes, text.headerSize.value_or(static_cast<std::int32_t>(text.header.size())));
    bytes += text.header;
    bytes += text.objects;
    if (bytes.size() > 0x7FFFFFFF)
        throw OKTTextFault{"the pool would be larger than 2147483647 bytes"};
    try
    {
        PoolParts const image = takeApart(bytes);
        fillPlaces(bytes, text.words, image.places);
        // After raw bytes the following records may be read differently than the text shows.
        if (!text.words.empty())
            takeApart(bytes);
    }
    catch (OKTTextFault const &fault)
    {
        throw OKTTextFault{okt::sentence("the text gives no pool file, at byte {} of which: {}", fault.byte, fault.reason)};
    }
    return bytes;
}
} // namespace

bool OktExportText(CByteArray const &image, OKTTextSink const &sink, OKTTextFault &fault, OKTTextPutFile const &put,
                   OKTTextProgress const &progress)
{
    Bytes const bytes = bytesOf(image);
    PoolParts parts;
    try
    {
        parts = takeApart(bytes);
    }
    catch (OKTTextFault &found)
    {
        fault = std::move(found);
        return false;
    }
    writeText(bytes, parts, sink, put, progress);
    return true;
}

bool OktImportText(std::istream &text, CByteArray &image, OKTTextFault &fault, OKTTextGetFile const &get)
{
    image.RemoveAll();
    try
    {
        image = arrayOf(assemble(readPool(text, get)));
    }
    catch (OKTTextFault &found)
    {
        fault = std::move(found);
        return false;
    }
    return true;
}
