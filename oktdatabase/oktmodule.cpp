// SPDX-License-Identifier: MIT
#include <oktdatabase/oktmodule.h>

#include <oktplatform/oktwinapp.h>

namespace
{
constexpr HRESULT kRegistryFailed = static_cast<HRESULT>(0x80040201u); // SELFREG_E_CLASS

HRESULT updateRegistry(BOOL enter)
{
    AFX_MAINTAIN_STATE const state(AfxGetStaticModuleState());
    return COleObjectFactory::UpdateRegistryAll(enter) ? S_OK : kRegistryFailed;
}
} // namespace

wchar_t const *getModulePromptsProjectName() { return L"OKTDATABASE"; }

HRESULT OKT_ENTRY_CALL DllRegisterServer() { return updateRegistry(TRUE); }

HRESULT OKT_ENTRY_CALL DllUnregisterServer() { return updateRegistry(FALSE); }

HRESULT OKT_ENTRY_CALL DllCanUnloadNow()
{
    AFX_MAINTAIN_STATE const state(AfxGetStaticModuleState());
    return AfxDllCanUnloadNow();
}

HRESULT OKT_ENTRY_CALL DllGetClassObject(GUID const &classId, GUID const &interfaceId, void **object)
{
    AFX_MAINTAIN_STATE const state(AfxGetStaticModuleState());
    return AfxDllGetClassObject(classId, interfaceId, object);
}
