// SPDX-License-Identifier: MIT
#include <oktplatform/oktsystem.h>

// The language loads no shared libraries. A client module must be linked to the program.

bool OktSystem::loadModule(Unit const *, std::size_t, bool &wasThere, std::string &reason)
{
    wasThere = false;
    reason = "this build of the library cannot load modules";
    return false;
}
