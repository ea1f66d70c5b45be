// SPDX-License-Identifier: MIT
#pragma once

#include <python/binding/handle.h>

#include <oktformat/bytesource.h>

#include <cstdint>

namespace okt::python
{

/// What an object writes: pairs of a name and a value, in its order, without its id. What no file can hold is None.
py::list membersOf(OKTDbObject const &object);
/// The values of the records of an object's frame, in their order, without its id.
py::list recordsAt(ByteSource &source, std::int64_t begin);

/// Adds them, and making objects.
void addMembers(py::module_ &module);

} // namespace okt::python
