// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>
#include <oktdatabase/oktdbpool.h>

#include <cstdint>
#include <set>

class OKTDbObject;
class OKTFiler;
class OKTIdOrder;
class OKTImageFiler;

// Not installed.

/// Reserves the memory of an image in one block, so that the image is not moved while it grows. The objects are asked how long
/// their frames will be; of a very large pool only a part is asked, spread over all. Where the last image of the same objects is
/// known, nobody is asked: the first frames that are written tell whether the objects are about as they were.
///
/// The reserve is no limit. An image that comes out longer grows by a sixteenth at a time, one that comes out much shorter gives
/// memory back.
class OKTImageRoom
{
public:
    /// `special` are the ids of the pictures, among others: objects that may be very large, each of which is asked. `order` has the
    /// objects in id order, or is empty. All arguments but `known` must outlive this object.
    OKTImageRoom(OKTImageFiler &image, ObjectMap const &objects, std::set<OKTDbObjectId> const &special,
                 OKTIdOrder const &order, OKTDbPool::KnownFrames const &known);

    /// The frame of the object at that position was written; all frames so far take so many bytes.
    void note(int position, std::int64_t bytes)
    {
        if (++m_frames == kFirst)
            noteFirst(position, bytes);
    }
    /// What is known when all frames are written.
    OKTDbPool::KnownFrames known(std::int64_t bytes) const { return known(m_objects, m_special, m_frames, m_first, bytes); }
    /// The same for so many frames, whose first take `first` bytes and which take `bytes` in all.
    static OKTDbPool::KnownFrames known(ObjectMap const &objects, std::set<OKTDbObjectId> const &special, int frames,
                                        std::int64_t first, std::int64_t bytes);
    static constexpr int kFirst = 32; // frames

private:
    void noteFirst(int position, std::int64_t bytes);
    void reserve(std::int64_t bytes);
    std::int64_t askedFrom(int position) const;

    OKTImageFiler &m_image;
    ObjectMap const &m_objects;
    std::set<OKTDbObjectId> const &m_special;
    OKTIdOrder const &m_order;
    OKTDbPool::KnownFrames m_known;
    int m_frames = 0;
    std::int64_t m_first = -1;
};

/// Called by an object at the beginning of its xmlOut, before anything is written: its frame takes about so many bytes. For classes
/// whose objects differ in length.
void OktAnnounceFrame(OKTFiler &filer, std::int64_t bytes);
/// The filer wants to know the length and takes nothing.
bool OktWantsLength(OKTFiler const &filer);
