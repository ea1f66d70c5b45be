#include "difftext.h"

#include <tools/okt/commands.h>
#include <tools/okt/console.h>
#include <tools/okt/exportfiles.h>
#include <tools/okt/files.h>
#include <tools/okt/progress.h>
#include <tools/okt/reportcollector.h>
#include <tools/okt/text.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace okt
{

namespace
{

struct Options
{
    std::vector<std::string> files;
    bool byName = false;
    bool asJson = false;
    bool fromGit = false;
};

DiffPool poolOf(std::string const &file, std::string name) { return DiffPool(std::move(name), readInput(utf8Path(file))); }

/// Git has no file for a side that does not exist.
DiffPool poolFromGit(std::string const &file, std::string const &name)
{
    return file == "/dev/null" || file == "nul" ? DiffPool() : poolOf(file, name);
}

int diff(Options const &options)
{
    ReportCollector const collector; // an object that does not read leaves its members without names, no more
    std::vector<std::string> const &files = options.files;
    // As git calls it: path, then file, hash and mode of the old side and of the new one; the path alone where a merge has
    // left several.
    constexpr std::size_t kOldFile = 1;
    constexpr std::size_t kNewFile = 4;
    if (options.fromGit && files.size() == 1)
    {
        print(printable(std::string_view(files.front())) + ": not merged yet\n");
        return kDone;
    }
    DiffPool const first =
        options.fromGit ? poolFromGit(files[kOldFile], "a/" + files.front()) : poolOf(files[0], inputName(utf8Path(files[0])));
    DiffPool const second =
        options.fromGit ? poolFromGit(files[kNewFile], "b/" + files.front()) : poolOf(files[1], inputName(utf8Path(files[1])));
    std::optional<Waiting> waiting(std::in_place, "comparing", first.bytes().size() + second.bytes().size());
    PoolDiff const found = compare(first, second, options.byName ? MatchBy::Name : MatchBy::Id);
    std::string const text = options.asJson ? describeAsJson(found, first, second) : describe(found, first, second);
    waiting.reset();
    print(text);
    return found.isSame() || options.fromGit ? kDone : kDifferent;
}

void checkFiles(Options const &options)
{
    std::size_t const count = options.files.size();
    if (options.fromGit && count != 1 && count != 7 && count != 9)
        throw CLI::ValidationError("--git", "git gives 1, 7 or 9 arguments, here are " + std::to_string(count));
    if (!options.fromGit && count != 2)
        throw CLI::ValidationError("FILE", "two files are compared, here are " + std::to_string(count));
    if (!options.fromGit && options.files[0] == kStandardStream && options.files[1] == kStandardStream)
        throw CLI::ValidationError("FILE", "only one of the two files can be standard input");
}

} // namespace

void addDiff(CommandLine &line)
{
    CLI::App *const command =
        line.app.add_subcommand("diff", "Compares two pool files, object by object and member by member.\n"
                                        "  okt diff old.okt new.okt\n"
                                        "  okt diff --by-name link.okt clone.okt\n"
                                        "  okt diff --json old.okt new.okt >changes.json\n"
                                        "  git config diff.okt.command 'okt diff --git'");
    command->footer("0 the files hold the same, 1 they differ, 2 trouble or wrong usage; with --git 0 also where they differ.");
    auto const options = std::make_shared<Options>();
    command->add_option("FILE", options->files, "two pool files; one of them may be -, standard input")->required();
    command->add_flag(
        "--by-name", options->byName,
        "for clones, whose ids are new: objects belong together by what they hold, their relations and their names");
    command->add_flag("--json", options->asJson, "one JSON document, for programs");
    command->add_flag("--git", options->fromGit, "as git's external diff: FILE is what git passes");
    command->callback([&line, options] {
        checkFiles(*options);
        line.trouble = kTrouble;
        line.run = [options] { return diff(*options); };
    });
}

} // namespace okt
