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

/// The templates of a file of bar records, and a line for the user about each record that is refused.
struct Bf2dPlans
{
    std::vector<TemplatePlan> templates;
    std::vector<std::string> faults;
};

/// Reads a file of bar records, one a line, each of which must pass parseBf2d and bf2dRefusal. `bars` is a table in millimetres,
/// with the mass per metre. Throws Failure if the file cannot be read, is not ASCII text, or has no record.
Bf2dPlans bf2dPlans(std::filesystem::path const &file, BarTable const &bars);

/// The template of a record read from `line`, in millimetres. It stores the line, so that an unchanged bar is exported as that line.
/// `stem` is the name of its file without ending.
TemplatePlan bf2dPlan(Bf2dRecord const &record, std::string const &line, std::string const &stem);

/// Why a bar cannot be made: its size is not in the table, a leg is too short for its bends, or its mass does not fit its length
/// within the tolerance of EN 10080 (6 % up to 8 mm, 4.5 % above). Empty: it can be made.
std::string bf2dRefusal(Bf2dRecord const &record, BarTable const &bars);

/// The record line of a template made by bf2dPlan, updated to its current parameters. The unit of the pool must be
/// the millimetre (metrics factor 1000). Throws Failure with the name `file`: it was not made from a record, or is not a valid bar any
/// more.
std::string bf2dLineOf(OKTDbPool &pool, std::string const &file);

} // namespace okt
