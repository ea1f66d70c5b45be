// SPDX-License-Identifier: MIT
#include <oktinspect/modules.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/standin.h>

#include <oktdatabase/oktruntimeclass.h>

#include <algorithm>
#include <system_error>

namespace okt
{

namespace
{

using Registry = decltype(g_RuntimeClass);

/// Empties the registry for a scope, so that all classes registered meanwhile can be registered and are known apart from the others.
class RegistryAside
{
public:
    RegistryAside() : m_before(std::move(g_RuntimeClass)) { g_RuntimeClass.removeAll(); }
    ~RegistryAside() { g_RuntimeClass = std::move(m_before); }
    RegistryAside(RegistryAside const &) = delete;
    RegistryAside &operator=(RegistryAside const &) = delete;

    /// The first class registered meanwhile whose name was already registered by a library or a module; null: none.
    CString const *takenName() const
    {
        for (auto const &[name, descriptor] : g_RuntimeClass)
            if (OKTRuntimeClass *const *const before = m_before.find(name); before != nullptr && !StandIn::isStandIn(*before))
                return &name;
        return nullptr;
    }

    /// Adds the classes registered meanwhile to the former ones.
    void accept()
    {
        for (auto const &[name, descriptor] : g_RuntimeClass)
            m_before[name] = descriptor;
    }

private:
    Registry m_before;
};

// A file can name any number of classes.
constexpr std::size_t kMostNames = 256;

constexpr char kNoModule[] = "this is no client module: it registers no class";

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

// The library may be loaded because this program itself uses it.
Module const *Modules::loadedFrom(std::filesystem::path const &path) const
{
    std::error_code ignored;
    auto const found = std::find_if(m_loaded.begin(), m_loaded.end(), [&](std::unique_ptr<Module> const &known) {
        return known->file == path || std::filesystem::equivalent(known->file, path, ignored);
    });
    return found == m_loaded.end() ? nullptr : found->get();
}

/// The registry now has exactly the classes of the module in this file.
void Modules::add(std::filesystem::path const &path, ModuleOrigin origin)
{
    m_loaded.push_back(std::make_unique<Module>(Module{path, origin, {}}));
    Module &module = *m_loaded.back();
    for (auto const &[name, descriptor] : g_RuntimeClass)
    {
        module.classes.push_back(name.ToUtf8());
        m_owners[name.ToUtf8()] = &module;
    }
    std::sort(module.classes.begin(), module.classes.end());
}

void Modules::load(std::filesystem::path const &path)
{
    checkFile(path);
    if (std::string const reason = loadFound(path, ModuleOrigin::Named); !reason.empty())
        throw Failure(pathName(path), "", reason);
}

std::string Modules::loadFound(std::filesystem::path const &path, ModuleOrigin origin)
{
    RegistryAside registry;
    CString reason;
    bool isNew = false;
    if (!OktLoadModule(pathText(path), reason, &isNew))
        return "the module cannot be loaded: " + printable(reason);
    if (!isNew && loadedFrom(path) != nullptr)
        return {};
    if (g_RuntimeClass.isEmpty())
        return kNoModule;
    if (CString const *const taken = registry.takenName())
    {
        auto const owner = m_owners.find(taken->ToUtf8());
        return sentence("the module brings the class {}, which is known already, from {}", quoted(*taken),
                        owner == m_owners.end() ? "the library" : printable(std::string_view(pathName(owner->second->file))));
    }
    add(path, origin);
    registry.accept();
    return {};
}

void Modules::searchIn(std::vector<ModuleFolder> folders, bool isOn)
{
    m_folders = std::move(folders);
    m_isOn = isOn;
    m_answers.clear();
    m_candidates.clear();
}

ModuleAnswer const &Modules::find(CString const &className) { return answer(m_answers, className, m_isOn); }

ModuleAnswer const &Modules::candidateFor(CString const &className) { return answer(m_candidates, className, false); }

ModuleAnswer const &Modules::answer(Answers &answers, CString const &className, bool loads)
{
    static ModuleAnswer const kNone;
    std::string const name = className.ToUtf8();
    auto const known = answers.find(name);
    if (known != answers.end())
        return known->second;
    if (answers.size() >= kMostNames || className.IsEmpty())
        return kNone;
    return answers[name] = search(className, loads);
}

ModuleAnswer Modules::search(CString const &className, bool loads)
{
    OktTextView const units = className.View();
    std::u16string const text(units.begin(), units.end());
    ModuleAnswer refused;
    for (ModuleFolder const &folder : m_folders)
        for (std::filesystem::path const &file : moduleFilesIn(folder))
        {
            if (!namesClass(file, text))
                continue;
            std::string reason = refusalOfModule(folder, file);
            if (reason.empty() && !loads)
                return {ModuleAnswer::Kind::LeftOut, file, folder.origin, {}};
            if (reason.empty())
                reason = loadOnce(file, folder.origin);
            if (reason.empty() && m_owners.contains(className.ToUtf8()))
                return {ModuleAnswer::Kind::Loaded, file, folder.origin, {}};
            // The file may contain the name of a class of another module, as a base or in a list.
            if (!reason.empty() && refused.kind == ModuleAnswer::Kind::None)
                refused = {ModuleAnswer::Kind::Refused, file, folder.origin, reason};
        }
    return refused;
}

std::string const &Modules::loadOnce(std::filesystem::path const &file, ModuleOrigin origin)
{
    auto const [place, isFirst] = m_tried.try_emplace(file);
    if (isFirst)
        place->second = loadFound(file, origin);
    return place->second;
}

Module const *Modules::foundFor(CString const &className) const
{
    auto const owner = m_owners.find(className.ToUtf8());
    return owner == m_owners.end() || owner->second->origin == ModuleOrigin::Named ? nullptr : owner->second;
}

Modules &modules()
{
    static Modules all;
    return all;
}

} // namespace okt
