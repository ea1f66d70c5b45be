// SPDX-License-Identifier: MIT
#include "difftest.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A repository with a template in it, and the program as `okt` in the path.
class OktGit : public DiffTest
{
protected:
    OktGit()
    {
        fs::create_directory(path("bin"));
        fs::create_symlink(OKT_EXE, path("bin/okt"));
        fs::create_directory(path("work"));
        done("git init -q -b main .");
    }

    ProcessResult inRepository(std::string const &commands) const
    {
        std::string const script = "set -e; cd \"$1/work\"; unset NO_COLOR; export PATH=\"$1/bin:$PATH\" GIT_CONFIG_NOSYSTEM=1 "
                                   "HOME=\"$1\" GIT_PAGER=cat GIT_EDITOR=true GIT_AUTHOR_NAME=a GIT_AUTHOR_EMAIL=a@b "
                                   "GIT_COMMITTER_NAME=a GIT_COMMITTER_EMAIL=a@b; " +
                                   commands;
        return runProgram("/bin/sh", {"-c", script, OKT_EXE, path("")});
    }

    /// What commands that must succeed print.
    std::string done(std::string const &commands) const
    {
        ProcessResult const result = inRepository(commands);
        EXPECT_EQ(result.exitCode, 0) << commands << "\n" << result.out << result.err;
        return result.out;
    }

    /// The lines of the documentation that have these words, as they stand there.
    static std::string documented(std::string const &words)
    {
        std::istringstream text(contents(OKT_EXAMPLES_DIR "/../docs/manual/diff.md"));
        std::string lines;
        for (std::string line; std::getline(text, line);)
            if (line.find(words) != std::string::npos && (line.starts_with("git config ") || line.starts_with("*.okt ")))
                lines += line + "\n";
        EXPECT_NE(lines, "") << words;
        return lines;
    }

    void setUp(std::string const &attributes, std::string const &configuration) const
    {
        put("work/.gitattributes", documented(attributes));
        done(documented(configuration));
    }

    void setUpExternalDiff() const { setUp("*.okt diff=okt", "diff.okt.command"); }
    void setUpTextConversion() const { setUp("*.okt diff=okt", "diff.okt.textconv"); }
    void setUpFilter() const { setUp("filter=okt", "filter.okt."); }

    void writeLegA(double metres, std::string const &name = "work/link.okt")
    {
        m_parameters[1]->setValue(metres, 1);
        write(name);
    }

    std::string cut(std::string const &file) const
    {
        std::string const whole = contents(path(file));
        return whole.substr(0, whole.size() / 2);
    }

    /// A good version, a damaged one, a good one again; beside it a file that is compared behind it.
    void commitDamagedHistory()
    {
        write("work/link.okt");
        put("work/zzz.txt", "one\n");
        done("git add .; git commit -qm first");
        put("work/link.okt", cut("work/link.okt"));
        put("work/zzz.txt", "two\n");
        done("git commit -qam damaged");
        writeLegA(0.5);
        put("work/zzz.txt", "three\n");
        done("git commit -qam repaired");
    }

    /// What every file that is no pool may be.
    void commitOddFiles()
    {
        write("work/a.okt");
        for (char const *const name : {"b", "c", "d", "e"})
            write("work/" + std::string(name) + ".okt");
        put("work/zzz.txt", "one\n");
        done("git add .; git commit -qm first");
        put("work/a.okt", std::string());
        put("work/b.okt", "no pool\n");
        put("work/c.okt", std::string(1000, '\0'));
        put("work/d.okt", "\xFF\xFE no text");
        fs::remove(path("work/e.okt"));
        fs::create_symlink("a.okt", path("work/e.okt"));
        put("work/zzz.txt", "two\n");
        done("git add .; git commit -qm odd");
    }
};

// ---- External diff -----------------------------------------------------------------------------------------------------------

TEST_F(OktGit, ExternalDiff_ChangedAddedRemovedRenamed_AsTold)
{
    setUpExternalDiff();
    write("work/link.okt");
    done("git add .; git commit -qm first");
    writeLegA(0.5);
    EXPECT_EQ(done("git diff"), "--- a/link.okt\n+++ b/link.okt\n~ Leg A: 250 mm -> 500 mm\n"
                                "0 removed, 0 added, 1 changed, 5 the same\n");

    write("work/new.okt");
    std::string const added = done("git add new.okt; git diff --cached -- new.okt");
    EXPECT_THAT(added, StartsWith("--- /dev/null\n+++ b/new.okt\n+ Category \"Bar\", 4 parameters\n+ Length = 0 mm\n"));
    EXPECT_THAT(added, HasSubstr("0 removed, 6 added, 0 changed, 0 the same\n"));

    std::string const removed = done("git reset -q; rm link.okt; git diff -- link.okt");
    EXPECT_THAT(removed, StartsWith("--- a/link.okt\n+++ /dev/null\n- Category \"Bar\", 4 parameters\n"));
    EXPECT_THAT(removed, HasSubstr("6 removed, 0 added, 0 changed, 0 the same\n"));

    std::string const renamed = done("git checkout -q .; git mv link.okt bow.okt; mv new.okt bow.okt; git add bow.okt; "
                                     "git diff --ext-diff -M10% --cached");
    EXPECT_THAT(renamed, StartsWith("similarity index "));
    EXPECT_THAT(renamed, HasSubstr("%\nrename from link.okt\nrename to bow.okt\n--- a/link.okt\n+++ b/bow.okt\n"
                                   "~ Leg A: 250 mm -> 500 mm\n"));
}

TEST_F(OktGit, ExternalDiff_RenameOrModeAlone_Told)
{
    setUpExternalDiff();
    write("work/link.okt");
    done("git add .; git commit -qm first; git mv link.okt bow.okt");
    EXPECT_EQ(done("git diff --cached -M"), "similarity index 100%\nrename from link.okt\nrename to bow.okt\n");
    EXPECT_EQ(done("git reset -q --hard; chmod +x link.okt; git diff"),
              "old mode 100644\nnew mode 100755\n--- a/link.okt\n+++ b/link.okt\n");
}

TEST_F(OktGit, ExternalDiff_NamesThatBeginWithADash_Compared)
{
    setUpExternalDiff();
    write("work/-x.okt");
    write("work/--json.okt");
    write("work/--");
    put("work/.gitattributes", "*.okt diff=okt\n-- diff=okt\n");
    done("git add .; git commit -qm first");
    m_parameters[1]->setValue(0.5, 1);
    for (char const *const name : {"work/-x.okt", "work/--json.okt", "work/--"})
        write(name);
    std::string const changed = done("git diff");
    for (std::string const name : {"-x.okt", "--json.okt", "--"})
        EXPECT_THAT(changed, HasSubstr("--- a/" + name + "\n+++ b/" + name + "\n~ Leg A: 250 mm -> 500 mm\n")) << name;
    EXPECT_EQ(done("git commit -qam second; git log -p --ext-diff -1 --format="), changed);
    EXPECT_EQ(done("git mv -- -x.okt -y.okt; git diff --cached -M"),
              "similarity index 100%\nrename from -x.okt\nrename to -y.okt\n");
}

TEST_F(OktGit, ExternalDiff_DamagedFileInHistory_ToldAndTheRestShown)
{
    setUpExternalDiff();
    commitDamagedHistory();
    std::string const log = done("git log -p --ext-diff --format='== %s'");
    EXPECT_THAT(log, HasSubstr("== repaired\n\n--- a/link.okt\n+++ b/link.okt\n! a/link.okt:byte "));
    EXPECT_THAT(log, HasSubstr("== damaged\n\n--- a/link.okt\n+++ b/link.okt\n! b/link.okt:byte "));
    EXPECT_THAT(log, HasSubstr("the file ends inside an OKTDb"));
    EXPECT_THAT(log, HasSubstr(" bytes that are no object\n"));
    EXPECT_THAT(log, HasSubstr("-one\n+two\n"));
    EXPECT_THAT(log, HasSubstr("-two\n+three\n"));
    EXPECT_THAT(log, HasSubstr("\n--- /dev/null\n+++ b/link.okt\n+ Category \"Bar\""));
    EXPECT_THAT(done("git diff HEAD~2 HEAD"), StartsWith("--- a/link.okt\n+++ b/link.okt\n~ Leg A: 250 mm -> 500 mm\n"));
    EXPECT_THAT(done("git diff HEAD~2 HEAD~1"), HasSubstr("-one\n+two\n"));
}

TEST_F(OktGit, ExternalDiff_WhatIsWholeInADamagedFile_Compared)
{
    setUpExternalDiff();
    write("work/link.okt");
    done("git add .; git commit -qm first");
    m_parameters[1]->setValue(0.5, 1);
    write("work/link.okt");
    std::string bytes = contents(path("work/link.okt"));
    std::size_t const name = bytes.find(std::string("L\0e\0g\0 \0C\0", 10));
    ASSERT_NE(name, std::string::npos);
    bytes[name - 3] = '\x63'; // no record has this type
    put("work/link.okt", bytes);
    std::string const changed = done("git diff");
    EXPECT_THAT(changed, StartsWith("--- a/link.okt\n+++ b/link.okt\n! b/link.okt:byte " + std::to_string(name - 3) +
                                    ": damaged inside an OKTDbParameter that begins at byte "));
    EXPECT_THAT(changed, HasSubstr("\n- Leg C = 750 mm\n+ "));
    EXPECT_THAT(changed, HasSubstr(" bytes that are no object\n~ Leg A: 250 mm -> 500 mm\n"
                                   "1 removed, 1 added, 1 changed, 4 the same\n"));
    // Everywhere else it is trouble.
    ProcessResult const alone = inRepository("git show HEAD:link.okt | okt diff - link.okt");
    EXPECT_EQ(alone.exitCode, 2);
    EXPECT_EQ(alone.out, "");
    EXPECT_THAT(alone.err, StartsWith("okt: link.okt:byte "));
}

TEST_F(OktGit, ExternalDiff_FilesThatAreNoPools_ToldAndTheRestShown)
{
    setUpExternalDiff();
    commitOddFiles();
    std::string const log = done("git log -p --ext-diff -1 --format=");
    EXPECT_THAT(log, HasSubstr("+++ b/a.okt\n! b/a.okt: the file is empty\n--- a/b.okt\n"));
    for (char const name : {'b', 'c', 'd'})
        EXPECT_THAT(log, HasSubstr("\n! b/" + std::string(1, name) + ".okt:byte 0: this is no pool file: ")) << name;
    EXPECT_THAT(log, HasSubstr("-one\n+two\n"));
}

/// Outside of git, an answer of its own for each fault.
TEST_F(OktGit, ExternalDiff_FileThatIsMissing_Told)
{
    std::string const file = write("a.okt");
    ProcessResult const result =
        runOkt({"diff", "--git", "link.okt", file, "1234567", "100644", path("none.okt"), "0000000", "100644"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, "--- a/link.okt\n+++ b/link.okt\n! b/link.okt: there is no such file\n");
    EXPECT_EQ(
        runOkt({"diff", "--git", "x.okt", path("none.okt"), "1234567", "100644", path("no.okt"), "0000000", "100644"}).out,
        "--- a/x.okt\n+++ b/x.okt\n! a/x.okt: there is no such file\n! b/x.okt: there is no such file\n");
    EXPECT_EQ(runOkt({"diff", "--git", "x.okt"}).out, "x.okt: not merged yet\n");
}

TEST_F(OktGit, ExternalDiff_OptionsAheadOfGit_Count)
{
    std::string const before = write("a.okt");
    m_parameters[1]->setValue(0.5, 1);
    std::string const after = write("b.okt");
    auto const told = [&](std::vector<std::string> words) {
        words.insert(words.end(), {"--git", "--unit", before, "1234567", "100644", after, "0000000", "100644"});
        ProcessResult const result = runOkt(words);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return result.out;
    };
    EXPECT_THAT(told({"diff"}), HasSubstr("--- a/--unit\n+++ b/--unit\n~ Leg A: 250 mm -> 500 mm\n"));
    EXPECT_THAT(told({"diff", "--unit", "cm"}), HasSubstr("~ Leg A: 25 cm -> 50 cm\n"));
    EXPECT_THAT(told({"diff", "--members"}), HasSubstr("    varConverted: 0.25 -> 0.5\n"));
    EXPECT_THAT(told({"diff", "--json"}), HasSubstr("\"first\": \"a/--unit\""));
}

// ---- Text conversion ---------------------------------------------------------------------------------------------------------

TEST_F(OktGit, TextConversion_ChangedValue_OneLineOfTheText)
{
    setUpTextConversion();
    write("work/link.okt");
    write("work/-x.okt");
    done("git add .; git commit -qm first");
    writeLegA(0.5);
    write("work/-x.okt");
    std::string const line = "-        {\"name\": \"varConverted\", \"variant\": \"VT_R8\", \"double\": 0.25},\n"
                             "+        {\"name\": \"varConverted\", \"variant\": \"VT_R8\", \"double\": 0.5},\n";
    std::string const changed = done("git diff -U0");
    EXPECT_THAT(changed, HasSubstr("+++ b/link.okt\n"));
    EXPECT_THAT(changed.substr(changed.find("+++ b/link.okt\n")), HasSubstr(line));
    EXPECT_THAT(changed.substr(0, changed.find("+++ b/link.okt\n")), HasSubstr(line)) << "-x.okt";
    EXPECT_THAT(done("git mv link.okt bow.okt; git add .; git diff -U0 --cached -M10%"), HasSubstr("rename to bow.okt\n"));
    EXPECT_EQ(done("okt export --git bow.okt"), done("okt export bow.okt"));
}

TEST_F(OktGit, TextConversion_DamagedFileInHistory_ToldAndTheRestShown)
{
    setUpTextConversion();
    commitDamagedHistory();
    std::string const log = done("git log -p --format='== %s'");
    EXPECT_THAT(log, HasSubstr("+! byte "));
    EXPECT_THAT(log, HasSubstr("-! byte "));
    EXPECT_THAT(log, HasSubstr(": the file ends inside an OKTDb"));
    EXPECT_THAT(log, HasSubstr("+    {\"raw\": \"BgU"));
    EXPECT_THAT(log, HasSubstr("-one\n+two\n"));
    EXPECT_THAT(log, HasSubstr("-two\n+three\n"));
    // The copies that git makes have other names each time, which must not count.
    EXPECT_THAT(log, Not(HasSubstr("/tmp")));
}

TEST_F(OktGit, TextConversion_DamagedFile_WholeObjectsAndEveryByte)
{
    std::string const whole = write("whole.okt");
    std::string bytes = contents(whole);
    std::string const text = runOkt({"export", whole}).out;
    std::size_t const name = bytes.find(std::string("L\0e\0g\0 \0C\0", 10));
    ASSERT_NE(name, std::string::npos);
    bytes[name - 3] = '\x63';
    ProcessResult const damaged = runOkt({"export", "--git", put("damaged.okt", bytes)});
    EXPECT_EQ(damaged.exitCode, 0);
    EXPECT_EQ(damaged.err, "");
    EXPECT_THAT(damaged.out,
                StartsWith("! byte " + std::to_string(name - 3) + ": damaged inside an OKTDbParameter that begins at byte "));
    for (char const *const other : {"Length", "Leg A", "Leg B"})
        EXPECT_THAT(damaged.out, HasSubstr("{\"name\": \"m_strUserName\", \"string16\": \"" + std::string(other) + "\"}"));
    EXPECT_THAT(damaged.out, Not(HasSubstr("Leg C")));
    // Another byte of the damaged object is another line, and only that.
    bytes[name + 4] = 'x';
    std::string const other = runOkt({"export", "--git", put("other.okt", bytes)}).out;
    std::istringstream left(damaged.out);
    std::istringstream right(other);
    int lines = 0;
    std::string a;
    std::string b;
    while (std::getline(left, a) && std::getline(right, b))
        lines += a == b ? 0 : 1;
    EXPECT_EQ(lines, 1);
    EXPECT_EQ(damaged.out.size(), other.size());
    EXPECT_NE(text, damaged.out);
}

TEST_F(OktGit, TextConversion_DamagedHeader_ToldAndTheObjectsShown)
{
    std::string bytes = contents(write("whole.okt"));
    bytes[18] = '\x63'; // behind the name of its class
    ProcessResult const damaged = runOkt({"export", "--git", put("damaged.okt", bytes)});
    EXPECT_EQ(damaged.exitCode, 0);
    EXPECT_THAT(damaged.out, StartsWith("! byte "));
    EXPECT_THAT(damaged.out, HasSubstr("\"string16\": \"Leg C\"}"));
    EXPECT_THAT(damaged.out, Not(HasSubstr("\"header\"")));
}

TEST_F(OktGit, TextConversion_FilesThatAreNoPools_ToldAndTheRestShown)
{
    setUpTextConversion();
    commitOddFiles();
    std::string const log = done("git log -p -1 --format=");
    EXPECT_THAT(log, HasSubstr("+! the file is empty\n"));
    EXPECT_THAT(log, HasSubstr("+! byte 0: this is no pool file: it does not begin with the size of a header\n+no pool\n"));
    EXPECT_THAT(log, HasSubstr("+    {\"raw\": \"AAAA"));
    EXPECT_THAT(log, HasSubstr("+    {\"raw\": \"//4gbm8gdGV4dA==\"}\n"));
    EXPECT_THAT(log, HasSubstr("-one\n+two\n"));
    EXPECT_EQ(runOkt({"export", "--git", path("none.okt")}).out, "! there is no such file\n");
    EXPECT_EQ(runOkt({"export", "--git", path("work")}).out, "! this is a folder, not a file\n");
    EXPECT_EQ(runOkt({"export", path("none.okt")}).exitCode, 1);
    EXPECT_EQ(runOkt({"export", "-o", path("x.json"), "--git", path("work/b.okt")}).exitCode, 2);
}

// ---- Filter ------------------------------------------------------------------------------------------------------------------

TEST_F(OktGit, Filter_PoolFile_TextInTheRepositoryAndTheSameBytesOutside)
{
    setUpFilter();
    write("work/link.okt");
    write("work/-x.okt");
    std::string const bytes = contents(path("work/link.okt"));
    std::string const stored = done("git add .; git commit -qm first; git show HEAD:link.okt");
    EXPECT_THAT(stored, StartsWith("{\"format\": \"OKTDatabase text\", \"version\": 1,\n  \"header\": {"));
    EXPECT_THAT(stored, HasSubstr("{\"name\": \"m_strUserName\", \"string16\": \"Leg C\"}"));
    EXPECT_EQ(done("rm link.okt ./-x.okt; git checkout -q .; git status --short"), "");
    EXPECT_EQ(contents(path("work/link.okt")), bytes);
    EXPECT_EQ(contents(path("work/-x.okt")), bytes);
    // The text is that of okt import too.
    done("git show HEAD:link.okt | okt import - -o again.okt; cmp again.okt link.okt");
    writeLegA(0.5);
    EXPECT_THAT(done("git diff -U0"),
                HasSubstr("\n+        {\"name\": \"varConverted\", \"variant\": \"VT_R8\", \"double\": 0.5},\n"));
}

TEST_F(OktGit, Filter_FilesThatCannotBeExported_PassUnchanged)
{
    setUpFilter();
    write("work/link.okt");
    put("work/cut.okt", cut("work/link.okt"));
    put("work/empty.okt", std::string());
    put("work/text.okt", "no pool\n");
    put("work/lines.okt", "one\r\ntwo\n\r");
    put("work/bytes.okt", std::string("\0\1\2\xFF", 4));
    done("okt export link.okt -o json.okt");
    done("git add .; git commit -qm first");
    for (std::string const name : {"cut", "empty", "text", "lines", "bytes", "json"})
    {
        std::string const before = contents(path("work/" + name + ".okt"));
        EXPECT_EQ(done("git show HEAD:" + name + ".okt"), before) << name;
        done("rm " + name + ".okt; git checkout -q " + name + ".okt");
        EXPECT_EQ(contents(path("work/" + name + ".okt")), before) << name;
    }
    EXPECT_EQ(done("git status --short"), "");
    ProcessResult const told = inRepository("touch cut.okt; git add --renormalize cut.okt");
    EXPECT_EQ(told.exitCode, 0);
    EXPECT_THAT(told.err, HasSubstr("okt: cut.okt:byte "));
    EXPECT_THAT(told.err, HasSubstr("; the file passes as it is\n"));
}

TEST_F(OktGit, Filter_TwoBranches_MergedToAPoolWithBothChanges)
{
    setUpFilter();
    write("work/link.okt");
    done("git add .; git commit -qm first; git checkout -qb other");
    writeLegA(0.5);
    done("git commit -qam 'leg a'; git checkout -q main");
    m_parameters[1]->setValue(0.25, 1);
    m_parameters[3]->setValue(1.0, 3);
    m_parameters[3]->setDescription(u"The longest");
    addParameter(m_parameters[0]->OwnerId(), 0)->setUserName(u"Leg D", false);
    write("work/link.okt");
    done("git commit -qam 'leg c'; git merge -q other -m merged");
    m_parameters[1]->setValue(0.5, 1);
    EXPECT_EQ(contents(path("work/link.okt")), contents(write("both.okt")));
    EXPECT_THAT(done("okt verify link.okt"), HasSubstr("0 errors, 0 warnings\n"));
    EXPECT_EQ(done("git status --short"), "");
}

TEST_F(OktGit, Filter_Conflict_LeftAsTextAndSettledThere)
{
    setUpFilter();
    write("work/link.okt");
    done("git add .; git commit -qm first; git checkout -qb other");
    writeLegA(0.5);
    done("git commit -qam other; git checkout -q main");
    writeLegA(0.75);
    done("git commit -qam main");
    ProcessResult const merged = inRepository("git merge other");
    EXPECT_EQ(merged.exitCode, 1);
    EXPECT_THAT(merged.out, HasSubstr("CONFLICT (content): Merge conflict in link.okt\n"));
    EXPECT_THAT(merged.err, HasSubstr("okt: link.okt:"));
    std::string text = contents(path("work/link.okt"));
    std::string const ours = "        {\"name\": \"varConverted\", \"variant\": \"VT_R8\", \"double\": 0.75},\n";
    std::string const theirs = "        {\"name\": \"varConverted\", \"variant\": \"VT_R8\", \"double\": 0.5},\n";
    std::string const conflict = "<<<<<<< HEAD\n" + ours + "=======\n" + theirs + ">>>>>>> other\n";
    std::size_t const at = text.find(conflict);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(inRepository("git diff").exitCode, 0);

    put("work/link.okt", text.replace(at, conflict.size(), theirs));
    done("git add link.okt; git commit -qm settled");
    EXPECT_EQ(done("git status --short"), "");
    EXPECT_EQ(done("git show HEAD:link.okt"), text);
    done("rm link.okt; git checkout -q link.okt");
    m_parameters[1]->setValue(0.5, 1);
    EXPECT_EQ(contents(path("work/link.okt")), contents(write("settled.okt")));
    EXPECT_EQ(done("git status --short"), "");
    // One side as a whole needs no text.
    done("git reset -q --hard HEAD^; git merge other >/dev/null 2>&1 || git checkout -q --theirs link.okt");
    EXPECT_EQ(contents(path("work/link.okt")), contents(path("settled.okt")));
}

/// A line that was touched by hand is text all the same, and must not leave a file that git takes for changed forever.
TEST_F(OktGit, Filter_TextSettledWithOtherBlanks_StoredAsTheFilterWritesIt)
{
    setUpFilter();
    write("work/link.okt");
    std::string const text = done("git add .; git commit -qm first; git show HEAD:link.okt");
    std::string odd = text;
    for (std::size_t at = odd.find("\"double\": "); at != std::string::npos; at = odd.find("\"double\": ", at + 1))
        odd.replace(at, 10, "\"double\" :\t");
    put("work/link.okt", odd);
    EXPECT_EQ(done("git add link.okt; git show :link.okt"), text);
}

TEST_F(OktGit, Filter_HistoryFromBeforeIt_ComparedAndMerged)
{
    write("work/link.okt");
    done("git add .; git commit -qm first; git checkout -qb old");
    writeLegA(0.5);
    done("git commit -qam old; git checkout -q main");
    setUpFilter();
    done(documented("merge.renormalize"));
    done("git add --renormalize .; git add .; git commit -qm filter");
    m_parameters[1]->setValue(0.25, 1);
    m_parameters[3]->setValue(1.0, 3);
    write("work/link.okt");
    done("git commit -qam new; git merge -q old -m merged");
    m_parameters[1]->setValue(0.5, 1);
    EXPECT_EQ(contents(path("work/link.okt")), contents(write("both.okt")));
    done("git checkout -q old; git checkout -q main; git log -p >/dev/null");
    EXPECT_EQ(contents(path("work/link.okt")), contents(path("both.okt")));
}

TEST_F(OktGit, Filter_WithBothDiffs_PoolFilesAreCompared)
{
    setUpFilter();
    done(documented("diff.okt.command") + documented("diff.okt.textconv"));
    commitDamagedHistory();
    writeLegA(0.125);
    EXPECT_EQ(done("git diff"), "--- a/link.okt\n+++ b/link.okt\n~ Leg A: 500 mm -> 125 mm\n"
                                "0 removed, 0 added, 1 changed, 5 the same\n");
    EXPECT_THAT(done("git diff --no-ext-diff -U0"),
                HasSubstr("\n+        {\"name\": \"varConverted\", \"variant\": \"VT_R8\", \"double\": 0.125},\n"));
    for (std::string const by : {"--ext-diff", "--no-ext-diff"})
    {
        std::string const log = done("git log -p --format='== %s' " + by);
        EXPECT_THAT(log, HasSubstr(": the file ends inside an OKTDb")) << by;
        EXPECT_THAT(log, HasSubstr("-one\n+two\n")) << by;
        EXPECT_THAT(log, HasSubstr("-two\n+three\n")) << by;
    }
    // A text that waits to be checked out counts as the pool file that it gives.
    done("git add .; git commit -qm next; git show HEAD~1:link.okt >link.okt");
    EXPECT_THAT(done("git diff"), HasSubstr("~ Leg A: 125 mm -> 500 mm\n"));
    EXPECT_THAT(done("git diff --no-ext-diff -U0"), Not(HasSubstr("OKTDatabase text")));
}

TEST_F(OktGit, Filter_Refused_Usage)
{
    EXPECT_EQ(runOkt({"filter", "sideways"}).exitCode, 2);
    EXPECT_EQ(runOkt({"filter"}).exitCode, 2);
}

} // namespace
