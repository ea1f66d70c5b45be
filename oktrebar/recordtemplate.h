#pragma once

#include <oktrebar/barline.h>
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

/// Reads a file of bar records; the table tells the mass per metre. Throws Failure when there is not one record in it.
Bf2dPlans bf2dPlans(std::filesystem::path const &file, BarTable const &bars);

/// The template of a record that was read from a line. `stem` is the name of its file without ending.
TemplatePlan bf2dPlan(Bf2dRecord const &record, std::string const &line, std::string const &stem);

/// Why a bar cannot be made, or its mass is not that of its length; empty: all is well.
std::string bf2dRefusal(Bf2dRecord const &record, BarTable const &bars);

/// The centre line of the bar of such a template, with the lower left corner of its outside at (0, 0).
BarLine bentLine(TemplatePlan const &plan);

/// The line of the record that a template came from, brought up to its parameters. The pool is one of millimetres. Throws
/// Failure, named `file`: it did not come from a record, or is no bar any more.
std::string bf2dLineOf(OKTDbPool &pool, std::string const &file);

} // namespace okt
