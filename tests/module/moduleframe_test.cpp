// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdatabaseapp.h>
#include <oktdatabase/oktmodule.h>

#include "support/alloccount.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

namespace
{
constexpr HRESULT kRegistryFailed = static_cast<HRESULT>(0x80040201u);
constexpr HRESULT kNoSuchClass = static_cast<HRESULT>(0x80040111u);

/// An application object that notes what becomes of it, and in which state.
class NotingApp : public CWinApp
{
public:
    BOOL InitInstance() override
    {
        m_notes.push_back(AfxGetModuleState()->stage == AFX_MODULE_STATE::WindowsReady ? "init" : "init too early");
        return m_starts;
    }
    int ExitInstance() override
    {
        m_notes.push_back(AfxGetModuleState()->stage == AFX_MODULE_STATE::WindowsReady ? "exit" : "exit too late");
        return 0;
    }

    BOOL m_starts = TRUE;
    std::vector<std::string> m_notes;
};

class NotingFactory : public COleObjectFactory
{
public:
    explicit NotingFactory(BOOL answer) : m_answer(answer) {}
    BOOL Register() override
    {
        m_notes += 'r';
        return m_answer;
    }
    BOOL UpdateRegistry(BOOL enter) override
    {
        m_notes += enter ? '+' : '-';
        return m_answer;
    }

    BOOL m_answer;
    std::string m_notes;
};

/// A module of its own, apart from that of the library.
class ModuleFrame : public testing::Test
{
protected:
    AFX_MODULE_STATE m_state;
    AFX_MAINTAIN_STATE m_inForce{&m_state};
    AFX_EXTENSION_MODULE m_module;
};

using Notes = std::vector<std::string>;
} // namespace

TEST_F(ModuleFrame, Attach_FrameThenApplicationThenLibrary)
{
    NotingApp app;
    ASSERT_TRUE(OktAttachModule(m_module));
    EXPECT_EQ(app.m_notes, Notes{"init"});
    EXPECT_EQ(m_state.stage, AFX_MODULE_STATE::WindowsReady);
    EXPECT_TRUE(m_module.bInitialized);
    EXPECT_NE(m_state.firstLibrary, nullptr);
    EXPECT_FALSE(OktAttachModule(m_module)) << "it is there already";
    EXPECT_EQ(app.m_notes, Notes{"init"});
    OktDetachModule(m_module);
}

TEST_F(ModuleFrame, Detach_ApplicationThenFrameThenLibrary_AnyNumberOfTimes)
{
    NotingApp app;
    for (int i = 0; i < 10; ++i)
    {
        app.m_notes.clear();
        ASSERT_TRUE(OktAttachModule(m_module));
        OktDetachModule(m_module);
        EXPECT_EQ(app.m_notes, (Notes{"init", "exit"}));
        EXPECT_EQ(m_state.stage, AFX_MODULE_STATE::Idle);
        EXPECT_EQ(m_state.firstLibrary, nullptr);
        EXPECT_FALSE(m_module.bInitialized);
    }
}

TEST_F(ModuleFrame, Attach_ApplicationDoesNotStart_FalseAndAllIsEnded)
{
    NotingApp app;
    app.m_starts = FALSE;
    EXPECT_FALSE(OktAttachModule(m_module));
    EXPECT_EQ(app.m_notes, (Notes{"init", "exit"}));
    EXPECT_EQ(m_state.stage, AFX_MODULE_STATE::Idle);
    EXPECT_FALSE(m_module.bInitialized);
    app.m_starts = TRUE;
    EXPECT_TRUE(OktAttachModule(m_module)) << "a second try is possible";
    OktDetachModule(m_module);
}

TEST_F(ModuleFrame, Attach_NoMemoryForTheLibrary_FalseAndAllIsEnded)
{
    NotingApp app;
    app.m_notes.reserve(4);
    bool attached = true;
    {
        AllocationFault const fault(0);
        attached = OktAttachModule(m_module);
        EXPECT_TRUE(fault.struck());
    }
    EXPECT_FALSE(attached);
    EXPECT_EQ(app.m_notes, (Notes{"init", "exit"}));
    EXPECT_EQ(m_state.stage, AFX_MODULE_STATE::Idle);
    EXPECT_EQ(m_state.firstLibrary, nullptr);
    EXPECT_FALSE(m_module.bInitialized);
}

TEST_F(ModuleFrame, Attach_NoApplication_False)
{
    EXPECT_FALSE(OktAttachModule(m_module));
    EXPECT_EQ(m_state.stage, AFX_MODULE_STATE::Idle);
}

TEST_F(ModuleFrame, Application_IsThatOfTheStateInForce)
{
    EXPECT_EQ(AfxGetApp(), nullptr);
    NotingApp app;
    EXPECT_EQ(AfxGetApp(), &app);
    AFX_MAINTAIN_STATE const library(AfxGetStaticModuleState());
    EXPECT_NE(AfxGetApp(), nullptr) << "the application object of the library";
    EXPECT_NE(AfxGetApp(), &app);
    EXPECT_NE(dynamic_cast<COKTDatabaseApp *>(AfxGetApp()), nullptr);
}

TEST_F(ModuleFrame, Factories_AllAreAskedWhateverOneAnswers)
{
    NotingFactory first(TRUE);
    NotingFactory second(FALSE);
    NotingFactory third(TRUE);
    EXPECT_FALSE(COleObjectFactory::RegisterAll());
    EXPECT_FALSE(COleObjectFactory::UpdateRegistryAll());
    EXPECT_FALSE(COleObjectFactory::UpdateRegistryAll(FALSE));
    for (NotingFactory const *factory : {&first, &second, &third})
        EXPECT_EQ(factory->m_notes, "r+-");
}

TEST_F(ModuleFrame, DatabaseApp_EmptyMessageMapOfItsOwn)
{
    COKTDatabaseApp app;
    NotingApp other;
    ASSERT_NE(app.GetMessageMap(), nullptr);
    EXPECT_EQ(app.GetMessageMap()->lpEntries, nullptr);
    EXPECT_NE(app.GetMessageMap(), other.GetMessageMap());
    EXPECT_EQ(app.GetMessageMap()->pBaseMap, other.GetMessageMap());
}

TEST_F(ModuleFrame, DatabaseApp_StartsWhateverTheFactoriesAnswer_Quirk86)
{
    COKTDatabaseApp app;
    NotingFactory factory(FALSE);
    EXPECT_TRUE(app.InitInstance());
    EXPECT_EQ(factory.m_notes, "r");
}

// --- The exported entry points -----------------------------------------------------------------------------------------------

TEST(ModuleEntries, ProjectName) { EXPECT_EQ(std::wstring_view(getModulePromptsProjectName()), L"OKTDATABASE"); }

TEST(ModuleEntries, RegisterServer_NothingToDo_Zero)
{
    EXPECT_EQ(DllRegisterServer(), 0);
    EXPECT_EQ(DllUnregisterServer(), 0);
    EXPECT_EQ(DllCanUnloadNow(), 0);
}

TEST(ModuleEntries, RegisterServer_ARegistryThatRefuses_ItsOwnFailureCode)
{
    NotingFactory const factory(FALSE);
    EXPECT_EQ(DllRegisterServer(), kRegistryFailed);
    EXPECT_EQ(DllUnregisterServer(), kRegistryFailed);
    EXPECT_EQ(factory.m_notes, "+-");
}

TEST(ModuleEntries, GetClassObject_NoClass)
{
    GUID const any = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    int something = 0;
    void *object = &something;
    EXPECT_EQ(DllGetClassObject(any, any, &object), kNoSuchClass);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(DllGetClassObject(any, any, nullptr), E_POINTER);
}

TEST_F(ModuleFrame, Entries_UseTheLibrarysStateAndRestoreTheCallers)
{
    NotingFactory const callers(FALSE);
    EXPECT_EQ(DllRegisterServer(), 0);
    EXPECT_EQ(DllCanUnloadNow(), 0);
    EXPECT_EQ(callers.m_notes, "");
    EXPECT_EQ(AfxGetModuleState(), &m_state);
}
