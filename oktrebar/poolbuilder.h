// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/templateplan.h>

#include <memory>

class OKTDbPool;

namespace okt
{

/// A pool with the objects of the template: parameters, their categories in one group category, and the relation over the bend,
/// which is also the owner of every parameter, so that lengths are converted on their way into a file; and the preview picture.
/// The caller owns it; its metrics factor is that of the plan's unit. Throws Failure where the picture cannot be drawn or an object
/// cannot be made.
std::unique_ptr<OKTDbPool> buildPool(TemplatePlan const &plan);

} // namespace okt
