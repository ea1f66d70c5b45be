// SPDX-License-Identifier: MIT
#include <oktplatform/oktsystem.h>

#include <oktplatform/generic/oktrandom.h>
#include <oktplatform/okttext_internal.h>
#include <oktplatform/oktwarningline_internal.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <random>
#include <utility>

namespace
{
std::atomic<bool> s_isOver = false;

/// Ends with the static objects of the library.
struct LibraryEnd
{
    ~LibraryEnd() { s_isOver = true; }
};

LibraryEnd const s_libraryEnd;

thread_local bool t_isOver = false;

/// The object of one thread.
struct ThreadObject
{
    void *object = nullptr;
    void (*end)(void *) = nullptr;

    ThreadObject() = default;
    ThreadObject(ThreadObject const &) = delete;
    ThreadObject &operator=(ThreadObject const &) = delete;
    ~ThreadObject()
    {
        t_isOver = true;
        if (object != nullptr)
            end(std::exchange(object, nullptr));
    }
};
} // namespace

// --- Random bytes ------------------------------------------------------------------------------------------------------------

// The quality of the bytes is that of the standard library's source.
bool OktSystem::randomBytes(void *target, std::size_t size)
try
{
    std::random_device source;
    auto *const bytes = static_cast<unsigned char *>(target);
    for (std::size_t done = 0; done < size;)
    {
        std::random_device::result_type const drawn = source();
        std::size_t const count = std::min(sizeof drawn, size - done);
        std::memcpy(bytes + done, &drawn, count);
        done += count;
    }
    return true;
}
catch (std::exception const &)
{
    return false;
}

unsigned int OktSystem::processGeneration()
{
    static std::atomic<unsigned int> generation = 0;
    return generation.fetch_add(1, std::memory_order_relaxed);
}

std::size_t OktSystem::idsPerDraw() { return 1; }

// --- Threads -----------------------------------------------------------------------------------------------------------------

// The language may end the process here when it has no memory to note the destructor.
void *OktSystem::threadObject(void *(*make)(), void (*end)(void *))
{
    if (s_isOver || t_isOver)
        return nullptr;
    thread_local ThreadObject own;
    if (own.object == nullptr)
    {
        own.object = make();
        own.end = end;
    }
    return own.object;
}

// --- Locale ------------------------------------------------------------------------------------------------------------------

OktSystem::DecimalPoint OktSystem::decimalPoint()
{
    char const *const bytes = std::localeconv()->decimal_point;
    std::size_t const length = std::strlen(bytes);
    if (length == 0)
        return {".", 1, u'.'};
    if (static_cast<unsigned char>(*bytes) < 0x80)
        return {bytes, length, static_cast<Unit>(*bytes)};
    // The bytes are those of the numeric locale, mbtowc reads those of the locale of characters: UTF-8 needs no locale.
    char const *place = bytes;
    char32_t const character = OktText::nextUtf8(place, bytes + length);
    if (character != OktText::kReplacement && place == bytes + length)
        return {bytes, length, static_cast<Unit>(character)};
    wchar_t wide = 0;
    if (std::mbtowc(&wide, bytes, length) < 1)
        wide = static_cast<wchar_t>(static_cast<unsigned char>(*bytes));
    return {bytes, length, static_cast<Unit>(wide)};
}

// --- Resources ---------------------------------------------------------------------------------------------------------------

bool OktSystem::resourceText(unsigned int, Unit const *&, std::size_t &) { return false; }

// --- Warnings ----------------------------------------------------------------------------------------------------------------

// The language cannot tell whether standard error can be written without waiting, so this may wait.
void OktSystem::showWarning(Unit const *text, std::size_t length)
{
    int const savedError = errno;
    char line[OktText::kWarningLine];
    std::size_t const size = OktText::putWarningLine(text, length, line);
    std::fwrite(line, 1, size, stderr);
    std::fflush(stderr);
    errno = savedError;
}
