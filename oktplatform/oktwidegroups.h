#pragma once

// Groups of base64, sixteen characters at a time, where the processor has the instructions (SSSE3). Not installed.

/// Codes groups of three bytes from the front, as many as can be done in one go, and gives their number: 0 where the processor
/// cannot, some less than all elsewhere.
int encodeGroupsWide(unsigned char const *bytes, int groups, char *out);

/// The same back. Goes no further than to the first characters that are not of the alphabet.
int decodeGroupsWide(char const *text, int groups, unsigned char *out);
