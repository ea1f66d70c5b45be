// SPDX-License-Identifier: MIT
#include <oktplatform/oktsystem.h>

#include <oktplatform/generic/oktrandom.h>
#include <oktplatform/okttext_internal.h>
#include <oktplatform/oktwarningline_internal.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <langinfo.h>
#include <poll.h>
#include <pthread.h>
#include <sys/random.h>
#include <unistd.h>

namespace
{
std::atomic<unsigned int> generation{0};

/// The system's store for threads, which reports a thread's end. When the library is unloaded, threads that go on keep their object.
class ThreadSlot
{
public:
    explicit ThreadSlot(void (*end)(void *)) : m_isMade(pthread_key_create(&m_key, end) == 0), m_end(end) {}
    ThreadSlot(ThreadSlot const &) = delete;
    ThreadSlot &operator=(ThreadSlot const &) = delete;
    ~ThreadSlot()
    {
        s_isOver = true;
        if (!m_isMade)
            return;
        if (void *const object = pthread_getspecific(m_key))
            m_end(object);
        pthread_key_delete(m_key);
    }

    static bool isOver() { return s_isOver; }

    void *object(void *(*make)()) const
    {
        void *object = m_isMade ? pthread_getspecific(m_key) : nullptr;
        if (object != nullptr || !m_isMade)
            return object;
        object = make();
        if (object != nullptr && pthread_setspecific(m_key, object) != 0)
        {
            m_end(object);
            return nullptr;
        }
        return object;
    }

private:
    pthread_key_t m_key = {};
    bool m_isMade;
    void (*m_end)(void *);
    inline static std::atomic<bool> s_isOver = false;
};
} // namespace

// --- Random bytes ------------------------------------------------------------------------------------------------------------

bool OktSystem::randomBytes(void *target, std::size_t size)
{
    auto *place = static_cast<char *>(target);
    while (size > 0)
    {
        ssize_t const count = getrandom(place, size, 0);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        place += count;
        size -= static_cast<std::size_t>(count);
    }
    return true;
}

unsigned int OktSystem::processGeneration()
{
    static bool const arranged =
        pthread_atfork(nullptr, nullptr, [] { generation.fetch_add(1, std::memory_order_relaxed); }) == 0;
    if (!arranged)
        return generation.fetch_add(1, std::memory_order_relaxed); // forks are not seen, so no bytes may be kept
    return generation.load(std::memory_order_relaxed);
}

std::size_t OktSystem::idsPerDraw() { return kMostIdsPerDraw; }

// --- Threads -----------------------------------------------------------------------------------------------------------------

void *OktSystem::threadObject(void *(*make)(), void (*end)(void *))
{
    if (ThreadSlot::isOver())
        return nullptr;
    static ThreadSlot const slot(end);
    return slot.object(make);
}

// --- Locale ------------------------------------------------------------------------------------------------------------------

OktSystem::DecimalPoint OktSystem::decimalPoint()
{
    char const *const bytes = nl_langinfo(RADIXCHAR);
    std::size_t const length = std::strlen(bytes);
    if (length == 0)
        return {".", 1, u'.'};
    if (length == 1 && static_cast<unsigned char>(*bytes) < 0x80)
        return {bytes, 1, static_cast<Unit>(*bytes)};
#if defined(__GLIBC__)
    // The point as a wide character, whatever the encoding of its bytes. It is stored in the first bytes of the pointer, in both byte
    // orders.
    char const *const word = nl_langinfo(_NL_NUMERIC_DECIMAL_POINT_WC);
    std::uint32_t wide = 0;
    std::memcpy(&wide, &word, sizeof wide);
    return {bytes, length, static_cast<Unit>(wide)};
#else
    char const *place = bytes;
    return {bytes, length, static_cast<Unit>(OktText::nextUtf8(place, bytes + length))};
#endif
}

// --- Resources ---------------------------------------------------------------------------------------------------------------

bool OktSystem::resourceText(unsigned int, Unit const *&, std::size_t &) { return false; }

// --- Warnings ----------------------------------------------------------------------------------------------------------------

void OktSystem::showWarning(Unit const *text, std::size_t length)
{
    int const savedError = errno;
    char line[OktText::kWarningLine];
    std::size_t const size = OktText::putWarningLine(text, length, line);

    // A reader that has closed the pipe or does not read must neither end nor block this process.
    pollfd target{STDERR_FILENO, POLLOUT, 0};
    if (poll(&target, 1, 0) == 1 && (target.revents & POLLOUT) != 0 && (target.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0)
    {
        ssize_t const written = write(STDERR_FILENO, line, size);
        static_cast<void>(written);
    }
    errno = savedError;
}
