// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktcontainers.h>

#include <array>
#include <cstdint>
#include <typeinfo>

class OKTFiler;
class OKTImageFiler;

// Not installed.

/// Reserves the memory of an image once, early in a save, so that the image is not moved while it grows. Nothing is kept from one
/// save to the next and no class is asked: the first frames that are written tell how long the frames of each class are, a look at
/// the classes of the objects that follow tells how many of each there are, and a little is added. Objects that announce the
/// length of their frames, as pictures do, are counted exactly. A pool of a few objects gets its memory before the first of them.
///
/// It is a guess. An image that comes out longer grows by a sixteenth at a time, one that comes out much shorter gives memory back.
/// Without it a first save of 100,000 objects grows some 60 times.
class OKTImageRoom
{
public:
    /// `pictures` are the ids of the objects that may announce their length. All three must outlive this object.
    OKTImageRoom(OKTImageFiler &image, ObjectMap const &objects, IdArray const &pictures);

    /// The object at that position, of that class, was written just now and took so many bytes.
    void note(int position, std::type_info const &type, int bytes)
    {
        if (m_due > 0)
            learn(position, type, bytes);
    }

private:
    /// What is known of one class.
    struct Class
    {
        std::type_info const *type = nullptr;
        int frames = 0; // written so far
        std::int64_t bytes = 0;
        bool isAnnounced = false;
    };

    Class *classOf(std::type_info const &type);
    void learn(int position, std::type_info const &type, int bytes);
    std::int64_t announcedBehind(OKTDbObjectId const &last);
    std::int64_t expectedBehind(int position, bool &areAllKnown);

    OKTImageFiler &m_image;
    ObjectMap const &m_objects;
    IdArray const &m_pictures;
    int m_due; // the position at which the rest is foretold; 0: that was done
    std::array<Class, 16> m_classes;
};

/// Called by an object at the beginning of its xmlOut, before anything is written: its frame takes about so many bytes. For classes
/// whose objects may be large, and differ much.
void OktAnnounceFrame(OKTFiler &filer, std::int64_t bytes);
