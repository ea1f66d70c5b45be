// SPDX-License-Identifier: MIT
#include <python/binding/failures.h>
#include <python/binding/handle.h>
#include <python/binding/members.h>
#include <python/binding/poolfunctions.h>
#include <python/binding/references.h>
#include <python/binding/values.h>

// The part of the package that is compiled. What users call is in the sources of Python beside it.
PYBIND11_MODULE(_okt, module)
{
    using namespace okt::python;
    module.doc() = "Pools and their objects, as the package oktdatabase uses them.";
    translateFailures();
    collectReports();
    addHandles(module);
    addValues(module);
    addReferences(module);
    addMembers(module);
    addPools(module);
    addPoolFiles(module);
    addColumns(module);
    addReading(module);
    addInspection(module);
    addTrade(module);
    addCatalog(module);
}
