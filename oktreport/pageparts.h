// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace okt
{

// Not installed.

// report.css and report.js as built into the program, and the digest of each for the content security policy:
// SHA-256 in base64.
extern std::string_view const kPageStyle;
extern std::string_view const kPageStyleDigest;
extern std::string_view const kPageScript;
extern std::string_view const kPageScriptDigest;

} // namespace okt
