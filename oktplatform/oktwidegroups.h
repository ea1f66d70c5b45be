// SPDX-License-Identifier: MIT
#pragma once

// Groups of base64, sixteen characters at a time, where the processor has the instructions (SSSE3). Not installed.

/// Encodes groups of three bytes from the front and returns their number: 0 if the processor lacks the instructions, else most of
/// them.
int encodeGroupsWide(unsigned char const *bytes, int groups, char *out);

/// Decodes groups of four characters from the front and returns their number. Stops at the first characters outside the alphabet.
int decodeGroupsWide(char const *text, int groups, unsigned char *out);
