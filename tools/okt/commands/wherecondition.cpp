// SPDX-License-Identifier: MIT
#include <tools/okt/commands/wherecondition.h>

#include <oktformat/failure.h>
#include <oktformat/sentence.h>

namespace okt
{

namespace
{

std::string columnAt(std::size_t position) { return sentence("column {}", position + 1); }

} // namespace

DeclaredOption addWhere(DeclaredCommand const &command, std::string &where)
{
    return command
        .option("--where", where,
                "only templates that fulfil this, such as: Diameter>=16 mm and (\"Shape code\"=51 or not Cover<30 mm)")
        .valueName("CONDITION")
        .checkedBy([](std::string const &text) {
            return text.find_first_not_of(' ') == std::string::npos ? "the condition is empty" : "";
        });
}

Condition whereCondition(std::string const &text, LengthUnit const &plain)
{
    try
    {
        return {text, plain};
    }
    catch (ConditionError const &error)
    {
        refuse("--where", sentence("{}: {}", columnAt(error.position()), error.what()));
    }
}

bool isFulfilled(Condition const &condition, StoredTemplate const &pool, LengthUnit const &drawn, std::string const &file)
{
    try
    {
        return condition.holds(pool, drawn);
    }
    catch (ConditionError const &error)
    {
        throw Failure(file, "", sentence("--where, {}: {}", columnAt(error.position()), error.what()));
    }
}

} // namespace okt
