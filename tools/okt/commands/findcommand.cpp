// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/commands/wherecondition.h>
#include <tools/okt/files/catalogfiles.h>
#include <tools/okt/files/templatefile.h>
#include <tools/okt/printing/parameterjson.h>

#include <oktinspect/find.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/textmatch.h>
#include <oktinspect/valuetext.h>
#include <oktrebar/expressions.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <tools/okt/terminal/console.h>

#include <memory>
#include <optional>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

struct Options
{
    std::string pattern;
    FileOperands files;
    std::string where;
    std::string unit = "mm";
    std::string className;
    bool namesOnly = false;
    bool valuesOnly = false;
    bool filesOnly = false;
    bool asJson = false;
    bool isQuiet = false;
};

class Finder
{
public:
    explicit Finder(Options const &options) : m_options(options)
    {
        m_query.pattern = options.pattern;
        m_query.className = options.className;
        m_query.where = options.namesOnly    ? FindQuery::Where::Names
                        : options.valuesOnly ? FindQuery::Where::Values
                                             : FindQuery::Where::Anywhere;
        if (!options.where.empty())
            m_where.emplace(whereCondition(options.where, *findLengthUnit(options.unit)));
        if (options.files.index.empty())
            return;
        m_index.emplace(options.files.index);
        if (!m_where)
            askIndex();
    }

    bool isFound() const { return m_isFound; }
    bool isAllRead() const { return m_isAllRead; }

    void told(std::string const &fault)
    {
        m_isAllRead = false;
        printError(fault);
    }

    /// "3 of 48 files".
    void total() const { print(sentence("{} of {}\n", m_found, plural(m_files, "file"))); }

    /// A condition that no template fulfils is said; a pattern that is found nowhere is not, as of other searching programs.
    void tellNothing() const
    {
        if (m_where && !m_isFound && m_isAllRead)
            printError("no template fulfils " + excerpt(m_options.where));
    }

    void look(std::string const &name)
    {
        if (m_where)
            ask(name);
        else
            search(name);
    }

private:
    /// What the catalogue has no match for needs not be read.
    void askIndex()
    {
        TextPattern const pattern(m_options.pattern);
        bool const isOfId = m_options.pattern.find_first_not_of("{}-0123456789abcdefABCDEF*?") == std::string::npos;
        m_index->ask([&pattern](std::string_view text) { return pattern.isIn(CString::FromUtf8(text)); },
                     isOfId ? Catalog::IdTexts::With : Catalog::IdTexts::Without);
    }

    void note(bool isIn)
    {
        m_isFound = m_isFound || isIn;
        m_found += isIn ? 1 : 0;
    }

    void tellFile(std::string const &name) const
    {
        print(m_options.asJson ? lineOf({{"file", name}}) : printable(std::string_view(name)) + "\n");
    }

    /// A template that fulfils a condition is told by the name of its file. One with a fault is asked as far as it is whole.
    void ask(std::string const &name)
    {
        ++m_files;
        try
        {
            if (auto const known = m_index ? m_index->templateOf(name) : std::nullopt)
                return noteTemplate(known->pool, *known->drawn, inputName(utf8Path(name)));
            TemplateFile const read = readTemplateFile(name);
            for (std::string const &fault : read.faults())
                told(fault);
            noteTemplate(read.pool, TemplateExpressions(read.pool).unit(), read.name);
        }
        catch (Failure const &failure)
        {
            told(failure.what());
        }
    }

    void noteTemplate(StoredTemplate const &pool, LengthUnit const &drawn, std::string const &name)
    {
        bool const isIn = isFulfilled(*m_where, pool, drawn, name);
        note(isIn);
        if (isIn && !m_options.isQuiet)
            tellFile(name);
    }

    void search(std::string const &name)
    {
        ++m_files;
        if (m_index && m_index->isWithout(name))
            return;
        try
        {
            fs::path const path = utf8Path(name);
            FindOptions options;
            options.name = inputName(path);
            options.onProgress = terminalProgress();
            std::unique_ptr<ByteSource> const source = openSource(path, options.onProgress);
            if (source->size() == 0)
                throw Failure(options.name, "", "the file is empty");
            options.onFault = [&](Finding const &fault) {
                told(Failure(options.name, byteAt(fault.offset), sentenceOf(fault)).what());
            };
            if (!m_options.filesOnly && !m_options.isQuiet)
                options.onFound = [&](FoundObject const &found) { tell(options.name, found); };
            bool const isIn = okt::find(*source, m_query, options);
            if (isIn && m_options.filesOnly && !m_options.isQuiet)
                tellFile(options.name);
            note(isIn);
        }
        catch (Failure const &failure)
        {
            told(failure.what());
        }
    }

    void tell(std::string const &file, FoundObject const &found) const
    {
        if (m_options.asJson)
        {
            std::string lines;
            for (FindMatch const &match : found.matches)
                lines += lineOf(matchJson(file, found, match));
            return print(lines);
        }
        std::string const label = labelText(found.label);
        std::string text;
        for (FindMatch const &match : found.matches)
            text += Failure(file, byteAt(match.offset),
                            sentence("{}{}: {}", printable(found.className), label.empty() ? "" : " " + label, what(match)))
                        .what() +
                    std::string("\n");
        print(text);
    }

    static PlainJson matchJson(std::string const &file, FoundObject const &found, FindMatch const &match)
    {
        PlainJson json;
        json["file"] = file;
        json["offset"] = match.offset;
        json["class"] = found.className.ToUtf8();
        json["id"] = found.label.id ? PlainJson(idText(*found.label.id)) : PlainJson(nullptr);
        json["name"] = found.label.name.IsEmpty() ? PlainJson(nullptr) : PlainJson(found.label.name.ToUtf8());
        json["match"] = kindWord(match.kind);
        if (match.kind == FindMatch::Kind::Naming)
            json["names"] = idText(match.id.value_or(kNoId));
        if (!match.text.IsEmpty())
            json["text"] = match.text.ToUtf8();
        return json;
    }

    static char const *kindWord(FindMatch::Kind kind)
    {
        switch (kind)
        {
        case FindMatch::Kind::Class: return "class";
        case FindMatch::Kind::Id: return "id";
        case FindMatch::Kind::Naming: return "reference";
        case FindMatch::Kind::PoolName:
        case FindMatch::Kind::Name: return "name";
        case FindMatch::Kind::Text: return "text";
        case FindMatch::Kind::Value: break;
        }
        return "value";
    }

    static std::string what(FindMatch const &match)
    {
        switch (match.kind)
        {
        case FindMatch::Kind::Class: return "class";
        case FindMatch::Kind::Id: return "id";
        case FindMatch::Kind::Naming: return "names " + idText(match.id.value_or(kNoId));
        case FindMatch::Kind::PoolName: return "name";
        case FindMatch::Kind::Name: return "name " + quoted(shortened(match.text));
        case FindMatch::Kind::Text: return "text " + quoted(shortened(match.text));
        case FindMatch::Kind::Value: break;
        }
        return "value " + printable(match.text);
    }

    static CString shortened(CString const &text) { return text.GetLength() > 80 ? text.Left(80) + CString(u"...") : text; }

    Options const &m_options;
    FindQuery m_query;
    std::optional<Condition> m_where;
    std::optional<CatalogIndex> m_index;
    std::int64_t m_files = 0;
    std::int64_t m_found = 0;
    bool m_isFound = false;
    bool m_isAllRead = true;
};

int find(Options const &options)
{
    Finder finder(options);
    try
    {
        for (std::string const &file : options.files.expanded([&finder](std::string const &fault) { finder.told(fault); }))
            finder.look(file);
        if (options.isQuiet)
            finder.total();
        else
            finder.tellNothing();
    }
    catch (OutputFailed const &failure)
    {
        printError(failure.what());
        return kTrouble; // 1 would say that nothing was found
    }
    return finder.isFound() ? kDone : finder.isAllRead() ? kFailed : kWrongUsage;
}

} // namespace

void addFind(CommandLine &line)
{
    DeclaredCommand const command(
        line, "find",
        "Searches pool files, and folders with all below them, for names, texts, values, ids and classes, or for templates\n"
        "that fulfil a condition.");
    command.footer("0 found; 1 nothing found; 2 wrong usage, an output that takes nothing, or "
                   "nothing found and a file that cannot be read.");
    auto const options = std::make_shared<Options>();
    command.option("PATTERN", options->pattern,
                   "what to look for: a part of it, or with * and ? the whole; the case of letters does not count; none "
                   "with --where");
    addFiles(command, options->files);
    addIndex(command, options->files);
    DeclaredOption const where = addWhere(command, options->where);
    command.option("-u,--unit", options->unit, "with --where: the unit of lengths that have none: mm (default), cm, m, in, ft")
        .oneOf(unitNames());
    DeclaredOption const className =
        command.option("--class", options->className, "only in objects of this class or derived from it; * and ? as in a shell")
            .valueName("PATTERN");
    DeclaredOption const names =
        command.flag("--name", options->namesOnly, "only in names of pools, parameters and categories");
    DeclaredOption const values =
        command.flag("--value", options->valuesOnly, "only in values, expressions and descriptions").excludes(names);
    command.flag("-l,--files", options->filesOnly, "only the names of the files in which something is found");
    command.flag("--json", options->asJson, "one JSON object a line, one for each match or file");
    command.flag("-q,--quiet", options->isQuiet, "only how many files there are in which something is found");
    where.excludes(className).excludes(names).excludes(values);
    command.onParsed([&line, options] {
        if (!options->where.empty())
        {
            whereCondition(options->where, *findLengthUnit(options->unit));
            if (!options->pattern.empty())
                options->files.files.insert(options->files.files.begin(), options->pattern);
        }
        else if (options->pattern.empty())
            refuseMissing("PATTERN");
        options->files.check();
        if (!options->files.index.empty())
            line.trouble = kTrouble; // 1 would say that nothing was found
        line.run = [options] { return find(*options); };
    });
}

} // namespace okt
