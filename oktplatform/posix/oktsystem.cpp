#include <oktplatform/oktsystem.h>

#include <oktplatform/okttext_internal.h>
#include <oktplatform/posix/oktrandom.h>

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

/// The system's own per-thread store, which tells a thread's end. When the library ends, threads that live on keep their object.
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

constexpr char kWarningPrefix[] = "OKTDatabase10: ";
constexpr std::size_t kWarningSize = 1024; // a write of so little to a pipe is one piece
} // namespace

// --- Random bytes ------------------------------------------------------------------------------------------------------------

bool OktPosix::randomBytes(void *target, std::size_t size)
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

unsigned int OktPosix::processGeneration()
{
    static bool const arranged =
        pthread_atfork(nullptr, nullptr, [] { generation.fetch_add(1, std::memory_order_relaxed); }) == 0;
    if (!arranged)
        return generation.fetch_add(1, std::memory_order_relaxed); // forks go unseen, so that nothing may be kept
    return generation.load(std::memory_order_relaxed);
}

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
    // The point as a wide character, whatever encoding its bytes are in.
    auto const wide = reinterpret_cast<std::uintptr_t>(nl_langinfo(_NL_NUMERIC_DECIMAL_POINT_WC));
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
    char line[kWarningSize];
    std::size_t size = sizeof kWarningPrefix - 1;
    std::memcpy(line, kWarningPrefix, size);

    // One line: breaks and other control characters become blanks, those at the start are dropped.
    Unit const *const end = text + length;
    bool atStart = true;
    while (text != end && size + 5 <= sizeof line)
    {
        char32_t character = OktText::nextCharacter(text, end);
        if (character < 0x20 || character == 0x7F)
            character = ' ';
        if (atStart && character == ' ')
            continue;
        atStart = false;
        size += static_cast<std::size_t>(
            OktText::putUtf8(OktText::isSurrogate(character) ? OktText::kReplacement : character, line + size));
    }
    line[size++] = '\n';

    // A reader that went away or does not read must neither stop nor end this process.
    pollfd target{STDERR_FILENO, POLLOUT, 0};
    if (poll(&target, 1, 0) == 1 && (target.revents & POLLOUT) != 0 && (target.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0)
    {
        ssize_t const written = write(STDERR_FILENO, line, size);
        static_cast<void>(written);
    }
    errno = savedError;
}
