// SPDX-License-Identifier: MIT
#include "support/sha256.h"

#include <tools/okt/files/sha256.h>

std::string sha256Hex(void const *data, std::size_t size) { return okt::sha256Hex({static_cast<char const *>(data), size}); }
