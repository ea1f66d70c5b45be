// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

class OKTDbPool;

namespace okt
{

/// Saves the pool durably as a file: a failure leaves what stood there before. The image is loaded once more before anything is
/// written. Gives its size in bytes. Throws Failure.
int writePool(OKTDbPool &pool, std::filesystem::path const &path);

} // namespace okt
