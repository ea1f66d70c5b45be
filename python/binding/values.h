// SPDX-License-Identifier: MIT
#pragma once

#include <python/binding/handle.h>

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

namespace okt::python
{

// Values of parameters: stored variants as values of Python, and back.

/// A date as the stored kind counts: days.
struct Date
{
    double days;
};

/// float, int, bool, str, datetime, or None for a kind that is none of these. A new reference, or null with an exception set.
PyObject *newValue(tagVARIANT const &value);
/// The name of the parameter or of the category; null: the object has none.
std::optional<CString> displayName(OKTDbObject const &object);
/// A value of Python as a parameter can take it. Making one may run code of the value's class, setting it runs none.
using GivenValue = std::variant<std::monostate, double, std::int32_t, bool, CString, Date, std::vector<double>>;
/// Raises TypeError, OverflowError.
GivenValue givenValue(py::handle value);
/// Sets the value, at the parameter's own place in its list. Raises TypeError and ValueError where a group gets no list of its length.
void setValue(OKTDbParameter &parameter, GivenValue const &value);

/// Adds what is asked of parameters.
void addValues(py::module_ &module);

} // namespace okt::python
