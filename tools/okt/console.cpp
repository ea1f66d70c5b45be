#include "console.h"

#include "failure.h"
#include "files.h"

#include <cerrno>
#include <cstdio>

namespace okt
{

void guardStandardStreams()
{
    // A file that is opened takes the lowest free number. These take those of the closed streams, if any, and being open for
    // reading alone they refuse what is written to them.
    static std::FILE *held[3];
    for (std::FILE *&file : held)
        file = std::fopen("/dev/null", "rb");
}

void print(std::string_view text)
{
    errno = 0;
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw Failure("standard output", "", "the output cannot be written: " + systemReason(errno));
}

void printError(std::string_view text)
{
    std::string const line = "okt: " + std::string(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

} // namespace okt
