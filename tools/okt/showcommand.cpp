#include "commands.h"

#include "console.h"
#include "failure.h"
#include "partialprinter.h"
#include "poolprinter.h"
#include "poolreader.h"

#include <optional>

namespace okt
{

namespace
{

struct Shown
{
    std::string text;
    std::string fault; ///< empty when all is well
};

Shown whole(std::filesystem::path const &path, DisplayUnit const &unit, bool withIds)
{
    PoolFile const file = readPool(path, unit.factor);
    return {describe(file, unit, withIds), file.fault};
}

Shown part(std::filesystem::path const &path, ShowWhat what)
{
    PartialFile file(path);
    PartialText text = what == ShowWhat::Index ? describeIndex(file) : describePictures(file);
    return {std::move(text.text), std::move(text.fault)};
}

/// Nothing where the file cannot be shown at all; that was told.
std::optional<Shown> shownOrTold(std::filesystem::path const &path, DisplayUnit const &unit, bool withIds, ShowWhat what)
{
    try
    {
        return what == ShowWhat::All ? whole(path, unit, withIds) : part(path, what);
    }
    catch (Failure const &failure)
    {
        printError(failure.what());
        return std::nullopt;
    }
}

} // namespace

bool show(std::vector<std::filesystem::path> const &files, std::string const &unit, bool withIds, ShowWhat what)
{
    DisplayUnit const *const displayed = findUnit(unit);
    if (displayed == nullptr)
        throw Failure("--unit", "", "there is no unit " + unit);
    bool ok = true;
    bool first = true;
    for (std::filesystem::path const &path : files)
    {
        std::optional<Shown> const shown = shownOrTold(path, *displayed, withIds, what);
        if (shown)
        {
            print((first ? "" : "\n") + shown->text);
            first = false;
            if (!shown->fault.empty())
                printError(shown->fault);
        }
        ok = ok && shown && shown->fault.empty();
    }
    return ok;
}

} // namespace okt
