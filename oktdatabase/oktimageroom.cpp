// SPDX-License-Identifier: MIT
#include <oktdatabase/oktimageroom.h>

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktidorder.h>
#include <oktdatabase/oktimagefiler.h>
#include <oktdatabase/oktownclasses.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <typeinfo>

namespace
{
constexpr int kLarge = 1024;               // objects of a pool whose frames are remembered
constexpr int kAsked = 16384;              // objects that are asked at most, beside the special ones
constexpr std::int64_t kUnknown = 512;     // bytes of a frame of which nothing is known
constexpr std::int64_t kStored = 256;      // bytes of the first frames, each
constexpr std::int64_t kSurplus = 20;      // a twentieth more than an estimate
constexpr std::int64_t kAlike = 32;        // frames are as they were when they differ by no more than this part
constexpr std::int64_t kLargeFrame = 4096; // bytes, for which a buffer makes room at once
constexpr std::int64_t kStep = 16;         // the part by which a large buffer grows by itself
constexpr std::int64_t kRoom = 64;         // bytes that the open frames keep free behind them

/// A filer that lets an object announce its frame and go no further.
class LengthProbe : public OKTMemoryFiler
{
public:
    bool beginWriteClass(CString, CString, int) override { return false; }

    /// 0: the object announces nothing. Objects of client modules may do anything while they are written, and are not asked.
    std::int64_t lengthOf(OKTDbObject const &object)
    {
        m_announced = 0;
        if (OktIsOwnObject(object))
            object.xmlOut(this);
        return m_announced;
    }

    std::int64_t m_announced = 0;
};

/// The bytes that the frames of these objects take, of those that tell.
std::int64_t announcedFrames(ObjectMap const &objects, std::set<OKTDbObjectId> const &ids)
{
    LengthProbe probe;
    std::int64_t bytes = 0;
    for (OKTDbObjectId const &id : ids)
        if (OKTDbObject *const *const entry = objects.find(id); entry != nullptr && *entry != nullptr)
            bytes += probe.lengthOf(**entry);
    return bytes;
}

/// A special object is among the first.
bool isSpecialInFront(ObjectMap const &objects, std::set<OKTDbObjectId> const &special)
{
    auto entry = objects.begin();
    for (int i = 0; i < OKTImageRoom::kFirst && entry != objects.end(); ++i, ++entry)
        if (special.contains(entry->first))
            return true;
    return false;
}
} // namespace

bool OktWantsLength(OKTFiler const &filer) { return typeid(filer) == typeid(LengthProbe); }

void OktAnnounceFrame(OKTFiler &filer, std::int64_t bytes)
{
    if (OktWantsLength(filer))
        static_cast<LengthProbe &>(filer).m_announced = bytes;
    else if (bytes >= kLargeFrame && typeid(filer) == typeid(OKTMemoryFiler))
    {
        // No less than the buffer grows by itself: many objects may announce a little each.
        auto &memory = static_cast<OKTMemoryFiler &>(filer);
        std::int64_t const length = memory.GetFilerLength();
        if (length + bytes + kRoom > OKTImageFiler::capacity(memory))
            OKTImageFiler::reserve(memory, length + std::max(bytes + kRoom, length / kStep));
    }
}

OKTImageRoom::OKTImageRoom(OKTImageFiler &image, ObjectMap const &objects, std::set<OKTDbObjectId> const &special,
                           OKTIdOrder const &order, OKTDbPool::KnownFrames const &known)
    : m_image(image), m_objects(objects), m_special(special), m_order(order), m_known(known)
{
    // A large object among the first would move them before the rest is reserved.
    if (m_known.first >= 0 && isSpecialInFront(objects, special))
        m_known = {};
    reserve(m_known.first < 0 ? askedFrom(0) : kFirst * kStored);
}

void OKTImageRoom::noteFirst(int position, std::int64_t bytes)
{
    m_first = bytes;
    if (m_known.first < 0)
        return; // all is reserved
    bool const isAlike = std::abs(bytes - m_known.first) <= m_known.first / kAlike;
    reserve(isAlike ? m_known.rest + m_known.rest / kSurplus + announcedFrames(m_objects, m_special) : askedFrom(position + 1));
}

OKTDbPool::KnownFrames OKTImageRoom::known(ObjectMap const &objects, std::set<OKTDbObjectId> const &special, int frames,
                                           std::int64_t first, std::int64_t bytes)
{
    // A small pool is asked as a whole each time.
    if (frames < kLarge || isSpecialInFront(objects, special))
        return {};
    return {first, bytes - first - announcedFrames(objects, special), 0};
}

void OKTImageRoom::reserve(std::int64_t bytes) { m_image.reserve(m_image.length() + bytes + kRoom); }

/// The bytes that the frames from that position on take.
std::int64_t OKTImageRoom::askedFrom(int position) const
{
    LengthProbe probe;
    int const count = m_objects.getSize() - position;
    int const step = count / kAsked + 1;
    bool const areAllAsked = step == 1;
    std::int64_t bytes = 0;
    int asked = 0;
    auto const ask = [&](OKTDbObject const *object, auto isSpecial) {
        ++asked;
        std::int64_t const announced = probe.lengthOf(*object);
        if (areAllAsked || announced <= kUnknown || !isSpecial())
            bytes += announced == 0 ? kUnknown : announced;
    };
    if (!m_order.isEmpty())
    {
        // The ids stand in the objects, whose memory is near then.
        for (auto i = static_cast<std::size_t>(position + step - 1); i < m_order.count(); i += static_cast<std::size_t>(step))
        {
            m_order.fetchAhead(i, static_cast<std::size_t>(step));
            if (OKTDbObject const *const object = m_order[i].object)
                ask(object, [&] { return m_special.contains(object->objectId()); });
        }
    }
    else
    {
        int skipped = 0;
        for (auto entry = std::next(m_objects.begin(), std::min(position, m_objects.getSize())); entry != m_objects.end();
             ++entry)
        {
            if (++skipped < step || entry->second == nullptr)
                continue;
            skipped = 0;
            ask(entry->second, [&] { return m_special.contains(entry->first); });
        }
    }
    if (areAllAsked || asked == 0)
        return bytes;
    double const share = (1.0 + 1.0 / kSurplus) * count / asked;
    return static_cast<std::int64_t>(static_cast<double>(bytes) * share) + announcedFrames(m_objects, m_special);
}
