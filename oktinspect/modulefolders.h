// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace okt
{

/// Where the path of a client module comes from.
enum class ModuleOrigin
{
    Named,    ///< the command line, by --module
    Variable, ///< OKT_MODULE_PATH
    Own       ///< the folder for modules that belongs to this program
};

/// A folder in which client modules are looked for.
struct ModuleFolder
{
    std::filesystem::path path;
    ModuleOrigin origin = ModuleOrigin::Own;
    std::string refusal;        ///< why the folder is not searched; empty: it is searched
    bool isAsOpenAsOkt = false; ///< everybody may write to it, and to the folder of the program: who can put a module there
                                ///< can also replace the program
};

/// The folders in the order of the search: those of OKT_MODULE_PATH, then the folder of the program, whose path is relative to
/// the program file, so that it works in a moved installation and in a build folder. A module is code: a
/// folder is refused if its path is relative, or if everybody may write to it, unless the same holds for the program.
std::vector<ModuleFolder> moduleFolders();
/// The same for a given value of OKT_MODULE_PATH and a given program file.
std::vector<ModuleFolder> moduleFolders(std::string const &variable, std::filesystem::path const &program);

/// The files in a folder that may be modules, sorted by name; none if the folder is refused.
std::vector<std::filesystem::path> moduleFilesIn(ModuleFolder const &folder);
/// Why a file in such a folder must not be loaded; empty: it may be loaded.
std::string refusalOfModule(ModuleFolder const &folder, std::filesystem::path const &file);

/// True: the file contains the class name as a text, in 16-bit, wide or 8-bit characters, as in the code
/// that registers a class. No code of the file is run.
bool namesClass(std::filesystem::path const &file, std::u16string const &className);

} // namespace okt
