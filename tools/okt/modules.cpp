#include "modules.h"

#include "failure.h"
#include "files.h"
#include "text.h"

#include <oktdatabase/oktruntimeclass.h>

#include <algorithm>
#include <system_error>

namespace okt
{

namespace
{

using Registry = decltype(g_RuntimeClass);

/// Sets the registry aside for a scope. What is registered meanwhile is refused nothing, and can be told from what was there.
class RegistryAside
{
public:
    RegistryAside() : m_before(std::move(g_RuntimeClass)) { g_RuntimeClass.removeAll(); }
    ~RegistryAside() { g_RuntimeClass = std::move(m_before); }
    RegistryAside(RegistryAside const &) = delete;
    RegistryAside &operator=(RegistryAside const &) = delete;

    Registry const &before() const { return m_before; }

    /// Puts the classes registered meanwhile beside those of before.
    void accept()
    {
        for (auto const &[name, descriptor] : g_RuntimeClass)
            m_before[name] = descriptor;
    }

private:
    Registry m_before;
};

void checkFile(std::filesystem::path const &path)
{
    std::error_code error;
    std::filesystem::file_status const status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::not_found)
        throw Failure(pathName(path), "", "there is no such file");
    if (std::filesystem::is_directory(status))
        throw Failure(pathName(path), "", "this is a folder, not a file");
}

} // namespace

// A library may also be there since this program itself uses it.
bool Modules::isKnown(std::filesystem::path const &path) const
{
    std::error_code ignored;
    return std::any_of(m_files.begin(), m_files.end(),
                       [&](std::filesystem::path const &known) { return std::filesystem::equivalent(known, path, ignored); });
}

void Modules::load(std::filesystem::path const &path)
{
    std::string const file = pathName(path);
    checkFile(path);
    RegistryAside registry;
    CString reason;
    bool isNew = false;
    if (!OktLoadModule(pathText(path), reason, &isNew))
        throw Failure(file, "", "the module cannot be loaded: " + printable(reason));
    if (!isNew && isKnown(path))
        return;
    if (g_RuntimeClass.isEmpty())
        throw Failure(file, "", "this is no client module: it registers no class");
    for (auto const &[name, descriptor] : g_RuntimeClass)
    {
        if (!registry.before().contains(name))
            continue;
        auto const owner = m_owners.find(name.ToUtf8());
        throw Failure(file, "",
                      "the module brings the class " + quoted(name) + ", which is known already, from " +
                          (owner == m_owners.end() ? "the library" : printable(std::string_view(owner->second))));
    }
    for (auto const &[name, descriptor] : g_RuntimeClass)
        m_owners[name.ToUtf8()] = file;
    m_files.push_back(path);
    registry.accept();
}

} // namespace okt
