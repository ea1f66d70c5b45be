// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbpool.h>

#include <cstdint>
#include <optional>

class CFile;

// Not installed.

/// Reads a pool file through a window of 256 KB that is used again and again: the fast path beside a load from the whole file in
/// memory. That the memory of a second image is asked for and accessed takes half of the time of such a load, and as much memory as the
/// pool.
///
/// Both have the same outcome, a report that stands twice where a damaged object is read a second time aside: an object that would have
/// been read further than the window reaches is read anew in a larger one. A file that cannot be read to its end leaves the pool as it
/// was, since what came of it is taken back. The whole file is read into memory
/// - for a small file, a pool that holds objects, or one that translates ids, and where there is no memory for the window;
/// - from the first object on that is not of the library's own classes: objects of a client module may ask where they stand in the
///   image; and where the header is longer than the window.
class OKTWindowedRead
{
public:
    /// The outcome of readFile; nothing, and the pool as it was: the file is to be read as a whole.
    static std::optional<bool> read(OKTDbPool &pool, CFile &file, std::int64_t length);

    static constexpr int kWindow = 256 << 10; // bytes; no file up to this size is read so

private:
    class Window;
    class Classes;
    class Before;

    enum class Outcome
    {
        True,
        False,
        Unreadable, // the pool is to be as it was
        AsWhole     // likewise, and the file is to be read as a whole
    };

    static Outcome readFrom(OKTDbPool &pool, Window &window);
    static Outcome readObjects(OKTDbPool &pool, Window &window, OKTDbPool::ObjectsRead &read);
    static Outcome readRest(OKTDbPool &pool, Window &window, OKTDbPool::ObjectsRead &read);
};
