// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/bytesource.h>
#include <oktformat/fileread.h>
#include <oktformat/sentence.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/list.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/text.h>
#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/terminal/console.h>

#include <nlohmann/json.hpp>

#include <cstdint>
#include <memory>

namespace okt
{

namespace
{

struct Options
{
    FileOperands files;
    std::string className;
    std::string name;
    bool asJson = false;
    bool isQuiet = false;
};

// Bytes that are printed at once.
constexpr std::size_t kPiece = 1 << 16;

class Lister
{
public:
    Lister(Options const &options, bool withHeadings)
        : m_asJson(options.asJson), m_isQuiet(options.isQuiet),
          m_withHeadings(withHeadings && !options.isQuiet), m_query{options.className, options.name}
    {
    }

    bool list(std::string const &file)
    {
        bool isWhole = true;
        ListOptions options;
        options.name = inputName(utf8Path(file));
        options.onProgress = terminalProgress();
        options.onObject = [&](ListedObject const &object) { add(options.name, object); };
        options.onFault = [&](Finding const &fault) {
            isWhole = false;
            flush();
            printError(Failure(options.name, byteAt(fault.offset), sentenceOf(fault)).what());
        };
        std::unique_ptr<ByteSource> const source = openSource(utf8Path(file), options.onProgress);
        if (source->size() == 0)
            throw Failure(options.name, "", "the file is empty");
        if (m_withHeadings && !m_asJson)
            m_text += printable(std::string_view(options.name)) + ":\n";
        okt::list(*source, m_query, options);
        flush();
        return isWhole;
    }

    std::int64_t objects() const { return m_objects; }

    void flush()
    {
        if (!m_text.empty())
            print(m_text);
        m_text.clear();
    }

private:
    void add(std::string const &file, ListedObject const &object)
    {
        ++m_objects;
        if (m_isQuiet)
            return;
        m_text += m_asJson ? jsonLine(file, object) : textLine(object);
        m_text += "\n";
        if (m_text.size() > kPiece)
            flush();
    }

    static std::string textLine(ListedObject const &object)
    {
        std::string const offset = std::to_string(object.offset);
        std::string const size = std::to_string(object.size);
        std::string line = sentence("{:>10} {:>8}  {}  {}", offset, size, padded(printable(object.className), 18),
                                    object.id ? idText(*object.id) : std::string(38, '-'));
        if (object.name && !object.name->IsEmpty())
            line += "  " + printable(*object.name);
        return line;
    }

    static std::string jsonLine(std::string const &file, ListedObject const &object)
    {
        nlohmann::ordered_json line;
        line["file"] = file;
        line["offset"] = object.offset;
        line["size"] = object.size;
        line["class"] = object.className.ToUtf8();
        line["bases"] = nlohmann::ordered_json::array();
        for (CString const &base : object.bases)
            line["bases"].push_back(base.ToUtf8());
        line["id"] = nullptr;
        if (object.id)
            line["id"] = idText(*object.id);
        line["name"] = nullptr;
        if (object.name)
            line["name"] = object.name->ToUtf8();
        return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    }

    bool m_asJson;
    bool m_isQuiet;
    bool m_withHeadings;
    ListQuery m_query;
    std::string m_text;
    std::int64_t m_objects = 0;
};

int list(Options const &options)
{
    bool ok = true;
    std::vector<std::string> const files = options.files.expanded([&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    });
    Lister lister(options, files.size() > 1);
    for (std::string const &file : files)
    {
        try
        {
            ok = lister.list(file) && ok;
        }
        catch (Failure const &failure)
        {
            lister.flush();
            printError(failure.what());
            ok = false;
        }
    }
    if (options.isQuiet)
        print(
            sentence("{}, {}\n", plural(static_cast<std::int64_t>(files.size()), "file"), plural(lister.objects(), "object")));
    return ok ? kDone : kFailed;
}

} // namespace

void addLs(CommandLine &line)
{
    DeclaredCommand const command(line, "ls", "Lists the objects of pool files: offset, size, class, id, name.");
    command.footer("0 done, 1 a file cannot be read or has a fault, 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    addFiles(command, options->files);
    command.option("--class", options->className, "only objects of this class or derived from it; * and ? as in a shell")
        .valueName("PATTERN");
    command.option("--name", options->name, "only objects of this name; likewise").valueName("PATTERN");
    command.flag("--json", options->asJson, "one JSON object a line");
    command.flag("-q,--quiet", options->isQuiet, "only how many objects there are");
    command.onParsed([&line, options] {
        options->files.check();
        line.run = [options] { return list(*options); };
    });
}

} // namespace okt
