// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>
#include <okttext/okttextfault.h>

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

// The lossless text form of a pool file: JSON, one value a line, described in docs/text-form.md. The text of a file gives that
// file again, byte for byte, with objects of any class. Names of members are for people; reading a text ignores them.
// Only members of registered classes have names.

/// Gets the text piece by piece. Its exceptions reach the caller.
using OKTTextSink = std::function<void(std::string_view)>;

/// Stores a picture or a byte array in a file and returns the name of the file in UTF-8. `stem` is a suggested name: the id
/// of the object; it may be given several times. Its exceptions reach the caller.
using OKTTextPutFile = std::function<std::string(std::string const &stem, CByteArray const &bytes)>;
/// Returns the bytes stored under a name. Its exceptions reach the caller.
using OKTTextGetFile = std::function<CByteArray(std::string const &name)>;

/// Called with the number of bytes of the image and of objects that are done. Its exceptions reach the caller.
using OKTTextProgress = std::function<void(std::size_t bytes, std::size_t objects)>;

/// A pool image, from a file or from OKTDbPool::saveFiler, as text. With `put`, pictures and longer byte arrays go into files.
/// False: the image is damaged; the fault tells the byte, and the sink was not called.
bool OktExportText(CByteArray const &image, OKTTextSink const &sink, OKTTextFault &fault, OKTTextPutFile const &put = {},
                   OKTTextProgress const &progress = {});

/// The image of a text. Places and sizes that the text leaves to this function are filled in. False, and `image` empty: the
/// text is no JSON, not of this form, or gives no pool image; the fault tells the line.
bool OktImportText(std::istream &text, CByteArray &image, OKTTextFault &fault, OKTTextGetFile const &get = {});
