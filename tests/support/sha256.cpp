// SPDX-License-Identifier: MIT
#include "support/sha256.h"

#include <oktformat/sha256.h>

std::string sha256Hex(void const *data, std::size_t size) { return okt::sha256Hex(data, size); }
