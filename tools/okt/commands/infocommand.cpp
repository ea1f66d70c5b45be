#include <tools/okt/commands/commands.h>

#include <oktformat/filescan.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/poolheader.h>
#include <oktformat/text.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/terminal/console.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <map>
#include <memory>
#include <set>

namespace okt
{

namespace
{

using Json = nlohmann::ordered_json;
using Kind = StoredValue::Kind;

struct Options
{
    std::vector<std::string> files;
    bool headerOnly = false;
    bool asJson = false;
};

/// An object that the header names.
struct Role
{
    std::string name;
    std::string id;
    std::int32_t position = -1; ///< in the objects block
    std::int32_t size = -1;
    bool hasPlace = false;
};

struct HeaderFields
{
    std::string id;
    std::string name;
    std::string plainName;
    double factor = 0;
    bool hasFactor = false;
    std::vector<int> sections;
    std::vector<Role> roles;
};

HeaderFields readHeader(ByteSource &source, HeaderPlace const &place)
{
    HeaderFields fields;
    RecordWalk records(source, place.begin);
    while (records.next())
        if (records.record().type == RecordType::SectionBegin && records.open().size() == 2)
            fields.sections.push_back(records.record().number);

    PoolHeader const header = readPoolHeader(source, place.begin);
    fields.id = header.id ? idText(*header.id) : std::string();
    if (header.name)
    {
        fields.name = quoted(*header.name);
        fields.plainName = plainText(*header.name);
    }
    fields.hasFactor = header.factor.has_value();
    fields.factor = header.factor.value_or(0);
    auto const add = [&fields](char const *name, HeaderReference const &reference) {
        if (!isSame(reference.id, kNoId))
            fields.roles.push_back({name, idText(reference.id), reference.position, reference.size, reference.hasPlace});
    };
    auto const addIf = [&add](char const *name, std::optional<HeaderReference> const &reference) {
        if (reference)
            add(name, *reference);
    };
    addIf("construct", header.construct);
    addIf("old picture", header.oldPicture);
    addIf("index", header.index);
    addIf("ppActions", header.ppActions);
    addIf("sketch", header.sketch);
    for (HeaderReference const &picture : header.pictures)
        add("picture", picture);
    addIf("radial", header.radialReinf);
    return fields;
}

/// What is counted of the objects of one class.
struct ClassCount
{
    std::int64_t objects = 0;
    std::int64_t bytes = 0;
    std::map<std::string, std::set<int>> sections; ///< of the class and its bases
};

struct Report
{
    std::string name;
    std::int64_t size = 0;
    HeaderPlace header;
    HeaderFields fields;
    bool hasObjects = false;                   ///< they were counted
    std::map<std::string, ClassCount> classes; ///< by their plain names
    std::int64_t objects = 0;
    std::int64_t objectBytes = 0;
    std::vector<std::string> faults;
};

/// Which sections a class and its bases have in an object.
void noteSections(ByteSource &source, Stretch const &object, ClassCount &count)
{
    RecordWalk walk(source, object.begin);
    std::vector<std::string> levels;
    bool isBase = true;
    while (walk.next())
    {
        RecordPlace const &record = walk.record();
        std::vector<RecordWalk::Level> const &open = walk.open();
        if (record.type == RecordType::FrameBegin)
        {
            bool const inSection = std::any_of(open.begin(), open.end(), [](RecordWalk::Level const &level) {
                return level.type == RecordType::SectionBegin;
            });
            isBase = !inSection;
            if (isBase)
                levels.emplace_back(source.look(record.payload, static_cast<std::size_t>(record.payloadSize)));
        }
        else if (record.type == RecordType::SectionBegin && open.size() == levels.size() + 1 && !levels.empty())
        {
            count.sections[levels.back()].insert(record.number);
        }
        else if (record.type == RecordType::FrameEnd && open.size() + 1 == levels.size())
        {
            levels.pop_back();
        }
    }
}

Report examine(std::string const &file, bool headerOnly)
{
    FileScan scan(file, terminalProgress());
    Report report;
    report.name = scan.name();
    report.size = scan.source().size();
    report.header = scan.header();
    if (report.header.isWhole)
        report.fields = readHeader(scan.source(), report.header);
    report.hasObjects = !headerOnly;
    if (headerOnly)
    {
        if (!report.header.isWhole)
            report.faults.push_back(Failure(report.name, byteAt(report.header.faultAt), report.header.fault).what());
        return report;
    }
    scan.run(
        [&](Stretch const &object) {
            ClassCount &count = report.classes[plainText(object.className())];
            ++count.objects;
            count.bytes += object.size();
            noteSections(scan.source(), object, count);
            ++report.objects;
            report.objectBytes += object.size();
        },
        [&](std::string const &fault) { report.faults.push_back(fault); });
    return report;
}

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
        if (plainText(CString(name.c_str())) == className)
            text = numbersText(numbers);
    return text;
}

std::string placeText(Role const &role, std::int64_t blockBegin)
{
    if (!role.hasPlace)
        return "";
    if (role.size < 0)
        return ", no place";
    return ", " + plural(role.size, "byte") + " from byte " + std::to_string(blockBegin + role.position);
}

std::string textOf(Report const &report)
{
    auto const line = [](std::string const &label, std::string const &text) { return "  " + padded(label, 16) + text + "\n"; };
    std::string text = printable(report.name) + ": " + plural(report.size, "byte") + "\n";
    HeaderFields const &fields = report.fields;
    if (report.header.isWhole)
    {
        std::set<int> const sections(fields.sections.begin(), fields.sections.end());
        text += line("Pool", fields.name + " " + fields.id);
        text += line("Header", plural(report.header.end - report.header.begin, "byte") + " from byte " +
                                   std::to_string(report.header.begin) + (sections.size() == 1 ? ", section " : ", sections ") +
                                   numbersText(sections));
        text += line("Metrics factor", fields.hasFactor ? number(fields.factor) : "none");
        for (Role const &role : fields.roles)
            text += line(role.name, role.id + placeText(role, report.header.end));
    }
    if (!report.hasObjects)
        return text;
    text += line("Objects", std::to_string(report.objects));
    text += "  " + padded("CLASS", 24) + padded("OBJECTS", 12) + padded("BYTES", 14) + "SECTIONS\n";
    for (auto const &[name, count] : report.classes)
        text += "  " + padded(printable(std::string_view(name)), 24) + padded(std::to_string(count.objects), 12) +
                padded(std::to_string(count.bytes), 14) + sectionsText(count.sections, name) + "\n";
    std::int64_t const header = report.header.isWhole ? report.header.end : 0;
    text += "  " + padded("(header)", 36) + std::to_string(header) + "\n";
    if (std::int64_t const rest = report.size - header - report.objectBytes; rest > 0)
        text += "  " + padded("(no whole object)", 36) + std::to_string(rest) + "\n";
    return text;
}

Json jsonOf(Report const &report)
{
    Json json;
    json["file"] = report.name;
    json["size"] = report.size;
    json["header"] = nullptr;
    HeaderFields const &fields = report.fields;
    if (report.header.isWhole)
    {
        Json header;
        header["offset"] = report.header.begin;
        header["size"] = report.header.end - report.header.begin;
        header["sections"] = fields.sections;
        header["id"] = fields.id;
        header["name"] = fields.plainName;
        header["metricsFactor"] = fields.hasFactor ? Json(fields.factor) : Json(nullptr);
        header["named"] = Json::array();
        for (Role const &role : fields.roles)
        {
            Json named;
            named["role"] = role.name;
            named["id"] = role.id;
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
                each["sections"][plainText(CString(level.c_str()))] = numbers;
            json["classes"].push_back(std::move(each));
        }
    }
    json["faults"] = report.faults;
    return json;
}

int info(Options const &options)
{
    checkReadOnce(options.files);
    bool ok = true;
    bool isFirst = true;
    for (std::string const &file : options.files)
    {
        try
        {
            Report const report = examine(file, options.headerOnly);
            print(options.asJson ? jsonOf(report).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n"
                                 : (isFirst ? "" : "\n") + textOf(report));
            for (std::string const &fault : report.faults)
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
    return ok ? kDone : kFailed;
}

} // namespace

void addInfo(CommandLine &line)
{
    CLI::App *const command = line.app.add_subcommand(
        "info", "Tells what is in pool files: the header, and how many objects of which classes and how large.\n"
                "  okt info templates/link-d12.okt");
    command->footer("0 done, 1 a file cannot be read or has a fault, 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command->add_option("FILE", options->files, "pool files; - for standard input")->required();
    command->add_flag("--header", options->headerOnly, "only the header: nothing behind it is read");
    command->add_flag("--json", options->asJson, "one JSON object a line, one for each file");
    command->callback([&line, options] { line.run = [options] { return info(*options); }; });
}

} // namespace okt
