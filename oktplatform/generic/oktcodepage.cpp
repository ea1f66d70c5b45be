// SPDX-License-Identifier: MIT
#include <oktplatform/oktsystem.h>

// The language converts no code pages. The common code converts windows-1252 and UTF-8 itself, and all others are unknown.

unsigned int OktSystem::initialCodePage() { return 1252; }

bool OktSystem::knowsCodePage(unsigned int) { return false; }

bool OktSystem::toCodePage(unsigned int, Unit const *, std::size_t, char, bool &, char *, std::size_t, std::size_t &)
{
    return false;
}

bool OktSystem::fromCodePage(unsigned int, char const *, std::size_t, Unit *, std::size_t, std::size_t &) { return false; }
