// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/objectscan.h>

#include <functional>
#include <string>

namespace okt
{

/// Goes through a pool file from its header to its end, in bounded memory.
class FileScan
{
public:
    /// Opens the file, "-" being standard input, and finds its header. Throws Failure: it cannot be read, or it is empty.
    explicit FileScan(std::string const &file, OnProgress onProgress = {});

    /// As messages call the file.
    std::string const &name() const { return m_name; }
    OnProgress const &onProgress() const { return m_onProgress; }
    ByteSource &source() { return *m_source; }
    HeaderPlace const &header() const { return m_header; }

    /// Gives every object. What is damaged is told by `onFault`, each with the line for the user, in the order of the file; bytes
    /// that belong to no object are passed over. False: there was a fault.
    bool run(std::function<void(Stretch const &)> const &onObject, std::function<void(std::string const &)> const &onFault);

private:
    std::string m_name;
    OnProgress m_onProgress;
    std::unique_ptr<ByteSource> m_source;
    HeaderPlace m_header;
};

/// A text for programs: UTF-8, what is no character becomes U+FFFD.
std::string plainText(CString const &text);

} // namespace okt
