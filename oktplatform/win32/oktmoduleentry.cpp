// SPDX-License-Identifier: MIT
#include <oktplatform/oktwinapp.h>

namespace
{
constinit AFX_EXTENSION_MODULE g_module;
} // namespace

OktModuleEntry::OktModuleEntry() {}

OktModuleEntry::~OktModuleEntry() {}

// Called after the static constructors and before the static destructors.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID);

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID)
{
    switch (reason)
    {
    case DLL_PROCESS_ATTACH: return OktAttachModule(g_module);
    case DLL_THREAD_DETACH: AfxTermThread(); break;
    case DLL_PROCESS_DETACH:
        if (g_module.bInitialized)
            OktDetachModule(g_module);
        break;
    default: break;
    }
    return TRUE;
}
