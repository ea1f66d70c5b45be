// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;

/// A running process with its streams in our hands. A stream that is -1 is that of /dev/null.
class RunningOkt
{
public:
    struct Streams
    {
        int in = -1;
        int out = -1;
        int err = -1;
    };

    RunningOkt(std::vector<std::string> arguments, Streams streams)
    {
        arguments.insert(arguments.begin(), OKT_EXE);
        std::vector<char *> argv;
        for (std::string &argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        m_child = fork();
        if (m_child != 0)
            return;
        int const nothing = open("/dev/null", O_RDWR);
        dup2(streams.in < 0 ? nothing : streams.in, 0);
        dup2(streams.out < 0 ? nothing : streams.out, 1);
        dup2(streams.err < 0 ? nothing : streams.err, 2);
        for (int number = 3; number < 64; ++number)
            close(number);
        for (int const signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE})
            ::signal(signal, SIG_DFL);
        execv(OKT_EXE, argv.data());
        _exit(127);
    }
    ~RunningOkt()
    {
        if (m_child > 0)
            kill(m_child, SIGKILL);
        wait();
    }

    void signal(int number) const { kill(m_child, number); }
    /// As waitpid tells it.
    int wait()
    {
        int status = -1;
        if (m_child > 0)
            waitpid(m_child, &status, 0);
        m_child = -1;
        return status;
    }

private:
    pid_t m_child = -1;
};

struct Pipe
{
    Pipe() { EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0); }
    ~Pipe()
    {
        closeEnd(0);
        closeEnd(1);
    }
    void closeEnd(int end)
    {
        if (ends[end] >= 0)
            close(ends[end]);
        ends[end] = -1;
    }
    int ends[2] = {-1, -1};
};

/// The master of a terminal, and the name of what a process takes for one.
struct Terminal
{
    Terminal()
    {
        EXPECT_EQ(grantpt(master), 0);
        EXPECT_EQ(unlockpt(master), 0);
        slave = open(ptsname(master), O_RDWR | O_NOCTTY);
        EXPECT_GE(slave, 0);
    }
    ~Terminal()
    {
        if (slave >= 0)
            close(slave);
        close(master);
    }
    /// What was written there; to be called when the process has ended.
    std::string contents()
    {
        close(slave);
        slave = -1;
        std::string text;
        char buffer[4096];
        for (ssize_t count = 0; (count = read(master, buffer, sizeof buffer)) > 0;)
            text.append(buffer, static_cast<std::size_t>(count));
        return text;
    }
    int master = posix_openpt(O_RDWR | O_NOCTTY);
    int slave = -1;
};

class OktHabits : public FolderTest
{
protected:
    /// A pool whose text is longer than a pipe takes. Objects stand in the order of their ids, so a picture is among the first
    /// for certain only where there is little else.
    std::string largePool(int parameters = 3000) const
    {
        OKTDbPool pool;
        pool.setPoolName(u"Large");
        CByteArray image;
        image.SetSize(4096);
        for (int i = 0; i < 200; ++i)
        {
            auto *const picture = new OKTDbPicture;
            image[0] = static_cast<BYTE>(i);
            picture->setPictureData(image);
            pool.appendObject(picture);
        }
        auto *const owner = new OKTDbParamRelation;
        pool.appendObject(owner);
        for (int i = 0; i < parameters; ++i)
        {
            auto *const parameter = new OKTDbParameter(10, owner->objectId());
            pool.appendObject(parameter);
            parameter->setValue(0.5 * i, 0);
        }
        EXPECT_TRUE(pool.writeFile(m_folder.path("large.okt")));
        return path("large.okt");
    }

    static std::set<std::string> namesIn(std::string const &folder)
    {
        std::set<std::string> names;
        std::error_code ignored;
        for (fs::directory_entry const &entry : fs::directory_iterator(folder, ignored))
            names.insert(entry.path().filename().string());
        return names;
    }

    template <typename F> static bool becomesTrue(F condition)
    {
        for (int i = 0; i < 9000; ++i) // a sanitizer may take a minute
        {
            if (condition())
                return true;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }
};

// ---- Interrupts --------------------------------------------------------------------------------------------------------------

TEST_F(OktHabits, Interrupt_WhileExporting_NothingHalfWrittenIsLeft)
{
    std::string const pool = largePool(0);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP})
    {
        Pipe out;
        // Nobody reads: it stops in the middle of the text, with pictures that wait for their names.
        RunningOkt okt({"export", pool, "--pictures", path("pictures")}, {-1, out.ends[1], -1});
        auto const hasPending = [&] {
            std::set<std::string> const names = namesIn(path("pictures"));
            return std::any_of(names.begin(), names.end(), [](std::string const &name) { return name.ends_with(".part"); });
        };
        ASSERT_TRUE(becomesTrue(hasPending));
        okt.signal(signal);
        int const status = okt.wait();
        ASSERT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(WTERMSIG(status), signal);
        EXPECT_EQ(namesIn(path("pictures")), std::set<std::string>());
    }
    EXPECT_EQ(namesIn(path("")), std::set<std::string>{"large.okt"});
}

// ---- A reader who goes away --------------------------------------------------------------------------------------------------

TEST_F(OktHabits, BrokenPipe_Show_EndsWithoutAWord)
{
    std::string const pool = largePool();
    Pipe out;
    Pipe err;
    RunningOkt okt({"show", pool, pool, pool, pool}, {-1, out.ends[1], err.ends[1]});
    out.closeEnd(1);
    err.closeEnd(1);
    char first = 0;
    ASSERT_EQ(read(out.ends[0], &first, 1), 1);
    out.closeEnd(0);
    int const status = okt.wait();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 141);
    char byte = 0;
    EXPECT_EQ(read(err.ends[0], &byte, 1), 0) << "there is a message";
}

TEST_F(OktHabits, BrokenPipe_Export_NoPictureIsLeftHalfWritten)
{
    std::string const pool = largePool(0);
    Pipe out;
    RunningOkt okt({"export", pool, "--pictures", path("pictures")}, {-1, out.ends[1], -1});
    out.closeEnd(1);
    char first = 0;
    ASSERT_EQ(read(out.ends[0], &first, 1), 1);
    out.closeEnd(0);
    int const status = okt.wait();
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 141);
    EXPECT_EQ(namesIn(path("")), std::set<std::string>{"large.okt"});
}

// ---- Standard input and output -------------------------------------------------------------------------------------------------

TEST_F(OktHabits, StandardInput_EveryCommandThatReadsPools)
{
    std::string const file = OKT_TEST_DATA_DIR "/golden/pictures.okt";
    auto const piped = [&file](std::string const &arguments) {
        return runProgram("/bin/sh", {"-c", "exec <\"$1\"; \"$0\" " + arguments, OKT_EXE, file});
    };
    for (std::string const command : {"info -", "ls -", "show -", "tree -", "find a -", "dump -", "verify -", "export -",
                                      "report - -o -", "picture - --index 1 -o -", "diff - \"$1\" && echo same"})
    {
        ProcessResult const result = piped(command);
        EXPECT_EQ(result.exitCode, 0) << command;
        EXPECT_EQ(result.err, "") << command;
        EXPECT_NE(result.out, "") << command;
    }
    ProcessResult const recovered = piped("recover - -o - 2>/dev/null");
    EXPECT_EQ(recovered.exitCode, 0);
    CByteArray const whole = contentsOf(CString(file.c_str()));
    EXPECT_EQ(recovered.out.size(), static_cast<std::size_t>(whole.GetSize()));
    ProcessResult const page = piped("report - -o -");
    EXPECT_THAT(page.out, HasSubstr("standard input"));
    EXPECT_EQ(piped("report - - -o -").err, "okt: standard input: it can be read only once\n");
}

/// What a shell gives for <(command).
TEST_F(OktHabits, NamedPipe_EveryCommandThatReadsPools)
{
    std::string const file = OKT_TEST_DATA_DIR "/golden/pictures.okt";
    auto const piped = [&file](std::string const &arguments) {
        return runProgram("/bin/bash", {"-c", "\"$0\" " + arguments, OKT_EXE, file});
    };
    for (std::string const command : {"info", "ls", "show", "show --index", "tree", "find a", "dump", "verify", "export"})
    {
        ProcessResult const result = piped(command + " <(cat \"$1\")");
        ProcessResult const plain = piped(command + " - <\"$1\"");
        EXPECT_EQ(result.exitCode, 0) << command;
        EXPECT_EQ(result.err, "") << command;
        EXPECT_NE(result.out, "") << command;
        EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), std::count(plain.out.begin(), plain.out.end(), '\n'));
    }
    EXPECT_EQ(piped("picture <(cat \"$1\") --index 1 -o -").out, piped("picture \"$1\" --index 1 -o -").out);
    EXPECT_EQ(piped("recover <(cat \"$1\") -o - 2>/dev/null").out, piped("recover \"$1\" -o - 2>/dev/null").out);
    EXPECT_EQ(piped("import <(\"$0\" export \"$1\") -o -").out, contents(file));
    EXPECT_EQ(piped("report <(cat \"$1\") -o -").exitCode, 0);
    // A device may have no end.
    EXPECT_EQ(piped("show /dev/zero").err, "okt: /dev/zero: this is no plain file\n");
}

// ---- ProgressLine ----------------------------------------------------------------------------------------------------------------

/// Imports a text that comes slowly, and gives what standard error has then.
std::string errorOfSlowImport(std::string const &text, std::string const &output, int err, auto contents)
{
    Pipe in;
    RunningOkt okt({"import", "-", "-o", output}, {in.ends[0], -1, err});
    in.closeEnd(0);
    std::size_t const half = text.size() / 2;
    EXPECT_EQ(write(in.ends[1], text.data(), half), static_cast<ssize_t>(half));
    std::this_thread::sleep_for(std::chrono::milliseconds(1300));
    EXPECT_EQ(write(in.ends[1], text.data() + half, text.size() - half), static_cast<ssize_t>(text.size() - half));
    in.closeEnd(1);
    int const status = okt.wait();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    return contents();
}

TEST_F(OktHabits, Progress_LongImport_OnATerminalOnly)
{
    setenv("TERM", "xterm", 1);
    std::string const pool = largePool();
    ASSERT_EQ(runOkt({"export", pool, "-o", path("large.json")}).exitCode, 0);
    CByteArray const bytes = contentsOf(m_folder.path("large.json"));
    std::string const text(reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize()));
    Terminal terminal;
    std::string const shown = errorOfSlowImport(text, path("a.okt"), terminal.slave, [&] { return terminal.contents(); });
    EXPECT_THAT(shown, HasSubstr("\r\x1b[Kstandard input: "));
    EXPECT_TRUE(shown.ends_with("\r\x1b[K")) << "the line is taken away at the end";

    Pipe err;
    std::string const unseen = errorOfSlowImport(text, path("b.okt"), err.ends[1], [&] {
        err.closeEnd(1);
        char buffer[256];
        ssize_t const count = read(err.ends[0], buffer, sizeof buffer);
        return std::string(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    });
    EXPECT_EQ(unseen, "");
}

/// The process is stopped again and again, so that it takes long enough for lines on however quick a machine.
TEST_F(OktHabits, Progress_FileThatIsReadTwice_CountsItsBytes)
{
    using Clock = std::chrono::steady_clock;
    setenv("TERM", "xterm", 1);
    std::string const pool = largePool();
    std::string const size = okt::bytesText(fs::file_size(pool));
    Clock::time_point const begin = Clock::now();
    ASSERT_EQ(runOkt({"verify", pool}).exitCode, 0);
    auto const slice = (Clock::now() - begin) / 100; // the first pass is the quicker one

    Terminal terminal;
    ASSERT_EQ(fcntl(terminal.master, F_SETFL, O_NONBLOCK), 0);
    RunningOkt okt({"verify", pool}, {-1, -1, terminal.slave});
    std::string shown;
    for (int i = 0; i < 200 && shown.find(", pass 2 of 2, ") == std::string::npos; ++i)
    {
        std::this_thread::sleep_for(slice);
        okt.signal(SIGSTOP);
        std::this_thread::sleep_for(std::chrono::milliseconds(210));
        okt.signal(SIGCONT);
        char buffer[4096];
        for (ssize_t count = 0; (count = read(terminal.master, buffer, sizeof buffer)) > 0;)
            shown.append(buffer, static_cast<std::size_t>(count));
    }
    int const status = okt.wait();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_THAT(shown, HasSubstr(" % of " + size + ", pass 1 of 2, "));
    EXPECT_THAT(shown, HasSubstr(" % of " + size + ", pass 2 of 2, "));
    for (std::size_t at = shown.find(" % of "); at != std::string::npos; at = shown.find(" % of ", at + 1))
        EXPECT_EQ(shown.substr(at + 6, size.size() + 2), size + ", ");
}

/// What a second process writes to a terminal as its standard error.
std::string errorOf(auto action)
{
    std::fflush(nullptr); // the second process would write it again
    Terminal terminal;
    pid_t const child = fork();
    if (child == 0)
    {
        dup2(terminal.slave, 2);
        action();
        _exit(0);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return terminal.contents();
}

TEST_F(OktHabits, Waiting_LongCall_LineThatIsTakenAway)
{
    using namespace std::chrono_literals;
    auto const longCall = [](std::chrono::milliseconds patience) {
        okt::Waiting const waiting("link.okt", 1'200'000'000, patience);
        std::this_thread::sleep_for(600ms);
    };
    setenv("TERM", "xterm", 1);
    std::string const shown = errorOf([&] { longCall(0ms); });
    EXPECT_TRUE(shown.starts_with("\r\x1b[Klink.okt: 1.2 GB, 1 s so far\r\x1b[K")) << shown;
    EXPECT_TRUE(shown.ends_with("\r\x1b[K")) << shown;
    EXPECT_EQ(errorOf([&] { longCall(24h); }), "");
    setenv("TERM", "dumb", 1);
    EXPECT_EQ(errorOf([&] { longCall(0ms); }), "");
}

TEST_F(OktHabits, Waiting_BesideProgress_TheFirstSpeaks)
{
    using namespace std::chrono_literals;
    setenv("TERM", "xterm", 1);
    EXPECT_EQ(errorOf([] {
                  okt::ProgressLine const first("report", 10, "template");
                  okt::Waiting const waiting("link.okt", 0, 0ms);
                  std::this_thread::sleep_for(500ms);
              }),
              "");
}

/// Results on the same screen: a line of them is not taken away before it is complete.
TEST_F(OktHabits, Status_BehindHalfALine_NotShown)
{
    setenv("TERM", "xterm", 1);
    EXPECT_EQ(errorOf([] {
                  dup2(2, 1);
                  okt::print("one, ");
                  okt::showStatus("half");
                  okt::print("two\n");
                  okt::showStatus("done");
                  okt::clearStatus();
              }),
              "one, two\r\n\r\x1b[Kdone\r\x1b[K");
}

// ---- Colours -----------------------------------------------------------------------------------------------------------------

TEST_F(OktHabits, Colours_OnATerminal_UnlessSwitchedOff)
{
    OKTDbPool pool;
    pool.setPoolName(u"One");
    ASSERT_TRUE(pool.writeFile(m_folder.path("one.okt")));
    pool.setPoolName(u"Two");
    ASSERT_TRUE(pool.writeFile(m_folder.path("two.okt")));
    auto const shown = [this] {
        Terminal terminal;
        RunningOkt okt({"diff", path("one.okt"), path("two.okt")}, {-1, terminal.slave, -1});
        int const status = okt.wait();
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1);
        return terminal.contents();
    };
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
    EXPECT_THAT(shown(), HasSubstr("\x1b[31m\"One\"\x1b[0m -> \x1b[32m\"Two\"\x1b[0m"));
    setenv("NO_COLOR", "", 1);
    EXPECT_THAT(shown(), HasSubstr("\x1b[31m"));
    setenv("NO_COLOR", "1", 1);
    EXPECT_THAT(shown(), HasSubstr("\"One\" -> \"Two\""));
    EXPECT_THAT(shown(), Not(HasSubstr("\x1b")));
    unsetenv("NO_COLOR");
    setenv("TERM", "dumb", 1);
    EXPECT_THAT(shown(), Not(HasSubstr("\x1b")));
}

} // namespace
