// SPDX-License-Identifier: MIT
#include "support/files.h"

#include <oktformat/failure.h>
#include <tools/okt/files/exportfiles.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <set>
#include <string>

namespace
{

namespace fs = std::filesystem;
using namespace okt;

class OktExportFiles : public FolderTest
{
protected:
    static CByteArray bytes(std::string const &text)
    {
        CByteArray array;
        array.SetSize(static_cast<int>(text.size()));
        std::copy(text.begin(), text.end(), array.GetData());
        return array;
    }

    /// Everything in the folder of the test, with what is below it; hidden files too.
    std::set<std::string> left() const
    {
        std::set<std::string> names;
        fs::path const folder = utf8Path(path(""));
        for (fs::directory_entry const &entry : fs::recursive_directory_iterator(folder))
            names.insert(entry.path().lexically_relative(folder).generic_string());
        return names;
    }

    static std::string failureOf(auto const &action)
    {
        try
        {
            action();
        }
        catch (Failure const &failure)
        {
            return failure.what();
        }
        return "no failure";
    }
};

// ---- Pictures and text together ----------------------------------------------------------------------------------------------

TEST_F(OktExportFiles, CommitWith_AllWell_FilesInANewFolder)
{
    {
        PictureFolder pictures(utf8Path(path("a/b")), false);
        OutputFile text(utf8Path(path("x.json")), false);
        EXPECT_EQ(pictures.put("one", bytes("1")), "one.bin");
        EXPECT_EQ(pictures.put("one", bytes("2")), "one-2.bin");
        text.write("text");
        text.close();
        pictures.commitWith(text);
    }
    EXPECT_EQ(left(), (std::set<std::string>{"a", "a/b", "a/b/one.bin", "a/b/one-2.bin", "x.json"}));
    EXPECT_EQ(contents(path("a/b/one-2.bin")), "2");
}

TEST_F(OktExportFiles, NoCommit_NothingIsLeftAndNoFolder)
{
    {
        PictureFolder pictures(utf8Path(path("a/b")), false);
        OutputFile text(utf8Path(path("x.json")), false);
        pictures.put("one", bytes("1"));
        EXPECT_TRUE(fs::exists(path("a/b")));
    }
    EXPECT_EQ(left(), std::set<std::string>());
}

TEST_F(OktExportFiles, NoCommit_FolderThatWasThere_Stays)
{
    fs::create_directory(path("a"));
    {
        PictureFolder pictures(utf8Path(path("a/b")), false);
        pictures.put("one", bytes("1"));
    }
    EXPECT_EQ(left(), std::set<std::string>{"a"});
}

/// A folder that comes in the way takes no file's name.
TEST_F(OktExportFiles, CommitWith_LastPictureOrTextFails_NothingIsLeftAndOldFilesStay)
{
    for (std::string const name : {"pictures/three.bin", "x.json"})
    {
        SCOPED_TRACE(name);
        fs::create_directory(path("pictures"));
        put("pictures/one.bin", "old one");
        put("pictures/other.txt", "mine");
        {
            PictureFolder pictures(utf8Path(path("pictures")), true);
            OutputFile text(utf8Path(path("x.json")), true);
            for (char const *const stem : {"one", "two", "three"})
                pictures.put(stem, bytes("new"));
            text.write("text");
            text.close();
            fs::create_directories(path(name + "/full"));
            std::string const failure = failureOf([&] { pictures.commitWith(text); });
            EXPECT_TRUE(failure.starts_with(path(name) + ": the file cannot be put in place: ")) << failure;
            EXPECT_EQ(failure.find(';'), std::string::npos) << failure;
        }
        fs::remove_all(path(name));
        EXPECT_EQ(left(), (std::set<std::string>{"pictures", "pictures/one.bin", "pictures/other.txt"}));
        EXPECT_EQ(contents(path("pictures/one.bin")), "old one");
        fs::remove_all(path("pictures"));
    }
}

TEST_F(OktExportFiles, CommitWith_FilesThatAreReplaced_NoOtherNameIsLeft)
{
    fs::create_directory(path("pictures"));
    put("pictures/one.bin", "old one");
    put("x.json", "old text");
    fs::permissions(path("pictures/one.bin"), fs::perms::owner_read | fs::perms::owner_write);
    {
        PictureFolder pictures(utf8Path(path("pictures")), true);
        OutputFile text(utf8Path(path("x.json")), true);
        pictures.put("one", bytes("new one"));
        text.write("new text");
        text.close();
        pictures.commitWith(text);
    }
    EXPECT_EQ(left(), (std::set<std::string>{"pictures", "pictures/one.bin", "x.json"}));
    EXPECT_EQ(contents(path("pictures/one.bin")), "new one");
    EXPECT_EQ(contents(path("x.json")), "new text");
#if !defined(_WIN32) // which knows write protection alone
    EXPECT_EQ(fs::status(path("pictures/one.bin")).permissions(), fs::perms::owner_read | fs::perms::owner_write);
#endif
}

// ---- Folders -----------------------------------------------------------------------------------------------------------------

TEST_F(OktExportFiles, MadeFolder_AtItsEnd_OnlyWhatIsEmptyGoes)
{
    {
        MadeFolder const folder(utf8Path(path("a/b/c")));
        put("a/file", "stays");
        EXPECT_TRUE(fs::is_directory(path("a/b/c")));
    }
    EXPECT_EQ(left(), (std::set<std::string>{"a", "a/file"}));
    {
        MadeFolder const folder(utf8Path(path("a/d/")));
        EXPECT_TRUE(fs::is_directory(path("a/d")));
    }
    fs::create_directory(path("empty"));
    {
        MadeFolder const folder(utf8Path(path("empty")));
    }
    EXPECT_EQ(left(), (std::set<std::string>{"a", "a/file", "empty"}));
}

TEST_F(OktExportFiles, MadeFolder_FileInTheWay_FailureAndNothingMade)
{
    put("file", "stays");
    EXPECT_EQ(failureOf([&] { MadeFolder const folder(utf8Path(path("file"))); }),
              path("file") + ": the output folder cannot be made: a file has this name");
    std::string const failure = failureOf([&] { MadeFolder const folder(utf8Path(path("file/a/b"))); });
    EXPECT_TRUE(failure.starts_with(path("file/a/b") + ": the output folder cannot be made: ")) << failure;
    EXPECT_EQ(left(), std::set<std::string>{"file"});
}

} // namespace
