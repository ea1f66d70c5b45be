#pragma once

#include <cstdlib>

#include <fcntl.h>
#include <unistd.h>

/// Whether this system makes pseudo terminals. A root that has no devpts mounted does not; what is shown on a terminal cannot be
/// tried there.
inline bool hasTerminals()
{
    int const master = posix_openpt(O_RDWR | O_NOCTTY);
    bool const made = master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0;
    if (master >= 0)
        close(master);
    return made;
}

/// At the beginning of a test that needs one.
#define OKT_NEEDS_TERMINALS                                                                                                    \
    if (!hasTerminals())                                                                                                       \
    GTEST_SKIP() << "no pseudo terminals here"
