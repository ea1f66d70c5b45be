// SPDX-License-Identifier: MIT
#include <oktplatform/oktwinapp.h>

namespace
{
constinit AFX_EXTENSION_MODULE g_module;
} // namespace

// A module cannot refuse to be loaded here: if its start fails, it is loaded without its frame.
OktModuleEntry::OktModuleEntry() { OktAttachModule(g_module); }

OktModuleEntry::~OktModuleEntry()
{
    if (g_module.bInitialized)
        OktDetachModule(g_module);
}
