#include "commands.h"

#include "console.h"
#include "failure.h"
#include "poolprinter.h"
#include "poolreader.h"

#include <optional>

namespace okt
{

namespace
{

std::optional<PoolFile> readOrTell(std::filesystem::path const &path, double metricsFactor)
{
    try
    {
        return readPool(path, metricsFactor);
    }
    catch (Failure const &failure)
    {
        printError(failure.what());
        return std::nullopt;
    }
}

} // namespace

bool show(std::vector<std::filesystem::path> const &files, std::string const &unit, bool withIds)
{
    DisplayUnit const *const shown = findUnit(unit);
    if (shown == nullptr)
        throw Failure("--unit", "", "there is no unit " + unit);
    bool ok = true;
    bool first = true;
    for (std::filesystem::path const &path : files)
    {
        std::optional<PoolFile> const file = readOrTell(path, shown->factor);
        if (file)
        {
            print((first ? "" : "\n") + describe(*file, *shown, withIds));
            first = false;
            if (!file->fault.empty())
                printError(file->fault);
        }
        ok = ok && file && file->fault.empty();
    }
    return ok;
}

} // namespace okt
