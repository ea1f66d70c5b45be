// SPDX-License-Identifier: MIT
#include <oktrebar/templaterules.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktrebar/parametervalue.h>

namespace okt
{

namespace
{

std::string trimmed(std::string const &text)
{
    std::size_t const first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string cycleText(RuledTemplate const &task)
{
    std::string text;
    for (std::size_t const index : task.changes.cycle)
        text += excerpt(task.pool.parameters[index].name) + " -> ";
    return text + excerpt(task.pool.parameters[task.changes.cycle.front()].name);
}

ChangedValues givenValues(std::string const &file, RuledTemplate const &task, TemplateRules const &rules)
{
    ChangedValues given;
    for (TemplateAssignment const &assignment : rules.values)
    {
        std::vector<std::size_t> const found = assignment.name.in(task.pool);
        std::string const name = excerpt(assignment.name.text());
        if (found.empty())
            throw Failure(file, "", "there is no parameter " + name);
        if (found.size() > 1)
            throw Failure(file, "", sentence("{} stands there {} times; an id tells which one is meant", name, found.size()));
        try
        {
            StoredParameter const &parameter = task.pool.parameters[found.front()];
            if (!given.emplace(found.front(), parsedValue(parameter, assignment.value, rules.plain, *task.drawn)).second)
                throw ValueError("it is given twice");
        }
        catch (ValueError const &error)
        {
            throw Failure(file, "", sentence("{}: {}", name, error.what()));
        }
    }
    return given;
}

/// A file does not say its unit: the diameter and the expressions tell it, and have to tell the same one behind the change.
void checkUnit(std::string const &file, RuledTemplate const &task)
{
    ByteSource source{std::string_view(task.made->bytes)};
    StoredTemplate const after = readTemplate(source);
    LengthUnit const &read = TemplateExpressions(after).unit();
    if (&read != task.drawn)
        throw Failure(file, "",
                      sentence("with these values the template would be read as one in {}, and it is one in {}", read.name,
                               task.drawn->name));
}

} // namespace

TemplateAssignment TemplateAssignment::of(std::string const &text)
{
    std::size_t const equals = text.find('=');
    std::string const name = equals == std::string::npos ? "" : trimmed(text.substr(0, equals));
    if (name.empty())
        throw ValueError(excerpt(text) + " is no NAME=VALUE");
    return {ParameterSelector(name), trimmed(text.substr(equals + 1))};
}

std::optional<RuledTemplate> ruled(std::string const &file, std::string_view bytes, TemplateRules const &rules,
                                   EditOptions const &options)
{
    RuledTemplate task;
    ByteSource source{bytes};
    task.pool = readTemplate(source);
    if (!task.pool.faults.empty())
    {
        TemplateFault const &fault = task.pool.faults.front();
        throw Failure(file, bytes.empty() ? "" : byteAt(fault.offset), fault.reason);
    }
    TemplateExpressions const expressions(task.pool);
    task.drawn = &expressions.unit();
    if (rules.isMeant && !rules.isMeant(task.pool, *task.drawn))
        return std::nullopt;
    task.changes = recalculate(expressions, givenValues(file, task, rules));
    if (!task.changes.cycle.empty())
        throw Failure(file, "", "the expressions go round in a circle: " + cycleText(task));
    try
    {
        if (!task.changes.values.empty())
            task.made = edited(bytes, task.pool, *task.drawn, task.changes.values, options);
    }
    catch (EditRefused const &refused)
    {
        throw Failure(file, "", refused.what());
    }
    if (task.made)
        checkUnit(file, task);
    return task;
}

} // namespace okt
