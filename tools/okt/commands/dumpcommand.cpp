// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/dump.h>
#include <tools/okt/printing/dumplines.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <tools/okt/commands/help.h>
#include <tools/okt/terminal/console.h>

#include <oktdatabase/okttools.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <string>
#include <string_view>

namespace okt
{

namespace
{

struct Options
{
    std::string file;
    std::int64_t offset = -1;
    std::string id;
};

_GUID idOf(std::string const &text)
{
    return OKTTools::getGUIDFromString(CString::FromUtf8(text.starts_with('{') ? text : sentence("{{{}}}", text)));
}

/// For the parser: why a text is not an id; empty: it is one. Only the form is checked, since not every system gives the null id for a
/// wrong text.
std::string idFault(std::string const &text)
{
    static constexpr std::string_view kForm = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    std::string_view digits = text;
    if (digits.starts_with('{') && digits.ends_with('}'))
        digits = digits.substr(1, digits.size() - 2);
    bool const isId = std::equal(digits.begin(), digits.end(), kForm.begin(), kForm.end(), [](char digit, char form) {
        return form == '-' ? digit == '-' : std::isxdigit(static_cast<unsigned char>(digit)) != 0;
    });
    return isId ? "" : text + " is no id";
}

// Bytes that are printed at once.
constexpr std::size_t kPiece = 1 << 16;

int dumpFile(Options const &options)
{
    DumpRange range;
    if (options.offset >= 0)
        range.offset = options.offset;
    if (!options.id.empty())
        range.id = idOf(options.id);
    DumpOptions how;
    how.name = inputName(utf8Path(options.file));
    how.onProgress = terminalProgress();
    std::unique_ptr<ByteSource> const source = openSource(utf8Path(options.file), how.onProgress);
    if (source->size() == 0)
        throw Failure(how.name, "", "the file is empty");
    std::string text;
    auto const flush = [&text] {
        if (!text.empty())
            print(text);
        text.clear();
    };
    auto const show = [&](DumpEntry const &entry) {
        text += dumpLine(entry, how) + "\n";
        bool const isFault = entry.kind == DumpEntry::Kind::Fault;
        if (isFault || text.size() > kPiece)
            flush();
        if (isFault)
            printError(Failure(how.name, byteAt(entry.offset), entry.reason).what());
    };
    DumpResult const result = dump(*source, range, show, how);
    flush();
    if (result == DumpResult::NoSuchId)
        printError(Failure(how.name, "", "there is no object " + idText(*range.id)).what());
    if (result == DumpResult::BehindTheEnd)
        printError(Failure(how.name, byteAt(*range.offset), sentence("the file ends at byte {}", source->size())).what());
    return result == DumpResult::Whole ? kDone : kFailed;
}

} // namespace

void addDump(CommandLine &line)
{
    DeclaredCommand const command(
        line, "dump", "Prints the records of a pool file with their offsets and bytes, also those of a damaged one.");
    command.footer("0 done, 1 the file cannot be read or has a fault, or there is no such object, 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command.option("FILE", options->file, "a pool file; - for standard input").required();
    DeclaredOption const at =
        command
            .option("--at", options->offset,
                    "only the record at this byte: a frame, or what stands from there to the end of its section")
            .valueName("OFFSET")
            .checkedBy(wholeNumberFault);
    command.option("--object", options->id, "only the object of this id").valueName("ID").checkedBy(idFault).excludes(at);
    command.onParsed([&line, options] { line.run = [options] { return dumpFile(*options); }; });
}

} // namespace okt
