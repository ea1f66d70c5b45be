// SPDX-License-Identifier: MIT
#include <python/binding/poolfunctions.h>

#include <python/binding/failures.h>

#include <oktformat/bytesource.h>
#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktrebar/barrecord.h>
#include <oktrebar/clientobjects.h>
#include <oktrebar/expressions.h>
#include <oktrebar/parametertable.h>
#include <oktrebar/plansource.h>
#include <oktrebar/poolbuilder.h>
#include <oktrebar/storedplan.h>

#include <memory>
#include <optional>
#include <vector>

namespace okt::python
{

namespace
{

py::object valueObject(ParameterValue const &value)
{
    if (double const *const real = std::get_if<double>(&value))
        return py::float_(*real);
    if (std::int32_t const *const whole = std::get_if<std::int32_t>(&value))
        return py::int_(*whole);
    if (bool const *const flag = std::get_if<bool>(&value))
        return py::bool_(*flag);
    if (std::string const *const text = std::get_if<std::string>(&value))
        return utf8Object(*text);
    return py::none();
}

LengthUnit const &unitOf(std::string const &name)
{
    LengthUnit const *const unit = findLengthUnit(name);
    if (unit == nullptr)
        throw py::value_error("the unit is mm, cm, m, in or ft, not " + name);
    return *unit;
}

/// One row: pairs of a name and a value in the order of the template, or of the names that were asked for.
py::list rowOfSource(ByteSource &source, std::string const &file, std::optional<std::vector<std::string>> const &names,
                     LengthUnit const &unit)
{
    StoredTemplate pool;
    std::vector<std::pair<std::string, ShownValue>> cells;
    {
        py::gil_scoped_release const released;
        pool = readTemplate(source, file, [](Progress const &) { return goesOn(); });
        if (!pool.faults.empty())
            throw Failure(file, "byte " + std::to_string(pool.faults.front().offset), pool.faults.front().reason);
        LengthUnit const &drawn = TemplateExpressions(pool).unit();
        if (!names)
            for (std::size_t const index : pool.inOrder())
                cells.emplace_back(pool.parameters[index].name, shownValue(pool.parameters[index], unit, drawn));
        else
        {
            std::vector<ParameterSelector> const columns(names->begin(), names->end());
            TableRow const row = rowOf(pool, file, columns, unit, drawn);
            for (std::size_t i = 0; i < row.fields.size(); ++i)
                cells.emplace_back((*names)[i], row.fields[i].value_or(ShownValue()));
        }
    }
    py::list row;
    for (auto const &[name, shown] : cells)
        row.append(py::make_tuple(utf8Object(name), valueObject(shown.value)));
    return row;
}

py::list tableRow(py::object path, py::object data, py::object names, std::string const &unitName)
{
    LengthUnit const &unit = unitOf(unitName);
    std::optional<std::vector<std::string>> wanted;
    if (!names.is_none())
    {
        wanted.emplace();
        for (py::handle const name : names)
            wanted->push_back(utf8Of(name));
    }
    std::string const file = utf8Of(path);
    if (!data.is_none())
    {
        CByteArray const bytes = bytesOf(data);
        ByteSource source(bytes);
        return rowOfSource(source, file, wanted, unit);
    }
    std::unique_ptr<ByteSource> const source = openSource(utf8Path(file));
    return rowOfSource(*source, file, wanted, unit);
}

/// The template that an image holds, drawn.
py::bytes draw(py::object image)
{
    CByteArray const bytes = bytesOf(image);
    std::optional<std::string> svg;
    {
        py::gil_scoped_release const released;
        ByteSource source(bytes);
        StoredTemplate const pool = readTemplate(source, "pool");
        svg = drawingOf(pool, TemplateExpressions(pool).unit());
    }
    if (!svg)
        raise("Error", "the pool is no template of a kind that is drawn here");
    return py::bytes(*svg);
}

py::tuple recordTuple(Bf2dRecord const &record)
{
    py::list legs;
    for (Bf2dLeg const &leg : record.legs)
        legs.append(py::make_tuple(leg.length, leg.angle));
    return py::make_tuple(utf8Object(record.project), utf8Object(record.drawing), utf8Object(record.index),
                          utf8Object(record.position), record.length, record.count, record.mass, record.diameter,
                          utf8Object(record.grade), record.mandrel,
                          record.other ? utf8Object(*record.other) : py::object(py::none()), legs);
}

py::tuple parseRecord(py::object line, py::object file, int number)
{
    try
    {
        return recordTuple(parseBf2d(utf8Of(line)));
    }
    catch (Bf2dFault const &fault)
    {
        throw Failure(utf8Of(file), std::to_string(number) + ":" + std::to_string(fault.column), fault.reason);
    }
}

/// The number of templates in a folder of bar tables, each of which fills a pool: triples of file name, unit and a function.
py::list templates(py::object folder, py::object makePool)
{
    std::filesystem::path const path = utf8Path(utf8Of(folder));
    SourcePlans plans;
    std::vector<std::unique_ptr<OKTDbPool>> pools;
    sharedWork([&] {
        plans = plansFrom(path);
        for (TemplatePlan const &plan : plans.templates)
        {
            if (!goesOn())
                throw Cancelled();
            pools.push_back(buildPool(plan));
            addClientObjects(*pools.back(), plan);
        }
    });
    tellReports();
    py::list made;
    for (std::size_t i = 0; i < pools.size(); ++i)
    {
        py::object const pool = makePool(pools[i]->metricsFactor(), utf8Object(plans.templates[i].fileName));
        pool.cast<PoolCore &>().take(pools[i].release());
        made.append(pool);
    }
    return made;
}

} // namespace

void addTrade(py::module_ &module)
{
    module.def("table_row", &tableRow);
    module.def("draw", &draw);
    module.def("parse_record", &parseRecord);
    module.def("templates", &templates);
}

} // namespace okt::python
