// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

class OKTDbPool;

namespace okt
{

/// Writes the pool as a file under its final name, in one step: a failure leaves what stood there before. The file is read back
/// before it takes the name. Gives its size in bytes. Throws Failure.
int writePool(OKTDbPool &pool, std::filesystem::path const &path);

} // namespace okt
