// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktguid.h>
#include <oktplatform/oktvariant.h>

// The part of an application frame that a library needs: an application object, the state of a module, and what is called when the
// module is loaded and unloaded. It is this library's own on every system. It has no windows, no messages, no maps of handles and no
// class factories. Not installed.

struct AFX_MSGMAP_ENTRY;

struct AFX_MSGMAP
{
    AFX_MSGMAP const *pBaseMap;
    AFX_MSGMAP_ENTRY const *lpEntries; ///< null: none
};

class CWinApp;
class COleObjectFactory;
class CDynLinkLibrary;

/// The state of one module. It is initialised at compile time, before all static objects.
struct AFX_MODULE_STATE
{
    enum Stage
    {
        Idle,
        CoreReady,   ///< by AfxCoreInitModule
        WindowsReady ///< by AfxWinInit
    };

    Stage stage = Idle;
    CWinApp *currentApp = nullptr;
    COleObjectFactory *firstFactory = nullptr;
    CDynLinkLibrary *firstLibrary = nullptr;
};

/// The state of the module that contains this source.
AFX_MODULE_STATE *AfxGetStaticModuleState();
/// The current state of the calling thread: that of the module, unless AFX_MAINTAIN_STATE has set another.
AFX_MODULE_STATE *AfxGetModuleState();

/// Sets the current state until the end of a scope.
class AFX_MAINTAIN_STATE
{
public:
    explicit AFX_MAINTAIN_STATE(AFX_MODULE_STATE *state);
    AFX_MAINTAIN_STATE(AFX_MAINTAIN_STATE const &) = delete;
    AFX_MAINTAIN_STATE &operator=(AFX_MAINTAIN_STATE const &) = delete;
    ~AFX_MAINTAIN_STATE();

private:
    AFX_MODULE_STATE *m_before;
};

/// The application object of a module. It registers itself in the current state.
class CWinApp
{
public:
    CWinApp();
    CWinApp(CWinApp const &) = delete;
    CWinApp &operator=(CWinApp const &) = delete;
    virtual ~CWinApp();

    virtual AFX_MSGMAP const *GetMessageMap() const;
    virtual BOOL InitInstance();
    virtual int ExitInstance();

private:
    AFX_MODULE_STATE *m_state;
};

CWinApp *AfxGetApp();

/// A factory of one class. Each registers itself in the current state.
class COleObjectFactory
{
public:
    COleObjectFactory();
    COleObjectFactory(COleObjectFactory const &) = delete;
    COleObjectFactory &operator=(COleObjectFactory const &) = delete;
    virtual ~COleObjectFactory();

    virtual BOOL Register() = 0;
    virtual BOOL UpdateRegistry(BOOL enter) = 0;

    /// Call each factory of the current state, even after a failure. TRUE: all succeeded.
    static BOOL RegisterAll();
    static BOOL UpdateRegistryAll(BOOL enter = TRUE);

private:
    AFX_MODULE_STATE *m_state;
    COleObjectFactory *m_next;
};

/// Start and end of the frame. A second start without an end between fails.
BOOL AfxCoreInitModule();
BOOL AfxWinInit();
void AfxWinTerm();
void AfxTermThread();

struct AFX_EXTENSION_MODULE
{
    BOOL bInitialized = FALSE;
};

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE &module);
/// Deletes the CDynLinkLibrary objects of the module.
void AfxTermExtensionModule(AFX_EXTENSION_MODULE &module);

/// A module whose resources and classes are searched. It registers itself in the current state.
class CDynLinkLibrary
{
public:
    explicit CDynLinkLibrary(AFX_EXTENSION_MODULE &module);
    CDynLinkLibrary(CDynLinkLibrary const &) = delete;
    CDynLinkLibrary &operator=(CDynLinkLibrary const &) = delete;
    ~CDynLinkLibrary();

private:
    friend void AfxTermExtensionModule(AFX_EXTENSION_MODULE &module);

    AFX_EXTENSION_MODULE *m_module;
    CDynLinkLibrary *m_next;
};

/// S_OK always: no object of a class factory keeps the module loaded.
HRESULT AfxDllCanUnloadNow();
/// Stores a null pointer and returns CLASS_E_CLASSNOTAVAILABLE. E_POINTER: `object` is null.
HRESULT AfxDllGetClassObject(GUID const &classId, GUID const &interfaceId, void **object);

/// Called when a module is loaded: starts the frame and the application object and registers the module. False: the load fails, and
/// everything done is undone.
bool OktAttachModule(AFX_EXTENSION_MODULE &module);
void OktDetachModule(AFX_EXTENSION_MODULE &module);

/// The last static object of a module with an application object. It attaches the module in its constructor and detaches it in its
/// destructor. Where the system calls the module for that, it does nothing.
class OktModuleEntry
{
public:
    OktModuleEntry();
    OktModuleEntry(OktModuleEntry const &) = delete;
    OktModuleEntry &operator=(OktModuleEntry const &) = delete;
    ~OktModuleEntry();
};
