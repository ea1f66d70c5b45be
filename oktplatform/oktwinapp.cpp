// SPDX-License-Identifier: MIT
#include <oktplatform/oktwinapp.h>

#include <new>
#include <utility>

namespace
{
constexpr HRESULT kNoSuchClass = static_cast<HRESULT>(0x80040111u); // CLASS_E_CLASSNOTAVAILABLE

constinit AFX_MODULE_STATE g_moduleState;
thread_local AFX_MODULE_STATE *t_stateInForce = nullptr;

constexpr AFX_MSGMAP kNoMessages = {nullptr, nullptr};
} // namespace

// --- State -------------------------------------------------------------------------------------------------------------------

AFX_MODULE_STATE *AfxGetStaticModuleState() { return &g_moduleState; }

AFX_MODULE_STATE *AfxGetModuleState() { return t_stateInForce == nullptr ? &g_moduleState : t_stateInForce; }

AFX_MAINTAIN_STATE::AFX_MAINTAIN_STATE(AFX_MODULE_STATE *state) : m_before(std::exchange(t_stateInForce, state)) {}

AFX_MAINTAIN_STATE::~AFX_MAINTAIN_STATE() { t_stateInForce = m_before; }

// --- Application object ------------------------------------------------------------------------------------------------------

CWinApp::CWinApp() : m_state(AfxGetModuleState()) { m_state->currentApp = this; }

CWinApp::~CWinApp()
{
    if (m_state->currentApp == this)
        m_state->currentApp = nullptr;
}

AFX_MSGMAP const *CWinApp::GetMessageMap() const { return &kNoMessages; }

BOOL CWinApp::InitInstance() { return TRUE; }

int CWinApp::ExitInstance() { return 0; }

CWinApp *AfxGetApp() { return AfxGetModuleState()->currentApp; }

// --- Factories ---------------------------------------------------------------------------------------------------------------

COleObjectFactory::COleObjectFactory() : m_state(AfxGetModuleState()), m_next(std::exchange(m_state->firstFactory, this)) {}

COleObjectFactory::~COleObjectFactory()
{
    COleObjectFactory **place = &m_state->firstFactory;
    while (*place != this)
        place = &(*place)->m_next;
    *place = m_next;
}

BOOL COleObjectFactory::RegisterAll()
{
    BOOL result = TRUE;
    for (COleObjectFactory *factory = AfxGetModuleState()->firstFactory; factory != nullptr; factory = factory->m_next)
        result = factory->Register() && result;
    return result;
}

BOOL COleObjectFactory::UpdateRegistryAll(BOOL enter)
{
    BOOL result = TRUE;
    for (COleObjectFactory *factory = AfxGetModuleState()->firstFactory; factory != nullptr; factory = factory->m_next)
        result = factory->UpdateRegistry(enter) && result;
    return result;
}

HRESULT AfxDllCanUnloadNow() { return S_OK; }

HRESULT AfxDllGetClassObject(GUID const &, GUID const &, void **object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    return kNoSuchClass;
}

// --- Start and end -----------------------------------------------------------------------------------------------------------

BOOL AfxCoreInitModule()
{
    AFX_MODULE_STATE &state = *AfxGetModuleState();
    if (state.stage != AFX_MODULE_STATE::Idle)
        return FALSE;
    state.stage = AFX_MODULE_STATE::CoreReady;
    return TRUE;
}

BOOL AfxWinInit()
{
    AFX_MODULE_STATE &state = *AfxGetModuleState();
    if (state.stage != AFX_MODULE_STATE::CoreReady)
        return FALSE;
    state.stage = AFX_MODULE_STATE::WindowsReady;
    return TRUE;
}

void AfxWinTerm() { AfxGetModuleState()->stage = AFX_MODULE_STATE::Idle; }

void AfxTermThread() { t_stateInForce = nullptr; }

BOOL AfxInitExtensionModule(AFX_EXTENSION_MODULE &module)
{
    if (module.bInitialized)
        return FALSE;
    module.bInitialized = TRUE;
    return TRUE;
}

void AfxTermExtensionModule(AFX_EXTENSION_MODULE &module)
{
    for (CDynLinkLibrary *library = AfxGetModuleState()->firstLibrary; library != nullptr;)
    {
        CDynLinkLibrary *const next = library->m_next;
        if (library->m_module == &module)
            delete library;
        library = next;
    }
    module.bInitialized = FALSE;
}

CDynLinkLibrary::CDynLinkLibrary(AFX_EXTENSION_MODULE &module)
    : m_module(&module), m_next(std::exchange(AfxGetModuleState()->firstLibrary, this))
{
}

CDynLinkLibrary::~CDynLinkLibrary()
{
    CDynLinkLibrary **place = &AfxGetModuleState()->firstLibrary;
    while (*place != this)
        place = &(*place)->m_next;
    *place = m_next;
}

bool OktAttachModule(AFX_EXTENSION_MODULE &module)
{
    if (!AfxCoreInitModule())
        return false;
    CWinApp *const app = AfxGetApp();
    bool const ready = AfxWinInit() && app != nullptr && app->InitInstance();
    // The application object, the frame or an allocation failed: undo what was done.
    if (ready && AfxInitExtensionModule(module))
    {
        try
        {
            new CDynLinkLibrary(module); // owned by the state
            return true;
        }
        catch (std::bad_alloc const &)
        {
        }
    }
    module.bInitialized = FALSE;
    if (app != nullptr)
        app->ExitInstance();
    AfxWinTerm();
    return false;
}

void OktDetachModule(AFX_EXTENSION_MODULE &module)
{
    if (CWinApp *const app = AfxGetApp())
        app->ExitInstance();
    AfxWinTerm();
    AfxTermExtensionModule(module);
}
