// SPDX-License-Identifier: MIT
#pragma once

#include <python/binding/poolcore.h>

#include <optional>
#include <string>

namespace okt::python
{

/// Of an object that a file would not hold as it is: what it is, and why. Nothing: a file holds all texts whole. A text of more than
/// 65535 characters, and a text value behind a zero, would be lost without a word. Works without the interpreter lock.
std::optional<std::string> unholdable(OKTDbPool &pool);

/// "OKTDbParameter "Cover" {...}".
std::string nameForMessages(OKTDbObject const &object);

} // namespace okt::python
