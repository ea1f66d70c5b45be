// SPDX-License-Identifier: MIT
#pragma once

#include <python/binding/handle.h>

#include <optional>

namespace okt::python
{

// Values of parameters: stored variants as values of Python, and back.

/// float, int, bool, str, datetime, or None for a kind that is none of these. A new reference, or null with an exception set.
PyObject *newValue(tagVARIANT const &value);
/// The name of the parameter or of the category; null: the object has none.
std::optional<CString> displayName(OKTDbObject const &object);
/// Sets the value, at the parameter's own place in its list. Raises TypeError, OverflowError.
void setValue(OKTDbParameter &parameter, py::handle value);

/// Adds what is asked of parameters.
void addValues(py::module_ &module);

} // namespace okt::python
