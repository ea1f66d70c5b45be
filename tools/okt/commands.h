#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace okt
{

/// Makes templates from a bar table, or from all bar tables (bars-*.csv) of a folder, with the rule tables beside them. Nothing
/// is written before all tables are read. Says on standard output what was made and what not, and why. Throws Failure.
void build(std::filesystem::path const &data, std::filesystem::path const &outputFolder);

/// What of a pool file is shown.
enum class ShowWhat
{
    All,
    Index,  ///< the index object; only this part of the file is read
    Preview ///< the pictures, likewise
};

/// Prints pool files. A fault in one goes to standard error, behind what could be read of it, and the next is shown all the
/// same. False: there was a fault. Throws Failure when standard output takes no more.
bool show(std::vector<std::filesystem::path> const &files, std::string const &unit, bool withIds, ShowWhat what);

/// Writes the bytes of a picture to a file in one step, or to standard output when the output is "-". `index` counts from 0 in
/// the pool's list of pictures. Only the header and the pictures are read where that is enough. False: the file has a fault for
/// which the picture cannot be had, and it was told. Throws Failure for everything else that is wrong.
bool picture(std::filesystem::path const &file, int index, std::filesystem::path const &output);

/// Writes the text form of a pool file to a file in one step, or to standard output when the output is "-". With a folder for
/// pictures, they go there. `replaces`: files that exist may be replaced. Throws Failure.
void exportText(std::filesystem::path const &file, std::filesystem::path const &output, std::filesystem::path const &pictures,
                bool replaces);

/// Writes the pool file of a text form, likewise. Without a folder, pictures are looked for beside the text. Throws Failure.
void importText(std::filesystem::path const &text, std::filesystem::path const &output, std::filesystem::path const &pictures,
                bool replaces);

} // namespace okt
