#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#if defined(_WIN32)
#include <oktplatform/oktstring.h>

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

/// A file for an output of a process, which inherits the handle.
inline HANDLE outputFile(CString const &path)
{
    SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
    return CreateFileW(path.GetString(), GENERIC_WRITE, FILE_SHARE_READ, &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                       nullptr);
}

/// Runs a program with these arguments and waits for its end. A full device and a limit for files are not to be had here.
inline ProcessResult runProgram(std::string const &program, std::vector<std::string> const &arguments)
{
    ScratchFolder const folder;
    std::string line = quotedArgument(program);
    for (std::string const &argument : arguments)
        line += " " + quotedArgument(argument);
    CString const text = CString::FromUtf8(line);
    std::vector<wchar_t> units(text.GetString(), text.GetString() + text.GetLength() + 1);

    STARTUPINFOW start = {};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = outputFile(folder.path("out"));
    start.hStdError = outputFile(folder.path("err"));
    PROCESS_INFORMATION process = {};
    ProcessResult result;
    if (CreateProcessW(nullptr, units.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process))
    {
        WaitForSingleObject(process.hProcess, INFINITE);
        DWORD code = 0;
        GetExitCodeProcess(process.hProcess, &code);
        result.exitCode = static_cast<int>(code);
        CloseHandle(process.hProcess);
        CloseHandle(process.hThread);
    }
    CloseHandle(start.hStdOutput);
    CloseHandle(start.hStdError);
    auto const read = [&folder](char const *name) {
        CByteArray const bytes = contentsOf(folder.path(name));
        std::string output(reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize()));
        std::erase(output, '\r'); // lines end in two characters there
        return output;
    };
    result.out = read("out");
    result.err = read("err");
    return result;
}

#else

/// Runs a program with these arguments and waits for its end. A write that would make a file larger than `largestFile` bytes
/// fails, as on a full disk.
inline ProcessResult runProgram(std::string const &program, std::vector<std::string> arguments,
                                ProcessOutput output = ProcessOutput::Kept, long largestFile = kNoLimit)
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

#if defined(OKT_EXE)
#if defined(_WIN32)
/// The same for `okt`.
inline ProcessResult runOkt(std::vector<std::string> const &arguments) { return runProgram(OKT_EXE, arguments); }
#else
/// The same for `okt`.
inline ProcessResult runOkt(std::vector<std::string> arguments, ProcessOutput output = ProcessOutput::Kept,
                            long largestFile = kNoLimit)
{
    return runProgram(OKT_EXE, std::move(arguments), output, largestFile);
}
#endif
#endif
