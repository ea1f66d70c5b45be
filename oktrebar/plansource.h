// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/templateplan.h>

#include <filesystem>
#include <string>
#include <vector>

namespace okt
{

// From files to templates, in three calls:
//
//     for (okt::TemplatePlan const &plan : okt::plansFrom("examples/data").templates)
//     {
//         std::unique_ptr<OKTDbPool> const pool = okt::buildPool(plan); // poolbuilder.h
//         okt::addClientObjects(*pool, plan);                           // clientobjects.h; nothing where no module is loaded
//         pool->writeFile(CString::FromUtf8(plan.fileName));
//     }

/// The plans of some files, and what gave no plan.
struct SourcePlans : Plans
{
    std::vector<std::string>
        faults; ///< one printable line for each wrong bar record: file, place and reason; the other records are used
};

/// The files that templates are made from: those of a folder (bars-*.csv, *.bf2d) in order of their names, or the file itself.
/// Throws Failure: the path does not exist, or the folder cannot be read or has no such file.
std::vector<std::filesystem::path> planSources(std::filesystem::path const &data);

/// Reads all of them, with the rule tables in the same folder: bend-rules.csv, and for sizes in millimetres bends-bs8666.csv and
/// shape-lengths-bs8666.csv; for bar records bars-en10080.csv. Throws Failure for a table that cannot be used, and where two files
/// would make the same template.
SourcePlans plansFrom(std::filesystem::path const &data);

} // namespace okt
