// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktvariant.h>

#include <nlohmann/json.hpp>

#include <string>

using Json = nlohmann::json;

// The contents of a pool in the words of the golden files (tests/golden/README.md).

/// A text: a string when it is printable ASCII, else the list of its units.
Json describe(CString const &text);
Json describe(IdArray const &ids);
Json describe(tagVARIANT const &value);
/// Class, id and every field of an object of the library or of the client classes.
Json describe(OKTDbObject *object);
/// Id to position and size.
Json describe(InfoMap const &places);
Json describeHeader(OKTDbPool const &pool);
/// All objects in order.
Json describeObjects(OKTDbPool &pool);
/// Size and SHA-256.
Json describeBytes(CByteArray const &bytes);

/// The 16 hexadecimal digits of a double, and back.
std::string bitsOf(double value);
double doubleOfBits(std::string const &digits);
