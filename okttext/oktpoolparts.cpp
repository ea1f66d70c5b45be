// SPDX-License-Identifier: MIT
#include <okttext/oktpoolparts.h>

#include <oktformat/sentence.h>
#include <okttext/oktnotation.h>
#include <okttext/okttextfiler.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktshortage.h>

#include <algorithm>
#include <memory>

namespace okttext
{

namespace
{

constexpr char kHeaderClass[] = "OKTDbPool";

/// Compares class names without case, as the readers of frames do.
bool isSameClass(Bytes left, Bytes right)
{
    auto const folded = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [folded](char l, char r) { return folded(l) == folded(r); });
}

bool isSameKind(Record const &left, Record const &right)
{
    return left.type == right.type && (!left.isFrame() || isSameClass(left.payload, right.payload));
}

/// Copies the names of the corresponding records. Sections correspond by number, everything else by position.
/// Members after those that the class knows get no name. Nor do all members of a section in which one has another kind.
void takeNames(Record &record, Record const &known)
{
    record.name = known.name;
    std::vector<Record *> own;
    for (Record &child : record.children)
    {
        if (!child.isSection())
        {
            own.push_back(&child);
            continue;
        }
        auto const section = std::find_if(known.children.begin(), known.children.end(), [&child](Record const &other) {
            return other.isSection() && other.number == child.number;
        });
        if (section != known.children.end())
            takeNames(child, *section);
    }
    std::vector<Record const *> others;
    for (Record const &child : known.children)
        if (!child.isSection())
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
    if (!OktWithMemory([&] { return known.saveFiler(written); }) || written.IsEmpty())
        return;
    std::size_t nextName = 0;
    try
    {
        takeNames(record, parseRecord(bytesOf(written), 0, &known.names(), nextName));
    }
    catch (OKTTextFault const &)
    {
        // An object that failed in the middle of its frame gives no names.
    }
}

} // namespace

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

namespace
{

/// The members as the library names them. False: it does not know the class.
bool nameKnownObject(OKTTextFiler &names, OKTDbPool &pool, CByteArray const &bytes)
{
    OKTMemoryFiler reader(&pool);
    reader.readInPlace(bytes);
    CString className;
    OKTDbObject *made = nullptr;
    bool const isMade = reader.readNextObjectClass(className) && pool.CreateObjectFromClassName(className, made);
    std::unique_ptr<OKTDbObject> const object(made);
    if (!isMade)
        return false;
    // It may have been read only in part: names are copied only where the kinds of the records agree.
    object->xmlIn(&reader);
    object->xmlOut(&names);
    return true;
}

} // namespace

void nameObject(Record &frame, Bytes image)
{
    CByteArray const bytes = arrayOf(image.substr(frame.begin, frame.end - frame.begin));
    OKTDbPool pool; // its unit is the metre, as in the file
    OKTTextFiler names(&pool);
    if (OktWithMemory([&] { return nameKnownObject(names, pool, bytes); }))
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
    OktWithMemory([&] {
        pool.xmlIn(&reader, places);
        return pool.xmlOut(&names, places);
    });
    takeNames(frame, names);
}

PoolParts takeApart(Bytes bytes)
{
    PoolParts image;
    if (bytes.size() < kLengthRecord || bytes.front() != 2)
        throw OKTTextFault{"this is no pool file: it does not begin with the size of a header", 0};
    image.headerSize = parseRecord(bytes, 0).number;
    if (bytes.size() == kLengthRecord || bytes[kLengthRecord] != 6)
        throw OKTTextFault{"this is no pool file: no header stands here", static_cast<long>(kLengthRecord)};
    image.header = parseRecord(bytes, kLengthRecord);
    if (!isSameClass(image.header.payload, kHeaderClass))
        throw OKTTextFault{
            okt::sentence("this is no pool file: the header is a frame of the class \"{}\"", readable(image.header.payload)),
            static_cast<long>(kLengthRecord)};
    image.objects = findObjects(bytes, image.header.end);
    auto const blockBegin = static_cast<std::uint32_t>(kLengthRecord) + static_cast<std::uint32_t>(image.headerSize);
    for (PoolPiece const &stretch : image.objects)
        if (stretch.isObject && !stretch.id.empty())
            image.places.try_emplace(stretch.id,
                                     static_cast<std::int32_t>(static_cast<std::uint32_t>(stretch.begin) - blockBegin),
                                     static_cast<std::int32_t>(stretch.end - stretch.begin));
    return image;
}

} // namespace okttext
