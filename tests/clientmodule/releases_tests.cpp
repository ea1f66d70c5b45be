// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/printers.h"
#include "support/process.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

// The class of docs/client-modules.md in its two releases, each in a program of its own, and modules that are loaded later.

namespace
{

class Releases : public FolderTest
{
protected:
    /// Runs the program of a release; it must end well. Gives what it printed.
    static std::string run(int release, std::vector<std::string> const &arguments)
    {
        ProcessResult const result = runProgram(release == 1 ? OKT_BARMARKTOOL1 : OKT_BARMARKTOOL2, arguments);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, "");
        std::string text = result.out;
#if defined(_WIN32) // written as text
        std::erase(text, '\r');
#endif
        return text;
    }
};

TEST_F(Releases, Read_FileOfTheSameRelease_AllMembers)
{
    run(1, {"write", path("1.okt")});
    run(2, {"write", path("2.okt")});
    EXPECT_EQ(run(1, {"read", path("1.okt")}), "mark A1, 7 bars, diameter 12\n3 objects\n");
    EXPECT_EQ(run(2, {"read", path("2.okt")}), "mark A1, 7 bars, diameter 12, zone 'East', surcharge 4\n3 objects\n");
}

TEST_F(Releases, Read_FileOfTheOlderRelease_DefaultsForWhatIsMissing)
{
    run(1, {"write", path("1.okt")});
    EXPECT_EQ(run(2, {"read", path("1.okt")}), "mark A1, 7 bars, diameter 12, zone '', surcharge 2.5\n3 objects\n");
}

TEST_F(Releases, Read_FileOfTheNewerRelease_WhatIsNotKnownIsPassedOver)
{
    run(2, {"write", path("2.okt")});
    EXPECT_EQ(run(1, {"read", path("2.okt")}), "mark A1, 7 bars, diameter 12\n3 objects\n");
}

TEST_F(Releases, Copy_ThroughTheOlderRelease_LosesWhatThatDoesNotKnow)
{
    run(2, {"write", path("2.okt")});
    run(1, {"copy", path("2.okt"), path("through.okt")});
    EXPECT_EQ(run(2, {"read", path("through.okt")}), "mark A1, 7 bars, diameter 12, zone '', surcharge 2.5\n3 objects\n");
}

TEST_F(Releases, Copy_ThroughTheSameRelease_SameBytes)
{
    for (int const release : {1, 2})
    {
        run(release, {"write", path("a.okt")});
        run(release, {"copy", path("a.okt"), path("b.okt")});
        EXPECT_EQ(contentsOf(m_folder.path("b.okt")), contentsOf(m_folder.path("a.okt")));
    }
}

TEST_F(Releases, Copy_OldFileThroughTheNewerRelease_HasTheNewSection)
{
    run(1, {"write", path("a.okt")});
    run(2, {"copy", path("a.okt"), path("b.okt")});
    EXPECT_EQ(run(1, {"read", path("b.okt")}), "mark A1, 7 bars, diameter 12\n3 objects\n");
    // Section 2: its begin and end, an empty text and a real number.
    EXPECT_EQ(contentsOf(m_folder.path("b.okt")).GetSize(), contentsOf(m_folder.path("a.okt")).GetSize() + 6 + 3 + 9 + 1);
}

// ---- Modules loaded while the program runs ----------------------------------------------------------------------------------

// One test: what is loaded stays for the rest of the process.
TEST_F(Releases, LoadModule_WhileThePoolLives_FilesWithItsClassesOpenWhole)
{
    run(1, {"write", path("1.okt")});
    OKTDbObject *made = nullptr;
    ASSERT_FALSE(OKTTools::getObjectFromClassName(u"BarMark", made));
    {
        OKTDbPool pool;
        EXPECT_FALSE(pool.readFile(m_folder.path("1.okt")));
        EXPECT_LT(pool.objectCount(), 3);
    }

    CString reason = u"before";
    bool isNew = false;
    ASSERT_TRUE(OktLoadModule(CString::FromUtf8(OKT_BARMARK1), reason, &isNew));
    EXPECT_TRUE(isNew);
    EXPECT_TRUE(reason.IsEmpty());
    ASSERT_TRUE(OKTTools::getObjectFromClassName(u"BarMark", made));
    std::unique_ptr<OKTDbObject> const object(made);
    OKTRuntimeClass *const first = object->isA();
    EXPECT_TRUE(first->IsDerivedFrom(OKTDbObject::desc()));
    {
        OKTDbPool pool;
        EXPECT_TRUE(pool.readFile(m_folder.path("1.okt")));
        EXPECT_EQ(pool.objectCount(), 3);
        IdArray marks;
        pool.collectEntities(first, marks);
        EXPECT_EQ(marks.getSize(), 1);
    }

    // Again, and by another name of the same file.
    EXPECT_TRUE(OktLoadModule(CString::FromUtf8(OKT_BARMARK1), reason, &isNew));
    EXPECT_FALSE(isNew);
    EXPECT_TRUE(OktLoadModule(CString::FromUtf8(OKT_BARMARK1), reason));

    // The other release brings a class of the same name: the first registration wins.
    ASSERT_TRUE(OktLoadModule(CString::FromUtf8(OKT_BARMARK2), reason, &isNew));
    EXPECT_TRUE(isNew);
    ASSERT_TRUE(OKTTools::getObjectFromClassName(u"BarMark", made));
    std::unique_ptr<OKTDbObject> const second(made);
    EXPECT_EQ(second->isA(), first);
}

TEST_F(Releases, LoadModule_LinkedModule_IsThereAlready)
{
    CString reason;
    bool isNew = true;
    EXPECT_TRUE(OktLoadModule(CString::FromUtf8(OKT_EXAMPLE_MODULE), reason, &isNew));
    EXPECT_FALSE(isNew);
}

TEST_F(Releases, LoadModule_NoModule_FalseAndTheReason)
{
    struct
    {
        CString path;
        char const *reason;
    } const rows[] = {
        {m_folder.path("none.so"), "cannot open shared object file: No such file or directory"},
        {m_folder.path(""), "cannot read file data: Is a directory"},
        {m_folder.put("empty.so", CByteArray()), "file too short"},
        {CString(), "cannot read file data: Is a directory"},
        {CString(u"lone\xD800.so"), "Invalid argument"},
        {CString(u"zero\0.so", 8), "Invalid argument"},
        {CString(u"libnowhere.so"), "cannot open shared object file: No such file or directory"},
    };
    for (auto const &row : rows)
    {
        CString reason;
        bool isNew = true;
        EXPECT_FALSE(OktLoadModule(row.path, reason, &isNew)) << row.reason;
        EXPECT_FALSE(isNew);
#if defined(_WIN32) // one line in the system's words
        EXPECT_FALSE(reason.IsEmpty()) << row.reason;
        EXPECT_EQ(reason.ToUtf8().find_first_of("\r\n"), std::string::npos) << reason.ToUtf8();
#else
        EXPECT_EQ(reason.ToUtf8(), row.reason);
#endif
    }
}

} // namespace
