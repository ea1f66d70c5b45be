// SPDX-License-Identifier: MIT
#include <tools/okt/commands/diffinput.h>
#include <tools/okt/commands/folderdiff.h>
#include <tools/okt/commands/tableoperands.h>
#include <tools/okt/files/poollist.h>
#include <tools/okt/printing/difftext.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/reportcollector.h>
#include <tools/okt/commands/declaration.h>
#include <tools/okt/commands/gitcall.h>
#include <tools/okt/commands/gitfilter.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <okttext/oktpoolparts.h>

#include <array>
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
    std::string unit = "mm";
    bool byName = false;
    bool byMembers = false;
    bool asJson = false;
    bool fromGit = false;
    bool isQuiet = false;
};

/// The output for two pools; empty: they do not differ.
std::string textOf(Options const &options, PoolDiff const &found, DiffPool const &first, DiffPool const &second)
{
    if (options.asJson)
        return describeAsJson(found, first, second);
    return describe(found, first, second, options.byMembers ? nullptr : findUnit(options.unit));
}

int compareFiles(Options const &options)
{
    if (isFolder(options.files[0]) && isFolder(options.files[1]))
    {
        FolderDiffOptions given;
        given.by = options.byName ? MatchBy::Name : MatchBy::Id;
        given.unit = options.byMembers ? nullptr : findUnit(options.unit);
        given.asJson = options.asJson;
        given.isQuiet = options.isQuiet;
        return compareFolders(options.files[0], options.files[1], given);
    }
    for (std::string const &file : options.files) // the other one may be a folder, which is no fault of its own
        if (file != kStandardStream && !isThere(file))
            openSource(utf8Path(file), {}); // throws
    DiffInput before(options.files[0], inputName(utf8Path(options.files[0])));
    DiffInput after(options.files[1], inputName(utf8Path(options.files[1])));
    if (before.isSameAs(after))
    {
        if (options.asJson)
            print(sameAsJson(before.name(), after.name(), before.countObjects()));
        return kDone;
    }
    DiffPool const first(before.name(), before.take());
    DiffPool const second(after.name(), after.take());
    std::optional<Waiting> waiting(std::in_place, "comparing", first.bytes().size() + second.bytes().size());
    PoolDiff const found = compare(first, second, options.byName ? MatchBy::Name : MatchBy::Id);
    std::string const text = textOf(options, found, first, second);
    waiting.reset();
    if (!options.isQuiet)
        print(text);
    return found.isSame() ? kDone : kDifferent;
}

/// Reads one side of a diff of git. A wrong file is not a failure, because that would end the diff of all other files.
DiffPool poolFromGit(GitCall::Side const &side, char const *prefix)
{
    if (!side.exists())
        return {};
    std::string const name = prefix + side.name;
    try
    {
        CByteArray image = DiffInput(side.file, name).take();
        // After a resolved conflict, or without the configured filter, the file contains the text itself.
        if (isFilterText(okttext::bytesOf(image)))
            image = okttext::arrayOf(smudged(std::string(okttext::bytesOf(image))).bytes);
        return DiffPool(name, std::move(image), Damage::Told, terminalProgress());
    }
    catch (Failure const &failure)
    {
        return DiffPool::unreadable(name, Failure(name, "", failure.withoutFile()).what());
    }
}

int compareForGit(Options const &options)
{
    GitCall const call = *gitCallOf(options.files);
    if (call.isUnmerged)
    {
        print(printable(std::string_view(call.before.name)) + ": not merged yet\n");
        return kDone;
    }
    DiffPool const first = poolFromGit(call.before, "a/");
    DiffPool const second = poolFromGit(call.after, "b/");
    std::string text;
    bool const isToBeTold = first.bytes() != second.bytes() || !first.exists() || !second.exists() || first.isNothing();
    if (options.asJson || isToBeTold)
        text = textOf(options, compare(first, second, options.byName ? MatchBy::Name : MatchBy::Id), first, second);
    if (options.asJson)
    {
        print(text);
        return kDone;
    }
    std::string const about = call.text();
    if (text.empty() && !about.empty() && call.about.empty()) // what is said of a rename has the names
        text = namesText(first, second);
    print(about + text);
    return kDone;
}

void checkFiles(Options const &options)
{
    std::string const here =
        options.files.size() == 1 ? ", only one is given" : sentence(", {} are given", options.files.size());
    if (options.fromGit && !gitCallOf(options.files))
        refuse("--git", "git gives 1, 7, 8 or 9 arguments" + here);
    if (!options.fromGit && options.files.size() != 2)
        refuse("FILE", "two files are compared" + here);
    if (!options.fromGit && options.files[0] == kStandardStream && options.files[1] == kStandardStream)
        refuse("FILE", "only one of the two files can be standard input");
}

} // namespace

void addDiff(CommandLine &line)
{
    DeclaredCommand const command(
        line, "diff",
        "Compares two pool files, or two folders of them: what came, what went, and what changed in which parameter.");
    command.footer(
        "0 the files hold the same, 1 they differ, 2 trouble or wrong usage; with --git 0 also where they differ or a "
        "file is damaged.");
    auto const options = std::make_shared<Options>();
    // One by one: a list would end at a "--" behind its first entry.
    auto const files = std::make_shared<std::array<std::string, 2>>();
    auto const more = std::make_shared<std::vector<std::string>>();
    command.option("OLD", files->front(), "a pool file, or a folder of them; - for standard input").required();
    DeclaredOption const second =
        command.option("NEW", files->back(), "the one that it is compared with; - for standard input");
    command.option("MORE", *more, "what else git passes, with --git");
    command.option("-u,--unit", options->unit, "the unit that lengths are shown in: mm (default), cm, m, in, ft")
        .oneOf(unitNames());
    command.flag("--members", options->byMembers,
                 "members by the names that their classes give them, and values as they are in the file");
    command.flag("--by-name", options->byName,
                 "for clones, whose ids are new: objects belong together by what they hold, their relations and their names");
    command.flag("--json", options->asJson, "one JSON document, for programs");
    command.flag("-q,--quiet", options->isQuiet, "of folders only the total, of files nothing: the exit code tells");
    command.flag("--git", options->fromGit,
                 "as git's external diff: what follows is what git passes, and a damaged file is told and no failure");
    command.onParsed([&line, options, files, more, second] {
        options->files.assign(files->begin(), files->begin() + (!second.isGiven() ? 1 : 2));
        options->files.insert(options->files.end(), more->begin(), more->end());
        checkFiles(*options);
        line.trouble = kTrouble;
        line.run = [options] {
            ReportCollector const collector; // if an object cannot be read, only the names of its members are missing
            return options->fromGit ? compareForGit(*options) : compareFiles(*options);
        };
    });
}

} // namespace okt
