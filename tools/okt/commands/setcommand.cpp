// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/commands/tableoperands.h>
#include <tools/okt/commands/wherecondition.h>
#include <tools/okt/files/digests.h>
#include <tools/okt/files/editlock.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/printing/difftext.h>
#include <tools/okt/printing/settext.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/pooldiff.h>
#include <oktinspect/reportcollector.h>
#include <oktrebar/condition.h>
#include <oktrebar/parametervalue.h>
#include <oktrebar/templaterules.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <set>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

struct Options
{
    std::vector<std::string> operands;
    std::vector<std::string> assignments;
    FileOperands files;
    std::string where;
    std::string unit;
    bool isTrial = false;
    bool keepsBackup = false;
    bool asJson = false;
    bool isQuiet = false;
};

TemplateAssignment assignmentOf(std::string const &text)
{
    try
    {
        return TemplateAssignment::of(text);
    }
    catch (ValueError const &error)
    {
        refuse("--value", error.what());
    }
}

/// One file that is meant, as it was checked. Nothing of what it holds is kept, so that there may be any number of them.
struct Plan
{
    std::string file;
    std::string digest; ///< of its bytes
    bool isChange = false;
};

/// The same while it is at work.
struct Task : RuledTemplate
{
    std::string file;
    std::string bytes; ///< as they were read
};

std::string digestOf(std::string const &bytes)
{
    ByteSource source{std::string_view(bytes)};
    return byteDigestOf(source);
}

std::string bytesOf(fs::path const &path)
{
    CByteArray const bytes = readBytes(path);
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

class Setter
{
public:
    explicit Setter(Options const &options)
        : m_options(options), m_shown(findLengthUnit(options.unit.empty() ? "mm" : options.unit))
    {
        m_rules.plain = options.unit.empty() ? nullptr : m_shown;
        for (std::string const &text : options.assignments)
            m_rules.values.push_back(assignmentOf(text));
        if (!options.where.empty())
            m_where.emplace(whereCondition(options.where, *m_shown));
    }

    int run()
    {
        ReportCollector const collector; // a picture that does not read is kept, no more
        std::vector<std::string> const files = m_options.files.expanded([this](std::string const &fault) { told(fault); });
        std::set<std::string> met;
        ProgressLine progress("set", files.size(), "file", 2);
        std::size_t done = 0;
        for (std::string const &file : files)
        {
            progress.at(done++);
            std::error_code error;
            fs::path const place = fs::canonical(utf8Path(file), error);
            if (error || met.insert(pathName(place)).second) // one that is named twice is changed once
                check(file);
        }
        if (m_faults > 0)
        {
            printError("nothing is changed");
            return kFailed;
        }
        if (m_plans.empty())
        {
            printError(m_where ? sentence("no template fulfils {}: nothing is changed", excerpt(m_options.where))
                               : "there is no template: nothing is changed");
            return kFailed;
        }
        progress.nextPass();
        return writeAll(progress, files.size());
    }

private:
    void told(std::string const &fault)
    {
        ++m_faults;
        printError(fault);
    }

    /// Everything that can be wrong with a file shows here, before any is written. Pictures, which take the most time, are not drawn.
    void check(std::string const &file)
    {
        try
        {
            if (file == kStandardStream)
                throw Failure(inputName(file), "", "only a file can be changed");
            if (std::optional<Task> const task = taskOf(file, bytesOf(utf8Path(file)), {.withPictures = false}))
                m_plans.push_back({file, digestOf(task->bytes), task->made.has_value()});
        }
        catch (Failure const &failure)
        {
            told(failure.what());
        }
    }

    /// Nothing: the file is not meant. The same bytes give the same each time. Throws Failure.
    std::optional<Task> taskOf(std::string const &file, std::string bytes, EditOptions const &options) const
    {
        TemplateRules rules = m_rules;
        if (m_where)
            rules.isMeant = [this, &file](StoredTemplate const &pool, LengthUnit const &drawn) {
                return isFulfilled(*m_where, pool, drawn, file);
            };
        std::optional<RuledTemplate> made = ruled(file, bytes, rules, options);
        return made ? std::optional(Task{std::move(*made), file, std::move(bytes)}) : std::nullopt;
    }

    SetStory storyOf(Task const &task) const
    {
        return {task.file, &task.pool, m_shown, task.drawn, &task.changes, task.made ? &*task.made : nullptr};
    }

    void tell(Task const &task, std::string const &state) const
    {
        if (m_options.asJson)
            print(setJson(storyOf(task), state));
        else if (!m_options.isQuiet)
            print(setText(storyOf(task)));
    }

    std::string diffOf(Task const &task) const
    {
        auto const poolOf = [&task](std::string const &bytes) {
            CByteArray image;
            image.SetSize(static_cast<int>(bytes.size()));
            std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char *>(image.GetData()));
            return DiffPool(task.file, std::move(image));
        };
        DiffPool const before = poolOf(task.bytes);
        DiffPool const after = poolOf(task.made->bytes);
        return describe(compare(before, after, MatchBy::Id), before, after, findUnit(std::string(m_shown->name)));
    }

    /// Or only tells what it would write.
    int writeAll(ProgressLine &progress, std::size_t files)
    {
        std::size_t changed = 0;
        std::size_t done = files - m_plans.size(); // the others are not meant
        for (Plan const &plan : m_plans)
        {
            progress.at(done++);
            try
            {
                change(plan);
                changed += plan.isChange ? 1 : 0;
            }
            catch (Failure const &failure)
            {
                told(failure.what());
                if (m_options.asJson)
                    print(setJson({.file = plan.file}, "failed"));
            }
        }
        total(changed, m_faults, m_options.isTrial ? "would change" : "changed");
        return m_faults == 0 ? kDone : kFailed;
    }

    void change(Plan const &plan) const
    {
        fs::path const path = utf8Path(plan.file);
        std::optional<EditLock> lock;
        if (plan.isChange && !m_options.isTrial)
            lock.emplace(path);
        std::string bytes = bytesOf(path);
        if (digestOf(bytes) != plan.digest)
            throw Failure(plan.file, "", "the file has changed since it was checked; it is left as it is");
        std::optional<Task> const task = taskOf(plan.file, std::move(bytes), {});
        if (!task || task->made.has_value() != plan.isChange)
            throw Failure(plan.file, "", "the file cannot be changed as it was checked; it is left as it is");
        if (!m_options.isTrial && task->made)
            write(path, *task);
        tell(*task, !task->made ? "unchanged" : m_options.isTrial ? "would change" : "changed");
        if (m_options.isTrial && task->made && !m_options.asJson && !m_options.isQuiet)
            print(diffOf(*task));
    }

    void write(fs::path const &path, Task const &task) const
    {
        OutputFile file(path, true);
        file.write(task.made->bytes);
        file.close();
        // An older copy goes only where nothing but the last step can fail.
        if (m_options.keepsBackup)
            backUp(path, task.bytes);
        file.commit();
    }

    static void backUp(fs::path path, std::string const &bytes)
    {
        path += ".bak";
        OutputFile file(path, true);
        file.write(bytes);
        file.close();
        file.commit();
    }

    void total(std::size_t changed, std::size_t failed, char const *word) const
    {
        if (m_options.asJson)
            return;
        std::string text = sentence("{}: {} {}", plural(static_cast<std::int64_t>(m_plans.size()), "template"), changed, word);
        if (std::size_t const same = m_plans.size() - changed - failed; same > 0)
            text += sentence(", {} so already", same);
        if (failed > 0)
            text += sentence(", {} not changed", failed);
        print(text + "\n");
    }

    Options const &m_options;
    LengthUnit const *m_shown;
    TemplateRules m_rules;
    std::optional<Condition> m_where;
    std::vector<Plan> m_plans;
    std::size_t m_faults = 0;
};

/// Tells files and assignments apart. Refuses where one of the two is missing.
void divide(Options &options)
{
    bool const areFiles = !options.assignments.empty();
    for (std::string const &operand : options.operands)
    {
        bool const isFile = areFiles || operand.find('=') == std::string::npos || isThere(operand);
        (isFile ? options.files.files : options.assignments).push_back(operand);
    }
    if (options.assignments.empty())
        refuseMissing("NAME=VALUE");
    options.files.check();
    for (std::string const &text : options.assignments)
        assignmentOf(text);
    if (!options.where.empty())
        whereCondition(options.where, lengthUnits().front());
}

} // namespace

void addSet(CommandLine &line)
{
    DeclaredCommand const command(
        line, "set", "Sets parameters of templates, calculates again what follows from them, and leaves all else as it is.");
    command.footer("0 done; 1 nothing is meant, something was refused and nothing written, or not all files could be written; "
                   "2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command.option("FILE|NAME=VALUE", options->operands,
                   "pool files and folders; values by name, id or type:N: what has a = in it and is not there as a file");
    command
        .option("-v,--value", options->assignments, "a value, whatever files there are; once for each; operands are files then")
        .valueName("NAME=VALUE")
        .oneValueEach();
    addFilesFrom(command, options->files);
    addWhere(command, options->where);
    command
        .option("-u,--unit", options->unit,
                "the unit of lengths that have none, and of those that are shown (mm without it): mm, cm, m, in, ft")
        .oneOf(unitNames());
    command.flag("--dry-run", options->isTrial, "only show what would change");
    command.flag("--backup", options->keepsBackup, "keep each file as it was under its name with .bak behind it");
    command.flag("--json", options->asJson, "one JSON object a line, one for each template");
    command.flag("-q,--quiet", options->isQuiet, "only the total");
    command.onParsed([&line, options] {
        divide(*options);
        line.run = [options] { return Setter(*options).run(); };
    });
}

} // namespace okt
