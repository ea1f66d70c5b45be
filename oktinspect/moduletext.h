// SPDX-License-Identifier: MIT
#pragma once

#include <oktinspect/poolreader.h>

#include <optional>
#include <string>
#include <vector>

namespace okt
{

// Texts about client modules.

/// How to name a module file: by its path, or, in output for other people, by its name and origin.
enum class ModulePlace
{
    Path,
    Name
};

/// "/opt/okt/lib/oktdatabase/modules/libbars.so: BarMark, BarZone" for each module.
std::vector<std::string> moduleLines(PoolFile const &file, ModulePlace place);
std::string moduleLine(Module const &module, CString const &className);
/// Why no module was loaded for a class, and what helps.
std::string helpFor(ModuleAnswer const &answer, ModulePlace place);
/// For a command that loads only given modules: the module file that names a class, in UTF-8. Empty: none is found.
std::optional<std::string> moduleNaming(std::string const &className);
/// "BarMark, 2 objects: " and the reason, for each class.
std::vector<std::string> missingLines(PoolFile const &file, ModulePlace place);

} // namespace okt
