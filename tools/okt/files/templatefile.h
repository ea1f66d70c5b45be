// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/storedtemplate.h>

#include <string>
#include <vector>

namespace okt
{

/// A template as it was read from a file, and what is wrong with the file.
struct TemplateFile
{
    std::string name; ///< as messages call it
    StoredTemplate pool;

    /// A line for the user for each fault.
    std::vector<std::string> faults() const;
};

/// Reads a file, or standard input ("-"). Throws Failure where it cannot be read.
TemplateFile readTemplateFile(std::string const &file);

} // namespace okt
