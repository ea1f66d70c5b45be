// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/files/templatefile.h>
#include <tools/okt/printing/parameterjson.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/reportcollector.h>
#include <oktrebar/templatelint.h>

#include <memory>

namespace okt
{

namespace
{

struct Options
{
    FileOperands files;
    bool drawsPictures = false;
    bool asJson = false;
    bool isQuiet = false;
};

class TemplateLinter
{
public:
    explicit TemplateLinter(Options const &options) : m_options(options) {}

    int run()
    {
        ReportCollector const collector; // a picture that does not read is none that could be compared
        for (std::string const &file : m_options.files.expanded([this](std::string const &fault) { told(fault); }))
            look(file);
        if (m_options.isQuiet || (!m_options.asJson && m_files > 1))
            print(sentence("{}, {}, {}, {}\n", plural(m_files, "file"), plural(m_counts[2], "error"),
                           plural(m_counts[1], "warning"), plural(m_counts[0], "info")));
        return m_faults + m_counts[0] + m_counts[1] + m_counts[2] == 0 ? kDone : kFailed;
    }

private:
    void told(std::string const &fault)
    {
        ++m_faults;
        printError(fault);
    }

    void look(std::string const &file)
    {
        ++m_files;
        try
        {
            std::filesystem::path const path = utf8Path(file);
            std::string const name = inputName(path);
            OnProgress const onProgress = terminalProgress();
            std::unique_ptr<ByteSource> const source = openSource(path, onProgress);
            TemplateFile const read{name, readTemplate(*source, name, onProgress)};
            for (std::string const &fault : read.faults())
                told(fault);
            if (read.pool.isPart)
                printError(
                    Failure(name, "", "the file is not whole: what seems to be missing in the template is not judged").what());
            LintOptions options;
            options.pictures = m_options.drawsPictures ? PictureCheck::Drawing : PictureCheck::Shape;
            auto const frameOf = [&source](std::int64_t begin, std::int64_t end) { return source->copy(begin, end - begin); };
            for (LintFinding const &finding : lint(read.pool, frameOf, options))
                tell(name, finding);
        }
        catch (Failure const &failure)
        {
            told(failure.what());
        }
    }

    void tell(std::string const &file, LintFinding const &finding)
    {
        ++m_counts[static_cast<std::size_t>(finding.severity())];
        if (m_options.isQuiet)
            return;
        if (m_options.asJson)
            return print(jsonLine(file, finding));
        std::string text = std::string(severityName(finding.severity())) + ": ";
        if (!finding.name.empty())
            text += quoted(CString::FromUtf8(finding.name)) + ": ";
        text += sentence("{}; {} [{}]", printable(std::string_view(explanation(finding))),
                         printable(std::string_view(mend(finding))), codeName(finding.code));
        print(Failure(file, byteAt(finding.offset), text).what() + std::string("\n"));
    }

    static std::string jsonLine(std::string const &file, LintFinding const &finding)
    {
        PlainJson json;
        json["file"] = file;
        json["offset"] = finding.offset;
        json["severity"] = severityName(finding.severity());
        json["code"] = codeName(finding.code);
        json["id"] = idText(finding.id);
        if (!finding.name.empty())
            json["name"] = finding.name;
        json["finding"] = explanation(finding);
        json["mend"] = mend(finding);
        return lineOf(json);
    }

    Options const &m_options;
    std::int64_t m_files = 0;
    std::int64_t m_faults = 0;
    std::int64_t m_counts[3] = {}; ///< infos, warnings, errors
};

} // namespace

void addLint(CommandLine &line)
{
    DeclaredCommand const command(
        line, "lint", "Looks for what cannot be meant in templates: expressions, names, values, covers, hooks, pictures.");
    command.footer("0 nothing found; 1 a finding, or a file that cannot be read or has a fault; 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    addFiles(command, options->files);
    command.flag("--pictures", options->drawsPictures,
                 "draw each picture once more and compare it, which takes longer than all else; without it only the shape "
                 "that it shows is held against the values");
    command.flag("--json", options->asJson, "one JSON object a line, one for each finding");
    command.flag("-q,--quiet", options->isQuiet, "only the total");
    command.onParsed([&line, options] {
        options->files.check();
        line.run = [options] { return TemplateLinter(*options).run(); };
    });
}

} // namespace okt
