// SPDX-License-Identifier: MIT
#include <oktinspect/modulefolders.h>

#include <oktplatform/oktprogram.h>
#include <tools/okt/files/files.h>

#include "support/files.h"

#include "support/scratchfolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace okt;

namespace
{

namespace fs = std::filesystem;

class OktModuleFolders : public FolderTest
{
protected:
    std::string made(std::string const &name) const
    {
        fs::create_directories(path(name));
        return path(name);
    }
    static std::vector<ModuleFolder> of(std::string const &variable) { return moduleFolders(variable, {}); }
    static std::string list(std::vector<std::string> const &folders)
    {
        std::string text;
        for (std::string const &folder : folders)
            text += (text.empty() ? "" : std::string(1, OktListSeparator())) + folder;
        return text;
    }
};

TEST_F(OktModuleFolders, Folders_VariableThenThoseOfTheProgram)
{
    std::string const first = made("first");
    std::string const second = made("second");
    std::vector<ModuleFolder> const folders =
        moduleFolders(list({first, "", second, first, ""}), utf8Path(path("moved/bin/okt")));
    ASSERT_EQ(folders.size(), 3u);
    EXPECT_EQ(folders[0].path, utf8Path(first));
    EXPECT_EQ(folders[0].origin, ModuleOrigin::Variable);
    EXPECT_EQ(folders[0].refusal, "");
    EXPECT_EQ(folders[1].path, utf8Path(second));
    // Where libraries lie is chosen by who builds; the rest is the same everywhere.
    EXPECT_EQ(folders[2].origin, ModuleOrigin::Own);
    EXPECT_TRUE(pathName(folders[2].path).starts_with(path("moved/lib"))) << folders[2].path;
    EXPECT_TRUE(pathName(folders[2].path).ends_with("/oktdatabase/modules")) << folders[2].path;
    EXPECT_EQ(folders[2].refusal, "there is no such folder");
    EXPECT_TRUE(of("").empty());
}

TEST_F(OktModuleFolders, Folders_WhatIsRefused)
{
    EXPECT_EQ(of("modules")[0].refusal, "the path is not absolute");
    EXPECT_EQ(of(".")[0].refusal, "the path is not absolute");
    EXPECT_EQ(of(path("none"))[0].refusal, "there is no such folder");
    EXPECT_EQ(of(put("file", "text"))[0].refusal, "this is no folder");
    std::string const open = made("open");
    EXPECT_EQ(of(open)[0].refusal, "");
#if !defined(_WIN32)
    fs::permissions(open, fs::perms::others_write, fs::perm_options::add);
    EXPECT_EQ(of(open)[0].refusal, "everybody may write there");
#endif
}

TEST_F(OktModuleFolders, Files_LibrariesByName)
{
    std::string const folder = made("folder");
    made("folder/sub" + OktLibraryEnding().ToUtf8());
    for (char const *const name : {"b", "a", "c"})
        put("folder/" + std::string(name) + OktLibraryEnding().ToUtf8(), "");
    put("folder/readme.txt", "");
    put("folder/a.json", "");
    std::vector<fs::path> const files = moduleFilesIn(of(folder)[0]);
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(pathName(files[0].filename()), "a" + OktLibraryEnding().ToUtf8());
    EXPECT_EQ(pathName(files[2].filename()), "c" + OktLibraryEnding().ToUtf8());
    EXPECT_TRUE(moduleFilesIn({utf8Path(folder), ModuleOrigin::Variable, "refused", false}).empty());
}

#if !defined(_WIN32)
// Where everybody may replace the program itself, nothing is gained by refusing its modules.
TEST_F(OktModuleFolders, OwnFolder_OpenToAll_RefusedUnlessTheProgramIsToo)
{
    std::vector<ModuleFolder> folders = moduleFolders("", utf8Path(path("bin/okt")));
    ASSERT_EQ(folders.size(), 1u);
    made("bin");
    fs::create_directories(folders[0].path);
    std::string const file = pathName(folders[0].path) + "/a.so";
    put(file.substr(path("").size()), "");
    fs::permissions(file, fs::perms::others_write, fs::perm_options::add);
    fs::permissions(folders[0].path, fs::perms::others_write, fs::perm_options::add);
    folders = moduleFolders("", utf8Path(path("bin/okt")));
    EXPECT_EQ(folders[0].refusal, "everybody may write there");
    fs::permissions(path("bin"), fs::perms::others_write, fs::perm_options::add);
    folders = moduleFolders("", utf8Path(path("bin/okt")));
    EXPECT_EQ(folders[0].refusal, "");
    EXPECT_EQ(moduleFilesIn(folders[0]).size(), 1u);
    EXPECT_EQ(refusalOfModule(folders[0], file), "");
}

TEST_F(OktModuleFolders, File_ThatEverybodyMayChange_Refused)
{
    std::string const file = put("a.so", "");
    fs::permissions(file, fs::perms::others_write, fs::perm_options::remove);
    ModuleFolder const folder = {utf8Path(path("")), ModuleOrigin::Variable, "", false};
    EXPECT_EQ(refusalOfModule(folder, file), "");
    fs::create_symlink(file, path("link.so"));
    fs::permissions(file, fs::perms::others_write, fs::perm_options::add);
    EXPECT_EQ(refusalOfModule(folder, file), "everybody may write to the file");
    EXPECT_EQ(refusalOfModule(folder, path("link.so")), "everybody may write to the file");
    // Behind a link lies another folder.
    made("open");
    put("open/b.so", "");
    fs::permissions(path("open"), fs::perms::others_write, fs::perm_options::add);
    fs::create_symlink(path("open/b.so"), path("other.so"));
    EXPECT_EQ(refusalOfModule(folder, path("other.so")), "everybody may write to the folder of the file");
}
#endif

TEST_F(OktModuleFolders, NamesClass_LiteralOfAnyWidth)
{
    auto const with = [this](auto const *text, std::size_t size) {
        return put("x.so", "code" + std::string(reinterpret_cast<char const *>(text), size));
    };
    EXPECT_TRUE(namesClass(with(u"BarMark", sizeof u"BarMark"), u"BarMark"));
    EXPECT_TRUE(namesClass(with(L"BarMark", sizeof L"BarMark"), u"BarMark"));
    EXPECT_TRUE(namesClass(with("BarMark", sizeof "BarMark"), u"BarMark"));
    EXPECT_FALSE(namesClass(with(u"BarMarks", sizeof u"BarMarks"), u"BarMark"));
    EXPECT_FALSE(namesClass(with("BarMar", sizeof "BarMar"), u"BarMark"));
    EXPECT_FALSE(namesClass(path("none.so"), u"BarMark"));
    EXPECT_FALSE(namesClass(path(""), u"BarMark"));
}

// Its own folder is found from where it stands, so it is one that a build folder has too.
TEST_F(OktModuleFolders, ProgramFile_ThisOne)
{
    fs::path const program = utf8Path(OktProgramFile().ToUtf8());
    EXPECT_TRUE(program.is_absolute());
    EXPECT_TRUE(fs::exists(program));
    EXPECT_TRUE(pathName(program.filename()).starts_with("oktinspect_tests"));
}

} // namespace
