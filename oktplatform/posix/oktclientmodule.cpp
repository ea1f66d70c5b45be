#include <oktplatform/oktsystem.h>
#include <oktplatform/posix/oktpath.h>

#include <cerrno>
#include <cstring>
#include <dlfcn.h>

namespace
{
// Never unloaded, because the registry keeps pointing into a module. What a module does not find fails at once and not at the
// first call, and its names stay its own, so that two modules may use the same ones.
constexpr int kLoad = RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE;

/// The loader puts the file in front of what it tells. The caller knows the file.
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
    if (!OktPosix::pathOf(path, length, file))
    {
        reason = std::strerror(EINVAL);
        return false;
    }
    // A name without a slash would be looked for along the search path, an empty one would be the program itself.
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
