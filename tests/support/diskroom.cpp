// SPDX-License-Identifier: MIT
// The call that it stands in for is taken by filefaults.cpp.
#include "support/diskroom.h"

#if defined(__linux__)

namespace
{
int s_error = 0;
int s_asked = 0;
} // namespace

int NoDiskRoom::ask()
{
    ++s_asked;
    return s_error;
}

NoDiskRoom::NoDiskRoom(int error)
{
    s_error = error;
    s_asked = 0;
}

NoDiskRoom::~NoDiskRoom() { s_error = 0; }

int NoDiskRoom::asked() { return s_asked; }

#endif
