// SPDX-License-Identifier: MIT
#include <oktplatform/generic/oktpath.h>
#include <oktplatform/oktsystem.h>

#include <cerrno>
#include <cstring>
#include <dlfcn.h>

namespace
{
// The module stays loaded, because the registry points into it. A missing symbol fails at once, not at its first use. The symbols of a
// module are local: two modules may use the same names.
constexpr int kLoad = RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE;

/// The loader's message without the name of the file in front.
std::string reasonOf(char const *text, std::string const &file)
{
    std::string const told = text == nullptr ? "the system gives no reason" : text;
    return told.rfind(file + ": ", 0) == 0 ? told.substr(file.size() + 2) : told;
}
} // namespace

bool OktSystem::loadModule(Unit const *path, std::size_t length, bool &wasThere, std::string &reason)
{
    wasThere = false;
    reason.clear();
    std::string file;
    if (!OktSystem::pathOf(path, length, file))
    {
        reason = std::strerror(EINVAL);
        return false;
    }
    // A name without a slash would be searched for along the search path, and an empty one would be the program itself.
    if (file.find('/') == std::string::npos)
        file.insert(0, "./");
    wasThere = dlopen(file.c_str(), kLoad | RTLD_NOLOAD) != nullptr;
    if (wasThere)
        return true;
    dlerror();
    if (dlopen(file.c_str(), kLoad) != nullptr)
        return true;
    reason = reasonOf(dlerror(), file);
    return false;
}
