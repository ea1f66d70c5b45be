// SPDX-License-Identifier: MIT
#include <oktrebar/plansource.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/folderentries.h>
#include <oktformat/sentence.h>
#include <oktrebar/recordtemplate.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <system_error>

namespace okt
{

namespace
{

namespace fs = std::filesystem;

bool hasEnding(fs::path const &path, char16_t const *ending) { return pathText(path.extension()).CompareNoCase(ending) == 0; }

bool isBarTable(fs::path const &path) { return pathName(path.filename()).starts_with("bars-") && hasEnding(path, u".csv"); }

bool isBarRecords(fs::path const &path) { return hasEnding(path, u".bf2d"); }

Plans plansFromTable(fs::path const &table)
{
    BarTable const bars = BarTable::load(table);
    fs::path const folder = table.parent_path();
    BendRules const rules = BendRules::load(folder / "bend-rules.csv");
    if (bars.units == Units::Inch)
        return inchPlans(bars, rules);
    SchedulingBends const bends = SchedulingBends::load(folder / "bends-bs8666.csv");
    ShapeLengths const shapes = ShapeLengths::load(folder / "shape-lengths-bs8666.csv");
    return metricPlans(bars, bends, rules, shapes);
}

template <typename T> void append(std::vector<T> &all, std::vector<T> more)
{
    std::move(more.begin(), more.end(), std::back_inserter(all));
}

/// Two tables of a folder may have the same size, and names of records may differ only in case.
void refuseSameFiles(std::vector<TemplatePlan> const &templates, std::string const &data)
{
    std::map<std::string, TemplatePlan const *> seen;
    for (TemplatePlan const &plan : templates)
        if (!seen.emplace(plan.fileName, &plan).second)
            throw Failure(data, "",
                          sentence("{}{} would be made twice",
                                   plan.kind == TemplateKind::Bent ? "two files of bar records have the same name: "
                                                                   : "two bar tables hold the same size: ",
                                   plan.fileName));
}

} // namespace

std::vector<fs::path> planSources(fs::path const &data)
{
    std::error_code error;
    fs::file_status const status = fs::status(data, error);
    if (status.type() == fs::file_type::not_found)
        throw Failure(pathName(data), "", "there is no such file or folder");
    if (!fs::is_directory(status))
        return {data};
    std::vector<fs::path> sources;
    fs::directory_iterator entries = entriesOf(data, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error))
        if (isBarTable(entries->path()) || isBarRecords(entries->path()))
            sources.push_back(entries->path());
    if (error)
        throw Failure(pathName(data), "", "the folder cannot be read: " + error.message());
    if (sources.empty())
        throw Failure(pathName(data), "", "the folder has no bar table (bars-*.csv) and no bar records (*.bf2d)");
    std::sort(sources.begin(), sources.end());
    return sources;
}

SourcePlans plansFrom(fs::path const &data)
{
    SourcePlans all;
    for (fs::path const &source : planSources(data))
    {
        if (isBarRecords(source))
        {
            Bf2dPlans made = bf2dPlans(source, BarTable::load(source.parent_path() / "bars-en10080.csv"));
            append(all.templates, std::move(made.templates));
            append(all.faults, std::move(made.faults));
            continue;
        }
        Plans made = plansFromTable(source);
        append(all.templates, std::move(made.templates));
        append(all.skipped, std::move(made.skipped));
    }
    refuseSameFiles(all.templates, pathName(data));
    return all;
}

} // namespace okt
