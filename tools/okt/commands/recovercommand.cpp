// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktinspect/findingtext.h>
#include <oktinspect/recover.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/moduletext.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/terminal/console.h>

#include <memory>
#include <optional>
#include <string_view>
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

/// The lines for the user: one for each finding, then the sums.
class Report
{
public:
    Report(std::string damaged, std::string made, Recovered const &recovered)
        : m_damaged(std::move(damaged)), m_made(std::move(made)), m_recovered(recovered), m_check(recovered.check)
    {
    }

    std::string text()
    {
        losses();
        mends();
        for (Finding const &note : m_recovered.headerNotes)
            line(m_damaged, "", "new header: " + sentenceOf(note));
        for (RecoveryCheck::MissingId const &missing : m_check.missing)
            line(m_made, byteAt(missing.first.offset),
                 sentence("missing {}: {}{}", idText(missing.id), said(missing.first), further(missing)));
        for (RecoveryCheck::Remark const &doubt : m_check.doubts)
            line(m_made, byteAt(doubt.finding.offset),
                 sentence("doubtful {}: {}{}", subject(doubt), said(doubt.finding), origin(doubt)));
        for (RecoveryCheck::Remark const &info : m_check.infos)
            line(m_made, byteAt(info.finding.offset), said(info.finding));
        line(m_made, "", sum());
        if (int const unknown = m_recovered.unknownObjects; unknown > 0)
            line(m_made, "",
                 sentence("{}{} not known here, behind the others", plural(unknown, "object"),
                          unknown == 1 ? " of a class that is" : " of classes that are"));
        line(m_made, "", "okt verify finds " + findingsText(m_check.verdict));
        return std::move(m_text);
    }

private:
    void line(std::string const &file, std::string const &place, std::string const &what)
    {
        m_text += Failure(file, place, what).what() + std::string("\n");
    }

    void losses()
    {
        for (std::size_t i = 0; i < m_recovered.losses.size(); ++i)
        {
            RecoveryLoss const &loss = m_recovered.losses[i];
            std::string const place = byteAt(loss.why.offset);
            std::int64_t const size = loss.end - loss.begin;
            std::string const bytes = sentence("{} from byte {}", plural(size, "byte"), loss.begin);
            if (i == 0 && !m_recovered.header.isWhole)
                line(m_damaged, place, sentenceOf(loss.why));
            else if (!loss.isObject)
                line(m_damaged, place, sentence("left out: {} that {} to no whole object", bytes, belong(size)));
            else
                line(m_damaged, place,
                     sentence("lost{}: {}; {}{}", loss.object.isEmpty() ? "" : " " + labelText(loss.object),
                              sentenceOf(loss.why), bytes, named(m_check.lossesNamed[i], "; it is named in ", "place")));
        }
    }

    static std::string named(std::int64_t times, std::string const &words, char const *noun)
    {
        return times == 0 ? "" : words + plural(times, noun);
    }

    static std::string further(RecoveryCheck::MissingId const &missing)
    {
        return (missing.namer.isEmpty() ? "" : "; named by " + labelText(missing.namer)) +
               named(missing.times - 1, missing.namer.isEmpty() ? "; named in " : " and in ", "further place");
    }

    void mends()
    {
        std::vector<Finding> const &mends = m_recovered.mends;
        if (!mends.empty())
            line(m_damaged, byteAt(mends.front().offset),
                 sentence("mended: {}{}", sentenceOf(mends.front()),
                          named(static_cast<std::int64_t>(mends.size()) - 1, "; likewise in ", "further place")));
    }

    /// A finding that only a recovery has.
    static bool isOfRecovery(Finding const &finding) { return finding.code == Finding::Code::Remnant; }

    /// In the words of okt verify, if it is a finding of that.
    static std::string said(Finding const &finding)
    {
        return (isOfRecovery(finding) ? "" : std::string(severityName(finding.severity)) + ": ") + sentenceOf(finding);
    }

    static std::string subject(RecoveryCheck::Remark const &remark)
    {
        if (remark.finding.object < 0)
            return remark.finding.code == Finding::Code::Order ? "order" : "header";
        return remark.object.isEmpty() ? "object" : labelText(remark.object);
    }

    static std::string origin(RecoveryCheck::Remark const &remark)
    {
        if (remark.begin < 0)
            return {};
        return sentence("; {} from byte {} of the damaged file", plural(remark.size, "byte"), remark.begin);
    }

    std::string sum() const
    {
        std::int64_t bytes = -m_check.doubtfulBytes;
        for (RecoveredObject const &object : m_recovered.objects)
            bytes += object.size;
        auto const rescued = static_cast<std::int64_t>(m_recovered.objects.size()) - m_check.doubtfulObjects;
        std::string text =
            sentence("{} with {} rescued as far as can be checked, ", plural(rescued, "object"), plural(bytes, "byte"));
        if (m_check.doubtfulObjects > 0)
            text += sentence("{} with {} doubtful, ", plural(m_check.doubtfulObjects, "object"),
                             plural(m_check.doubtfulBytes, "byte"));
        // "0 lost" is claimed only if nothing else is doubtful.
        if (m_check.lost > 0 || m_check.isClean)
            text += sentence("{} lost, ", m_check.lost);
        if (!m_check.missing.empty())
            text += plural(static_cast<std::int64_t>(m_check.missing.size()), "id") + " missing, ";
        if (m_check.leftOut > 0)
            text += plural(m_check.leftOut, "byte") + " left out, ";
        return sentence("{}the header {}", text,
                        !m_recovered.header.isWhole  ? "made anew"
                        : m_check.isHeaderDoubtful   ? "doubtful"
                        : !m_recovered.mends.empty() ? "mended"
                                                     : "kept");
    }

    std::string m_damaged;
    std::string m_made;
    Recovered const &m_recovered;
    RecoveryCheck const &m_check;
    std::string m_text;
};

int recoverFile(fs::path const &path, fs::path const &output, bool replaces)
{
    refuseSameFile(path, output, "the damaged file itself");
    std::unique_ptr<ByteSource> const source = openSource(path, terminalProgress());
    if (source->size() == 0)
        throw Failure(inputName(path), "", "the file is empty");
    bool const isPiped = output == kStandardStream;
    std::string const made = isPiped ? "standard output" : pathName(output);
    RecoverOptions options;
    options.onProgress = terminalProgress();
    options.moduleOf = moduleNaming;
    options.name = made;
    std::optional<OutputFile> file;
    auto const sink = [&](std::string_view piece) {
        if (!file)
            file.emplace(output, replaces);
        file->write(piece);
    };
    Recovered const recovered = recover(*source, sink, options);
    if (recovered.isNothing())
        throw Failure(inputName(path), byteAt(recovered.header.faultAt),
                      "nothing can be rescued: there is neither a header nor a whole object; " + recovered.header.fault);
    // Only now the file gets its name: an aborted recovery leaves no file.
    file->close();
    file->commit();
    std::string text = Report(inputName(path), made, recovered).text();
    int const exitCode = recovered.check.isClean ? kDone : kFailed;
    if (!isPiped)
    {
        print(text);
        return exitCode;
    }
    for (std::size_t end = 0; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1))
        printError(text.substr(0, end));
    return exitCode;
}

} // namespace

void addRecover(CommandLine &line)
{
    DeclaredCommand const command(line, "recover",
                                  "Makes a pool file of all objects of a damaged one that are "
                                  "still whole, and tells what is lost, missing and doubtful.");
    command.footer(
        "0 a file was written, and nothing is known to be lost, missing or doubtful; 1 a file was written, and something "
        "is, or nothing could be rescued or written; 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command.option("DAMAGED", options->file, "a pool file; - for standard input").required();
    command.option("-o,--output", options->output, "the new pool file; - for standard output").required();
    command.flag("--force", options->replaces, "replace a file that exists");
    command.onParsed([&line, options] {
        line.run = [options] { return recoverFile(utf8Path(options->file), utf8Path(options->output), options->replaces); };
    });
}

} // namespace okt
