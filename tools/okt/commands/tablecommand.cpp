// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/commands/tableoperands.h>
#include <tools/okt/files/catalogfiles.h>
#include <tools/okt/files/templatefile.h>
#include <tools/okt/printing/tableforms.h>
#include <tools/okt/terminal/console.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/valuetext.h>
#include <oktreport/naturalorder.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>

namespace okt
{

namespace
{

struct Options
{
    std::vector<std::string> operands;
    std::vector<std::string> names;
    std::vector<std::string> certainFiles;
    FileOperands files;
    std::string unit = "mm";
    bool asCsv = false;
    bool asLocalCsv = false;
    bool asJson = false;
    bool asMarkdown = false;
    bool isQuiet = false;

    TableForm form() const
    {
        return asCsv        ? TableForm::Csv
               : asLocalCsv ? TableForm::CsvLocal
               : asJson     ? TableForm::Json
               : asMarkdown ? TableForm::Markdown
                            : TableForm::Columns;
    }
};

/// Tells names and files apart. Refuses where one of the two is missing.
void divide(Options &options)
{
    bool const areFiles = !options.names.empty();
    for (std::string const &operand : options.operands)
        (areFiles || isMeantAsFile(operand) ? options.files.files : options.names).push_back(operand);
    options.files.files.insert(options.files.files.end(), options.certainFiles.begin(), options.certainFiles.end());
    if (options.names.empty())
        refuseMissing("NAME");
    options.files.check();
    for (auto name = options.names.begin(); name != options.names.end(); ++name)
    {
        refuseTypeWithoutNumber(*name);
        if (std::any_of(options.names.begin(), name, [&](std::string const &other) { return isSameWord(other, *name); }))
            refuse("NAME", excerpt(*name) + " is asked for twice");
    }
}

/// "48 templates, 2 empty fields".
std::string totalOf(std::vector<TableRow> const &rows)
{
    std::int64_t empty = 0;
    for (TableRow const &row : rows)
        empty += std::count_if(row.fields.begin(), row.fields.end(), [](auto const &field) { return !field; });
    return sentence("{}, {}\n", plural(static_cast<std::int64_t>(rows.size()), "template"), plural(empty, "empty field"));
}

int table(Options const &options)
{
    bool ok = true;
    auto const told = [&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    };
    LengthUnit const &unit = *findLengthUnit(options.unit);
    std::vector<ParameterSelector> const columns(options.names.begin(), options.names.end());
    std::vector<TableRow> rows;
    std::vector<std::string> files = options.files.expanded(told);
    std::stable_sort(files.begin(), files.end(), naturalPathLess); // however a shell has sorted them
    std::optional<CatalogIndex> index;
    if (!options.files.index.empty())
        index.emplace(options.files.index);
    for (std::string const &file : files)
    {
        try
        {
            if (auto const known = index ? index->templateOf(file) : std::nullopt)
            {
                rows.push_back(rowOf(known->pool, inputName(utf8Path(file)), columns, unit, *known->drawn));
                continue;
            }
            TemplateFile const read = readTemplateFile(file);
            for (std::string const &fault : read.faults())
                told(fault);
            if (read.pool.header.isWhole || !read.pool.parameters.empty())
                rows.push_back(rowOf(read.pool, read.name, columns, unit));
        }
        catch (Failure const &failure)
        {
            told(failure.what());
        }
    }
    if (options.isQuiet)
        print(totalOf(rows));
    else
        print(tableText(rows, options.names, options.form(), options.unit));
    for (TableRow const &row : rows)
        for (std::size_t const column : row.several)
            printError(
                Failure(row.file, "", excerpt(options.names[column]) + " stands there more than once; the first is shown")
                    .what());
    return ok ? kDone : kFailed;
}

} // namespace

void addTable(CommandLine &line)
{
    DeclaredCommand const command(
        line, "table", "Prints parameters of many templates as a table: one row a template, one column a parameter.");
    auto const options = std::make_shared<Options>();
    command.option("NAME|FILE", options->operands,
                   "names of parameters, or type:N; pool files and folders: what is there, has a / in it or ends in .okt");
    command.option("-n,--name", options->names, "a name, whatever files there are; once for each; operands are files then")
        .valueName("NAME")
        .oneValueEach();
    command.option("-f,--file", options->certainFiles, "a file, whatever its name; once for each; so is what stands behind --")
        .valueName("FILE")
        .oneValueEach();
    addFilesFrom(command, options->files);
    addIndex(command, options->files);
    command.option("-u,--unit", options->unit, "the unit that lengths are shown in: mm (default), cm, m, in, ft")
        .oneOf(unitNames());
    DeclaredOption const csv = command.flag(
        "--csv", options->asCsv, "separated by commas, by RFC 4180; --csv=local: by semicolons, with decimal commas");
    DeclaredOption const local =
        command.flag("--csv-local", options->asLocalCsv, "the same as --csv=local: as spreadsheets of many countries read it");
    DeclaredOption const json = command.flag("--json", options->asJson, "one JSON object a line, one for each template");
    DeclaredOption const markdown = command.flag("--markdown", options->asMarkdown, "a table for a text in Markdown");
    command.flag("-q,--quiet", options->isQuiet, "only how many templates there are and how many fields are empty");
    local.excludes(csv);
    json.excludes(csv).excludes(local);
    markdown.excludes(csv).excludes(local).excludes(json);
    command.onParsed([&line, options] {
        divide(*options);
        line.run = [options] { return table(*options); };
    });
}

} // namespace okt
