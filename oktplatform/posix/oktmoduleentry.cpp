#include <oktplatform/oktwinapp.h>

namespace
{
constinit AFX_EXTENSION_MODULE g_module;
} // namespace

// A module is not asked here whether it can be loaded: one whose start fails is there all the same, without its frame.
OktModuleEntry::OktModuleEntry() { OktAttachModule(g_module); }

OktModuleEntry::~OktModuleEntry()
{
    if (g_module.bInitialized)
        OktDetachModule(g_module);
}
