// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/objectscan.h>

#include <functional>
#include <string>

namespace okt
{

/// Reads a pool file object by object, in bounded memory.
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

    /// Calls `onObject` for every object, and `onFault` with a line for the user for every fault, in the order of the file. Bytes
    /// that belong to no object are skipped. False: there was a fault.
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
