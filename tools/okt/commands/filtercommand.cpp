// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/failure.h>
#include <oktformat/text.h>
#include <tools/okt/commands/gitfilter.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <memory>
#include <optional>

namespace okt
{

namespace
{

struct Options
{
    std::string direction;
    std::string name;
};

/// A file that is no pool file may be of any length.
std::string readAll(std::string const &name)
{
    std::string bytes;
    std::array<char, 1 << 16> piece;
    for (std::size_t count = piece.size(); count == piece.size();)
    {
        errno = 0;
        count = std::fread(piece.data(), 1, piece.size(), stdin);
        if (std::ferror(stdin) != 0)
            throw Failure(name, "", "it cannot be read: " + systemReason(errno));
        bytes.append(piece.data(), count);
    }
    return bytes;
}

void filter(Options const &options)
{
    std::string const name = options.name.empty() ? inputName(kStandardStream) : options.name;
    std::string bytes = readAll(name);
    std::optional<Waiting> waiting(std::in_place, printable(std::string_view(name)), bytes.size());
    FilteredFile const file = options.direction == "clean" ? cleaned(std::move(bytes)) : smudged(std::move(bytes));
    waiting.reset();
    if (file.fault)
        printError(Failure(name, file.fault->place(), file.fault->reason + "; the file passes as it is").what());
    print(file.bytes);
}

} // namespace

void addFilter(CommandLine &line)
{
    DeclaredCommand const command(
        line, "filter",
        "Is git's filter for pool files, which lie as text in the repository then: standard input to standard output.");
    command.footer("0 done, also where a file passes as it is; 1 failed, 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command.option("DIRECTION", options->direction, "clean: pool file to text; smudge: text to pool file")
        .required()
        .oneOf({"clean", "smudge"});
    command.option("NAME", options->name, "what messages call the file; no file of that name is opened");
    command.onParsed([&line, options] {
        line.run = [options] {
            filter(*options);
            return kDone;
        };
    });
}

} // namespace okt
