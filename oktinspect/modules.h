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

/// The result of the search for a class.
struct ModuleAnswer
{
    enum class Kind
    {
        Loaded,  ///< the module in this file has the class, which is now registered
        LeftOut, ///< this file names it and was not loaded: the search is off, or must not load
        Refused, ///< this file names it and cannot be used
        Other,   ///< the module in this file has a class of that name with other members
        None     ///< no file that may be looked at names it
    };

    Kind kind = Kind::None;
    std::filesystem::path file;
    ModuleOrigin origin = ModuleOrigin::Own;
    std::string reason; ///< why it is refused
};

/// Loads client modules. They stay loaded, with their classes registered, until the process ends.
///
/// A class name from a pool file only selects among the module files in the folders, by the texts in them. It never becomes
/// part of a path. Only files that contain the name are loaded. Answers stay valid as long as this object. One thread at a time.
class Modules
{
public:
    /// Throws Failure: there is no such file, the system does not load it, it registers no class, or it registers one whose name
    /// is taken. Then the registry is unchanged. A file that is already loaded is skipped.
    void load(std::filesystem::path const &path);

    /// Sets the folders of the search; without this call there are none. If switched off, the search only reports what it would load.
    void searchIn(std::vector<ModuleFolder> folders, bool isOn);
    std::vector<ModuleFolder> const &folders() const { return m_folders; }
    /// Looks for a class that is not registered. The answer for a name is kept.
    ModuleAnswer const &find(CString const &className);
    /// The same without loading, to report which module would help.
    ModuleAnswer const &candidateFor(CString const &className);
    /// The module with that class that the search loaded; null: none.
    Module const *foundFor(CString const &className) const;

    /// Loads a file as the search does, with any classes. Returns why it is not loaded; empty: it is.
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
    std::map<std::string, Module const *> m_owners; ///< the module of each class, by class name in UTF-8
    std::vector<ModuleFolder> m_folders;
    bool m_isOn = false;
    Answers m_answers;
    Answers m_candidates;
    std::map<std::filesystem::path, std::string> m_tried; ///< for each file tried: why it was not loaded; empty: it was
};

/// The only instance of the process.
Modules &modules();

} // namespace okt
