// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/files/editlock.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/files/textplaces.h>
#include <tools/okt/files/textsession.h>
#include <tools/okt/terminal/console.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/findingtext.h>
#include <oktinspect/reportcollector.h>
#include <oktinspect/verifier.h>
#include <okttext/okttextpool.h>

#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace okt
{

namespace
{

std::string_view view(CByteArray const &bytes)
{
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

std::vector<Finding> errorsIn(CByteArray const &image)
{
    ByteSource source(image);
    VerifyOptions options;
    std::vector<Finding> errors;
    options.onFinding = [&errors](Finding const &finding) {
        if (finding.severity == Finding::Severity::Error)
            errors.push_back(finding);
    };
    verify(source, options);
    return errors;
}

/// What makes two errors of an image and of one that came from it the same, wherever they stand.
using ErrorKey = std::tuple<Finding::Code, Finding::What, std::string, std::string>;

ErrorKey keyOf(Finding const &error)
{
    return {error.code, error.what, error.id ? idText(*error.id) : "", error.named ? idText(*error.named) : ""};
}

/// The first error of the new image that the old one does not have. Nothing: there is none.
std::optional<Finding> newErrorIn(CByteArray const &image, CByteArray const &before)
{
    std::vector<Finding> const errors = errorsIn(image);
    if (errors.empty())
        return std::nullopt;
    std::multiset<ErrorKey> known;
    for (Finding const &error : errorsIn(before))
        known.insert(keyOf(error));
    for (Finding const &error : errors)
    {
        auto const found = known.find(keyOf(error));
        if (found == known.end())
            return error;
        known.erase(found);
    }
    return std::nullopt;
}

class Editing
{
public:
    explicit Editing(std::string const &file)
        : m_file(file), m_path(utf8Path(file)), m_lock(m_path), m_before(readBytes(m_path))
    {
    }

    int run()
    {
        TextSession session(m_path.stem());
        std::string const text = textOf(session);
        session.write(text);
        std::string last = text;
        long line = 0;
        for (;;)
        {
            session.open(line);
            std::string const now = session.read();
            if (now == text)
                return told("nothing is changed");
            OKTTextFault fault;
            CByteArray const after = imageOf(session, now, fault);
            if (fault.reason.empty())
            {
                if (view(after) == view(m_before))
                    return told("nothing is changed");
                save(session, after);
                return told("saved");
            }
            printError(Failure(m_file, fault.place(), fault.reason).what());
            if (now == last || !isToGoOn())
                throw Failure(m_file, "", "nothing is saved; the text is kept in " + session.keep());
            last = now;
            line = fault.line;
        }
    }

private:
    std::string textOf(TextSession &session) const
    {
        std::string text;
        OKTTextFault fault;
        auto const sink = [&text](std::string_view piece) { text += piece; };
        auto const put = [&session](std::string const &stem, CByteArray const &bytes) {
            return session.put(stem, view(bytes));
        };
        if (!OktExportText(m_before, sink, fault, put))
            throw Failure(m_file, fault.place(), fault.reason);
        return text;
    }

    /// An image that would have an error which the file does not have is refused as a wrong text is.
    CByteArray imageOf(TextSession const &session, std::string const &text, OKTTextFault &fault) const
    {
        std::istringstream stream(text);
        CByteArray image;
        auto const get = [&session](std::string const &name) { return session.get(name); };
        if (!OktImportText(stream, image, fault, get))
        {
            if (fault.reason.empty())
                fault.reason = "the text gives no pool file";
            return {};
        }
        ReportCollector const collector;
        if (std::optional<Finding> const error = newErrorIn(image, m_before))
        {
            ByteSource source(image);
            fault.reason = "the text would give a file with an error: " + sentenceOf(*error);
            TextPlace const place = placeInText(text, source, *error);
            fault.line = place.line;
            fault.column = place.column;
        }
        return image;
    }

    void save(TextSession &session, CByteArray const &image) const
    {
        try
        {
            if (view(readBytes(m_path)) != view(m_before))
                throw Failure(m_file, "", "the file has changed since it was read");
            OutputFile file(m_path, true);
            file.write(view(image));
            file.close();
            file.commit();
        }
        catch (Failure const &failure)
        {
            throw Failure(m_file, "",
                          sentence("{}; nothing is saved, the text is kept in {}", failure.withoutFile(), session.keep()));
        }
    }

    /// Whoever sits at a terminal reads first what is wrong.
    bool isToGoOn()
    {
        constexpr int kMostTries = 10; // a script that never gets it right must not go on for ever
        if (!isTerminal(Stream::Error))
            return ++m_tries < kMostTries;
        printError("Enter opens the text again, Ctrl-D leaves the file as it is");
        std::string answer;
        return static_cast<bool>(std::getline(std::cin, answer));
    }

    int told(char const *what) const
    {
        print(sentence("{}: {}\n", printable(std::string_view(m_file)), what));
        return kDone;
    }

    std::string m_file;
    std::filesystem::path m_path;
    EditLock m_lock;
    CByteArray m_before;
    int m_tries = 0;
};

} // namespace

void addEdit(CommandLine &line)
{
    DeclaredCommand const command(
        line, "edit", "Opens the text of a pool file in an editor, and saves the file when the text is left in order.");
    command.footer("0 saved, or nothing was changed; 1 not saved (the text is kept, and told where); 2 wrong usage.");
    auto const file = std::make_shared<std::string>();
    command.option("FILE", *file, "a pool file").required();
    command.onParsed([&line, file] {
        if (*file == kStandardStream)
            refuse("FILE", "only a file can be edited");
        line.run = [file] { return Editing(*file).run(); };
    });
}

} // namespace okt
