// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobjectid.h>
#include <oktplatform/oktplatform.h>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <array>
#include <string>
#include <string_view>

namespace okt::python
{

namespace py = pybind11;

// Texts and ids on their way between the two languages. A text keeps every UTF-16 unit, lone surrogates included.

/// A new reference; null with an exception set.
PyObject *newText(OktTextView units);
/// The same as an object. Throws error_already_set.
py::object textObject(OktTextView units);
py::object textObject(CString const &text);
/// Of UTF-8 that the libraries made; a byte that belongs to no character becomes an escape of a lone surrogate.
py::object utf8Object(std::string_view text);

/// The units of a str. Raises TypeError for anything else, OverflowError for one that is too long.
CString textOf(py::handle text);
/// UTF-8 of a str, lone surrogates as three bytes each.
std::string utf8Of(py::handle text);

/// A uuid.UUID; a new reference, or null with an exception set.
PyObject *newUuid(_GUID const &id);
py::object uuidObject(_GUID const &id);
/// The bytes of a uuid.UUID, the most significant one first, and back.
std::array<unsigned char, 16> uuidBytes(_GUID const &id);
_GUID guidOfBytes(unsigned char const *bytes);
/// None for the null id.
py::object uuidOrNone(_GUID const &id);
/// It is a uuid.UUID.
bool isUuid(py::handle object);
/// Raises TypeError for anything but a uuid.UUID.
_GUID guidOf(py::handle uuid);

/// A copy of the bytes of a bytes-like object.
CByteArray bytesOf(py::handle data);
py::bytes bytesObject(CByteArray const &bytes);

} // namespace okt::python
