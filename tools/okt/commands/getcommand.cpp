// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/commands/tableoperands.h>
#include <tools/okt/files/templatefile.h>
#include <tools/okt/printing/parameterjson.h>
#include <tools/okt/terminal/console.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/valuetext.h>
#include <oktrebar/expressions.h>

#include <memory>

namespace okt
{

namespace
{

struct Options
{
    std::string file;
    std::string name;
    std::string unit = "mm";
    bool asJson = false;
};

int get(Options const &options)
{
    TemplateFile const read = readTemplateFile(options.file);
    bool const isWhole = read.pool.faults.empty();
    for (std::string const &fault : read.faults())
        printError(fault);
    std::vector<std::size_t> const found = ParameterSelector(options.name).in(read.pool);
    if (found.empty())
    {
        if (isWhole)
            throw Failure(read.name, "", "there is no parameter " + excerpt(options.name));
        return kFailed;
    }
    if (found.size() > 1)
        throw Failure(
            read.name, "",
            sentence("{} stands there {} times; an id tells which one is meant", excerpt(options.name), found.size()));
    StoredParameter const &parameter = read.pool.parameters[found.front()];
    LengthUnit const &shown = *findLengthUnit(options.unit);
    LengthUnit const &drawn = TemplateExpressions(read.pool).unit();
    if (options.asJson)
    {
        PlainJson json;
        json["file"] = read.name;
        json.update(parameterJson(parameter, shown, drawn));
        print(lineOf(json));
    }
    else
        print(printable(std::string_view(shownText(shownValue(parameter, shown, drawn)))) + "\n");
    return isWhole ? kDone : kFailed;
}

} // namespace

void addGet(CommandLine &line)
{
    DeclaredCommand const command(line, "get", "Prints the value of one parameter of a template, with its unit.");
    command.footer(
        "0 done, 1 there is no such parameter or several, or the file cannot be read or has a fault, 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command.option("FILE", options->file, "a pool file; - for standard input").required();
    command.option("NAME", options->name, "the name of a parameter, its id, or type:N").required();
    command.option("-u,--unit", options->unit, "the unit that lengths are shown in: mm (default), cm, m, in, ft")
        .oneOf(unitNames());
    command.flag("--json", options->asJson, "one JSON object: name, id, type, value, unit");
    command.onParsed([&line, options] {
        refuseTypeWithoutNumber(options->name);
        line.run = [options] { return get(*options); };
    });
}

} // namespace okt
