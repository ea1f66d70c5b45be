// SPDX-License-Identifier: MIT
#include <python/binding/poolfunctions.h>

#include <python/binding/failures.h>

#include <oktcatalog/poolsearch.h>
#include <oktcatalog/rowlines.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/guids.h>
#include <oktrebar/condition.h>
#include <oktrebar/parametervalue.h>
#include <oktrebar/templaterules.h>

#include <memory>
#include <vector>

namespace okt::python
{

namespace
{

/// The bytes of an object that does not change, as long as the object is held.
std::string_view viewOf(py::bytes const &data)
{
    char *begin = nullptr;
    Py_ssize_t size = 0;
    if (PyBytes_AsStringAndSize(data.ptr(), &begin, &size) != 0)
        throw py::error_already_set();
    return {begin, static_cast<std::size_t>(size)};
}

/// The files of a folder, some at a time.
class FolderFiles
{
public:
    explicit FolderFiles(py::object folder)
        : m_search(utf8Path(utf8Of(folder)), [this](std::string const &fault) { m_faults.push_back(fault); })
    {
    }

    /// Names and faults. No names: there is none left.
    py::tuple next(std::size_t most)
    {
        std::vector<std::string> names;
        {
            py::gil_scoped_release const released;
            while (names.size() < most)
            {
                std::optional<std::filesystem::path> const file = m_search.next();
                if (!file)
                    break;
                names.push_back(pathName(*file));
            }
        }
        return py::make_tuple(textList(names), textList(std::exchange(m_faults, {})));
    }

private:
    static py::list textList(std::vector<std::string> const &texts)
    {
        py::list list;
        for (std::string const &text : texts)
            list.append(utf8Object(text));
        return list;
    }

    std::vector<std::string> m_faults; // in front of the search, which fills it
    PoolSearch m_search;
};

/// The rows of a file as lines: for each table its bytes and their number, then the state, and why the file is damaged.
py::tuple catalogLines(py::bytes data, std::string const &digest, py::object path, std::int64_t modifiedNs, std::int64_t file)
{
    std::string_view const bytes = viewOf(data);
    std::string const name = utf8Of(path);
    PoolRows rows;
    RowLines lines;
    {
        py::gil_scoped_release const released;
        rows = rowsOf(bytes, [&digest](std::string_view) { return digest; });
        rows.path = name;
        rows.modifiedNs = modifiedNs;
    }
    if (!rows.isPlain)
    {
        // No module is looked for: which ones a machine has would show in the rows.
        soleWork([&] { addFindings(rows, bytes, {}); });
        tellReports();
    }
    {
        py::gil_scoped_release const released;
        lines = linesOf(rows, file);
    }
    py::object reason = py::none();
    for (FindingRow const &finding : rows.findings)
        if (finding.severity == "error")
        {
            reason = utf8Object("byte " + std::to_string(finding.offset) + ": " + finding.message);
            break;
        }
    py::tuple texts(lines.text.size());
    py::tuple counts(lines.count.size());
    for (std::size_t i = 0; i < lines.text.size(); ++i)
    {
        texts[i] = py::bytes(lines.text[i]);
        counts[i] = lines.count[i];
    }
    return py::make_tuple(texts, counts, utf8Object(stateName(rows.state)), reason);
}

/// Rules as their words give them. Raises ValueError.
class Rules
{
public:
    Rules(py::list const &values, py::object const &where, py::object const &unit)
        : m_shown(findLengthUnit(unit.is_none() ? "mm" : utf8Of(unit)))
    {
        if (m_shown == nullptr)
            throw py::value_error("the unit is mm, cm, m, in or ft, not " + utf8Of(unit));
        m_rules.plain = unit.is_none() ? nullptr : m_shown;
        try
        {
            for (py::handle const value : values)
                m_rules.values.push_back(TemplateAssignment::of(utf8Of(value)));
            if (!where.is_none())
                m_where = std::make_unique<Condition>(utf8Of(where), *m_shown);
        }
        catch (ValueError const &error)
        {
            throw py::value_error(error.what());
        }
        catch (ConditionError const &error)
        {
            throw py::value_error("where, column " + std::to_string(error.position() + 1) + ": " + error.what());
        }
    }

    TemplateRules forFile(std::string const &file) const
    {
        TemplateRules rules = m_rules;
        if (m_where)
            rules.isMeant = [this, &file](StoredTemplate const &pool, LengthUnit const &drawn) {
                try
                {
                    return m_where->holds(pool, drawn);
                }
                catch (ConditionError const &error)
                {
                    throw Failure(file, "", "where, column " + std::to_string(error.position() + 1) + ": " + error.what());
                }
            };
        return rules;
    }

    LengthUnit const &shown() const { return *m_shown; }

private:
    LengthUnit const *m_shown;
    TemplateRules m_rules;
    std::unique_ptr<Condition> m_where;
};

void checkRules(py::list values, py::object where, py::object unit) { Rules const checked(values, where, unit); }

std::string textOf(StoredParameter parameter, ParameterValue const &value, LengthUnit const &shown, LengthUnit const &drawn)
{
    parameter.value = value;
    return shownText(shownValue(parameter, shown, drawn));
}

/// None: the file is not meant. Else the new bytes, or None where it is so already, and of each value that changes its name, and how it
/// shows before and after.
py::object ruledBytes(py::bytes data, py::object path, py::list values, py::object where, py::object unit)
{
    std::string const file = utf8Of(path);
    Rules const rules(values, where, unit);
    std::string_view const bytes = viewOf(data);
    std::optional<RuledTemplate> const made = sharedWork([&] { return ruled(file, bytes, rules.forFile(file)); });
    tellReports();
    if (!made)
        return py::none();
    py::list changes;
    if (made->made)
        for (auto const &[index, value] : made->changes.values)
        {
            StoredParameter const &parameter = made->pool.parameters[index];
            changes.append(py::make_tuple(utf8Object(parameter.name.empty() ? idText(parameter.id) : parameter.name),
                                          utf8Object(textOf(parameter, parameter.value, rules.shown(), *made->drawn)),
                                          utf8Object(textOf(parameter, value, rules.shown(), *made->drawn))));
        }
    return py::make_tuple(made->made ? py::object(py::bytes(made->made->bytes)) : py::object(py::none()), changes);
}

} // namespace

void addCatalog(py::module_ &module)
{
    py::class_<FolderFiles>(module, "FolderFiles").def(py::init<py::object>()).def("next", &FolderFiles::next);
    py::tuple tables(kRowTables.size());
    for (std::size_t i = 0; i < kRowTables.size(); ++i)
        tables[i] = py::str(kRowTables[i]);
    module.attr("catalog_tables") = tables;
    module.def("catalog_lines", &catalogLines);
    module.def("check_rules", &checkRules);
    module.def("ruled_bytes", &ruledBytes);
}

} // namespace okt::python
