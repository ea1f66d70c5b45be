// SPDX-License-Identifier: MIT
#include "support/diskroom.h"

#if defined(__linux__)

#include <cerrno>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{
int s_error = 0;
int s_asked = 0;
} // namespace

// Stands ahead of the C library's.
extern "C" int fallocate(int file, int mode, off_t offset, off_t length)
{
    ++s_asked;
    if (s_error == 0)
        return static_cast<int>(syscall(SYS_fallocate, file, mode, offset, length));
    errno = s_error;
    return -1;
}

NoDiskRoom::NoDiskRoom(int error)
{
    s_error = error;
    s_asked = 0;
}

NoDiskRoom::~NoDiskRoom() { s_error = 0; }

int NoDiskRoom::asked() { return s_asked; }

#endif
