// SPDX-License-Identifier: MIT
#include <oktdatabase/oktidorder.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktimagefiler.h>
#include <oktdatabase/oktimageroom.h>
#include <oktdatabase/oktwholeparameter.h>
#include <oktplatform/oktguid.h>
#include <oktplatform/okthints.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <functional>
#include <iterator>
#include <new>
#include <utility>

namespace
{
constexpr int kFew = 512;   // objects whose walk is quicker than the array
constexpr int kLooked = 64; // steps of the walk that are looked at

// The sort looks at the first 33 bits, 11 at a time. Of a million random ids some 60 pairs are alike in these.
constexpr unsigned int kDigit = 11;
constexpr std::size_t kDigits = 3;
constexpr std::size_t kValues = std::size_t{1} << kDigit;
constexpr unsigned int kUnsorted = 64 - kDigits * kDigit;

using Place = OKTIdOrder::Place;

std::size_t digitOf(std::uint64_t front, std::size_t digit)
{
    return static_cast<std::size_t>(front >> (kUnsorted + digit * kDigit)) & (kValues - 1);
}

/// A walk in id order would go back and forth in memory.
bool isScattered(ObjectMap const &objects)
{
    int back = 0;
    auto entry = objects.begin();
    for (int i = 0; i < kLooked; ++i)
    {
        void const *const last = &*entry++;
        back += std::less<void const *>()(&*entry, last) ? 1 : 0;
    }
    return back > kLooked / 8;
}
} // namespace

std::uint64_t OKTIdOrder::frontOf(OKTDbObjectId const &id)
{
    _GUID const guid = id.getGuid();
    auto const bytes = OktFileBytesOfGuid(guid);
    std::uint64_t front;
    std::memcpy(&front, &bytes[0], sizeof front);
    return std::endian::native == std::endian::little ? OktReversedBytes(front) : front;
}

OKTIdOrder::OKTIdOrder(ObjectMap const &objects)
{
    if (objects.getSize() < kFew || !isScattered(objects) || !collect(objects) || !sort())
        m_count = 0;
    if (m_count == 0)
        m_places.reset();
}

bool OKTIdOrder::collect(ObjectMap const &objects)
try
{
    m_places = std::make_unique_for_overwrite<Place[]>(static_cast<std::size_t>(objects.getSize()));
    return objects.forEachInMemory([this](OKTDbObjectId const &id, OKTDbObject const *object) {
        m_places[m_count++] = {frontOf(id), object};
    });
}
catch (std::bad_alloc const &)
{
    return false; // and the walk needs no memory
}

/// False: two of the fronts are alike, or there is no memory.
bool OKTIdOrder::sort()
try
{
    auto sorted = std::make_unique_for_overwrite<Place[]>(m_count);
    using Ends = std::array<std::array<std::size_t, kValues>, kDigits>;
    auto const begins = std::make_unique<Ends>();
    for (std::size_t i = 0; i < m_count; ++i)
        for (std::size_t digit = 0; digit < kDigits; ++digit)
            ++(*begins)[digit][digitOf(m_places[i].front, digit)];
    for (std::size_t digit = 0; digit < kDigits; ++digit)
    {
        auto &next = (*begins)[digit];
        std::size_t begin = 0;
        for (std::size_t &count : next)
            begin += std::exchange(count, begin);
        for (std::size_t i = 0; i < m_count; ++i)
            sorted[next[digitOf(m_places[i].front, digit)]++] = m_places[i];
        std::swap(sorted, m_places);
    }
    Place *const end = m_places.get() + m_count;
    for (Place *place = m_places.get(); place != end;)
    {
        Place *const run = place;
        do
            ++place;
        while (place != end && place->front >> kUnsorted == run->front >> kUnsorted);
        if (place - run > 1)
            std::sort(run, place, [](Place const &left, Place const &right) { return left.front < right.front; });
    }
    return std::adjacent_find(m_places.get(), end,
                              [](Place const &left, Place const &right) { return left.front == right.front; }) == end;
}
catch (std::bad_alloc const &)
{
    return false;
}

// In two stages, since where the texts of an object lie stands in the object.
void OKTIdOrder::fetchAhead(std::size_t position, std::size_t step) const
{
    constexpr std::size_t kObjectSteps = 20;
    constexpr std::size_t kTextSteps = 10;
    constexpr int kBytes = 256;
    constexpr int kLine = 64;
    if (std::size_t const ahead = position + kObjectSteps * step; ahead < m_count)
        for (int at = 0; at < kBytes; at += kLine)
            OktFetch(reinterpret_cast<char const *>(m_places[ahead].object) + at);
    if (std::size_t const ahead = position + kTextSteps * step; ahead < m_count)
        OKTWholeParameter::fetchTexts(m_places[ahead].object);
}

bool OktWriteInOrder(OKTIdOrder const &order, ObjectMap const &objects, std::set<OKTDbObjectId> const &special,
                     OKTImageFiler &stream, OKTImageRoom &room, std::int32_t &begin, InfoMap &info)
{
    int const start = stream.length() - begin;
    auto next = special.begin();
    for (std::size_t i = 0; i < order.count(); ++i)
    {
        order.fetchAhead(i);
        auto const &[front, object] = order[i];
        if (object == nullptr)
            continue;
        if (object->xmlOut(&stream.filer()) != eFilerOk)
            return false;
        std::int32_t const end = stream.length() - start;
        while (next != special.end() && OKTIdOrder::frontOf(*next) < front)
            ++next;
        // Of the ids that begin so, the map holds one.
        for (auto id = next; id != special.end() && OKTIdOrder::frontOf(*id) == front; ++id)
            if (objects.contains(*id))
                info[*id] = {begin, end - begin};
        room.note(static_cast<int>(i), end);
        begin = end;
    }
    return true;
}
