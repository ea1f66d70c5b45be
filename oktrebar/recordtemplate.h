// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/barrecord.h>
#include <oktrebar/bartable.h>
#include <oktrebar/templateplan.h>

#include <filesystem>
#include <string>
#include <vector>

class OKTDbPool;

namespace okt
{

/// The templates of a file of bar records, and a line for the user about each record that gives none.
struct Bf2dPlans
{
    std::vector<TemplatePlan> templates;
    std::vector<std::string> faults;
};

/// Reads a file of bar records, one a line, each of which must pass parseBf2d and bf2dRefusal. `bars` is a table in millimetres,
/// which tells the mass per metre. Throws Failure when the file cannot be read, is no ASCII text, or has not one record.
Bf2dPlans bf2dPlans(std::filesystem::path const &file, BarTable const &bars);

/// The template of a record that was read from `line`, in millimetres; the line is kept, so that an unchanged bar gives it back.
/// `stem` is the name of its file without ending.
TemplatePlan bf2dPlan(Bf2dRecord const &record, std::string const &line, std::string const &stem);

/// Why a bar cannot be made (a size that the table lacks, a leg too short for its bends), or its mass is not that of its length
/// within the tolerance of EN 10080 (6 % up to 8 mm, 4.5 % above); empty: all is well.
std::string bf2dRefusal(Bf2dRecord const &record, BarTable const &bars);

/// The line of the record that a template came from, brought up to its parameters: the other way of bf2dPlan. The pool is one of
/// millimetres (its metrics factor is 1000). Throws Failure, which calls it `file`: it did not come from a record, or is no bar any
/// more.
std::string bf2dLineOf(OKTDbPool &pool, std::string const &file);

} // namespace okt
