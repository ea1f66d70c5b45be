// SPDX-License-Identifier: MIT
#pragma once

#include <python/binding/poolcore.h>

namespace okt::python
{

/// Raises Error that names the object which no file can hold.
[[noreturn]] void raiseUnwritable(PoolCore &core);

/// Adds the pool and what is done with the objects in it.
void addPools(py::module_ &module);
/// Adds its files and images.
void addPoolFiles(py::module_ &module);
/// Adds whole columns of parameters.
void addColumns(py::module_ &module);
/// Adds what is read without a pool: header, index, pictures, the text form, unknown objects.
void addReading(py::module_ &module);
/// Adds verify, recover and compare.
void addInspection(py::module_ &module);
/// Adds bar records, templates, drawings and tables of templates.
void addTrade(py::module_ &module);
/// Adds the rows of a catalogue, rules over templates, and the files of a folder.
void addCatalog(py::module_ &module);

} // namespace okt::python
