// SPDX-License-Identifier: MIT
#pragma once

#include <string_view>

namespace okt
{

// Not installed.

// What is built into the program from report.css and report.js, and the digest of each by which a browser takes that text alone:
// SHA-256 in base64.
extern std::string_view const kPageStyle;
extern std::string_view const kPageStyleDigest;
extern std::string_view const kPageScript;
extern std::string_view const kPageScriptDigest;

} // namespace okt
