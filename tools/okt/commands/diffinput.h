// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/bytesource.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace okt
{

/// One of two compared files. It is loaded into memory only if the files differ; a stream is loaded at once.
class DiffInput
{
public:
    /// Throws Failure if it cannot be read. `name` is its name in messages.
    DiffInput(std::string const &file, std::string name);

    std::string const &name() const { return m_name; }
    /// Both have the same bytes. Throws Failure.
    bool isSameAs(DiffInput &other);
    /// The number of objects, and of ranges between them. Throws Failure.
    std::size_t countObjects();
    /// Moves all bytes out; call nothing else afterwards. Throws Failure.
    CByteArray take();

private:
    std::string m_name;
    std::filesystem::path m_path;
    std::optional<CByteArray> m_kept;
    std::unique_ptr<ByteSource> m_source;
};

} // namespace okt
