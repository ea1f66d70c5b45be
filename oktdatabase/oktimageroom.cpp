// SPDX-License-Identifier: MIT
#include <oktdatabase/oktimageroom.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktimagefiler.h>
#include <oktdatabase/oktownclasses.h>

#include <algorithm>
#include <iterator>

namespace
{
constexpr int kFewest = 32;            // objects that are written before memory is reserved,
constexpr int kShare = 32;             // or that part of a larger pool,
constexpr int kLargest = 4;            // and no more than that part, however few classes are known by then
constexpr int kLooked = 1024;          // objects whose classes are looked at
constexpr std::int64_t kUnknown = 512; // bytes of a frame while none is known,
constexpr std::int64_t kLeast = 256;   // and what most have at least
constexpr std::int64_t kSurplus = 20;  // a twentieth more than expected
constexpr std::int64_t kStep = 16;     // the part by which a large buffer grows by itself
constexpr std::int64_t kRoom = 64;     // bytes that the open frames keep free behind them

/// A filer that lets an object announce its frame and go no further.
class LengthProbe : public OKTMemoryFiler
{
public:
    bool beginWriteClass(CString, CString, int) override { return false; }

    std::int64_t m_announced = 0;
};

/// 0: it announces nothing. Objects of client modules may do anything while they are written, and are not asked.
std::int64_t announcedBy(OKTDbObject const &object)
{
    LengthProbe probe;
    if (OktIsOwnObject(object))
        object.xmlOut(&probe);
    return probe.m_announced;
}
} // namespace

void OktAnnounceFrame(OKTFiler &filer, std::int64_t bytes)
{
    if (typeid(filer) == typeid(LengthProbe))
        static_cast<LengthProbe &>(filer).m_announced = bytes;
    else if (typeid(filer) == typeid(OKTMemoryFiler))
    {
        // No less than the buffer grows by itself: many objects may announce a little each.
        auto &memory = static_cast<OKTMemoryFiler &>(filer);
        std::int64_t const length = memory.GetFilerLength();
        if (length + bytes + kRoom > OKTImageFiler::capacity(memory))
            OKTImageFiler::reserve(memory, length + std::max(bytes + kRoom, length / kStep));
    }
}

OKTImageRoom::OKTImageRoom(OKTImageFiler &image, ObjectMap const &objects, IdArray const &pictures)
    : m_image(image), m_objects(objects), m_pictures(pictures), m_due(std::max(kFewest, objects.getSize() / kShare))
{
    std::int64_t bytes = m_image.length() + kRoom;
    if (objects.getSize() > kFewest)
    {
        m_image.reserve(bytes + kLeast * m_due);
        return;
    }
    for (auto const &[id, object] : objects)
        bytes += std::max(object == nullptr ? 0 : announcedBy(*object), kUnknown);
    m_image.reserve(bytes);
    m_due = 0;
}

/// The entry of the class, a new one if need be; null when there are more classes than entries.
OKTImageRoom::Class *OKTImageRoom::classOf(std::type_info const &type)
{
    for (Class &known : m_classes)
    {
        if (known.type == nullptr)
            known.type = &type;
        if (known.type == &type)
            return &known;
    }
    return nullptr;
}

void OKTImageRoom::learn(int position, std::type_info const &type, int bytes)
{
    if (Class *const known = classOf(type))
    {
        ++known->frames;
        known->bytes += bytes;
    }
    int const count = m_objects.getSize();
    if (position < m_due || position >= count)
        return;
    bool areAllKnown = true;
    std::int64_t const announced = announcedBehind(m_objects.keyAt(static_cast<unsigned int>(position)));
    std::int64_t const length = m_image.length() + expectedBehind(position, areAllKnown);
    if (!areAllKnown && 2 * m_due < count / kLargest)
    {
        m_due *= 2; // a class has not been met yet
        return;
    }
    m_image.reserve(length + length / kSurplus + announced + kRoom);
    m_due = 0;
}

/// What the pictures announce whose ids are behind that one. Their classes are then known to announce.
std::int64_t OKTImageRoom::announcedBehind(OKTDbObjectId const &last)
{
    std::int64_t sum = 0;
    for (OKTDbObjectId const &id : m_pictures)
    {
        OKTDbObject *const *const entry = last < id ? m_objects.find(id) : nullptr;
        std::int64_t const bytes = entry == nullptr || *entry == nullptr ? 0 : announcedBy(**entry);
        Class *const known = bytes == 0 ? nullptr : classOf(typeid(**entry));
        if (known == nullptr)
            continue;
        known->isAnnounced = true;
        sum += bytes;
    }
    return sum;
}

/// About how many bytes the other objects behind that position take.
std::int64_t OKTImageRoom::expectedBehind(int position, bool &areAllKnown)
{
    std::int64_t bytes = 0;
    std::int64_t frames = 0;
    for (Class const &known : m_classes)
    {
        bytes += known.isAnnounced ? 0 : known.bytes;
        frames += known.isAnnounced ? 0 : known.frames;
    }
    std::int64_t const average = frames == 0 ? kUnknown : bytes / frames;

    int const first = position + 1;
    std::int64_t expected = 0;
    int looked = 0;
    std::type_info const *type = nullptr; // of the last object, and what one of its class is expected to take
    std::int64_t each = 0;
    for (auto entry = std::next(m_objects.begin(), first); entry != m_objects.end() && looked < kLooked; ++entry, ++looked)
    {
        if (entry->second == nullptr)
            continue;
        OKTDbObject const &object = *entry->second;
        if (&typeid(object) != type)
        {
            type = &typeid(object);
            Class const *const known = classOf(*type);
            bool const isKnown = known != nullptr && (known->frames > 0 || known->isAnnounced);
            areAllKnown = areAllKnown && isKnown;
            each = !isKnown ? average : known->isAnnounced ? 0 : known->bytes / known->frames;
        }
        expected += each;
    }
    return looked == 0 ? 0 : expected * (m_objects.getSize() - first) / looked;
}
