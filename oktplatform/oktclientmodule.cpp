// SPDX-License-Identifier: MIT
#include <oktplatform/oktclientmodule.h>

#include <oktplatform/oktsystem.h>

#include <string>

bool OktLoadModule(CString const &path, CString &reason, bool *isNew)
{
    bool wasThere = false;
    std::string told;
    bool const loaded = OktSystem::loadModule(path.GetString(), static_cast<std::size_t>(path.GetLength()), wasThere, told);
    if (isNew != nullptr)
        *isNew = loaded && !wasThere;
    reason = CString::FromUtf8(told);
    return loaded;
}
