// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/parametertable.h>

#include <string>
#include <vector>

namespace okt
{

enum class TableForm
{
    Columns,  ///< for a terminal
    Csv,      ///< RFC 4180
    CsvLocal, ///< semicolons and decimal commas, with a byte order mark
    Json,     ///< an object a line
    Markdown
};

/// A field by RFC 4180: in quotation marks where it has to be.
std::string csvField(std::string const &text, char separator);

/// A table as text (own code: a few lines a form). `names` are those of the columns as they were asked for.
std::string tableText(std::vector<TableRow> const &rows, std::vector<std::string> const &names, TableForm form,
                      std::string const &unit);

} // namespace okt
