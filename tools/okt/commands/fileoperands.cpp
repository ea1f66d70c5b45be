// SPDX-License-Identifier: MIT
#include <tools/okt/commands/fileoperands.h>

#include <oktformat/fileread.h>
#include <tools/okt/files/catalogfiles.h>
#include <tools/okt/files/exportfiles.h>

namespace okt
{

std::vector<std::string> FileOperands::expanded(OnFault const &onFault) const
{
    if (files.empty() && filesFrom.empty() && !index.empty())
        return CatalogIndex(index).files();
    std::vector<std::string> all = files;
    if (!filesFrom.empty())
    {
        std::vector<std::string> const listed = namesFrom(filesFrom);
        all.insert(all.end(), listed.begin(), listed.end());
    }
    std::vector<std::string> streams = all;
    if (filesFrom == kStandardStream)
        streams.emplace_back(kStandardStream);
    checkReadOnce(streams);
    return withFolders(all, onFault);
}

void FileOperands::check() const
{
    if (files.empty() && filesFrom.empty() && index.empty())
        refuseMissing("FILE");
}

void addFiles(DeclaredCommand const &command, FileOperands &operands)
{
    command.option("FILE", operands.files, "pool files, and folders with all below them; - for standard input");
    addFilesFrom(command, operands);
}

void addFilesFrom(DeclaredCommand const &command, FileOperands &operands)
{
    command
        .option("--files-from", operands.filesFrom,
                "a file that names pool files and folders, one a line; - for standard input")
        .valueName("FILE");
}

void addIndex(DeclaredCommand const &command, FileOperands &operands)
{
    command
        .option("--index", operands.index,
                "a catalogue: files that have not changed since are taken from it; without any FILE, all that it knows")
        .valueName("CATALOG");
}

} // namespace okt
