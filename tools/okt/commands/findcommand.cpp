// SPDX-License-Identifier: MIT
#include <tools/okt/commands/commands.h>

#include <oktinspect/find.h>
#include <oktinspect/findingtext.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/text.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/terminal/console.h>

#include <algorithm>
#include <memory>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

struct Options
{
    std::string pattern;
    std::vector<std::string> files;
    std::string className;
    bool namesOnly = false;
    bool valuesOnly = false;
    bool filesOnly = false;
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
    }

    /// A file as it is named, or all pool files below a folder.
    void search(std::string const &name)
    {
        fs::path const path = utf8Path(name);
        std::error_code ignored;
        if (name == kStandardStream || !fs::is_directory(path, ignored))
            return searchFile(name);
        std::vector<fs::path> files;
        std::error_code error;
        fs::recursive_directory_iterator entries(path, fs::directory_options::skip_permission_denied, error);
        for (; !error && entries != fs::recursive_directory_iterator(); entries.increment(error))
            if (entries->is_regular_file(ignored) && isPoolFile(entries->path()))
                files.push_back(entries->path());
        if (error)
            told(Failure(name, "", "the folder cannot be read: " + systemReason(error.value())).what());
        std::sort(files.begin(), files.end());
        for (fs::path const &file : files)
            searchFile(pathName(file));
    }

    bool isFound() const { return m_isFound; }
    bool isAllRead() const { return m_isAllRead; }

private:
    /// By its name, or by how it begins.
    static bool isPoolFile(fs::path const &path)
    {
        if (CString(path.extension().u16string().c_str()).CompareNoCase(u".okt") == 0)
            return true;
        try
        {
            std::unique_ptr<ByteSource> const source = openSource(path, terminalProgress());
            std::string_view const begin = source->look(0, 18);
            return begin.size() == 18 && begin[0] == 2 && begin[5] == 6 && begin[6] == 5 && begin[7] == 9 &&
                   knownClass(begin.substr(9)) == KnownClass::Pool;
        }
        catch (Failure const &)
        {
            return false;
        }
    }

    void told(std::string const &fault)
    {
        m_isAllRead = false;
        printError(fault);
    }

    void searchFile(std::string const &name)
    {
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
            if (!m_options.filesOnly)
                options.onFound = [&](FoundObject const &found) { tell(options.name, found); };
            bool const isIn = find(*source, m_query, options);
            if (isIn && m_options.filesOnly)
                print(printable(std::string_view(options.name)) + "\n");
            m_isFound = m_isFound || isIn;
        }
        catch (Failure const &failure)
        {
            told(failure.what());
        }
    }

    static void tell(std::string const &file, FoundObject const &found)
    {
        std::string const label = labelText(found.label);
        std::string text;
        for (FindMatch const &match : found.matches)
            text += Failure(file, byteAt(match.offset),
                            printable(found.className) + (label.empty() ? "" : " " + label) + ": " + what(match))
                        .what() +
                    std::string("\n");
        print(text);
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
    bool m_isFound = false;
    bool m_isAllRead = true;
};

int find(Options const &options)
{
    checkReadOnce(options.files);
    Finder finder(options);
    try
    {
        for (std::string const &file : options.files)
            finder.search(file);
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
    CLI::App *const command = line.app.add_subcommand(
        "find", "Searches pool files, and folders with all below them, for names, texts, values, ids and classes.\n"
                "  okt find 'hook*' templates --name");
    command->footer("0 found; 1 nothing found; 2 wrong usage, an output that takes nothing, or "
                    "nothing found and a file that cannot be read.");
    auto const options = std::make_shared<Options>();
    command
        ->add_option("PATTERN", options->pattern,
                     "what to look for: a part of it, or with * and ? the whole; the case of letters does not count")
        ->required();
    command->add_option("FILE", options->files, "pool files and folders; - for standard input")->required();
    command
        ->add_option("--class", options->className, "only in objects of this class or derived from it; * and ? as in a shell")
        ->type_name("PATTERN");
    CLI::Option *const names =
        command->add_flag("--name", options->namesOnly, "only in names of pools, parameters and categories");
    command->add_flag("--value", options->valuesOnly, "only in values, expressions and descriptions")->excludes(names);
    command->add_flag("-l,--files", options->filesOnly, "only the names of the files in which something is found");
    command->callback([&line, options] { line.run = [options] { return find(*options); }; });
}

} // namespace okt
