#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

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

#if defined(OKT_EXE)
/// The same for `okt`.
inline ProcessResult runOkt(std::vector<std::string> arguments, ProcessOutput output = ProcessOutput::Kept,
                            long largestFile = kNoLimit)
{
    return runProgram(OKT_EXE, std::move(arguments), output, largestFile);
}
#endif
