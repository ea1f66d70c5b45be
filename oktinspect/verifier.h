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

/// Looks through a whole file: its structure, ids and what names them, lists and places, values and images, and whether the library
/// reads each object. In memory stay some 40 bytes for each object.
struct VerifyOptions
{
    /// Gets each finding as it is met: first those of the structure, then those of the header, then those of each object, then those
    /// of lists and of what is not known here. Without it the findings are kept, in that order.
    std::function<void(Finding const &)> onFinding;
    /// The bytes are gone through twice. False ends it.
    OnProgress onProgress;
    /// For objects of classes that are not registered; may be empty. Nothing is loaded.
    ModuleLookup moduleOf;
    /// How progress calls the bytes; empty: the path, where there is one.
    std::string name;
};

struct Verification
{
    Verdict verdict;
    std::vector<Finding> findings; ///< empty where `onFinding` has got them
    HeaderPlace header;

    bool isSound() const { return verdict.errors == 0; } ///< there may be warnings
};

/// Throws Cancelled, Failure where a file can no longer be read, and whatever the functions of the options throw. What is wrong with
/// the bytes is a finding and never an exception. While it runs, what the library warns of goes nowhere: the presenter of warnings
/// (OktSetWarningPresenter) is one for the process, and so is the registry of classes; one call at a time.
Verification verify(ByteSource &source, VerifyOptions const &options = {});

/// The same for a file; "-" is standard input. Also throws Failure where it cannot be opened or is empty.
Verification verify(std::filesystem::path const &path, VerifyOptions const &options = {});

} // namespace okt
