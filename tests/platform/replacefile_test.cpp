// SPDX-License-Identifier: MIT
#include <oktplatform/oktreplacefile.h>

#include "support/replacecalls.h"
#include "support/scratchfolder.h"

#include <oktplatform/oktfile.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <vector>

// What a durable save refuses and keeps, on every system. What is a matter of POSIX stands in replacefileposix_test.cpp, what comes of
// a loss of power in replacemodel_test.cpp.

namespace
{
namespace fs = std::filesystem;
using Status = OktSaveStatus;

class ReplaceFile : public testing::Test
{
protected:
    CString path(std::string const &name) const { return m_folder.path(name); }
    void put(std::string const &name, std::string const &text) const
    {
        std::ofstream(pathOf(path(name)), std::ios::binary) << text;
    }
    std::string text(std::string const &name) const
    {
        std::ifstream file(pathOf(path(name)), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }
    std::set<std::string> names() const
    {
        std::set<std::string> all;
        for (fs::directory_entry const &entry : fs::directory_iterator(pathOf(path(""))))
        {
            auto const name = entry.path().filename().u8string();
            all.emplace(name.begin(), name.end());
        }
        return all;
    }
    Status save(std::string const &name, std::string_view bytes) const { return saveAt(path(name), bytes); }
    static Status saveAt(CString const &where, std::string_view bytes)
    {
        return OktReplaceFile(where, bytes.data(), bytes.size()).status;
    }
    /// A save that has written and is not in place.
    bool start(OktFileReplacement &file, std::string const &name, std::string_view bytes) const
    {
        return file.begin(path(name)) && file.write(bytes.data(), bytes.size());
    }

    ScratchFolder m_folder;
};
} // namespace

// --- Saved -------------------------------------------------------------------------------------------------------------------

TEST_F(ReplaceFile, Save_NewFile_IsThereAlone)
{
    EXPECT_EQ(save("a.okt", "new"), Status::Saved);
    EXPECT_EQ(text("a.okt"), "new");
    EXPECT_EQ(names(), std::set<std::string>{"a.okt"});
}

TEST_F(ReplaceFile, Save_FileThatExists_IsReplaced)
{
    put("a.okt", "the old contents, which are longer");
    EXPECT_EQ(save("a.okt", "new"), Status::Saved);
    EXPECT_EQ(text("a.okt"), "new");
    EXPECT_EQ(save("a.okt", ""), Status::Saved);
    EXPECT_EQ(text("a.okt"), "");
    EXPECT_EQ(names(), std::set<std::string>{"a.okt"});
}

TEST_F(ReplaceFile, Save_NamesWithSpacesAndLetters_AndOneAsLongAsNamesMayBe)
{
#if defined(_WIN32) // where a whole path has its bounds
    std::string const longest(120, 'n');
#else
    std::string const longest(250, 'n');
#endif
    for (std::string const &name : {std::string("a b.okt"), std::string("\xC3\x98-\xE6\xAF\x94.okt"), longest})
    {
        CString const where = path(name);
        EXPECT_EQ(saveAt(where, "1"), Status::Saved) << name;
        EXPECT_EQ(saveAt(where, "22"), Status::Saved) << name;
        EXPECT_EQ(contentsOf(where).GetSize(), 2) << name;
    }
    EXPECT_EQ(names().size(), 3u);
}

TEST_F(ReplaceFile, Write_InPieces_AllOfThem)
{
    OktFileReplacement file;
    ASSERT_TRUE(file.begin(path("a")));
    std::string whole;
    for (int i = 0; i < 1000; ++i)
    {
        std::string const piece = std::to_string(i) + ",";
        ASSERT_TRUE(file.write(piece.data(), piece.size()));
        whole += piece;
    }
    ASSERT_TRUE(file.flush());
    EXPECT_EQ(names(), std::set<std::string>{".a.saving.part"});
    EXPECT_TRUE(pathOf(file.partPath()) == pathOf(path(".a.saving.part"))) << file.partPath().ToUtf8();
    ASSERT_TRUE(file.commit());
    EXPECT_EQ(text("a"), whole);
    EXPECT_EQ(names(), std::set<std::string>{"a"});
    EXPECT_EQ(file.refusal().status, Status::Saved);
}

TEST_F(ReplaceFile, NoCommit_TheOldFileStaysAndNothingElse)
{
    put("a", "old");
    {
        OktFileReplacement file;
        ASSERT_TRUE(start(file, "a", "new"));
        ASSERT_TRUE(file.flush());
        EXPECT_EQ(text("a"), "old");
    }
    EXPECT_EQ(text("a"), "old");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

TEST_F(ReplaceFile, OneObject_TwoSaves_BothDone)
{
    OktFileReplacement file;
    ASSERT_TRUE(start(file, "a", "1") && file.commit());
    EXPECT_FALSE(file.write("x", 1)); // there is none open
    EXPECT_EQ(file.refusal().status, Status::Failed);
    ASSERT_TRUE(start(file, "b", "2") && file.commit());
    EXPECT_EQ(text("a") + text("b"), "12");
}

TEST_F(ReplaceFile, Commit_ReaderBefore_AndBehind)
{
    put("a", "old");
    OktFileReplacement file;
    ASSERT_TRUE(start(file, "a", "new"));
#if !defined(_WIN32) // where what is held open for writing shares reading only with those who share writing
    CFile reader;
    ASSERT_TRUE(reader.Open(path("a"), CFile::modeRead | CFile::shareDenyNone));
    char byte = 0;
    EXPECT_EQ(reader.Read(&byte, 1), 1u);
    EXPECT_EQ(byte, 'o');
    reader.Close();
#endif
    ASSERT_TRUE(file.commit());
    CFile after;
    EXPECT_TRUE(after.Open(path("a"), CFile::modeWrite | CFile::shareExclusive));
}

// --- Refused -----------------------------------------------------------------------------------------------------------------

TEST_F(ReplaceFile, Save_NoPath_IsRefused)
{
    EXPECT_EQ(saveAt(CString(), "x"), Status::NoPath);
    CString zero = path("a");
    zero += CString(u"\0b", 2);
    EXPECT_EQ(saveAt(zero, "x"), Status::NoPath);
#if !defined(_WIN32)
    CString surrogate = path("a");
    surrogate += CString(u"\xD800", 1);
    EXPECT_EQ(saveAt(surrogate, "x"), Status::NoPath);
#endif
    EXPECT_EQ(names(), std::set<std::string>());
}

TEST_F(ReplaceFile, Save_FolderHasTheName_IsRefused)
{
    fs::create_directory(pathOf(path("folder")));
    EXPECT_EQ(save("folder", "x"), Status::Folder);
    EXPECT_EQ(save("folder/", "x"), Status::Folder);
    EXPECT_EQ(save("folder/.", "x"), Status::Folder);
    EXPECT_EQ(names(), std::set<std::string>{"folder"});
}

TEST_F(ReplaceFile, Save_FolderIsMissing_IsRefusedWithTheSystemsReason)
{
    OktSaveRefusal const refusal = OktReplaceFile(path("none/a"), "x", 1);
    EXPECT_EQ(refusal.status, Status::Failed);
#if defined(_WIN32)
    EXPECT_EQ(refusal.systemError, 3);
#else
    EXPECT_EQ(refusal.systemError, ENOENT);
#endif
    EXPECT_EQ(names(), std::set<std::string>());
}

TEST_F(ReplaceFile, Save_WriteProtected_IsRefusedAndTheFileStays)
{
    put("a", "old");
    fs::permissions(pathOf(path("a")), fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    EXPECT_EQ(save("a", "x"), Status::WriteProtected);
    EXPECT_EQ(text("a"), "old");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
    fs::permissions(pathOf(path("a")), fs::perms::owner_write, fs::perm_options::add);
}

TEST_F(ReplaceFile, Save_LockedByAWriterOrAReader_IsRefusedAsByWriteFile)
{
    put("a", "old");
    for (UINT const access : {CFile::modeWrite, CFile::modeRead})
    {
        CFile held;
        ASSERT_TRUE(held.Open(path("a"), access | CFile::shareExclusive));
        EXPECT_EQ(save("a", "x"), Status::InUse);
        CFile other;
        EXPECT_FALSE(other.Open(path("a"), CFile::modeCreate | CFile::modeWrite | CFile::shareDenyWrite));
    }
    EXPECT_EQ(text("a"), "old");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
    EXPECT_EQ(save("a", "new"), Status::Saved);
}

TEST_F(ReplaceFile, Save_WhileAnotherSaves_TheSecondIsRefusedAndTheFirstIsWhole)
{
    for (bool const isThere : {false, true})
    {
        OktFileReplacement first;
        ASSERT_TRUE(start(first, "a", "first"));
        EXPECT_EQ(save("a", "second"), Status::InUse) << isThere;
        EXPECT_EQ(names().contains("a"), isThere);
        ASSERT_TRUE(first.commit());
        EXPECT_EQ(text("a"), "first");
        EXPECT_EQ(names(), std::set<std::string>{"a"});
    }
    EXPECT_EQ(save("a", "second"), Status::Saved);
}

TEST_F(ReplaceFile, Commit_FileMadeMeanwhile_IsRefusedAndThatOneStays)
{
    OktFileReplacement file;
    ASSERT_TRUE(start(file, "a", "new"));
    put("a", "somebody's");
    EXPECT_FALSE(file.commit());
    EXPECT_EQ(file.refusal().status, Status::Changed);
    EXPECT_EQ(text("a"), "somebody's");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

TEST_F(ReplaceFile, CheckReplaceable_TellsTheSameAndMakesNothing)
{
    put("plain", "x");
    fs::create_directory(pathOf(path("folder")));
    put("protected", "x");
    fs::permissions(pathOf(path("protected")), fs::perms::owner_read);
    EXPECT_EQ(OktCheckReplaceable(path("plain")).status, Status::Saved);
    EXPECT_EQ(OktCheckReplaceable(path("missing")).status, Status::Saved);
    EXPECT_EQ(OktCheckReplaceable(path("folder")).status, Status::Folder);
    EXPECT_EQ(OktCheckReplaceable(path("protected")).status, Status::WriteProtected);
    EXPECT_EQ(OktCheckReplaceable(CString()).status, Status::NoPath);
    EXPECT_EQ(names(), (std::set<std::string>{"folder", "plain", "protected"}));
    fs::permissions(pathOf(path("protected")), fs::perms::owner_write, fs::perm_options::add);
}

// --- What killed processes leave ---------------------------------------------------------------------------------------------

TEST_F(ReplaceFile, Save_LeftoverOfAKilledProcess_IsGone)
{
    put("a", "old");
    put(".a.saving.part", "half of somethi");
    EXPECT_EQ(save("a", "new"), Status::Saved);
    EXPECT_EQ(text("a"), "new");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

TEST_F(ReplaceFile, Save_LeftoverAsSecondNameOfTheFile_IsGone)
{
    put("a", "old");
    std::error_code error;
    fs::create_hard_link(pathOf(path("a")), pathOf(path(".a.before.part")), error);
    if (error)
        GTEST_SKIP() << "no hard links here: " << error.message();
    EXPECT_EQ(save("a", "new"), Status::Saved);
    EXPECT_EQ(text("a"), "new");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}

TEST_F(ReplaceFile, Save_LeftoversOfOtherFiles_Stay)
{
    put("a", "old");
    put(".b.saving.part", "of b");
    EXPECT_EQ(save("a", "new"), Status::Saved);
    EXPECT_EQ(names(), (std::set<std::string>{".b.saving.part", "a"}));
}

// --- Steps that fail ---------------------------------------------------------------------------------------------------------

TEST_F(ReplaceFile, EachStepFails_TheOldFileIsWholeAndNothingIsLeft)
{
    struct Row
    {
        ReplaceStep step;
        Status status;
    };
    for (Row const &row : {Row{ReplaceStep::Create, Status::NoRoom}, Row{ReplaceStep::Write, Status::NoRoom},
                           Row{ReplaceStep::Flush, Status::NoRoom}, Row{ReplaceStep::Place, Status::NoRoom}})
        for (bool const isThere : {false, true})
        {
            SCOPED_TRACE(static_cast<int>(row.step));
            if (isThere)
                put("a", "old");
            FailingReplaceCalls const failing(row.step, 0, kNoRoomError);
            OktSaveRefusal const refusal = OktReplaceFile(path("a"), "new", 3);
            EXPECT_EQ(refusal.status, row.status);
            EXPECT_EQ(refusal.systemError, kNoRoomError);
            EXPECT_EQ(names(), isThere ? std::set<std::string>{"a"} : std::set<std::string>());
            EXPECT_EQ(text("a"), isThere ? "old" : "");
            fs::remove(pathOf(path("a")));
        }
}

#if !defined(_WIN32) // where no folder is flushed
TEST_F(ReplaceFile, FolderCannotBeFlushed_ToldApartAndTheNewFileIsInPlace)
{
    put("a", "old");
    FailingReplaceCalls const failing(ReplaceStep::FlushFolder, 0, EIO);
    OktSaveRefusal const refusal = OktReplaceFile(path("a"), "new", 3);
    EXPECT_EQ(refusal.status, Status::NotFlushed);
    EXPECT_EQ(refusal.systemError, EIO);
    EXPECT_EQ(text("a"), "new");
    EXPECT_EQ(names(), std::set<std::string>{"a"});
}
#endif

// --- Several together --------------------------------------------------------------------------------------------------------

TEST_F(ReplaceFile, CommitTogether_EachStepFails_NoneIsInPlaceAndNothingIsLeft)
{
    struct Row
    {
        ReplaceStep step;
        std::size_t passed;
        std::size_t failed;
    };
    for (Row const &row : {Row{ReplaceStep::Flush, 0, 0}, Row{ReplaceStep::Flush, 2, 2}, Row{ReplaceStep::AddName, 0, 0},
                           Row{ReplaceStep::Place, 0, 0}, Row{ReplaceStep::Place, 1, 1}, Row{ReplaceStep::Place, 2, 2}})
    {
        SCOPED_TRACE(testing::Message() << static_cast<int>(row.step) << " " << row.passed);
        put("a", "old a");
        put("c", "old c");
        FailingReplaceCalls const failing(row.step, row.passed, kNoRoomError);
        std::vector<OktFileReplacement> files(3);
        ASSERT_TRUE(start(files[0], "a", "new") && start(files[1], "b", "new") && start(files[2], "c", "new"));
        OktFileReplacement *const all[] = {&files[0], &files[1], &files[2]};
        EXPECT_EQ(OktFileReplacement::commitTogether(all, 3), all[row.failed]);
        EXPECT_EQ(all[row.failed]->refusal().status, Status::NoRoom);
        EXPECT_EQ(names(), (std::set<std::string>{"a", "c"}));
        EXPECT_EQ(text("a") + text("c"), "old aold c");
    }
}

TEST_F(ReplaceFile, CommitTogether_NameCannotBeGivenBack_TheOldFileIsKeptUnderAnother)
{
    put("a", "old a");
    put("b", "old b");
    {
        // The second file is refused its place, and the first one its old name.
        FailingReplaceCalls failing(ReplaceStep::Place, 1, kNoRoomError);
        failing.alsoFail(ReplaceStep::GiveBack, 0);
        OktFileReplacement first;
        OktFileReplacement second;
        ASSERT_TRUE(start(first, "a", "new") && start(second, "b", "new"));
        OktFileReplacement *const both[] = {&first, &second};
        EXPECT_EQ(OktFileReplacement::commitTogether(both, 2), &second);
        EXPECT_TRUE(first.isOldKept());
        EXPECT_FALSE(second.isOldKept());
        EXPECT_TRUE(pathOf(first.oldPath()) == pathOf(path(".a.before.part"))) << first.oldPath().ToUtf8();
    }
    EXPECT_EQ(names(), (std::set<std::string>{".a.before.part", "a", "b"}));
    EXPECT_EQ(text(".a.before.part"), "old a");
    EXPECT_EQ(text("b"), "old b");
}

TEST_F(ReplaceFile, CommitTogether_None_NothingHappens) { EXPECT_EQ(OktFileReplacement::commitTogether(nullptr, 0), nullptr); }
