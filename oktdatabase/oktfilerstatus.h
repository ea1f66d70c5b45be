// SPDX-License-Identifier: MIT
#pragma once

/// The result of every xmlIn and xmlOut. All but eFilerOk count as failure. The value 2 is not used.
enum FilerStatusDb : int
{
    eFilerOk = 0,           ///< the class frame was processed and all members succeeded
    eFilerMemberFailed = 1, ///< at least one member failed; the others were still tried
    eFilerNoFiler = 3,      ///< the filer is null
    eFilerClassFailed = 4,  ///< the class frame was refused, nothing was done
    eFilerNoMembers = 5     ///< the class frame was opened but no member section could be
};
