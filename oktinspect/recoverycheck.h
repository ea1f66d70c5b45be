// SPDX-License-Identifier: MIT
#pragma once

// Stands behind recover.h. Not installed.

#include <oktinspect/recovery.h>

#include <string>

namespace okt
{

/// Runs verify over the new file. `name` is its name for progress.
RecoveryCheck checkRecovery(Recovery &recovery, std::string const &name, ModuleLookup const &moduleOf = {},
                            OnProgress const &onProgress = {});

} // namespace okt
