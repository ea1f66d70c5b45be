// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace okt
{

/// Who gave a client module.
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
    std::string refusal;        ///< why nothing is taken from there; empty: it is looked through
    bool isAsOpenAsOkt = false; ///< everybody may write to it, and to the folder of this program: who could put a module there
                                ///< could as well put another program in its place
};

/// The folders in the order in which they are looked through: those of OKT_MODULE_PATH, then the program's own, which lies where
/// it lies from the program's file, so that an installation may be moved and a build folder is one too. A module is code: a
/// folder is refused that depends on where the caller stands, or that everybody may write to, unless the program is as open.
std::vector<ModuleFolder> moduleFolders();
/// The same for a text like that of OKT_MODULE_PATH and the file of a program.
std::vector<ModuleFolder> moduleFolders(std::string const &variable, std::filesystem::path const &program);

/// The files in a folder that may be modules, by name; none where it is refused.
std::vector<std::filesystem::path> moduleFilesIn(ModuleFolder const &folder);
/// Why a file in such a folder is not to be loaded; empty: it may be.
std::string refusalOfModule(ModuleFolder const &folder, std::filesystem::path const &file);

/// The name of a class stands in the file as a text, in 16-bit, wide or 8-bit characters, as that of a class stands in the code
/// that registers it. Nothing of the file is run.
bool namesClass(std::filesystem::path const &file, std::u16string const &className);

} // namespace okt
