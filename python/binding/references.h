// SPDX-License-Identifier: MIT
#pragma once

#include <python/binding/handle.h>

namespace okt::python
{

/// The ids of an object that comes into a pool name that pool, and a parameter without an owner gets the pool as one: by way of its
/// owner the unit of its lengths is found.
void bindToPool(OKTDbObject *object, OKTDbPool &pool, bool isOtherPool);

/// Adds the references between objects, and pictures.
void addReferences(py::module_ &module);

} // namespace okt::python
