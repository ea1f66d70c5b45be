// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/modulefolders.h>

#include <oktplatform/oktstring.h>

#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace okt
{

/// A client module that was loaded.
struct Module
{
    std::filesystem::path file;
    ModuleOrigin origin = ModuleOrigin::Named;
    std::vector<std::string> classes; ///< what it registered, in UTF-8, by name
};

/// What the search for the class of an object came to.
struct ModuleAnswer
{
    enum class Kind
    {
        Loaded,  ///< the module of this file brings the class, which is registered now
        LeftOut, ///< this file names it, and was not loaded: the search is switched off, or was not to load
        Refused, ///< this file names it, and cannot be used
        Other,   ///< the module of this file brings a class of that name that reads other members
        None     ///< no file that may be looked at names it
    };

    Kind kind = Kind::None;
    std::filesystem::path file;
    ModuleOrigin origin = ModuleOrigin::Own;
    std::string reason; ///< why it is refused
};

/// Loads client modules for the rest of the process. Their classes are those of this program from then on.
///
/// The name of a class in a file selects among the modules that stand in the folders, by the texts in them; it never becomes
/// part of a path. Only what names the class is loaded. Answers stay good for as long as this lives. Of one thread at a time.
class Modules
{
public:
    /// Throws Failure: there is no such file, the system does not load it, it registers no class, or it registers one whose name
    /// is taken. The registry is then as it was. A file that is loaded already is passed over.
    void load(std::filesystem::path const &path);

    /// Where modules are looked for; nowhere without this call. Switched off, the search tells what it would load.
    void searchIn(std::vector<ModuleFolder> folders, bool isOn);
    std::vector<ModuleFolder> const &folders() const { return m_folders; }
    /// Looks for a class that is not registered. The answer for a name is kept.
    ModuleAnswer const &find(CString const &className);
    /// The same without loading anything, for those who only tell what would help.
    ModuleAnswer const &candidateFor(CString const &className);
    /// The module that brought a class and was found by the search; null: nobody did.
    Module const *foundFor(CString const &className) const;

    /// Loads a file as the search does, whatever it brings. Empty: it is loaded, or was; else why not.
    std::string loadFound(std::filesystem::path const &path, ModuleOrigin origin);
    /// All that were loaded, in their order.
    std::vector<std::unique_ptr<Module>> const &loaded() const { return m_loaded; }
    /// Null: none of them is of that file.
    Module const *loadedFrom(std::filesystem::path const &path) const;

private:
    using Answers = std::map<std::string, ModuleAnswer>; ///< by class name in UTF-8

    void add(std::filesystem::path const &path, ModuleOrigin origin);
    ModuleAnswer const &answer(Answers &answers, CString const &className, bool loads);
    ModuleAnswer search(CString const &className, bool loads);
    std::string const &loadOnce(std::filesystem::path const &file, ModuleOrigin origin);

    std::vector<std::unique_ptr<Module>> m_loaded;
    std::map<std::string, Module const *> m_owners; ///< the module of each class that one of them brought, in UTF-8
    std::vector<ModuleFolder> m_folders;
    bool m_isOn = false;
    Answers m_answers;
    Answers m_candidates;
    std::map<std::filesystem::path, std::string> m_tried; ///< why a file that the search tried was not loaded; empty: it was
};

/// Those of this process.
Modules &modules();

} // namespace okt
