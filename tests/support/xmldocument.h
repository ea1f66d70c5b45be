// SPDX-License-Identifier: MIT
#pragma once

#include "support/scratchfolder.h"

#include <oktdatabase/oktxmlfiler.h>

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

// What the tests of XML documents share.

/// What the filer writes around the elements of a document: the instruction, a line feed, the root, a line feed.
std::string documentOf(std::string const &elements);
/// The bytes of a file.
std::string textOf(CString const &path);
CString putText(ScratchFolder const &folder, std::string const &name, std::string_view text);

/// A filer whose stack and root can be looked at.
class OpenXmlFiler : public OKTXmlFiler
{
public:
    using OKTXmlFiler::OKTXmlFiler;

    using OKTXmlFiler::GetDocumentRealNode;
    using OKTXmlFiler::getIsWriteEnabled;
    using OKTXmlFiler::getWorkingNode;
    using OKTXmlFiler::popWorkingNode;
    using OKTXmlFiler::pushWorkingNode;

    /// The tag of the working node, empty without one.
    std::string working();
};

/// What a program gave on its way.
struct ProgramRun
{
    int exitCode = -1;
    std::string output; ///< standard output alone
};
/// Runs a command line of the shell. A program that is missing fails the test.
ProgramRun runProgram(std::string const &commandLine);

/// The document as the parser of Python's library reads it: for each element [tag, [[attribute, value], ...], text within,
/// [children]].
nlohmann::json readByPython(CString const &path);
/// True when xmllint finds the document well-formed.
bool isWellFormedForXmllint(CString const &path);
/// The document in canonical form, by xmllint.
std::string canonicalByXmllint(CString const &path);
