// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <string>
#include <system_error>
#include <vector>

#if defined(_WIN32)
#include <oktplatform/oktstring.h>

#include <support/bytetext.h>
#include <support/scratchfolder.h>
#else
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

/// What became of a second process.
struct ProcessResult
{
    int exitCode = -1; ///< -1: it could not be started, or a signal ended it
    std::string out;
    std::string err;
};

/// Where standard output of the process goes.
enum class ProcessOutput
{
    Kept,   ///< into the result
    Full,   ///< to a device that takes nothing
    Closed, ///< nowhere: the process begins without the stream
};

/// For runProgram: files may grow without limit.
inline constexpr long kNoLimit = -1;

inline std::string contentsOfStream(std::FILE *file)
{
    std::string text;
    std::rewind(file);
    char buffer[4096];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, file)) > 0;)
        text.append(buffer, count);
    return text;
}

#if defined(_WIN32)

/// One argument as the runtime library of the program will take it apart.
inline std::string quotedArgument(std::string const &argument)
{
    if (!argument.empty() && argument.find_first_of(" \t\n\"") == std::string::npos)
        return argument;
    std::string quoted = "\"";
    std::size_t backslashes = 0;
    for (char const unit : argument)
    {
        if (unit == '"')
            quoted.append(backslashes + 1, '\\');
        backslashes = unit == '\\' ? backslashes + 1 : 0;
        quoted += unit;
    }
    return quoted.append(backslashes, '\\') + "\"";
}

/// An end of a process's streams, which inherits it; closed at the end.
class InheritedFile
{
public:
    InheritedFile(CString const &path, DWORD access, DWORD making)
    {
        SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
        m_handle = CreateFileW(path.GetString(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, making,
                               FILE_ATTRIBUTE_NORMAL, nullptr);
        EXPECT_NE(m_handle, INVALID_HANDLE_VALUE) << path.ToUtf8();
    }
    InheritedFile(InheritedFile const &) = delete;
    InheritedFile &operator=(InheritedFile const &) = delete;
    ~InheritedFile() { CloseHandle(m_handle); }

    HANDLE handle() const { return m_handle; }

private:
    HANDLE m_handle;
};

/// Runs a program with these arguments and waits for its end. Standard input is that file, or empty. What takes nothing is a file
/// that is open for reading.
inline ProcessResult runProgram(std::string const &program, std::vector<std::string> const &arguments,
                                ProcessOutput output = ProcessOutput::Kept, long = kNoLimit, std::string const &input = "NUL")
{
    ScratchFolder const folder;
    std::string line = quotedArgument(program);
    for (std::string const &argument : arguments)
        line += " " + quotedArgument(argument);
    CString const text = CString::FromUtf8(line);
    std::vector<wchar_t> units(text.GetString(), text.GetString() + text.GetLength() + 1);

    ProcessResult result;
    {
        InheritedFile const in(CString::FromUtf8(input), GENERIC_READ, OPEN_EXISTING);
        InheritedFile const out(folder.path("out"), output == ProcessOutput::Full ? GENERIC_READ : GENERIC_WRITE,
                                CREATE_ALWAYS);
        InheritedFile const err(folder.path("err"), GENERIC_WRITE, CREATE_ALWAYS);
        STARTUPINFOW start = {};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdInput = in.handle();
        start.hStdOutput = output == ProcessOutput::Closed ? nullptr : out.handle();
        start.hStdError = err.handle();
        PROCESS_INFORMATION process = {};
        auto const started = [&] {
            return CreateProcessW(nullptr, units.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process) !=
                   FALSE;
        };
        // A busy Wine now and then loses a process before its first instruction and says so; nothing of the program has run then.
        bool running = started();
        for (int again = 0; !running && GetLastError() == ERROR_INTERNAL_ERROR && again < 3; ++again)
            running = started();
        if (running)
        {
            WaitForSingleObject(process.hProcess, INFINITE);
            DWORD code = 0;
            GetExitCodeProcess(process.hProcess, &code);
            result.exitCode = static_cast<int>(code);
            CloseHandle(process.hProcess);
            CloseHandle(process.hThread);
        }
        else
            ADD_FAILURE() << program << " cannot be started: " << GetLastError();
    }
    auto const read = [&folder](char const *name) { return textOf(contentsOf(folder.path(name))); };
    result.out = read("out");
    result.err = read("err");
    std::erase(result.err, '\r'); // the runtime library writes it as text
    return result;
}

#else

/// Runs a program with these arguments and waits for its end. A write that would make a file larger than `largestFile` bytes
/// fails, as on a full disk. Standard input is that file, or empty.
inline ProcessResult runProgram(std::string const &program, std::vector<std::string> arguments,
                                ProcessOutput output = ProcessOutput::Kept, long largestFile = kNoLimit,
                                std::string const &input = "/dev/null")
{
    std::FILE *const out = std::tmpfile();
    std::FILE *const err = std::tmpfile();
    if (out == nullptr || err == nullptr)
    {
        ADD_FAILURE() << "no temporary file";
        return {};
    }
    arguments.insert(arguments.begin(), program);
    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    pid_t const child = fork();
    if (child == 0)
    {
        dup2(open(input.c_str(), O_RDONLY), 0);
        dup2(fileno(err), 2);
        if (output == ProcessOutput::Closed)
            close(1);
        else
            dup2(output == ProcessOutput::Full ? open("/dev/full", O_WRONLY) : fileno(out), 1);
        if (largestFile != kNoLimit)
        {
            rlimit const limit = {static_cast<rlim_t>(largestFile), static_cast<rlim_t>(largestFile)};
            setrlimit(RLIMIT_FSIZE, &limit);
            signal(SIGXFSZ, SIG_IGN);
        }
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    int status = 0;
    ProcessResult result;
    if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status))
        result.exitCode = WEXITSTATUS(status);
    result.out = contentsOfStream(out);
    result.err = contentsOfStream(err);
    std::fclose(out);
    std::fclose(err);
    return result;
}

#endif

/// The words for an error that the system itself has: `here` on this one, those of that number on Windows.
inline std::string systemWords(char const *here, [[maybe_unused]] unsigned long onWindows)
{
#if defined(_WIN32)
    static_cast<void>(here);
    return std::system_category().message(static_cast<int>(onWindows));
#else
    return here;
#endif
}

/// The failure of a program whose standard output takes nothing.
inline void expectOutputFailure(ProcessResult const &result, [[maybe_unused]] char const *words, int exitCode = 1)
{
    EXPECT_EQ(result.exitCode, exitCode);
    std::string const line = "okt: standard output: the output cannot be written: ";
#if defined(_WIN32) // the words are those of the runtime library
    EXPECT_TRUE(result.err.starts_with(line)) << result.err;
    EXPECT_GT(result.err.size(), line.size() + 1);
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1);
#else
    EXPECT_EQ(result.err, line + words + "\n");
#endif
}

#if defined(OKT_EXE)
/// The same for `okt`.
inline ProcessResult runOkt(std::vector<std::string> const &arguments, ProcessOutput output = ProcessOutput::Kept,
                            long largestFile = kNoLimit)
{
    return runProgram(OKT_EXE, arguments, output, largestFile);
}

/// The same with a file for standard input.
inline ProcessResult runOktOn(std::string const &input, std::vector<std::string> const &arguments)
{
    return runProgram(OKT_EXE, arguments, ProcessOutput::Kept, kNoLimit, input);
}
#endif
