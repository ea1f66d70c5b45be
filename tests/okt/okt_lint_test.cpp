// SPDX-License-Identifier: MIT
#include "librarytest.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

namespace
{

namespace fs = std::filesystem;

/// A copy over the other; not every system's copy_file can do that.
void replace(fs::path const &from, fs::path const &to)
{
    fs::remove(to);
    fs::copy_file(from, to);
}
using testing::HasSubstr;

class OktLint : public LibraryTest
{
};

TEST_F(OktLint, Examples_Quiet)
{
    fs::create_directories(pathOf(path("lib")));
    for (fs::directory_entry const &entry : fs::directory_iterator(built()))
        fs::copy_file(entry.path(), pathOf(path("lib")) / entry.path().filename());
    EXPECT_EQ(done({"lint", path("lib")}), "48 files, 0 errors, 0 warnings, 0 infos\n");
    EXPECT_EQ(done({"lint", path("lib"), "--json"}), "");
    EXPECT_EQ(done({"lint", path("lib"), "--pictures", "-q"}), "48 files, 0 errors, 0 warnings, 0 infos\n");
}

TEST_F(OktLint, Findings_LineWithSeverityPlaceAndMend)
{
    std::string const link = take("link-d12.okt");
    done({"set", link, "Cover=10 mm", "Cutting length=1.5 m"});
    ProcessResult const result = runOkt({"lint", link});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_THAT(shortened(result.out), testing::MatchesRegex("lib/link-d12.okt:byte .*: warning: \"C.*\n"
                                                             "lib/link-d12.okt:byte .*: warning: \"C.*\n"));
    EXPECT_THAT(result.out,
                HasSubstr(": warning: \"Cover\": the cover of 10 mm is less than the diameter, 12 mm; set the cover to 12 "
                          "mm or more [cover-below-diameter]\n"));
    EXPECT_THAT(result.out,
                HasSubstr(": warning: \"Cutting length\": the value is 1500 mm, its expression gives 1492 mm; set the "
                          "value to 1492 mm, or take the expression away [expression-value]\n"));
    ProcessResult const json = runOkt({"lint", link, "--json"});
    EXPECT_THAT(json.out, HasSubstr("\"severity\":\"warning\",\"code\":\"cover-below-diameter\",\"id\":\"{"));
    EXPECT_THAT(json.out,
                HasSubstr("\"name\":\"Cover\",\"finding\":\"the cover of 10 mm is less than the diameter, 12 mm\",\"mend\":"
                          "\"set the cover to 12 mm or more\"}\n"));
    EXPECT_EQ(runOkt({"lint", link, "-q"}).out, "1 file, 0 errors, 2 warnings, 0 infos\n");
}

TEST_F(OktLint, DamagedOrMissingFile_OneLineAndTheRestIsLookedAt)
{
    ProcessResult const result = runOkt({"lint", "none.okt", golden("truncated.okt"), "--pictures"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: none.okt: there is no such file\nokt: " + golden("truncated.okt") +
                              ":byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358\nokt: " +
                              golden("truncated.okt") +
                              ": the file is not whole: what seems to be missing in the template is not judged\n");
    EXPECT_THAT(result.out, testing::Not(HasSubstr("picture-missing")));
    EXPECT_EQ(runOkt({"lint"}).exitCode, 2);
    // What is behind the end of a pool is no part of it.
    ProcessResult const trailing = runOkt({"lint", golden("trailing-bytes.okt")});
    EXPECT_EQ(trailing.err,
              "okt: " + golden("trailing-bytes.okt") + ":byte 1374: the file ends inside an object that begins at byte 1357\n");
    EXPECT_THAT(trailing.out, HasSubstr("the template has no picture"));
}

class OktFolders : public LibraryTest
{
protected:
    void SetUp() override
    {
        take("link-d12.okt", "d12.okt");
        take("link-d8.okt", "d8.okt");
        take("link-d8.okt", "old/d6.okt");
        take("link-d8.okt", "old/keep/d7.okt");
        put("lib/note.txt", std::string("no pool file"));
    }
};

TEST_F(OktFolders, EveryCommand_RecursiveAndSorted)
{
    EXPECT_EQ(shortened(done({"verify", path("lib")})), "lib/d8.okt: 32 objects, 0 errors, 0 warnings\n"
                                                        "lib/d12.okt: 32 objects, 0 errors, 0 warnings\n"
                                                        "lib/old/d6.okt: 32 objects, 0 errors, 0 warnings\n"
                                                        "lib/old/keep/d7.okt: 32 objects, 0 errors, 0 warnings\n");
    EXPECT_EQ(done({"verify", "-q", path("lib")}), "4 files, 128 objects, 0 errors, 0 warnings\n");
    std::string const shown = shortened(done({"show", path("lib")}));
    EXPECT_LT(shown.find("lib/d8.okt"), shown.find("lib/d12.okt"));
    EXPECT_THAT(shown, HasSubstr("lib/old/keep/d7.okt"));
    EXPECT_THAT(shortened(done({"info", path("lib")})), HasSubstr("\nlib/old/d6.okt: "));
    EXPECT_THAT(shortened(done({"hash", path("lib")})), HasSubstr("  lib/old/keep/d7.okt\n"));
    EXPECT_THAT(shortened(done({"ls", path("lib"), "--name", "Cover"})), HasSubstr("lib/old/d6.okt:\n"));
    EXPECT_THAT(shortened(done({"tree", path("lib"), "--ascii"})), HasSubstr("\nlib/old/d6.okt:\n\"Closed link, 8 mm"));
    EXPECT_EQ(shortened(done({"find", "-l", "Cover", path("lib")})),
              "lib/d8.okt\nlib/d12.okt\nlib/old/d6.okt\nlib/old/keep/d7.okt\n");
    done({"report", path("lib"), "-o", path("page.html")});
    EXPECT_THAT(contents(pathOf(path("page.html"))), HasSubstr("d7.okt"));
}

TEST_F(OktFolders, Quiet_OneTotal)
{
    EXPECT_EQ(done({"show", "-q", path("lib")}), "4 files, 0 with a fault\n");
    EXPECT_EQ(done({"tree", "-q", path("lib")}), "4 files, 0 with a fault\n");
    EXPECT_EQ(done({"ls", "-q", path("lib")}), "4 files, 128 objects\n");
    EXPECT_EQ(done({"ls", "-q", path("lib"), "--class", "OKTDbPicture"}), "4 files, 4 objects\n");
    EXPECT_EQ(done({"info", "-q", path("lib")}), "4 files, 128 objects\n");
    EXPECT_EQ(done({"info", "-q", "--header", path("lib")}), "4 files\n");
    EXPECT_EQ(done({"hash", "-q", path("lib")}), "4 files, 4 digests\n");
    EXPECT_EQ(done({"table", "-q", "Cover", "Width", path("lib")}), "4 templates, 4 empty fields\n");
    for (char const *const command : {"show", "tree"})
    {
        ProcessResult const result = runOkt({command, "-q", path("lib"), golden("truncated.okt"), "none.okt"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "6 files, 2 with a fault\n");
        EXPECT_THAT(result.err, HasSubstr("okt: none.okt: there is no such file\n"));
    }
    ProcessResult const list = runOkt({"ls", "-q", path("lib"), "none.okt"});
    EXPECT_EQ(list.exitCode, 1);
    EXPECT_EQ(list.out, "5 files, 128 objects\n");
}

TEST_F(OktFolders, OktIgnore_LeavesOut)
{
    put("lib/.oktignore", std::string("# what is old\nold/*\n!old/keep/\n"));
    EXPECT_EQ(shortened(done({"find", "-l", "Cover", path("lib")})), "lib/d8.okt\nlib/d12.okt\nlib/old/keep/d7.okt\n");
    put("lib/old/keep/.oktignore", std::string("d?.okt\r\n"));
    EXPECT_EQ(shortened(done({"find", "-l", "Cover", path("lib")})), "lib/d8.okt\nlib/d12.okt\n");
    EXPECT_EQ(shortened(done({"find", "-l", "Cover", path("lib/old/d6.okt")})), "lib/old/d6.okt\n"); // it is named itself
}

TEST_F(OktFolders, FilesFrom_AListOfNames)
{
    std::string const list = put("list", path("lib/d8.okt") + "\r\n\n" + path("lib/old") + "\n");
    EXPECT_EQ(shortened(done({"find", "-l", "Cover", "--files-from", list})),
              "lib/d8.okt\nlib/old/d6.okt\nlib/old/keep/d7.okt\n");
    std::string const marked = put("marked", "\xEF\xBB\xBF" + path("lib/d8.okt") + "\n"); // as some editors write it
    EXPECT_EQ(shortened(done({"find", "-l", "Cover", "--files-from", marked})), "lib/d8.okt\n");
    EXPECT_EQ(shortened(runOktOn(list, {"verify", "-q", "--files-from", "-"}).out),
              "3 files, 96 objects, 0 errors, 0 warnings\n");
    EXPECT_EQ(runOkt({"verify", "--files-from", path("none")}).exitCode, 1);
    EXPECT_EQ(runOkt({"verify"}).err, "okt: FILE is missing; see \"okt verify --help\"\n");
    fs::create_directory(pathOf(path("none")));
    ProcessResult const empty = runOkt({"verify", path("none")});
    EXPECT_EQ(empty.exitCode, 1);
    EXPECT_EQ(shortened(empty.err), "okt: none: there is no pool file in this folder\n");
}

TEST_F(OktFolders, NumbersWithAPoint_InTheirOrder)
{
    take("link-d8.okt", "d8.5.okt");
    take("link-d8.okt", "d8.25.okt");
    EXPECT_EQ(shortened(done({"find", "-l", "Cover", path("lib")})),
              "lib/d8.okt\nlib/d8.25.okt\nlib/d8.5.okt\nlib/d12.okt\nlib/old/d6.okt\nlib/old/keep/d7.okt\n");
}

TEST_F(OktFolders, ShowAndTreeAsJson)
{
    std::string const show = shortened(done({"show", "--json", path("lib/d12.okt")}));
    EXPECT_EQ(std::count(show.begin(), show.end(), '\n'), 1);
    EXPECT_THAT(show, HasSubstr("{\"file\":\"lib/d12.okt\",\"pool\":{\"id\":\"{"));
    EXPECT_THAT(show, HasSubstr("\"unit\":\"mm\",\"drawnIn\":\"mm\",\"groups\":[{"));
    EXPECT_THAT(show, HasSubstr("\"type\":6,\"value\":30.0,\"unit\":\"mm\",\"description\":\"Concrete cover on every side\"}"));
    EXPECT_THAT(show, HasSubstr("\"faults\":[]}"));
    std::string const tree = done({"tree", "--json", path("lib/d12.okt"), "-u", "cm"});
    EXPECT_THAT(tree, HasSubstr("\"categories\":[{\"id\":\"{"));
    EXPECT_THAT(tree, HasSubstr("\"name\":\"Bar\",\"parameters\":[{\"name\":\"Standard\""));
    EXPECT_THAT(tree, HasSubstr("\"value\":149.2,\"unit\":\"cm\",\"expression\":\"2*LegA+2*LegB+max(16*Diameter;160)\""));
    ProcessResult const damaged = runOkt({"show", "--json", golden("truncated.okt")});
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_THAT(damaged.out, HasSubstr("\"faults\":[\""));
    EXPECT_EQ(runOkt({"show", "--json", "none.okt"}).err, "okt: none.okt: there is no such file\n");
}

TEST_F(OktFolders, Diff_AddedRemovedRenamedChanged)
{
    fs::copy(pathOf(path("lib")), pathOf(path("new")), fs::copy_options::recursive);
    EXPECT_EQ(done({"diff", path("lib"), path("new")}), "");
    EXPECT_EQ(done({"diff", "-q", path("lib"), path("new")}), "0 removed, 0 added, 0 renamed, 0 changed, 4 the same\n");
    fs::rename(pathOf(path("new/d12.okt")), pathOf(path("new/link-12.okt")));
    done({"set", path("new/d8.okt"), "Cover=35 mm"});
    fs::remove(pathOf(path("new/old/d6.okt")));
    fs::copy_file(built() / "mesh-d8.okt", pathOf(path("new/mesh.okt")));
    ProcessResult const result = runOkt({"diff", path("lib"), path("new")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(shortened(result.out), "> d12.okt -> link-12.okt\n"
                                     "--- lib/d8.okt\n"
                                     "+++ new/d8.okt\n"
                                     "~ Cover: 30 mm -> 35 mm\n"
                                     "0 removed, 0 added, 1 changed, 31 the same\n"
                                     "- old/d6.okt\n"
                                     "+ mesh.okt\n"
                                     "1 removed, 1 added, 1 renamed, 1 changed, 1 the same\n");
    ProcessResult const json = runOkt({"diff", "--json", path("lib"), path("new")});
    EXPECT_EQ(json.exitCode, 1);
    EXPECT_THAT(json.out, HasSubstr("{\"file\":\"d12.okt\",\"change\":\"renamed\",\"to\":\"link-12.okt\"}\n"));
    EXPECT_THAT(json.out, HasSubstr("{\"file\":\"d8.okt\",\"change\":\"changed\",\"diff\":{"));
    EXPECT_THAT(json.out, HasSubstr("{\"file\":\"old/d6.okt\",\"change\":\"removed\"}\n"));
    replace(golden("truncated.okt"), pathOf(path("new/d8.okt")));
    ProcessResult const trouble = runOkt({"diff", "-q", path("lib"), path("new")});
    EXPECT_EQ(trouble.exitCode, 2);
    EXPECT_EQ(shortened(trouble.err),
              "okt: new/d8.okt:byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358\n");
}

TEST_F(OktFolders, Diff_FolderAndAMissingName_ThatIsTold)
{
    for (std::vector<std::string> const &names :
         {std::vector<std::string>{path("lib"), path("nix")}, {path("nix"), path("lib")}})
    {
        ProcessResult const result = runOkt({"diff", names[0], names[1]});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(shortened(result.err), "okt: nix: there is no such file\n");
    }
    EXPECT_EQ(shortened(runOkt({"diff", path("lib"), path("lib/d8.okt")}).err), "okt: lib: this is a folder, not a file\n");
}

/// A new template that took the name of an old one does not hide where that went.
TEST_F(OktFolders, Diff_NameTakenByAnother_FollowsThePool)
{
    fs::copy(pathOf(path("lib")), pathOf(path("new")), fs::copy_options::recursive);
    fs::rename(pathOf(path("new/d12.okt")), pathOf(path("new/d12-old.okt")));
    fs::copy_file(built() / "mesh-d8.okt", pathOf(path("new/d12.okt")));
    EXPECT_EQ(runOkt({"diff", path("lib"), path("new")}).out, "> d12.okt -> d12-old.okt\n"
                                                              "+ d12.okt\n"
                                                              "0 removed, 1 added, 1 renamed, 0 changed, 3 the same\n");
    // One that was built anew has another id, and stays the file of that name.
    fs::remove_all(pathOf(path("new")));
    fs::copy(pathOf(path("lib")), pathOf(path("new")), fs::copy_options::recursive);
    replace(built() / "mesh-d8.okt", pathOf(path("new/d12.okt")));
    EXPECT_EQ(runOkt({"diff", "-q", path("lib"), path("new")}).out, "0 removed, 0 added, 0 renamed, 1 changed, 3 the same\n");
}

class OktHash : public LibraryTest
{
};

TEST_F(OktHash, Contents_SameForACloneAndOtherForAChange)
{
    std::string const link = take("link-d12.okt");
    std::string const first = done({"hash", link}).substr(0, 64);
    EXPECT_EQ(first.find_first_not_of("0123456789abcdef"), std::string::npos);
    // A build draws new ids each time, and the objects stand in the order of these.
    done({"build", OKT_EXAMPLES_DIR "/data", "-o", path("again")});
    std::string const again = path("again/link-d12.okt");
    EXPECT_NE(contents(pathOf(link)), contents(pathOf(again)));
    EXPECT_EQ(done({"hash", again}).substr(0, 64), first);
    EXPECT_NE(done({"hash", "--bytes", link}).substr(0, 64), done({"hash", "--bytes", again}).substr(0, 64));
    done({"set", again, "Cover=31 mm"});
    EXPECT_NE(done({"hash", again}).substr(0, 64), first);
}

TEST_F(OktHash, Bytes_OfAKnownFile)
{
    std::string const file = put("abc", std::string("abc")); // FIPS 180-4
    EXPECT_EQ(done({"hash", "--bytes", file}),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  " + file + "\n");
    ProcessResult const contents = runOkt({"hash", file});
    EXPECT_EQ(contents.exitCode, 1);
    EXPECT_EQ(contents.err, "okt: " + file + ":byte 0: this is no pool file: it does not begin with the size of a header\n");
    EXPECT_THAT(runOkt({"hash", "--json", file}).out, HasSubstr("\"contents\":null}"));
}

TEST_F(OktHash, Manifest_HoldsAFolderAgainstIt)
{
    take("link-d8.okt", "a.okt");
    std::string const b = take("link-d12.okt", "b.okt");
    take("link-d16.okt", "sub/c.okt");
    take("link-d20.okt", "d.okt");
    std::string const text = done({"hash", "--manifest", path("lib")});
    EXPECT_TRUE(text.starts_with("# okt manifest 1: SHA-256 of the bytes, of the contents, path\n")) << text;
    std::string const manifest = put("m", text);
    EXPECT_EQ(done({"verify", "--manifest", manifest, path("lib")}), "4 files, 0 changes\n");
    done({"set", b, "Cover=31 mm"});
    fs::rename(pathOf(path("lib/sub/c.okt")), pathOf(path("lib/e.okt")));
    fs::remove(pathOf(path("lib/a.okt")));
    take("hooked-d12.okt", "f.okt");
    done({"build", OKT_EXAMPLES_DIR "/data", "-o", path("again")});
    replace(pathOf(path("again/link-d20.okt")), pathOf(path("lib/d.okt")));
    ProcessResult const result = runOkt({"verify", "--manifest", manifest, path("lib")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out, "a.okt: missing\n"
                          "b.okt: changed\n"
                          "d.okt: rewritten, and holds the same\n"
                          "f.okt: new\n"
                          "sub/c.okt: renamed to e.okt\n"
                          "4 files, 4 changes\n");
    ProcessResult const wrong = runOkt({"verify", "--manifest", put("w", text + "odd\n"), path("lib")});
    EXPECT_EQ(wrong.exitCode, 1);
    EXPECT_EQ(shortened(wrong.err), "okt: w:6: two digests and a path are wanted here\n");
    EXPECT_EQ(shortened(runOkt({"verify", "--manifest", put("v", std::string("x\n")), path("lib")}).err),
              "okt: v:1: this is no manifest that okt hash made\n");
}

TEST_F(OktHash, Manifest_SwappedAndMovedFilesAreRenamed)
{
    take("link-d8.okt", "a.okt");
    take("link-d12.okt", "b.okt");
    take("link-d16.okt", "c.okt");
    std::string const manifest = put("m", done({"hash", "--manifest", path("lib")}));
    take("link-d12.okt", "a.okt");
    take("link-d8.okt", "b.okt");
    ProcessResult const swapped = runOkt({"verify", "--manifest", manifest, path("lib")});
    EXPECT_EQ(swapped.exitCode, 1);
    EXPECT_EQ(swapped.out, "a.okt: renamed to b.okt\n"
                           "b.okt: renamed to a.okt\n"
                           "3 files, 2 changes\n");
    // One that took the name of another, which is gone; a copy of one that is still there is a change.
    take("link-d8.okt", "a.okt");
    fs::remove(pathOf(path("lib/b.okt")));
    take("link-d12.okt", "c.okt");
    EXPECT_EQ(runOkt({"verify", "--manifest", manifest, path("lib")}).out, "b.okt: renamed to c.okt\n"
                                                                           "c.okt: changed\n"
                                                                           "2 files, 2 changes\n");
    take("link-d12.okt", "b.okt");
    EXPECT_EQ(runOkt({"verify", "--manifest", manifest, path("lib")}).out, "c.okt: changed\n3 files, 1 change\n");
    // Another file moves to the name of one that moved.
    fs::remove(pathOf(path("lib/c.okt")));
    take("link-d16.okt", "b.okt");
    take("link-d12.okt", "d.okt");
    EXPECT_EQ(runOkt({"verify", "--manifest", manifest, path("lib")}).out, "b.okt: renamed to d.okt\n"
                                                                           "c.okt: renamed to b.okt\n"
                                                                           "3 files, 2 changes\n");
}

#if !defined(_WIN32) // no name there has such characters

TEST_F(OktHash, OddNames_AsSha256sumWritesAndReadsThem)
{
    put("abc\nd\\e\rf.okt", std::string("abc"));
    EXPECT_EQ(runOkt({"hash", "--bytes", path("abc\nd\\e\rf.okt")}).out,
              "\\ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  " + path("abc\\nd\\\\e\\rf.okt") + "\n");
    take("link-d8.okt", "a\nb.okt");
    take("link-d12.okt", "c\\n.okt");
    take("link-d16.okt", "e.okt");
    std::string const text = done({"hash", "--manifest", path("lib")});
    EXPECT_THAT(text, HasSubstr(" a\\nb.okt\n"));
    EXPECT_THAT(text, HasSubstr(" c\\\\n.okt\n"));
    std::string const manifest = put("m", text);
    EXPECT_EQ(done({"verify", "--manifest", manifest, path("lib")}), "3 files, 0 changes\n");
    put("bytes", done({"hash", "--bytes", path("lib")}));
    ProcessResult const checked = runProgram("/bin/sh", {"-c", "sha256sum -c \"$1\" | grep -c ': OK$'", "sh", path("bytes")});
    EXPECT_EQ(checked.out, "3\n") << checked.err;
    std::string const digest(64, '0');
    std::string const odd = "# okt manifest 1\n\\" + digest + " - a\\x\n";
    EXPECT_EQ(shortened(runOkt({"verify", "--manifest", put("o", odd), path("lib")}).err),
              "okt: o:2: the path has a backslash that is no escape\n");
}

#endif

} // namespace
