// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

#if defined(_WIN32)

/// Counts what this program's own objects read: bytes, and calls that read. The linker leads the calls to a place that counts.
class ReadCount
{
public:
    ReadCount() : m_start(now()) {}

    bool isCounting() const { return true; }

    struct Reads
    {
        std::int64_t bytes = 0;
        std::int64_t calls = 0;
    };
    /// What was read since the making.
    Reads reads() const
    {
        Reads const end = now();
        return {end.bytes - m_start.bytes, end.calls - m_start.calls};
    }

private:
    static Reads now();

    Reads m_start;
};

#else

#include <fcntl.h>
#include <unistd.h>

/// Counts what this process reads, by the system's own books: bytes, and calls that read. Linux keeps them in /proc.
class ReadCount
{
public:
    ReadCount() : m_start(now()) {}

    /// False: the system keeps no such books, and the counts are 0.
    bool isCounting() const { return m_start.ownBytes > 0; }

    struct Reads
    {
        std::int64_t bytes = 0;
        std::int64_t calls = 0;
    };
    /// What was read since the making, the looks into the books left out.
    Reads reads() const
    {
        Books const end = now();
        // A look is on the books only after it has seen them.
        return {end.bytes - m_start.bytes - m_start.ownBytes, end.calls - m_start.calls - (m_start.ownBytes > 0 ? 1 : 0)};
    }

private:
    struct Books
    {
        std::int64_t bytes = 0;
        std::int64_t calls = 0;
        std::int64_t ownBytes = 0; ///< read by this look
    };

    static std::int64_t number(char const *text, char const *label)
    {
        char const *const place = std::strstr(text, label);
        return place == nullptr ? 0 : std::strtoll(place + std::strlen(label), nullptr, 10);
    }

    static Books now()
    {
        char text[1024] = {};
        int const file = open("/proc/self/io", O_RDONLY | O_CLOEXEC);
        ssize_t const size = file < 0 ? 0 : read(file, text, sizeof text - 1);
        if (file >= 0)
            close(file);
        if (size <= 0)
            return {};
        return {number(text, "rchar: "), number(text, "syscr: "), size};
    }

    Books m_start;
};

#endif
