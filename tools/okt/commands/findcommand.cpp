#include <tools/okt/commands/commands.h>

#include <oktformat/filescan.h>
#include <oktinspect/textmatch.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/poolheader.h>
#include <oktformat/text.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/files.h>
#include <tools/okt/terminal/console.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;
using Kind = StoredValue::Kind;

struct Options
{
    std::string pattern;
    std::vector<std::string> files;
    std::string className;
    bool namesOnly = false;
    bool valuesOnly = false;
    bool filesOnly = false;
};

// A longer text is not searched behind these characters.
constexpr std::int64_t kSearchedText = 65535;

/// What matched in an object.
struct Match
{
    std::int64_t offset;
    std::string what;
};

class Finder
{
public:
    explicit Finder(Options const &options) : m_options(options), m_pattern(options.pattern)
    {
        if (!options.className.empty())
            m_class.emplace(options.className);
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
            FileScan scan(name, terminalProgress());
            bool isIn = false;
            if (scan.header().isWhole && !m_class)
                isIn = searchHeader(scan);
            scan.run([&](Stretch const &object) { isIn = searchObject(scan, object) || isIn; },
                     [this](std::string const &fault) { told(fault); });
            if (isIn && m_options.filesOnly)
                print(printable(scan.name()) + "\n");
            m_isFound = m_isFound || isIn;
        }
        catch (Failure const &failure)
        {
            told(failure.what());
        }
    }

    /// The id and the name of the pool.
    bool searchHeader(FileScan &scan)
    {
        Stretch pool;
        pool.begin = scan.header().begin;
        pool.classNames = {"OKTDbPool"};
        HeaderWalk walk(scan.source(), pool.begin);
        std::vector<Match> matches;
        while (walk.next())
        {
            StoredValue const &value = walk.value();
            if (walk.role() == HeaderRole::PoolId)
            {
                pool.id = value.id;
                if (!m_options.namesOnly && !m_options.valuesOnly && isId(value.id))
                    matches.push_back({value.begin, "id"});
            }
            if (walk.role() == HeaderRole::Name)
            {
                pool.name = textOf(scan.source(), value);
                if (!m_options.valuesOnly && m_pattern.isIn(pool.name))
                    matches.push_back({value.begin, "name"});
            }
        }
        return tell(scan, pool, matches);
    }

    bool searchObject(FileScan &scan, Stretch const &object)
    {
        if (m_class && std::none_of(object.classNames.begin(), object.classNames.end(),
                                    [this](std::string const &name) { return m_class->matches(CString(name.c_str())); }))
            return false;
        std::vector<Match> matches;
        bool const isAnywhere = !m_options.namesOnly && !m_options.valuesOnly;
        if (isAnywhere && m_pattern.isIn(object.className()))
            matches.push_back({object.begin, "class"});
        ValueWalk walk(scan.source(), object.begin);
        while (walk.next())
            searchValue(scan.source(), walk.value(), isAnywhere, matches);
        return tell(scan, object, matches);
    }

    void searchValue(ByteSource &source, StoredValue const &value, bool isAnywhere, std::vector<Match> &matches) const
    {
        bool const isText = value.kind == Kind::Text16 || value.kind == Kind::Text8;
        if (isText && value.owner == KnownClass::Picture)
            return; // its bytes
        if (isText)
        {
            bool const isName = isNameOf(value);
            if ((isAnywhere || (m_options.namesOnly && isName) || (m_options.valuesOnly && !isName)) && isTextIn(source, value))
                matches.push_back({value.begin, (isName ? "name " : "text ") + quoted(shortened(textOf(source, value)))});
            return;
        }
        if (value.kind == Kind::Id)
        {
            bool const isOwn = value.owner == KnownClass::Object && value.nested == 0;
            if (isAnywhere && isId(value.id))
                matches.push_back({value.begin, isOwn ? "id" : "names " + idText(value.id)});
            return;
        }
        if (m_options.namesOnly || value.kind == Kind::Frame || value.kind == Kind::Bytes)
            return;
        std::string const text = valueText(source, value);
        // Numbers of anything but a value are no content: a type, a place in a list, a count.
        bool const isContent = value.kind == Kind::Variant || value.owner == KnownClass::Other;
        if (isContent && !text.empty() && m_pattern.isIn(CString::FromUtf8(text)))
            matches.push_back({value.begin, "value " + printable(text)});
    }

    static bool isNameOf(StoredValue const &value)
    {
        return value.nested == 0 && value.section == 1 &&
               ((value.owner == KnownClass::Parameter && value.ordinal == 0) || value.owner == KnownClass::Category);
    }

    bool isTextIn(ByteSource &source, StoredValue const &value) const
    {
        return value.payloadSize <= 2 * kSearchedText && m_pattern.isIn(textOf(source, value));
    }

    static std::string valueText(ByteSource &source, StoredValue const &value)
    {
        Kind const kind = value.kind == Kind::Variant ? value.variantValue : value.kind;
        switch (kind)
        {
        case Kind::Bool:
        case Kind::Short: return std::to_string(value.number);
        case Kind::Long:
            if (value.kind == Kind::Variant && value.variantKind == VT_BOOL)
                return value.number == 0 ? "false" : "true";
            return std::to_string(value.number);
        case Kind::Double: return value.reals.empty() ? "" : number(value.reals.front());
        case Kind::Text16:
        case Kind::Text8: return textOf(source, value).ToUtf8();
        case Kind::Point:
            return value.reals.size() != 3
                       ? ""
                       : number(value.reals[0]) + ", " + number(value.reals[1]) + ", " + number(value.reals[2]);
        default: return "";
        }
    }

    static CString shortened(CString const &text) { return text.GetLength() > 80 ? text.Left(80) + CString(u"...") : text; }

    bool isId(_GUID const &id) const { return m_pattern.isIn(CString::FromUtf8(idText(id))); }

    bool tell(FileScan const &scan, Stretch const &object, std::vector<Match> const &matches) const
    {
        if (m_options.filesOnly)
            return !matches.empty();
        std::string text;
        for (Match const &match : matches)
            text += Failure(scan.name(), byteAt(match.offset),
                            printable(object.className()) + (object.id ? " " + idText(*object.id) : "") +
                                (object.name.IsEmpty() ? "" : " " + quoted(object.name)) + ": " + match.what)
                        .what() +
                    std::string("\n");
        if (!text.empty())
            print(text);
        return !matches.empty();
    }

    Options const &m_options;
    TextPattern m_pattern;
    std::optional<TextPattern> m_class;
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
