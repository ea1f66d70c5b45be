// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/templateplan.h>

class OKTDbPool;

namespace okt
{

/// Adds the objects of client modules to the pool of a template: a construct with the geometry of the bar, and an index with
/// title, keywords, counts and unit. Each is added only if its class is registered by a loaded module. Call it last, since
/// the index counts what is in the pool.
///
/// No header of a module is needed: the objects are created by class name and read themselves from the stored form that
/// docs/client-modules.md describes. Throws Failure if a class of that name cannot read that form.
void addClientObjects(OKTDbPool &pool, TemplatePlan const &plan);

} // namespace okt
