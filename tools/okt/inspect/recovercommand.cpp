#include "../commands.h"

#include "recovery.h"

#include "../console.h"
#include "../exportfiles.h"
#include "../failure.h"
#include "../text.h"

#include <memory>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

struct Options
{
    std::string file;
    std::string output;
    bool replaces = false;
};

std::string lossLine(std::string const &name, Recovery::Loss const &loss, bool isHeader)
{
    std::string const place = byteAt(loss.faultAt);
    if (isHeader)
        return Failure(name, place, loss.what).what();
    std::string const bytes = plural(loss.end - loss.begin, "byte") + " from byte " + std::to_string(loss.begin);
    if (!loss.isObject)
        return Failure(name, place, "left out: " + bytes + " that belong to no whole object").what();
    return Failure(name, place, "lost" + (loss.object.empty() ? "" : " " + loss.object) + ": " + loss.what + "; " + bytes)
        .what();
}

/// One line for each loss, then the sum.
std::string report(std::string const &name, std::string const &output, Recovery const &recovery)
{
    std::string text;
    bool isHeader = !recovery.isHeaderKept();
    std::int64_t lost = 0;
    std::int64_t bytes = 0;
    for (Recovery::Loss const &loss : recovery.losses())
    {
        text += lossLine(name, loss, isHeader) + "\n";
        isHeader = false;
        lost += loss.isObject ? 1 : 0;
    }
    for (Recovery::Object const &object : recovery.objects())
        bytes += object.size;
    for (std::string const &note : recovery.headerNotes())
        text += Failure(name, "", "new header: " + note).what() + std::string("\n");
    text += printable(output) + ": " + plural(static_cast<std::int64_t>(recovery.objects().size()), "object") + " with " +
            plural(bytes, "byte") + " rescued, " + std::to_string(lost) + " lost, the header " +
            (recovery.isHeaderKept() ? "kept" : "made anew") + "\n";
    if (int const unknown = recovery.unknownObjects(); unknown > 0)
        text +=
            printable(output) + ": " + plural(unknown, "object") +
            " of classes that are not known here, behind the others; a load stops there unless a module brings the classes\n";
    return text;
}

void recover(fs::path const &path, fs::path const &output, bool replaces)
{
    refuseSameFile(path, output, "the damaged file itself");
    std::unique_ptr<ByteSource> const source = openSource(path);
    if (source->size() == 0)
        throw Failure(inputName(path), "", "the file is empty");
    Recovery recovery(*source);
    if (recovery.isNothing())
        throw Failure(inputName(path), byteAt(recovery.headerPlace().faultAt),
                      "nothing can be rescued: there is neither a header nor a whole object; " + recovery.headerPlace().fault);
    OutputFile file(output, replaces);
    recovery.write([&file](std::string_view piece) { file.write(piece); });
    file.close();
    file.commit();
    bool const isPiped = output == kStandardStream;
    std::string text = report(inputName(path), isPiped ? "standard output" : pathName(output), recovery);
    if (!isPiped)
        return print(text);
    for (std::size_t end = 0; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1))
        printError(text.substr(0, end));
}

} // namespace

void addRecover(CommandLine &line)
{
    CLI::App *const command = line.app.add_subcommand(
        "recover", "Makes a pool file of all objects of a damaged one that are still whole, and tells what was lost.\n"
                   "  okt recover damaged.okt -o good.okt");
    command->footer("0 a file was written, whatever was lost; 1 nothing could be rescued or written; 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command->add_option("DAMAGED", options->file, "a pool file; - for standard input")->required();
    command->add_option("-o,--output", options->output, "the new pool file; - for standard output")->required();
    command->add_flag("--force", options->replaces, "replace a file that exists");
    command->callback([&line, options] {
        line.run = [options] {
            recover(utf8Path(options->file), utf8Path(options->output), options->replaces);
            return kDone;
        };
    });
}

} // namespace okt
