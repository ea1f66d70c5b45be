#include "commands.h"

#include "exportfiles.h"
#include "failure.h"
#include "reportcollector.h"

#include <okttext/okttextpool.h>

#include <optional>
#include <system_error>

namespace okt
{

namespace fs = std::filesystem;

void exportText(fs::path const &path, fs::path const &output, fs::path const &pictures, bool replaces)
{
    std::error_code ignored;
    if (fs::equivalent(path, output, ignored))
        throw Failure(pathName(output), "", "the file cannot be written: this is the pool file itself");
    CByteArray const image = readInput(path);
    if (image.IsEmpty())
        throw Failure(inputName(path), "", "the file is empty");
    std::optional<OutputFile> text;
    PictureFolder folder(pictures, replaces);
    OKTTextPutFile put;
    if (!pictures.empty())
        put = [&folder](std::string const &stem, CByteArray const &bytes) { return folder.put(stem, bytes); };
    auto const sink = [&](std::string_view piece) {
        if (!text)
            text.emplace(output, replaces);
        text->write(piece);
    };
    OKTTextFault fault;
    ReportCollector const collector; // an object that does not read leaves its members without names, no more
    if (!OktExportText(image, sink, fault, put))
        throw Failure(inputName(path), fault.place(), fault.reason);
    text->close();
    folder.commit();
    text->commit();
}

} // namespace okt
