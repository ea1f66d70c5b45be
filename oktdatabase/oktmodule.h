// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/oktguid.h>

// What the module exports beside its classes, undecorated. The four `Dll...` functions are the system's questions to a module:
// this one has no classes for the system's registry to know, so they succeed with nothing to do. They raise nothing.

/// The project name under which the prompts of this module are found: "OKTDATABASE".
extern "C" OKT_API wchar_t const *getModulePromptsProjectName();

/// 0, or 0x80040201 when the registry could not be written.
extern "C" OKT_ENTRY HRESULT OKT_ENTRY_CALL DllRegisterServer();
extern "C" OKT_ENTRY HRESULT OKT_ENTRY_CALL DllUnregisterServer();
extern "C" OKT_ENTRY HRESULT OKT_ENTRY_CALL DllCanUnloadNow();
/// Always 0x80040111 with a null pointer.
extern "C" OKT_ENTRY HRESULT OKT_ENTRY_CALL DllGetClassObject(GUID const &classId, GUID const &interfaceId, void **object);
