#include <okttext/okttextpool.h>

#include <okttext/oktnotation.h>
#include <okttext/okttextfiler.h>
#include <okttext/okttextreader.h>
#include <okttext/okttextwriter.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdbpool.h>

#include <algorithm>
#include <memory>

namespace
{
using namespace okttext;

constexpr std::size_t kLengthRecord = 5;
constexpr char kHeaderClass[] = "OKTDbPool";

Bytes bytesOf(CByteArray const &array)
{
    return {reinterpret_cast<char const *>(array.GetData()), static_cast<std::size_t>(array.GetSize())};
}

CByteArray arrayOf(Bytes bytes)
{
    CByteArray array;
    std::copy_n(bytes.data(), bytes.size(), reinterpret_cast<char *>(array.Extend(static_cast<int>(bytes.size()))));
    return array;
}

/// Case of a class name does not count, as for a reader of frames.
bool isSameClass(Bytes left, Bytes right)
{
    auto const folded = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [folded](char l, char r) { return folded(l) == folded(r); });
}

bool isSameKind(Record const &left, Record const &right)
{
    return left.kind == right.kind && (left.kind != Record::Kind::Frame || isSameClass(left.payload, right.payload));
}

/// Gives the records the names of their counterparts. Sections are found by their numbers, everything else by its place.
/// Members behind those that the class knows stay without a name, and so do all of a section in which one is of another kind.
void takeNames(Record &record, Record const &known)
{
    record.name = known.name;
    std::vector<Record *> own;
    for (Record &child : record.children)
    {
        if (child.kind != Record::Kind::Section)
        {
            own.push_back(&child);
            continue;
        }
        auto const section = std::find_if(known.children.begin(), known.children.end(), [&child](Record const &other) {
            return other.kind == Record::Kind::Section && other.number == child.number;
        });
        if (section != known.children.end())
            takeNames(child, *section);
    }
    std::vector<Record const *> others;
    for (Record const &child : known.children)
        if (child.kind != Record::Kind::Section)
            others.push_back(&child);
    std::size_t const count = std::min(own.size(), others.size());
    for (std::size_t i = 0; i < count; ++i)
        if (!isSameKind(*own[i], *others[i]))
            return;
    for (std::size_t i = 0; i < count; ++i)
        takeNames(*own[i], *others[i]);
}

void takeNames(Record &record, OKTTextFiler &known)
{
    CByteArray written;
    if (!known.saveFiler(written) || written.IsEmpty())
        return;
    std::size_t nextName = 0;
    try
    {
        takeNames(record, parseRecord(bytesOf(written), 0, &known.names(), nextName));
    }
    catch (OKTTextFault const &)
    {
        // An object that stopped in the middle of its frame has no names to give.
    }
}

/// The names are those under which the object itself writes what it has read.
void nameObject(Record &frame, Bytes image)
{
    OKTDbPool pool; // of metres, as the file is
    CByteArray const bytes = arrayOf(image.substr(frame.begin, frame.end - frame.begin));
    OKTMemoryFiler reader(&pool);
    reader.readInPlace(bytes);
    CString className;
    OKTDbObject *made = nullptr;
    if (!reader.readNextObjectClass(className) || !pool.CreateObjectFromClassName(className, made))
        return;
    std::unique_ptr<OKTDbObject> const object(made);
    OKTTextFiler names(&pool);
    // Whether all of it was read does not matter: names are taken where the kinds of the records are the same.
    object->xmlIn(&reader);
    object->xmlOut(&names);
    takeNames(frame, names);
}

void nameHeader(Record &frame, Bytes image)
{
    CByteArray const bytes = arrayOf(image.substr(frame.begin, frame.end - frame.begin));
    OKTDbPool pool;
    OKTDbPool::InfoMap places;
    OKTMemoryFiler reader(&pool);
    reader.readInPlace(bytes);
    OKTTextFiler names;
    pool.xmlIn(&reader, places);
    pool.xmlOut(&names, places);
    takeNames(frame, names);
}

/// A pool image taken apart.
struct Image
{
    std::int32_t headerSize = 0; ///< what its first record says
    Record header;
    std::vector<Stretch> objects;
    TextWriter::Places places;
};

Image takeApart(Bytes bytes)
{
    Image image;
    if (bytes.size() < kLengthRecord || bytes.front() != 2)
        throw OKTTextFault{"this is no pool file: it does not begin with the size of a header", 0};
    image.headerSize = parseRecord(bytes, 0).number;
    if (bytes.size() == kLengthRecord || bytes[kLengthRecord] != 6)
        throw OKTTextFault{"this is no pool file: no header stands here", static_cast<long>(kLengthRecord)};
    image.header = parseRecord(bytes, kLengthRecord);
    if (!isSameClass(image.header.payload, kHeaderClass))
        throw OKTTextFault{"this is no pool file: the header is a frame of the class \"" + readable(image.header.payload) +
                               "\"",
                           static_cast<long>(kLengthRecord)};
    image.objects = findObjects(bytes, image.header.end);
    auto const blockBegin = static_cast<std::uint32_t>(kLengthRecord) + static_cast<std::uint32_t>(image.headerSize);
    for (Stretch const &stretch : image.objects)
        if (stretch.isObject && !stretch.id.empty())
            image.places.try_emplace(stretch.id,
                                     static_cast<std::int32_t>(static_cast<std::uint32_t>(stretch.begin) - blockBegin),
                                     static_cast<std::int32_t>(stretch.end - stretch.begin));
    return image;
}

void writeText(Bytes bytes, Image &image, OKTTextSink const &sink, OKTTextPutFile const &put, OKTTextProgress const &progress)
{
    TextWriter writer(bytes, sink, put);
    writer.beginDocument();
    if (static_cast<std::size_t>(image.headerSize) != image.header.end - image.header.begin)
        writer.headerSize(image.headerSize);
    nameHeader(image.header, bytes);
    writer.header(image.header, image.places);
    writer.beginList("objects");
    std::size_t objects = 0;
    for (Stretch const &stretch : image.objects)
    {
        if (progress)
            progress(stretch.begin, objects++);
        if (!stretch.isObject)
        {
            writer.raw(bytes.substr(stretch.begin, stretch.end - stretch.begin));
            continue;
        }
        Record frame = parseRecord(bytes, stretch.begin);
        nameObject(frame, bytes);
        writer.record(frame);
    }
    writer.endList();
    writer.endDocument();
}

/// What stands in the header for the place or size of an object.
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
        Image const image = takeApart(bytes);
        fillPlaces(bytes, text.words, image.places);
        // A raw stretch can make something else of the records behind it than the text shows.
        if (!text.words.empty())
            takeApart(bytes);
    }
    catch (OKTTextFault const &fault)
    {
        throw OKTTextFault{"the text gives no pool file, at byte " + std::to_string(fault.byte) + " of which: " + fault.reason};
    }
    return bytes;
}
} // namespace

bool OktExportText(CByteArray const &image, OKTTextSink const &sink, OKTTextFault &fault, OKTTextPutFile const &put,
                   OKTTextProgress const &progress)
{
    Bytes const bytes = bytesOf(image);
    Image parts;
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
