// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/commands/fileoperands.h>

#include <oktinspect/findingtext.h>
#include <oktinspect/info.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <tools/okt/terminal/console.h>

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <memory>
#include <set>

namespace okt
{

namespace
{

using Json = nlohmann::ordered_json;

struct Options
{
    FileOperands files;
    bool headerOnly = false;
    bool asJson = false;
    bool isQuiet = false;
};

std::string numbersText(std::set<int> const &numbers)
{
    std::string text;
    for (int const each : numbers)
        text += (text.empty() ? "" : ", ") + std::to_string(each);
    return text;
}

std::string sectionsText(std::map<std::string, std::set<int>> const &sections, std::string const &className)
{
    std::string text;
    for (auto const &[name, numbers] : sections)
        if (CString(name.c_str()).ToUtf8() == className)
            text = numbersText(numbers);
    return text;
}

std::string placeText(NamedObject const &role, std::int64_t blockBegin)
{
    if (!role.hasPlace)
        return "";
    if (role.size < 0)
        return ", no place";
    return sentence(", {} from byte {}", plural(role.size, "byte"), blockBegin + role.position);
}

std::string textOf(std::string const &file, PoolInfo const &report)
{
    auto const line = [](std::string const &label, std::string const &text) {
        return sentence("  {}{}\n", padded(label, 16), text);
    };
    std::string text = sentence("{}: {}\n", printable(std::string_view(file)), plural(report.size, "byte"));
    HeaderInfo const &fields = report.fields;
    if (report.header.isWhole)
    {
        std::set<int> const sections(fields.sections.begin(), fields.sections.end());
        text += line("Pool", sentence("{} {}", fields.name ? quoted(*fields.name) : "", fields.id ? idText(*fields.id) : ""));
        text += line("Header",
                     sentence("{} from byte {}{}{}", plural(report.header.end - report.header.begin, "byte"),
                              report.header.begin, sections.size() == 1 ? ", section " : ", sections ", numbersText(sections)));
        text += line("Metrics factor", fields.metricsFactor ? number(*fields.metricsFactor) : "none");
        for (NamedObject const &role : fields.named)
            text += line(role.role, idText(role.id) + placeText(role, report.header.end));
    }
    if (!report.hasObjects)
        return text;
    text += line("Objects", std::to_string(report.objects));
    text += sentence("  {}{}{}SECTIONS\n", padded("CLASS", 24), padded("OBJECTS", 12), padded("BYTES", 14));
    for (auto const &[name, count] : report.classes)
        text +=
            sentence("  {}{}{}{}\n", padded(printable(std::string_view(name)), 24), padded(std::to_string(count.objects), 12),
                     padded(std::to_string(count.bytes), 14), sectionsText(count.sections, name));
    std::int64_t const header = report.header.isWhole ? report.header.end : 0;
    text += sentence("  {}{}\n", padded("(header)", 36), header);
    if (std::int64_t const rest = report.size - header - report.objectBytes; rest > 0)
        text += sentence("  {}{}\n", padded("(no whole object)", 36), rest);
    return text;
}

std::vector<std::string> faultLines(std::string const &file, PoolInfo const &report)
{
    std::vector<std::string> lines;
    for (Finding const &fault : report.faults)
        lines.emplace_back(Failure(file, byteAt(fault.offset), sentenceOf(fault)).what());
    return lines;
}

Json jsonOf(std::string const &file, PoolInfo const &report)
{
    Json json;
    json["file"] = file;
    json["size"] = report.size;
    json["header"] = nullptr;
    HeaderInfo const &fields = report.fields;
    if (report.header.isWhole)
    {
        Json header;
        header["offset"] = report.header.begin;
        header["size"] = report.header.end - report.header.begin;
        header["sections"] = fields.sections;
        header["id"] = fields.id ? idText(*fields.id) : "";
        header["name"] = fields.name ? fields.name->ToUtf8() : "";
        header["metricsFactor"] = fields.metricsFactor ? Json(*fields.metricsFactor) : Json(nullptr);
        header["named"] = Json::array();
        for (NamedObject const &role : fields.named)
        {
            Json named;
            named["role"] = role.role;
            named["id"] = idText(role.id);
            bool const hasPlace = role.hasPlace && role.size >= 0;
            named["offset"] = hasPlace ? Json(report.header.end + role.position) : Json(nullptr);
            named["size"] = hasPlace ? Json(role.size) : Json(nullptr);
            header["named"].push_back(std::move(named));
        }
        json["header"] = std::move(header);
    }
    if (report.hasObjects)
    {
        json["objects"] = report.objects;
        json["objectBytes"] = report.objectBytes;
        json["classes"] = Json::array();
        for (auto const &[name, count] : report.classes)
        {
            Json each;
            each["class"] = name;
            each["objects"] = count.objects;
            each["bytes"] = count.bytes;
            each["sections"] = Json::object();
            for (auto const &[level, numbers] : count.sections)
                each["sections"][CString(level.c_str()).ToUtf8()] = numbers;
            json["classes"].push_back(std::move(each));
        }
    }
    json["faults"] = faultLines(file, report);
    return json;
}

int infoAll(Options const &options)
{
    bool ok = true;
    bool isFirst = true;
    std::int64_t objects = 0;
    std::vector<std::string> const files = options.files.expanded([&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    });
    for (std::string const &file : files)
    {
        try
        {
            std::filesystem::path const path = utf8Path(file);
            InfoOptions how;
            how.headerOnly = options.headerOnly;
            how.onProgress = terminalProgress();
            how.name = inputName(path);
            std::unique_ptr<ByteSource> const source = openSource(path, how.onProgress);
            if (source->size() == 0)
                throw Failure(how.name, "", "the file is empty");
            PoolInfo const report = info(*source, how);
            objects += report.hasObjects ? static_cast<std::int64_t>(report.objects) : 0;
            if (!options.isQuiet)
                print(options.asJson ? jsonOf(how.name, report).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"
                                     : (isFirst ? "" : "\n") + textOf(how.name, report));
            for (std::string const &fault : faultLines(how.name, report))
                printError(fault);
            ok = ok && report.faults.empty();
            isFirst = false;
        }
        catch (Failure const &failure)
        {
            printError(failure.what());
            ok = false;
        }
    }
    if (options.isQuiet)
        print(sentence("{}{}\n", plural(static_cast<std::int64_t>(files.size()), "file"),
                       options.headerOnly ? "" : ", " + plural(objects, "object")));
    return ok ? kDone : kFailed;
}

} // namespace

void addInfo(CommandLine &line)
{
    DeclaredCommand const command(
        line, "info", "Tells what is in pool files: the header, and how many objects of which classes and how large.");
    command.footer("0 done, 1 a file cannot be read or has a fault, 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    addFiles(command, options->files);
    command.flag("--header", options->headerOnly, "only the header: nothing behind it is read");
    command.flag("--json", options->asJson, "one JSON object a line, one for each file");
    command.flag("-q,--quiet", options->isQuiet, "only how many files and objects there are");
    command.onParsed([&line, options] {
        options->files.check();
        line.run = [options] { return infoAll(*options); };
    });
}

} // namespace okt
