// SPDX-License-Identifier: MIT
#include <tools/okt/commands/commands.h>

#include <oktformat/filescan.h>
#include <oktinspect/textmatch.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/text.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/terminal/console.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>
#include <optional>

namespace okt
{

namespace
{

struct Options
{
    std::vector<std::string> files;
    std::string className;
    std::string name;
    bool asJson = false;
};

// What is printed at once.
constexpr std::size_t kPiece = 1 << 16;

class Lister
{
public:
    explicit Lister(Options const &options) : m_asJson(options.asJson), m_withHeadings(options.files.size() > 1)
    {
        if (!options.className.empty())
            m_class.emplace(options.className);
        if (!options.name.empty())
            m_name.emplace(options.name);
    }

    bool list(std::string const &file)
    {
        FileScan scan(file, terminalProgress());
        if (m_withHeadings && !m_asJson)
            m_text += printable(scan.name()) + ":\n";
        bool const isWhole = scan.run(
            [&](Stretch const &object) {
                if (isWanted(object))
                    add(scan.name(), object);
            },
            [this](std::string const &fault) {
                flush();
                printError(fault);
            });
        flush();
        return isWhole;
    }

    void flush()
    {
        if (!m_text.empty())
            print(m_text);
        m_text.clear();
    }

private:
    bool isWanted(Stretch const &object) const
    {
        bool const isOfClass =
            !m_class || std::any_of(object.classNames.begin(), object.classNames.end(),
                                    [this](std::string const &name) { return m_class->matches(CString(name.c_str())); });
        return isOfClass && (!m_name || m_name->matches(object.name));
    }

    void add(std::string const &file, Stretch const &object)
    {
        m_text += m_asJson ? jsonLine(file, object) : textLine(object);
        m_text += "\n";
        if (m_text.size() > kPiece)
            flush();
    }

    static std::string textLine(Stretch const &object)
    {
        std::string const offset = std::to_string(object.begin);
        std::string const size = std::to_string(object.size());
        std::string line = std::string(offset.size() < 10 ? 10 - offset.size() : 0, ' ') + offset + " " +
                           std::string(size.size() < 8 ? 8 - size.size() : 0, ' ') + size + "  " +
                           padded(printable(object.className()), 18) + "  " +
                           (object.id ? idText(*object.id) : std::string(38, '-'));
        if (!object.name.IsEmpty())
            line += "  " + printable(object.name);
        return line;
    }

    static std::string jsonLine(std::string const &file, Stretch const &object)
    {
        nlohmann::ordered_json line;
        line["file"] = file;
        line["offset"] = object.begin;
        line["size"] = object.size();
        line["class"] = plainText(object.className());
        line["bases"] = nlohmann::ordered_json::array();
        for (std::size_t i = 1; i < object.classNames.size(); ++i)
            line["bases"].push_back(plainText(CString(object.classNames[i].c_str())));
        line["id"] = nullptr;
        if (object.id)
            line["id"] = idText(*object.id);
        line["name"] = nullptr;
        if (object.isOf(KnownClass::Parameter) || object.isOf(KnownClass::Category))
            line["name"] = plainText(object.name);
        return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
    }

    bool m_asJson;
    bool m_withHeadings;
    std::optional<TextPattern> m_class;
    std::optional<TextPattern> m_name;
    std::string m_text;
};

int list(Options const &options)
{
    checkReadOnce(options.files);
    bool ok = true;
    Lister lister(options);
    for (std::string const &file : options.files)
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
    return ok ? kDone : kFailed;
}

} // namespace

void addLs(CommandLine &line)
{
    CLI::App *const command = line.app.add_subcommand("ls", "Lists the objects of pool files: offset, size, class, id, name.\n"
                                                            "  okt ls templates/link-d12.okt --class OKTDbCategory\n"
                                                            "  okt ls templates/link-d12.okt --name '*hook*' --json");
    command->footer("0 done, 1 a file cannot be read or has a fault, 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command->add_option("FILE", options->files, "pool files; - for standard input")->required();
    command->add_option("--class", options->className, "only objects of this class or derived from it; * and ? as in a shell")
        ->type_name("PATTERN");
    command->add_option("--name", options->name, "only objects of this name; likewise")->type_name("PATTERN");
    command->add_flag("--json", options->asJson, "one JSON object a line");
    command->callback([&line, options] { line.run = [options] { return list(*options); }; });
}

} // namespace okt
