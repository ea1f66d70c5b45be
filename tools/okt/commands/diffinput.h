// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/bytesource.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace okt
{

/// One of two files that are compared: looked at first, and kept only where they differ. A stream is kept at once.
class DiffInput
{
public:
    /// Throws Failure: it cannot be read. `name` is how messages call it.
    DiffInput(std::string const &file, std::string name);

    std::string const &name() const { return m_name; }
    /// Both have the same bytes. Throws Failure.
    bool isSameAs(DiffInput &other);
    /// How many objects there are, and stretches between them. Throws Failure.
    std::size_t countObjects();
    /// All bytes; nothing else can be asked for then. Throws Failure.
    CByteArray take();

private:
    std::string m_name;
    std::filesystem::path m_path;
    std::optional<CByteArray> m_kept;
    std::unique_ptr<ByteSource> m_source;
};

} // namespace okt
