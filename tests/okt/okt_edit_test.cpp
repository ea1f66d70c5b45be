// SPDX-License-Identifier: MIT
#include "librarytest.h"

#include <tools/okt/files/textsession.h>

#include <gmock/gmock.h>

#include <algorithm>

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;

TEST(EditorCommand, Table)
{
    EXPECT_EQ(okt::editorCommand("vi", "/tmp/a b.json", 0, false), "vi '/tmp/a b.json'");
    EXPECT_EQ(okt::editorCommand("/usr/bin/vim -n", "/tmp/a.json", 12, false), "/usr/bin/vim -n +12 '/tmp/a.json'");
    EXPECT_EQ(okt::editorCommand("code --wait", "/tmp/a.json", 12, false), "code --wait '/tmp/a.json'");
    EXPECT_EQ(okt::editorCommand("nano", "/tmp/it's.json", 3, false), "nano +3 '/tmp/it'\\''s.json'");
    EXPECT_EQ(okt::editorCommand("notepad", "C:\\a b.json", 3, true), "\"notepad \"C:\\a b.json\"\"");
}

#if !defined(_WIN32) // the editors are scripts for a shell

class OktEdit : public LibraryTest
{
protected:
    /// A program that gets the file as its last argument, and notes its arguments.
    std::string editor(std::string const &name, std::string const &commands) const
    {
        std::string const file =
            put(name, "#!/bin/sh\necho \"$@\" >>'" + path("calls") + "'\nfor text; do :; done\n" + commands + "\n");
        fs::permissions(file, fs::perms::owner_all);
        return file;
    }

    static ProcessResult edit(std::string const &editor, std::string const &file)
    {
        return runProgram("/bin/sh",
                          {"-c", "unset VISUAL; EDITOR=\"$1\" exec \"$2\" edit \"$3\"", "sh", editor, OKT_EXE, file});
    }
};

TEST_F(OktEdit, ChangedText_Saved)
{
    std::string const link = take("link-d12.okt");
    ProcessResult const result = edit(editor("ed", "sed -i 's/\"B500B\"/\"B500C\"/' \"$text\""), link);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(shortened(result.out), "lib/link-d12.okt: saved\n");
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(done({"get", link, "Steelgrade"}), "B500C\n");
    EXPECT_THAT(done({"verify", link}), HasSubstr("32 objects, 0 errors, 0 warnings"));
    EXPECT_EQ(std::distance(fs::directory_iterator(path("lib")), {}), 1);
}

TEST_F(OktEdit, SameText_NothingWritten)
{
    std::string const link = take("link-d12.okt");
    fs::file_time_type const before = fs::last_write_time(link);
    ProcessResult const result = edit(editor("ed", ":"), link);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(shortened(result.out), "lib/link-d12.okt: nothing is changed\n");
    EXPECT_EQ(fs::last_write_time(link), before);
    // The text is another, the file would be the same.
    EXPECT_EQ(shortened(edit(editor("ed", "echo >>\"$text\""), link).out), "lib/link-d12.okt: nothing is changed\n");
}

TEST_F(OktEdit, WrongText_OpensAgainAtItsLine)
{
    std::string const link = take("link-d12.okt");
    // First the third line is spoilt, then it is mended and a value changed.
    ProcessResult const result = edit(
        editor("vi", "if grep -q spoilt \"$text\"; then sed -i -e 's/^spoilt//' -e 's/\"B500B\"/\"B500C\"/' \"$text\"; else "
                     "sed -i '3s/^/spoilt/' \"$text\"; fi"),
        link);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_THAT(shortened(result.err), HasSubstr("okt: lib/link-d12.okt:3:1: "));
    EXPECT_EQ(shortened(result.out), "lib/link-d12.okt: saved\n");
    std::string const calls = contents(path("calls"));
    EXPECT_THAT(calls, HasSubstr("\n+3 "));
    EXPECT_EQ(done({"get", link, "Steelgrade"}), "B500C\n");
}

TEST_F(OktEdit, WrongTextLeftAsItIs_KeptAndNothingSaved)
{
    std::string const link = take("link-d12.okt");
    std::string const before = contents(link);
    ProcessResult const result = edit(editor("ed", "grep -q spoilt \"$text\" || sed -i '3s/^/spoilt/' \"$text\""), link);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(contents(link), before);
    std::string const word = "the text is kept in ";
    std::size_t const at = result.err.find(word);
    ASSERT_NE(at, std::string::npos) << result.err;
    std::string const kept = result.err.substr(at + word.size(), result.err.find('\n', at) - at - word.size());
    EXPECT_THAT(contents(kept), HasSubstr("spoilt"));
    fs::remove_all(fs::path(kept).parent_path());
}

TEST_F(OktEdit, ScriptThatNeverGetsItRight_EndsAfterTenTimes)
{
    std::string const link = take("link-d12.okt");
    ProcessResult const result = edit(editor("ed", "sed -i '3s/^/x/' \"$text\""), link);
    EXPECT_EQ(result.exitCode, 1);
    std::string const calls = contents(path("calls"));
    EXPECT_EQ(std::count(calls.begin(), calls.end(), '\n'), 10);
    std::size_t const at = result.err.find("kept in ") + 8;
    fs::remove_all(fs::path(result.err.substr(at, result.err.find('\n', at) - at)).parent_path());
}

/// A file with an error is edited as any other, and the text may not give it one more.
TEST_F(OktEdit, FileWithAnError_KeepsItAndGetsNoOther)
{
    std::string const nowhere = "{00000000-0000-4000-8000-000000000001}";
    std::string const elsewhere = "{00000000-0000-4000-8000-000000000002}";
    std::string const file = path("damaged.okt");
    fs::copy_file(golden("stirrup.okt"), file);
    EXPECT_THAT(runOkt({"verify", "-q", file}).out, HasSubstr(" 0 errors"));
    std::string const text = done({"export", file});
    std::string const category = "{F36B99D1-E282-49A7-99CF-42E42EDCB07B}";
    std::string spoilt = text;
    spoilt.replace(spoilt.find(category), category.size(), nowhere);
    put("spoilt.json", spoilt);
    done({"import", path("spoilt.json"), "-o", file, "--force"});
    EXPECT_THAT(runOkt({"verify", "-q", file}).out, HasSubstr(" 1 error,"));

    EXPECT_EQ(edit(editor("mend", "sed -i 's/Stirrup, closed/Stirrup, old/' \"$text\""), file).exitCode, 0);
    std::string const before = contents(file);
    EXPECT_THAT(runOkt({"verify", "-q", file}).out, HasSubstr(" 1 error,"));

    // The owner of the first parameter stands in line 50.
    ProcessResult const result = edit(editor("ed", "sed -i '50s/{[-0-9A-F]*}/" + elsewhere + "/' \"$text\""), file);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(contents(file), before);
    EXPECT_THAT(shortened(result.err), HasSubstr("okt: damaged.okt:50:38: the text would give a file with an error: "));
    std::size_t const at = result.err.find("kept in ") + 8;
    fs::remove_all(fs::path(result.err.substr(at, result.err.find('\n', at) - at)).parent_path());

    // Nor is one that is there already given to another object.
    ProcessResult const other = edit(editor("ed2", "sed -i '108s/{[-0-9A-F]*}/" + nowhere + "/' \"$text\""), file);
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_EQ(contents(file), before);
    std::size_t const kept = other.err.find("kept in ") + 8;
    fs::remove_all(fs::path(other.err.substr(kept, other.err.find('\n', kept) - kept)).parent_path());
}

TEST_F(OktEdit, EditorThatFails_NothingSaved)
{
    std::string const link = take("link-d12.okt");
    std::string const before = contents(link);
    ProcessResult const result = edit(editor("ed", "exit 3"), link);
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.err, HasSubstr("the editor ended with a failure; nothing is saved"));
    EXPECT_EQ(contents(link), before);
    std::size_t const at = result.err.find("kept in ") + 8;
    fs::remove_all(fs::path(result.err.substr(at, result.err.find('\n', at) - at)).parent_path());
    EXPECT_EQ(edit("true", golden("truncated.okt")).exitCode, 1);
    EXPECT_EQ(edit("true", "-").exitCode, 2);
}

#endif

} // namespace
