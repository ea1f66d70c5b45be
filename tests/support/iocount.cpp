// SPDX-License-Identifier: MIT
#if defined(_WIN32)

#include "support/iocount.h"

#include <oktplatform/okttypes.h>

#include <atomic>

namespace
{
std::atomic<std::int64_t> g_bytes{0};
std::atomic<std::int64_t> g_calls{0};
} // namespace

extern "C" decltype(&ReadFile) const __real___imp_ReadFile;

static BOOL WINAPI readAndCount(HANDLE file, LPVOID target, DWORD size, LPDWORD done, LPOVERLAPPED overlapped)
{
    BOOL const result = __real___imp_ReadFile(file, target, size, done, overlapped);
    ++g_calls;
    if (result && done != nullptr)
        g_bytes += *done;
    return result;
}

extern "C" decltype(&ReadFile) const __wrap___imp_ReadFile = readAndCount;

ReadCount::Reads ReadCount::now() { return {g_bytes, g_calls}; }

#endif
