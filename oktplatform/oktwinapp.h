#pragma once

#include <oktplatform/oktguid.h>
#include <oktplatform/oktvariant.h>

// The application frame as far as a library needs it that a host loads: an application object, the state of a module, and what
// is called when the module comes and goes. A thin layer of our own on every system: it has no windows, no messages, no
// temporary maps of handles and no classes that others could make. Not installed.

struct AFX_MSGMAP_ENTRY;

struct AFX_MSGMAP
{
    AFX_MSGMAP const *pBaseMap;
    AFX_MSGMAP_ENTRY const *lpEntries; ///< null: none
};

class CWinApp;
class COleObjectFactory;
class CDynLinkLibrary;

/// What the frame knows of one module. It is made by the compiler, ahead of every static object.
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

/// The state of the module that this source is compiled into.
AFX_MODULE_STATE *AfxGetStaticModuleState();
/// The state in force on the calling thread: that of the module itself, unless one was put in force.
AFX_MODULE_STATE *AfxGetModuleState();

/// Puts a state in force until the end of a scope.
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

/// The application object of a module. It enters itself in the state that is in force.
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

/// What makes objects of one class for others. Each enters itself in the state that is in force.
class COleObjectFactory
{
public:
    COleObjectFactory();
    COleObjectFactory(COleObjectFactory const &) = delete;
    COleObjectFactory &operator=(COleObjectFactory const &) = delete;
    virtual ~COleObjectFactory();

    virtual BOOL Register() = 0;
    virtual BOOL UpdateRegistry(BOOL enter) = 0;

    /// Each factory of the state in force is asked, whatever the others answered. TRUE: all did.
    static BOOL RegisterAll();
    static BOOL UpdateRegistryAll(BOOL enter = TRUE);

private:
    AFX_MODULE_STATE *m_state;
    COleObjectFactory *m_next;
};

/// The frame's own part of the module's start and end. A second call without the counterpart between is refused.
BOOL AfxCoreInitModule();
BOOL AfxWinInit();
void AfxWinTerm();
void AfxTermThread();

struct AFX_EXTENSION_MODULE
{
    BOOL bInitialized = FALSE;
};

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE &module);
/// Deletes the libraries that were entered for the module.
void AfxTermExtensionModule(AFX_EXTENSION_MODULE &module);

/// A module among those whose resources and classes are looked through. Enters itself in the state that is in force.
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

/// No module is kept by an object: there are none.
HRESULT AfxDllCanUnloadNow();
/// CLASS_E_CLASSNOTAVAILABLE and a null pointer; E_POINTER without a place for one.
HRESULT AfxDllGetClassObject(GUID const &classId, GUID const &interfaceId, void **object);

/// A module comes to a process: frame, application object, entry among the extension modules. False: the load fails, and what
/// had begun is ended.
bool OktAttachModule(AFX_EXTENSION_MODULE &module);
void OktDetachModule(AFX_EXTENSION_MODULE &module);

/// The last static object of a module that has an application object. Where the system tells a module that it comes and goes,
/// this only has to be there; elsewhere its life is the module's.
class OktModuleEntry
{
public:
    OktModuleEntry();
    OktModuleEntry(OktModuleEntry const &) = delete;
    OktModuleEntry &operator=(OktModuleEntry const &) = delete;
    ~OktModuleEntry();
};
