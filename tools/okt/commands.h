#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace okt
{

/// Makes templates from a bar table, or from all bar tables (bars-*.csv) of a folder, with the rule tables beside them. Nothing
/// is written before all tables are read. Says on standard output what was made and what not, and why. Throws Failure.
void build(std::filesystem::path const &data, std::filesystem::path const &outputFolder);

/// Prints pool files. A fault in one goes to standard error, behind what could be read of it, and the next is shown all the
/// same. False: there was a fault. Throws Failure when standard output takes no more.
bool show(std::vector<std::filesystem::path> const &files, std::string const &unit, bool withIds);

} // namespace okt
