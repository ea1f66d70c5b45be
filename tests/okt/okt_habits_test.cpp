// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/scratchfolder.h"

#include <oktformat/fileread.h>
#include <oktinspect/verifier.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
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
    /// What was written there, up to the end of the last writer.
    std::string contents()
    {
        closeEnd(1);
        std::string text;
        char buffer[4096];
        for (ssize_t count = 0; (count = read(ends[0], buffer, sizeof buffer)) > 0;)
            text.append(buffer, static_cast<std::size_t>(count));
        return text;
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
    /// What is written there, up to the end of the last process that has it.
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
};

// ---- Interrupts --------------------------------------------------------------------------------------------------------------

TEST_F(OktHabits, Interrupt_WhileExporting_NothingHalfWrittenIsLeft)
{
    std::string const pool = largePool(0);
    for (int const signal : {SIGINT, SIGTERM, SIGHUP})
    {
        Pipe out;
        RunningOkt okt({"export", pool, "--pictures", path("pictures")}, {-1, out.ends[1], -1});
        out.closeEnd(1);
        // Where the text names a picture, that is written under another name. Then nobody reads any more, and it stops there.
        std::string text;
        char buffer[512];
        for (ssize_t count = 0; text.find(".bin\"") == std::string::npos; text.append(buffer, static_cast<std::size_t>(count)))
            ASSERT_GT(count = read(out.ends[0], buffer, sizeof buffer), 0);
        std::set<std::string> const names = namesIn(path("pictures"));
        EXPECT_TRUE(std::any_of(names.begin(), names.end(), [](std::string const &name) { return name.ends_with(".part"); }));
        okt.signal(signal);
        int const status = okt.wait();
        ASSERT_TRUE(WIFSIGNALED(status));
        EXPECT_EQ(WTERMSIG(status), signal);
        EXPECT_EQ(namesIn(path("pictures")), std::set<std::string>());
    }
    EXPECT_EQ(namesIn(path("")), std::set<std::string>{"large.okt"});
}

/// At moments spread over all that an export does, by the time that an undisturbed one takes.
TEST_F(OktHabits, Interrupt_AtAnyMomentOfAnExport_AllOfItsFilesOrNone)
{
    constexpr int kInterrupts = 200;
    constexpr std::size_t kPictures = 12;
    OKTDbPool pool;
    pool.setPoolName(u"Interrupted");
    CByteArray image;
    image.SetSize(4096);
    for (std::size_t i = 0; i < kPictures; ++i)
    {
        auto *const picture = new OKTDbPicture;
        image[0] = static_cast<BYTE>(i);
        picture->setPictureData(image);
        pool.appendObject(picture);
    }
    ASSERT_TRUE(pool.writeFile(m_folder.path("pool.okt")));
    std::vector<std::string> const arguments = {"export",     path("pool.okt"),        "-o",     path("out/text.json"),
                                                "--pictures", path("out/deep/images"), "--force"};
    using Clock = std::chrono::steady_clock;
    auto longest = Clock::duration::zero();
    for (int i = 0; i < 5; ++i)
    {
        fs::remove_all(path("out"));
        fs::create_directory(path("out"));
        Clock::time_point const start = Clock::now();
        ASSERT_EQ(RunningOkt(arguments, {}).wait(), 0);
        longest = std::max(longest, Clock::now() - start);
    }
    ASSERT_EQ(namesIn(path("out/deep/images")).size(), kPictures);
    std::mt19937_64 random(11);
    int caught = 0;
    for (int i = 0; i < kInterrupts; ++i)
    {
        // Into nothing, and over files that are there.
        if (i % 2 == 0)
            fs::remove_all(path("out/deep"));
        if (i % 2 == 0)
            fs::remove(path("out/text.json"));
        int const signal = std::array{SIGINT, SIGTERM, SIGHUP}[static_cast<std::size_t>(i % 3)];
        RunningOkt okt(arguments, {});
        std::this_thread::sleep_for(longest * static_cast<double>(random() % 1000) / 1000);
        okt.signal(signal);
        okt.signal(signal); // impatiently
        int const status = okt.wait();
        caught += WIFSIGNALED(status) ? 1 : 0;
        EXPECT_TRUE(WIFSIGNALED(status) ? WTERMSIG(status) == signal : status == 0) << i << ": " << status;
        std::set<std::string> const images = namesIn(path("out/deep/images"));
        EXPECT_TRUE(std::none_of(images.begin(), images.end(), [](std::string const &name) { return name.front() == '.'; }));
        if (fs::exists(path("out/text.json")))
        {
            EXPECT_EQ(namesIn(path("out")), (std::set<std::string>{"deep", "text.json"})) << i;
            EXPECT_EQ(images.size(), kPictures) << i;
        }
        else
            EXPECT_EQ(namesIn(path("out")), std::set<std::string>()) << i;
    }
    EXPECT_GT(caught, kInterrupts / 4);
    EXPECT_EQ(namesIn(path("")), (std::set<std::string>{"out", "pool.okt"}));
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

/// Goes on by the same time at each look.
class SteppedClock : public okt::ProgressClock
{
public:
    explicit SteppedClock(std::chrono::milliseconds step) : m_step(step) {}
    TimePoint now() override { return m_now += m_step; }

private:
    std::chrono::milliseconds m_step;
    TimePoint m_now;
};

/// For who waits, all times up to an end come at once; later ones never do.
class EndingClock : public okt::ProgressClock
{
public:
    explicit EndingClock(std::chrono::milliseconds end) : m_end(TimePoint() + end) {}
    TimePoint now() override { return m_now; }
    bool waitUntil(std::unique_lock<std::mutex> &lock, std::condition_variable &change, TimePoint time,
                   std::function<bool()> const &isOver) override
    {
        if (time > m_end)
        {
            change.wait(lock, isOver);
            return true;
        }
        m_now = time;
        return false;
    }

private:
    TimePoint m_end;
    TimePoint m_now;
};

/// What a second process writes to its standard error, which is a terminal or a pipe.
std::string errorOf(auto action, bool isTerminal = true)
{
    std::fflush(nullptr); // the second process would write it again
    Terminal terminal;
    Pipe err;
    pid_t const child = fork();
    if (child == 0)
    {
        dup2(isTerminal ? terminal.slave : err.ends[1], 2);
        action();
        _exit(0);
    }
    err.closeEnd(1);
    std::string const text = isTerminal ? terminal.contents() : err.contents();
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return text;
}

TEST_F(OktHabits, Progress_LongInput_OnATerminalOnly)
{
    setenv("TERM", "xterm", 1);
    std::string const pool = largePool();
    auto const reading = [&pool] {
        dup2(open(pool.c_str(), O_RDONLY), 0);
        SteppedClock clock(std::chrono::seconds(5));
        okt::readInput(okt::kStandardStream, okt::terminalProgress(clock));
    };
    std::string const shown = errorOf(reading);
    EXPECT_TRUE(shown.starts_with("\r\x1b[Kstandard input: ")) << shown.substr(0, 80);
    EXPECT_TRUE(shown.ends_with("\r\x1b[K")) << "the line is taken away at the end";
    EXPECT_EQ(errorOf(reading, false), "");
    setenv("TERM", "dumb", 1);
    EXPECT_EQ(errorOf(reading), "");
}

TEST_F(OktHabits, Progress_ShortInput_Nothing)
{
    setenv("TERM", "xterm", 1);
    EXPECT_EQ(errorOf([] {
                  SteppedClock clock(std::chrono::milliseconds(100));
                  okt::readBytes(OKT_TEST_DATA_DIR "/golden/stirrup.okt", okt::terminalProgress(clock));
              }),
              "");
}

TEST_F(OktHabits, Progress_FileThatIsReadTwice_CountsItsBytes)
{
    setenv("TERM", "xterm", 1);
    std::string const pool = largePool();
    std::string const size = okt::bytesText(fs::file_size(pool));
    std::string const shown = errorOf([&pool] {
        SteppedClock clock(std::chrono::milliseconds(20)); // a line for every tenth object
        okt::VerifyOptions options;
        options.onProgress = okt::terminalProgress(clock);
        okt::verify(pool, options);
    });
    EXPECT_THAT(shown, HasSubstr(" % of " + size + ", pass 1 of 2, "));
    EXPECT_THAT(shown, HasSubstr(" % of " + size + ", pass 2 of 2, "));
    for (std::size_t at = shown.find(" % of "); at != std::string::npos; at = shown.find(" % of ", at + 1))
        EXPECT_EQ(shown.substr(at + 6, size.size() + 2), size + ", ");
}

TEST_F(OktHabits, Waiting_LongCall_LineThatIsTakenAway)
{
    using namespace std::chrono_literals;
    auto const longCall = [](std::chrono::milliseconds patience) {
        EndingClock clock(12s);
        okt::Waiting const waiting("link.okt", 1'200'000'000, patience, clock);
    };
    setenv("TERM", "xterm", 1);
    EXPECT_EQ(errorOf([&] { longCall(12s); }), "\r\x1b[Klink.okt: 1.2 GB, 12 s so far\r\x1b[K");
    EXPECT_TRUE(
        errorOf([&] { longCall(1s); }).starts_with("\r\x1b[Klink.okt: 1.2 GB, 1 s so far\r\x1b[Klink.okt: 1.2 GB, 2 s"));
    EXPECT_THAT(errorOf([&] { longCall(24h); }), Not(HasSubstr("link.okt")));
    setenv("TERM", "dumb", 1);
    EXPECT_EQ(errorOf([&] { longCall(1s); }), "");
}

TEST_F(OktHabits, Waiting_BesideProgress_TheFirstSpeaks)
{
    using namespace std::chrono_literals;
    setenv("TERM", "xterm", 1);
    EXPECT_EQ(errorOf([] {
                  EndingClock clock(12s);
                  okt::ProgressLine const first("report", 10, "template", 1, clock);
                  okt::Waiting const waiting("link.okt", 0, 1s, clock);
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
