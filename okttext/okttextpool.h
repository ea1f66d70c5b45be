// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>
#include <okttext/okttextfault.h>

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

// The lossless text form of a pool file: JSON, one value a line, told in docs/text-form.md. A text made of a file gives that
// file again, byte for byte, whatever classes it holds. Names of members are there for the reader and do not count on the way
// back; they are those of the classes that are registered.

/// Takes the text piece by piece. Whatever it throws goes to the caller.
using OKTTextSink = std::function<void(std::string_view)>;

/// Keeps a picture or a byte array in a file and gives the file's name, in UTF-8. `stem` is what it may be named after: the id
/// of its object; more than one may come under the same. Whatever it throws goes to the caller.
using OKTTextPutFile = std::function<std::string(std::string const &stem, CByteArray const &bytes)>;
/// The bytes kept under a name. Whatever it throws goes to the caller.
using OKTTextGetFile = std::function<CByteArray(std::string const &name)>;

/// Hears how many bytes of the image and how many objects are done. Whatever it throws goes to the caller.
using OKTTextProgress = std::function<void(std::size_t bytes, std::size_t objects)>;

/// A pool image, from a file or from OKTDbPool::saveFiler, as text. With `put`, pictures and longer byte arrays go into files.
/// False: the image is damaged; the fault tells the byte, and the sink was not called.
bool OktExportText(CByteArray const &image, OKTTextSink const &sink, OKTTextFault &fault, OKTTextPutFile const &put = {},
                   OKTTextProgress const &progress = {});

/// The image of a text. Places and sizes that the text leaves to this function are filled in. False, and `image` empty: the
/// text is no JSON, not of this form, or gives no pool image; the fault tells the line.
bool OktImportText(std::istream &text, CByteArray &image, OKTTextFault &fault, OKTTextGetFile const &get = {});
