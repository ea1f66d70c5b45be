// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/commands/declaration.h>
#include <tools/okt/files/poollist.h>

#include <string>
#include <vector>

namespace okt
{

/// The files that a command is given: by name, below folders, or listed in a file. One place for all commands.
struct FileOperands
{
    std::vector<std::string> files;
    std::string filesFrom;
    std::string index; ///< a catalogue; empty: none

    /// In the order in which they are given, each folder as the pool files in it. A folder that cannot be read is told to `onFault`.
    /// Throws Failure where the list cannot be read, or standard input is asked for twice. Where none are given, all of the catalogue.
    std::vector<std::string> expanded(OnFault const &onFault) const;
    /// To be called when the line is parsed. Throws an error of usage where there are none.
    void check() const;
};

/// FILE and --files-from.
void addFiles(DeclaredCommand const &command, FileOperands &operands);
/// --index, of commands that can use a catalogue. With it files need not be named: all that it knows are meant.
void addIndex(DeclaredCommand const &command, FileOperands &operands);
/// Only --files-from, where operands may be something else.
void addFilesFrom(DeclaredCommand const &command, FileOperands &operands);

} // namespace okt
