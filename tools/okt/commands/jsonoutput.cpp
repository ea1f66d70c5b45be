// SPDX-License-Identifier: MIT
#include <tools/okt/commands/jsonoutput.h>

#include <tools/okt/files/templatefile.h>
#include <tools/okt/terminal/console.h>

#include <oktformat/failure.h>

namespace okt
{

bool printJson(std::string const &file, LengthUnit const &unit,
               PlainJson (*form)(StoredTemplate const &pool, LengthUnit const &unit))
{
    try
    {
        TemplateFile const read = readTemplateFile(file);
        PlainJson json = {{"file", read.name}};
        json.update(form(read.pool, unit));
        json["faults"] = read.faults();
        if (read.pool.header.isWhole || !read.pool.parameters.empty())
            print(lineOf(json));
        for (std::string const &fault : read.faults())
            printError(fault);
        return read.pool.faults.empty();
    }
    catch (Failure const &failure)
    {
        printError(failure.what());
        return false;
    }
}

} // namespace okt
