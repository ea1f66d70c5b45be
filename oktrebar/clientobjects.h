// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/templateplan.h>

class OKTDbPool;

namespace okt
{

/// Gives the pool of a template the objects that client modules bring: a construct with the bar's geometry, and an index with
/// title, keywords, counts and unit. Each only when its class is known, so when a module was loaded. To be called last, since
/// the index counts what is in the pool.
///
/// No header of a module is used: the objects are made by class name and read themselves from the stored form that
/// docs/client-modules.md tells. Throws Failure when a class of that name does not take that form.
void addClientObjects(OKTDbPool &pool, TemplatePlan const &plan);

} // namespace okt
