// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/files/catalogfiles.h>
#include <tools/okt/files/editlock.h>
#include <tools/okt/printing/parameterjson.h>
#include <tools/okt/printing/tableforms.h>
#include <tools/okt/terminal/console.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/text.h>

#include <algorithm>
#include <memory>

namespace okt
{

namespace
{

struct Options
{
    std::string action;
    std::string catalog;
    std::vector<std::string> operands;
    bool asJson = false;
    bool asCsv = false;
    bool isQuiet = false;
};

/// Hears faults, and remembers that there was one.
class Faults
{
public:
    OnFault hearing()
    {
        return [this](std::string const &fault) {
            m_isAny = true;
            printError(fault);
        };
    }
    bool isAny() const { return m_isAny; }

private:
    bool m_isAny = false;
};

/// The folder as the catalogue knows it, where that has looked through it and nothing has that name now; empty: it is not so.
std::string goneFolder(std::filesystem::path const &catalog, std::string const &folder)
{
    std::error_code error;
    std::filesystem::path const name = utf8Path(folder);
    if (std::filesystem::symlink_status(name, error).type() != std::filesystem::file_type::not_found ||
        !std::filesystem::is_regular_file(catalog, error))
        return "";
    std::filesystem::path const real = std::filesystem::weakly_canonical(std::filesystem::absolute(name, error), error);
    if (error)
        return "";
    std::string path = genericName(real);
    while (path.size() > 1 && path.ends_with('/'))
        path.pop_back();
    std::vector<std::string> const known = Catalog(catalog, Catalog::Use::Read).folders();
    return std::find(known.begin(), known.end(), path) == known.end() ? "" : path;
}

/// A file that is not seen, since its folder may not be looked into.
bool isOutOfReach(std::string const &path)
{
    std::error_code error;
    return !std::filesystem::exists(utf8Path(path), error) && error == std::errc::permission_denied;
}

int updateCatalog(Options const &options)
{
    std::filesystem::path const path = utf8Path(options.catalog);
    Faults faults;
    if (!hasCatalogStore())
        Catalog(path, Catalog::Use::Write); // throws
    std::vector<FoundFolder> folders;
    for (std::string const &folder : options.operands)
    {
        std::string const gone = isFolder(folder) ? "" : goneFolder(path, folder);
        folders.push_back(gone.empty() ? foundIn(folder, faults.hearing())
                                       : FoundFolder{.path = gone, .files = {}, .isGone = true});
    }
    EditLock const lock(path);
    UpdateResult const result = update(path, folders, catalogOptions(faults.hearing()));
    std::string text = plural(result.files, "file") + ": " + std::to_string(result.added) + " new, " +
                       std::to_string(result.changed) + " changed, " + std::to_string(result.removed) + " removed";
    if (result.damaged > 0)
        text += "; " + std::to_string(result.damaged) + " of them damaged";
    if (result.unread > 0)
        text += "; " + std::to_string(result.unread) + " not read";
    print(text + "\n");
    return faults.isAny() ? kFailed : kDone;
}

/// The id in registry form; empty: the word is none.
std::string idOf(std::string word)
{
    if (word.starts_with('{') && word.ends_with('}'))
        word = word.substr(1, word.size() - 2);
    constexpr std::size_t kLength = 36;
    if (word.size() != kLength)
        return "";
    OKTDbObjectId id;
    id.setGuidFromString(CString::FromUtf8("{" + word + "}"));
    std::string const text = idText(id.getGuid());
    return isSameWord(text, "{" + word + "}") ? text : "";
}

int findId(Catalog &catalog, Options const &options, std::string const &id)
{
    std::vector<IdHit> const hits = catalog.findId(id);
    std::string text;
    for (IdHit const &hit : hits)
    {
        std::string const file = shownPath(hit.path);
        if (options.asJson)
            text += lineOf({{"file", file}, {"offset", hit.offset}, {"class", hit.className}, {"id", id}, {"name", hit.name}});
        else
            text += Failure(file, hit.offset == 0 ? "" : byteAt(hit.offset),
                            printable(std::string_view(hit.className)) + " " + id +
                                (hit.name.empty() ? "" : " " + quoted(CString::FromUtf8(hit.name))))
                        .what() +
                    std::string("\n");
    }
    print(text);
    return hits.empty() ? kFailed : kDone;
}

int findWords(Options const &options)
{
    Catalog catalog(utf8Path(options.catalog), Catalog::Use::Read);
    if (options.operands.size() == 1)
        if (std::string const id = idOf(options.operands.front()); !id.empty())
            return findId(catalog, options, id);
    std::vector<std::string> words; // a blank parts them, however they were given
    for (std::string const &operand : options.operands)
        for (std::size_t at = 0; (at = operand.find_first_not_of(" \t\n", at)) != std::string::npos;)
        {
            std::size_t const end = std::min(operand.find_first_of(" \t\n", at), operand.size());
            words.push_back(operand.substr(at, end - at));
            at = end;
        }
    if (words.empty())
        throw Failure(options.catalog, "", "there is no word to look for");
    std::vector<WordsHit> const hits = catalog.find(words);
    std::string text;
    for (WordsHit const &hit : hits)
        text += options.asJson
                    ? lineOf({{"file", shownPath(hit.path)}, {"pool", hit.poolName}, {"rank", hit.rank}})
                    : printable(std::string_view(shownPath(hit.path))) + ": " + quoted(CString::FromUtf8(hit.poolName)) + "\n";
    print(text);
    return hits.empty() ? kFailed : kDone;
}

PlainJson cellJson(CatalogValue const &value)
{
    return std::visit(
        [](auto const &one) {
            if constexpr (std::is_same_v<std::decay_t<decltype(one)>, std::monostate>)
                return PlainJson(nullptr);
            else
                return PlainJson(one);
        },
        value);
}

std::string textOf(CatalogValue const &value)
{
    if (std::int64_t const *const whole = std::get_if<std::int64_t>(&value))
        return std::to_string(*whole);
    if (double const *const real = std::get_if<double>(&value))
        return number(*real);
    std::string const *const text = std::get_if<std::string>(&value);
    return text == nullptr ? "" : *text;
}

int query(Options const &options)
{
    Catalog catalog(utf8Path(options.catalog), Catalog::Use::Read);
    std::vector<std::string> columns;
    std::string text;
    auto const flush = [&text](std::size_t from) {
        if (text.size() >= from)
        {
            print(text);
            text.clear();
        }
    };
    auto const addLine = [&](std::vector<std::string> const &fields) {
        for (std::size_t i = 0; i < fields.size(); ++i)
            text += (i == 0          ? ""
                     : options.asCsv ? ","
                                     : "\t") +
                    (options.asCsv ? csvField(fields[i], ',') : printable(std::string_view(fields[i])));
        text += options.asCsv ? "\r\n" : "\n";
    };
    constexpr std::size_t kPiece = 1 << 16;
    catalog.query(
        options.operands.front(),
        [&](std::vector<std::string> const &names) {
            columns = names;
            if (options.asJson)
                for (auto name = names.begin(); name != names.end(); ++name)
                    if (std::find(names.begin(), name, *name) != name)
                        throw Failure(options.catalog, "",
                                      "two columns of the query are called " + excerpt(*name) +
                                          ", and --json takes one of a name: give one another name, with AS");
            if (!options.asJson)
                addLine(names);
        },
        [&](std::vector<CatalogValue> const &row) {
            if (options.asJson)
            {
                PlainJson json;
                for (std::size_t i = 0; i < row.size(); ++i)
                    json[columns[i]] = cellJson(row[i]);
                text += lineOf(json);
            }
            else
            {
                std::vector<std::string> fields;
                for (CatalogValue const &value : row)
                    fields.push_back(textOf(value));
                addLine(fields);
            }
            flush(kPiece);
        });
    flush(0);
    return kDone;
}

char const *wordOf(CatalogDifference::Kind kind)
{
    using Kind = CatalogDifference::Kind;
    switch (kind)
    {
    case Kind::Gone: return "gone";
    case Kind::New: return "new";
    case Kind::Changed: return "changed";
    case Kind::Unread: return "not read";
    case Kind::Rows: break;
    }
    return "its rows are not those of the file";
}

int verifyCatalog(Options const &options)
{
    Catalog catalog(utf8Path(options.catalog), Catalog::Use::Read);
    Faults faults;
    std::string const fault = catalog.fault();
    if (!fault.empty())
        printError(Failure(options.catalog, "", "the catalogue is damaged: " + printable(std::string_view(fault))).what());
    std::vector<FoundFolder> folders;
    for (std::string const &folder : catalog.folders())
        if (isFolder(folder)) // the files of one that is gone are gone
            folders.push_back(foundIn(folder, faults.hearing()));
    std::vector<CatalogDifference> const differences = compareRows(catalog, folders, catalogOptions({}));
    std::string text;
    for (CatalogDifference const &difference : differences)
        if (difference.kind == CatalogDifference::Kind::Unread)
            printError(difference.fault);
        else if (!options.isQuiet)
        {
            using Kind = CatalogDifference::Kind;
            bool const isHidden = difference.kind == Kind::Gone && isOutOfReach(difference.path);
            Kind const kind = isHidden ? Kind::Unread : difference.kind;
            text += printable(std::string_view(shownPath(difference.path))) + ": " + wordOf(kind) + "\n";
        }
    std::int64_t const files = static_cast<std::int64_t>(catalog.files().size());
    print(text + plural(files, "file") + ", " + plural(static_cast<std::int64_t>(differences.size()), "difference") + "\n");
    return fault.empty() && differences.empty() && !faults.isAny() ? kDone : kFailed;
}

int run(Options const &options)
{
    if (options.action == "update")
        return updateCatalog(options);
    if (options.action == "find")
        return findWords(options);
    return options.action == "sql" ? query(options) : verifyCatalog(options);
}

} // namespace

void addCatalog(CommandLine &line)
{
    DeclaredCommand const command(
        line, "catalog",
        "Keeps a catalogue of pool files, renewed only where files changed: finds words and ids in it, and answers queries.");
    command.footer(
        "0 done, found, or the same; 1 the catalogue cannot be made or read, nothing is found, or rows and files differ; "
        "2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command.option("ACTION", options->action, "what to do: update, find, sql, verify")
        .oneOf(std::vector<std::string>{"update", "find", "sql", "verify"})
        .required();
    command.option("CATALOG", options->catalog, "the catalogue, a file; update makes it").required();
    command.option("FOLDER|WORD|QUERY", options->operands,
                   "update: folders, with all below them; find: words that all stand in a template, or an id; sql: one query");
    DeclaredOption const csv = command.flag("--csv", options->asCsv, "sql: separated by commas, by RFC 4180");
    command.flag("--json", options->asJson, "find, sql: one JSON object a line").excludes(csv);
    command.flag("-q,--quiet", options->isQuiet, "verify: only the total");
    command.onParsed([&line, options] {
        if (options->action != "verify" && options->operands.empty())
            refuseMissing(options->action == "update" ? "FOLDER" : options->action == "find" ? "WORD" : "QUERY");
        if (options->action == "verify" && !options->operands.empty())
            refuse("verify", "a catalogue is verified as a whole, with all of its folders");
        if (options->action == "sql" && options->operands.size() > 1)
            refuse("sql", "a query is one operand: put it in quotation marks");
        line.run = [options] { return run(*options); };
    });
}

} // namespace okt
