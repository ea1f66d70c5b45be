// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/objectscan.h>
#include <oktinspect/finding.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace okt
{

/// Checks a whole file: structure, ids and references, lists and positions, values and images, and whether the library
/// can read each object. It needs some 40 bytes of memory for each object.
struct VerifyOptions
{
    /// Gets each finding as soon as it is known: those of the structure first, then of the header, then of each object, then those
    /// of lists and of unknown classes. If it is empty, the findings are in the result, in that order.
    std::function<void(Finding const &)> onFinding;
    /// For two passes over the bytes. False ends it.
    OnProgress onProgress;
    /// Names the client module of an unregistered class; may be empty. Nothing is loaded.
    ModuleLookup moduleOf;
    /// The name of the bytes for progress; empty: the path, if there is one.
    std::string name;
};

struct Verification
{
    Verdict verdict;
    std::vector<Finding> findings; ///< empty if `onFinding` got them
    HeaderPlace header;

    bool isSound() const { return verdict.errors == 0; } ///< there may be warnings
};

/// Throws Cancelled, Failure if a file can no longer be read, and the exceptions of the functions in the options. What is wrong with
/// the bytes is a finding and never an exception. While it runs, warnings of the library are not shown; then the host's presenter is
/// set again. The presenter (OktSetWarningPresenter) and the registry of classes are process-wide. One call at a time.
Verification verify(ByteSource &source, VerifyOptions const &options = {});

/// True: verify() finds nothing in these bytes, not even something to be informed of. False: that is not known. It looks at the records alone and
/// makes no objects of them, which is quicker, and it changes nothing that a process has only once, so that several sources may be
/// judged at the same time. Throws Failure if the source cannot be read.
bool isSoundByRecords(ByteSource &source);

/// verify() for a file; "-" is standard input. Also throws Failure where it cannot be opened or is empty.
Verification verify(std::filesystem::path const &path, VerifyOptions const &options = {});

} // namespace okt
