// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include <oktformat/fileread.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
#include <ostream>
#include <random>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

// Every command of okt that reads or writes files, while memory or calls on files fail. What holds for each fault: the command does all
// that it does without one, or it fails, and says in one line which file is concerned or that memory is short. It is not ended by a
// signal. Each file is what it was, or what the command makes of it. What is left beside it is gone behind the next run.
// OKT_FAULTS in the environment asks for another number of faults for each command; scripts/test all sets it.

namespace
{

namespace fs = std::filesystem;

constexpr std::size_t kFaults = 16;
constexpr int kErrors[] = {ENOSPC, EIO, EDQUOT};
constexpr int kSeconds = 20; // and a command hangs

struct Command
{
    std::string name;
    std::vector<std::string> arguments; ///< "@" at the beginning stands for the folder
    std::string input = {};             ///< of the folder; empty: none
    std::vector<std::string> files;     ///< of which one is named where the command fails
    std::string page = {}; ///< an output that tells by itself of an input that cannot be read; both fail with a line then
    bool answers = false;  ///< what cannot be read is an answer, on standard output
};

void PrintTo(Command const &command, std::ostream *stream) { *stream << command.name; }

std::vector<Command> commands()
{
    return {
        {.name = "info", .arguments = {"info", "@pool.okt"}, .files = {"pool.okt"}},
        {.name = "ls", .arguments = {"ls", "@pool.okt"}, .files = {"pool.okt"}},
        {.name = "show", .arguments = {"show", "@pool.okt"}, .files = {"pool.okt"}},
        {.name = "show_index", .arguments = {"show", "--index", "@pool.okt"}, .files = {"pool.okt"}},
        {.name = "tree", .arguments = {"tree", "@pool.okt"}, .files = {"pool.okt"}},
        {.name = "find", .arguments = {"find", "a", "@searched"}, .files = {"searched"}},
        {.name = "dump", .arguments = {"dump", "@pool.okt"}, .files = {"pool.okt"}},
        {.name = "verify", .arguments = {"verify", "@pool.okt"}, .files = {"pool.okt"}},
        {.name = "verify_damaged", .arguments = {"verify", "@damaged.okt"}, .files = {"damaged.okt"}},
        {.name = "modules", .arguments = {"modules"}, .files = {"modules", ".so"}, .answers = true},
        {.name = "diff", .arguments = {"diff", "@pool.okt", "@other.okt"}, .files = {"pool.okt", "other.okt"}},
        {.name = "picture",
         .arguments = {"picture", "@pool.okt", "--index", "1", "-o", "@picture.png", "--force"},
         .files = {"pool.okt", "picture.png"}},
        {.name = "export",
         .arguments = {"export", "@pool.okt", "-o", "@text.json", "--force"},
         .files = {"pool.okt", "text.json"}},
        {.name = "export_pictures",
         .arguments = {"export", "@pool.okt", "-o", "@text.json", "--pictures", "@images", "--force"},
         .files = {"pool.okt", "text.json", "images"}},
        {.name = "export_of_a_stream",
         .arguments = {"export", "-", "-o", "@text.json", "--force"},
         .input = "pool.okt",
         .files = {"standard input", "text.json"}},
        {.name = "import",
         .arguments = {"import", "@pool.json", "-o", "@made.okt", "--force"},
         .files = {"pool.json", "made.okt"}},
        {.name = "import_pictures",
         .arguments = {"import", "@apart.json", "--pictures", "@apart", "-o", "@made.okt", "--force"},
         .files = {"apart.json", "apart", "made.okt"}},
        {.name = "filter_clean",
         .arguments = {"filter", "clean", "pool.okt"},
         .input = "pool.okt",
         .files = {"standard input", "pool.okt"}},
        {.name = "filter_smudge",
         .arguments = {"filter", "smudge", "pool.okt"},
         .input = "pool.json",
         .files = {"standard input", "pool.okt"}},
        {.name = "recover",
         .arguments = {"recover", "@damaged.okt", "-o", "@made.okt", "--force"},
         .files = {"damaged.okt", "made.okt"}},
        {.name = "report",
         .arguments = {"report", "@pool.okt", "-o", "@page.html", "--force"},
         .files = {"pool.okt", "page.html"},
         .page = "page.html"},
        {.name = "build", .arguments = {"build", "@data", "-o", "@templates", "--force"}, .files = {"data", "templates"}},
        {.name = "pages", .arguments = {"pages", "-o", "@share"}, .files = {"share"}},
    };
}

/// All that is in a folder: files by their contents, folders by a word.
using Tree = std::map<std::string, std::string>;

Tree treeOf(fs::path const &folder)
{
    Tree tree;
    for (fs::directory_entry const &entry : fs::recursive_directory_iterator(folder))
        tree[entry.path().lexically_relative(folder).generic_string()] =
            entry.is_directory() ? "(a folder)" : contents(entry.path());
    return tree;
}

void restore(fs::path const &folder, Tree const &tree)
{
    for (fs::directory_entry const &entry : fs::directory_iterator(folder))
        fs::remove_all(entry.path());
    for (auto const &[name, bytes] : tree) // a folder stands ahead of what is in it
    {
        if (bytes == "(a folder)")
            fs::create_directory(folder / name);
        else
            std::ofstream(folder / name, std::ios::binary) << bytes;
    }
}

std::vector<std::string> linesOf(std::string const &text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// What became of a run.
struct Ended
{
    int exitCode = -1;
    int signal = 0;
    std::string out;
    std::string err;
};

class OktFaults : public testing::TestWithParam<Command>
{
protected:
    static void SetUpTestSuite()
    {
        // Where the tests are built, beside their program.
        setenv("OKT_FAULT_LIBRARY_OF_TESTS", (fs::canonical("/proc/self/exe").parent_path() / "libokt_faults.so").c_str(), 0);
    }

    static void TearDownTestSuite()
    {
        std::printf("[ FAULTS   ] %zu in all, %zu ended the command, %zu did not hinder it\n", s_faults, s_refused,
                    s_faults - s_refused);
    }

    void SetUp() override
    {
        fs::create_directories(m_home / "tmp");
        fs::create_directory(m_home / "searched");
        fs::create_directory(m_home / "data");
        copy(golden("pictures.okt"), "pool.okt");
        copy(golden("pictures.json"), "pool.json");
        copy(golden("every-class.okt"), "other.okt");
        copy(golden("stirrup.okt"), "searched/one.okt");
        std::string damaged = contents(golden("pictures.okt"));
        damaged[damaged.size() / 2] = static_cast<char>(damaged[damaged.size() / 2] ^ 0x55);
        std::ofstream(m_home / "damaged.okt", std::ios::binary) << damaged;
        std::ofstream(m_home / "data/bars-few.csv", std::ios::binary) << fewBars();
        for (char const *const name : {"picture.png", "text.json", "made.okt", "page.html"})
            std::ofstream(m_home / name, std::ios::binary) << "the old contents of " << name;
        ASSERT_EQ(
            run("",
                {.name = "", .arguments = {"export", "@pool.okt", "-o", "@apart.json", "--pictures", "@apart"}, .files = {}})
                .exitCode,
            0);
    }

    void copy(std::string const &from, std::string const &to) const { fs::copy_file(from, m_home / to); }

    /// The head and two sizes of a table of bars.
    static std::string fewBars()
    {
        std::vector<std::string> const lines = linesOf(contents(OKT_EXAMPLES_DIR "/data/bars-en10080.csv"));
        std::string text;
        for (std::size_t i = 0, sizes = 0; i < lines.size() && sizes < 3; ++i)
        {
            text += lines[i] + "\n";
            sizes += lines[i].empty() || lines[i].front() == '#' ? 0 : 1;
        }
        return text;
    }

    Ended run(std::string const &fault, Command const &command, std::string const &countFile = {}) const
    {
        std::vector<std::string> words = {OKT_EXE};
        for (std::string const &argument : command.arguments)
            words.push_back(argument.front() == '@' ? (m_home / argument.substr(1)).string() : argument);
        std::vector<char *> argv;
        for (std::string &word : words)
            argv.push_back(word.data());
        argv.push_back(nullptr);
        std::FILE *const out = std::tmpfile();
        std::FILE *const err = std::tmpfile();
        std::string const input = command.input.empty() ? "/dev/null" : (m_home / command.input).string();
        std::string const temporary = (m_home / "tmp").string();
        char const *const library = std::getenv("OKT_FAULT_LIBRARY_OF_TESTS");
        pid_t const child = fork();
        if (child == 0)
        {
            std::FILE *const in = std::fopen(input.c_str(), "rb");
            dup2(fileno(in), 0);
            dup2(fileno(out), 1);
            dup2(fileno(err), 2);
            setenv("TMPDIR", temporary.c_str(), 1);
            setenv("LD_PRELOAD", library, 1);
            unsetenv("OKT_MODULE_PATH");
            if (!fault.empty())
                setenv("OKT_FAULT", fault.c_str(), 1);
            if (!countFile.empty())
                setenv("OKT_FAULT_COUNT", countFile.c_str(), 1);
            alarm(kSeconds);
            execv(words[0].c_str(), argv.data());
            _exit(127);
        }
        int status = 0;
        waitpid(child, &status, 0);
        Ended result;
        if (WIFEXITED(status))
            result.exitCode = WEXITSTATUS(status);
        else
            result.signal = WTERMSIG(status);
        result.out = contentsOfStream(out);
        result.err = contentsOfStream(err);
        std::fclose(out);
        std::fclose(err);
        return result;
    }

    /// What is wrong with a run that had a fault, or nothing.
    std::string judge(Command const &command, Ended const &found, Tree const &now)
    {
        if (found.signal != 0)
            return "ended by signal " + std::to_string(found.signal);
        bool hasLeft = false;
        for (auto const &[name, bytes] : now)
        {
            bool const isOld = m_before.contains(name) && m_before.at(name) == bytes;
            bool const isNew = m_after.contains(name) && m_after.at(name) == bytes;
            bool const isPart = name.ends_with(".part");
            bool const tells = name == command.page && bytes.ends_with("</html>\n") && tellsReasonOf(found.err, bytes);
            if (!isOld && !isNew && !isPart && !tells)
                return name + " is neither the old file nor the new one";
            hasLeft = hasLeft || isPart;
        }
        for (auto const &[name, bytes] : m_before)
            if (!now.contains(name))
                return name + " is lost";
        bool const isDone = found.exitCode == m_undisturbed.exitCode && found.out == m_undisturbed.out &&
                            found.err == m_undisturbed.err &&
                            std::includes(now.begin(), now.end(), m_after.begin(), m_after.end());
        s_refused += isDone ? 0 : 1;
        if (!isDone)
        {
            if (found.exitCode == 0 && command.answers && tellsAReason(found.out))
                return "";
            if (found.exitCode == 0)
                return "exit code 0, and not all is done; it said: " + found.err;
            std::vector<std::string> lines = linesOf(found.err);
            for (std::string const &usual : linesOf(m_undisturbed.err))
                if (auto const line = std::find(lines.begin(), lines.end(), usual); line != lines.end())
                    lines.erase(line);
            if (lines.size() == 2 && !command.page.empty() && lines[0].find(command.page) == std::string::npos &&
                lines[1].find(command.page) != std::string::npos)
                lines.pop_back(); // neither its input nor its output can be used
            if (lines.size() != 1)
                return std::to_string(lines.size()) + " lines, exit code " + std::to_string(found.exitCode) + ": " + found.err;
            if (!lines[0].starts_with("okt: ") || !isClear(command, lines[0]))
                return "the line tells neither a file nor want of memory: " + found.err;
        }
        if (!hasLeft)
            return "";
        run("", command);
        return treeOf(m_home) == m_after ? "" : "behind the next run, something is left";
    }

    /// The reason ends the first line.
    static bool tellsReasonOf(std::string const &lines, std::string const &page)
    {
        std::string const line = lines.substr(0, lines.find('\n'));
        std::size_t const colon = line.rfind(": ");
        return colon != std::string::npos && page.find(line.substr(colon + 2)) != std::string::npos;
    }

    static bool tellsAReason(std::string const &text)
    {
        return std::any_of(std::begin(kErrors), std::end(kErrors), [&text](int error) {
            return text.find(std::generic_category().message(error)) != std::string::npos;
        });
    }

    static bool isClear(Command const &command, std::string const &line)
    {
        auto const has = [&line](std::string const &text) { return line.find(text) != std::string::npos; };
        return has("memory") || has("standard output") || std::any_of(command.files.begin(), command.files.end(), has);
    }

    ScratchFolder m_scratch;
    fs::path m_home = pathOf(m_scratch.path("home"));
    Tree m_before;
    Tree m_after;
    Ended m_undisturbed;

    static std::size_t s_faults;
    static std::size_t s_refused;
};

std::size_t OktFaults::s_faults = 0;
std::size_t OktFaults::s_refused = 0;

/// The faults that are tried of all there are; the same for the same numbers.
std::vector<std::string> drawn(unsigned long allocations, unsigned long calls, std::size_t count)
{
    std::vector<std::string> faults;
    for (unsigned long n = 0; n < allocations; ++n)
        for (char const *const lasts : {"once", "on"})
            faults.push_back("memory " + std::to_string(n) + " " + lasts);
    std::size_t const ofMemory = faults.size();
    for (unsigned long n = 0; n < calls; ++n)
    {
        std::string const number = std::to_string(n);
        for (int const error : kErrors)
            for (char const *const lasts : {" once", " on"})
                faults.push_back("call " + number + " " + std::to_string(error) + lasts);
        faults.push_back("interrupt " + number + " once");
        faults.push_back("short " + number + " once");
        faults.push_back("short " + number + " on");
    }
    // As many of the one kind as of the other, where there are.
    std::mt19937_64 random(20);
    std::shuffle(faults.begin(), faults.begin() + static_cast<std::ptrdiff_t>(ofMemory), random);
    std::shuffle(faults.begin() + static_cast<std::ptrdiff_t>(ofMemory), faults.end(), random);
    std::size_t const ofCalls = faults.size() - ofMemory;
    std::size_t const fromMemory = std::min(ofMemory, std::max(count / 2, count - std::min(count, ofCalls)));
    std::size_t const fromCalls = std::min(ofCalls, count - fromMemory);
    std::vector<std::string> chosen(faults.begin(), faults.begin() + static_cast<std::ptrdiff_t>(fromMemory));
    std::copy_n(faults.begin() + static_cast<std::ptrdiff_t>(ofMemory), fromCalls, std::back_inserter(chosen));
    return chosen;
}

} // namespace

TEST_P(OktFaults, MemoryOrAFileFails_AllIsDoneOrOneLineAndNothingIsLost)
{
    Command const &command = GetParam();
    m_before = treeOf(m_home);
    m_undisturbed = run("", command);
    m_after = treeOf(m_home);
    std::erase_if(m_after, [](auto const &entry) { return entry.first.ends_with(".part"); });
    ASSERT_EQ(treeOf(m_home), m_after);
    ASSERT_EQ(m_undisturbed.signal, 0);
    restore(m_home, m_before);
    std::string const countFile = pathOf(m_scratch.path("counts")).string();
    run("", command, countFile);
    restore(m_home, m_before);
    unsigned long allocations = 0;
    unsigned long calls = 0;
    std::istringstream counts(contents(countFile));
    ASSERT_FALSE((counts >> allocations >> calls).fail());
    ASSERT_GT(allocations, 100u);
    ASSERT_GT(calls, 3u);

    char const *const asked = std::getenv("OKT_FAULTS");
    std::vector<std::string> const faults =
        drawn(allocations, calls, asked != nullptr ? static_cast<std::size_t>(std::strtoul(asked, nullptr, 10)) : kFaults);
    s_faults += faults.size();
    std::map<std::string, std::vector<std::string>> wrong;
    for (std::string const &fault : faults)
    {
        Ended const found = run(fault, command);
        Tree const now = treeOf(m_home);
        if (std::string const what = judge(command, found, now); !what.empty())
            wrong[what].push_back(fault);
        if (now != m_before)
            restore(m_home, m_before);
    }
    for (auto const &[what, which] : wrong)
        ADD_FAILURE() << command.name << ", OKT_FAULT=\"" << which.front() << "\" and " << which.size() - 1
                      << " more: " << what;
}

INSTANTIATE_TEST_SUITE_P(Commands, OktFaults, testing::ValuesIn(commands()),
                         [](testing::TestParamInfo<Command> const &command) { return command.param.name; });
