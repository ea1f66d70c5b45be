// SPDX-License-Identifier: MIT
#include <oktplatform/oktsystem.h>

#include <oktplatform/okttypes.h>
#include <oktplatform/oktwarningline_internal.h>
#include <oktplatform/win32/oktnativeimage.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

namespace
{
constexpr wchar_t kWarningTitle[] = L"OKTDatabase10";

/// True: a user can see and close a window of this process. False for a service and without a screen.
bool hasUser()
{
    USEROBJECTFLAGS flags = {};
    HWINSTA const station = GetProcessWindowStation();
    if (station == nullptr || !GetUserObjectInformationW(station, UOI_FLAGS, &flags, sizeof flags, nullptr) ||
        (flags.dwFlags & WSF_VISIBLE) == 0)
        return false;
    if (GetSystemMetrics(SM_CMONITORS) < 1)
        return false;
    // Without a display driver not even a hidden window can be created.
    HWND const trial = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
    if (trial == nullptr)
        return false;
    DestroyWindow(trial);
    return true;
}

void writeLine(wchar_t const *text, std::size_t length)
{
    HANDLE const errors = GetStdHandle(STD_ERROR_HANDLE);
    if (errors == nullptr || errors == INVALID_HANDLE_VALUE)
        return;
    char line[OktText::kWarningLine];
    std::size_t const size = OktText::putWarningLine(text, length, line);
    DWORD written = 0;
    WriteFile(errors, line, static_cast<DWORD>(size), &written, nullptr);
}

/// The system's store for threads, which reports a thread's end before the thread's memory is freed.
class ThreadSlot
{
public:
    explicit ThreadSlot(void (*end)(void *)) : m_index(FlsAlloc(&onEnd)) { s_end = end; }
    ThreadSlot(ThreadSlot const &) = delete;
    ThreadSlot &operator=(ThreadSlot const &) = delete;
    ~ThreadSlot()
    {
        if (m_index != FLS_OUT_OF_INDEXES)
            FlsFree(m_index); // ends the objects of all threads
        s_isOver = true;
    }

    static bool isOver() { return s_isOver; }

    void *object(void *(*make)()) const
    {
        if (m_index == FLS_OUT_OF_INDEXES)
            return nullptr;
        void *object = FlsGetValue(m_index);
        if (object != nullptr)
            return object;
        object = make();
        if (object != nullptr && !FlsSetValue(m_index, object))
        {
            s_end(object);
            return nullptr;
        }
        return object;
    }

private:
    static void CALLBACK onEnd(void *object)
    {
        if (object != nullptr)
            s_end(object);
    }

    DWORD m_index;
    inline static void (*s_end)(void *) = nullptr;
    inline static bool s_isOver = false;
};
} // namespace

void *OktSystem::threadObject(void *(*make)(), void (*end)(void *))
{
    if (ThreadSlot::isOver())
        return nullptr;
    static ThreadSlot const slot(end);
    return slot.object(make);
}

OktSystem::DecimalPoint OktSystem::decimalPoint()
{
    char const *const bytes = std::localeconv()->decimal_point;
    std::size_t const length = bytes == nullptr ? 0 : std::strlen(bytes);
    if (length == 0)
        return {".", 1, L'.'};
    wchar_t unit = 0;
    if (static_cast<unsigned char>(*bytes) < 0x80 || std::mbtowc(&unit, bytes, length) < 1)
        unit = static_cast<wchar_t>(static_cast<unsigned char>(*bytes));
    return {bytes, length, unit};
}

bool OktSystem::resourceText(unsigned int id, Unit const *&text, std::size_t &length)
{
    // With a size of 0 the call returns the place of the text itself, which has no closing zero.
    HINSTANCE const module = reinterpret_cast<HINSTANCE>(const_cast<char *>(oktImageBase));
    int const count = LoadStringW(module, id, reinterpret_cast<wchar_t *>(&text), 0);
    length = static_cast<std::size_t>(count);
    return count > 0;
}

void OktSystem::showWarning(Unit const *text, std::size_t length)
{
    DWORD const savedError = GetLastError();
    try
    {
        if (hasUser())
        {
            std::wstring const message(text, length);
            MessageBoxW(nullptr, message.c_str(), kWarningTitle, MB_OK | MB_ICONWARNING | MB_TASKMODAL);
        }
        else
            writeLine(text, length);
    }
    catch (std::exception const &)
    {
        writeLine(text, length); // no memory for the box
    }
    SetLastError(savedError);
}
