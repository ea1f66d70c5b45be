// SPDX-License-Identifier: MIT
#pragma once

#include <tools/okt/terminal/interrupt.h>

#include <oktplatform/oktplatform.h>

#include <filesystem>
#include <optional>

namespace okt
{

/// Keeps other runs of okt from changing a file at the same time: a file beside it, ".NAME.okt-lock", which is locked while this
/// lives, and goes away with it. One that a crash left behind is no lock; the next one that is made in that folder removes it. It does not keep anybody from reading the file.
class EditLock
{
public:
    /// Throws Failure where another one holds it, or the folder takes no file.
    explicit EditLock(std::filesystem::path const &file);
    EditLock(EditLock const &) = delete;
    EditLock &operator=(EditLock const &) = delete;
    ~EditLock();

private:
    bool isOurs();

    std::filesystem::path m_path;
    CFile m_lock;
    std::optional<HalfWritten> m_halfWritten;
};

} // namespace okt
