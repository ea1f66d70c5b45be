// SPDX-License-Identifier: MIT
#include <tools/okt/printing/poolprinter.h>

#include <oktformat/guids.h>
#include <oktformat/imageformat.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/members.h>
#include <oktinspect/moduletext.h>
#include <oktinspect/objectsof.h>
#include <oktinspect/standin.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace okt
{

namespace
{

// A longer value is printed whole, but does not widen the column of its table.
constexpr std::size_t kWidestColumn = 36;

// Enough for every number of a drawing, and few enough to hide rounding errors of the conversion between units.
constexpr int kLengthDigits = 12;

/// Rows of texts in columns. Columns without any value are left out.
class Columns
{
public:
    explicit Columns(std::vector<std::string> headings) { add(std::move(headings)); }

    void add(std::vector<std::string> row, std::vector<std::string> below = {})
    {
        m_rows.push_back({std::move(row), std::move(below)});
    }

    std::string text(std::string const &indent) const
    {
        std::vector<std::size_t> widths(m_rows.front().cells.size(), 0);
        for (std::size_t column = 0; column < widths.size(); ++column)
            widths[column] = columnWidth(column);
        std::string result;
        for (Row const &row : m_rows)
        {
            std::string line = indent;
            for (std::size_t column = 0; column < widths.size(); ++column)
                if (widths[column] > 0)
                    line.append(padded(row.cells[column], widths[column])).append("  ");
            line.erase(line.find_last_not_of(' ') + 1);
            result += line + "\n";
            for (std::string const &below : row.below)
                result += sentence("{}    {}\n", indent, below);
        }
        return result;
    }

private:
    struct Row
    {
        std::vector<std::string> cells;
        std::vector<std::string> below;
    };

    std::size_t columnWidth(std::size_t column) const
    {
        std::size_t widest = 0;
        bool used = false;
        for (Row const &row : m_rows)
        {
            widest = std::max(widest, std::min(width(row.cells[column]), kWidestColumn));
            used = used || (&row != &m_rows.front() && !row.cells[column].empty());
        }
        return used ? widest : 0;
    }

    std::vector<Row> m_rows;
};

class Printer : ObjectsOf
{
public:
    Printer(PoolFile const &file, DisplayUnit const &unit, bool withIds)
        : ObjectsOf(*file.pool), m_file(file), m_unit(unit), m_withIds(withIds)
    {
        for (Frame const &frame : file.frames)
            if (frame.id)
                m_frames.emplace(toId(*frame.id), &frame);
    }

    std::string text()
    {
        header();
        groups();
        strayCategories();
        strayParameters();
        relations();
        pictures();
        otherObjects();
        sizes();
        notRead();
        missingModules();
        return std::move(m_text);
    }

private:
    void line(std::string const &text) { m_text += text + "\n"; }
    void heading(std::string const &text) { m_text += sentence("\n{}\n", text); }

    static std::string className(OKTDbObject const *object)
    {
        return object == nullptr ? "" : printable(object->isA()->ClassName());
    }

    /// The text for an object that another one refers to.
    std::string reference(OKTDbObjectId const &id) const
    {
        OKTDbObject *const target = object(id);
        if (target == nullptr)
            return id.isNull() ? "no object" : idText(id) + " (not in this file)";
        if (auto const *const parameter = OKTDbParameter::cast(target))
            return parameter->UserName().IsEmpty() ? idText(id) : printable(parameter->UserName());
        if (auto const *const category = OKTDbCategory::cast(target))
            return quoted(category->CategoryName());
        return sentence("{} {}", className(target), idText(id));
    }

    std::string references(IdArray const &ids) const
    {
        std::string text;
        for (OKTDbObjectId const &id : ids)
            text += (text.empty() ? "" : ", ") + reference(id);
        return text;
    }

    // Header

    void headerLine(char const *label, std::string const &text) { line(sentence("  {}{}", padded(label, 16), text)); }

    std::string role(OKTDbObjectId const &id, bool hasPlace) const
    {
        if (id.isNull())
            return "none";
        OKTDbObject *const target = object(id);
        std::string text = idText(id) + (target == nullptr ? ", not in this file" : ", " + className(target));
        OKTDbPool::_ObjectInfo const *const place = hasPlace ? m_file.places.find(id) : nullptr;
        if (place != nullptr && place->nObjectPosition >= 0)
            text += sentence(", {} from byte {}", plural(place->nObjectSize, "byte"),
                             static_cast<long long>(place->nObjectPosition) + m_file.objectsStart);
        return text;
    }

    void header()
    {
        line(sentence("{}: {}", printable(m_file.name), plural(m_file.size, "byte")));
        headerLine("Pool", sentence("{} {}", quoted(m_pool.poolName()), idText(m_pool.objectId())));
        headerLine("Units", sentence("lengths in {} ({} to the metre)", m_unit.name, rounded(m_unit.factor, kLengthDigits)));
        headerLine("Metrics factor", m_file.factor ? number(*m_file.factor) + " in the file" : "none in the file");
        headerLine("Header", plural(std::max(m_file.headerSize, 0), "byte"));
        headerLine("Construct", role(m_pool.constructId(), true));
        headerLine("Index", role(m_pool.indexId(), true));
        headerLine("Sketch", role(m_pool.sketchId(), false));
        headerLine("PP actions", role(m_pool.ppActionsId(), false));
        headerLine("Radial", role(m_pool.RadialReinfId(), false));
        IdArray const pictures = m_pool.picturesId();
        for (OKTDbObjectId const &id : pictures)
            headerLine("Picture", role(id, true));
        if (pictures.getSize() == 0)
            headerLine("Pictures", "none");
        for (std::string const &module : moduleLines(m_file, ModulePlace::Path))
            headerLine("Module", module);
    }

    // Categories

    void groups()
    {
        for (OKTDbGroupCategory const *const group : all<OKTDbGroupCategory>())
        {
            heading(sentence("Group category {}, {}", idText(group->objectId()), plural(group->categoryCount(), "category")));
            IdArray ids;
            group->getAllCategories(ids);
            for (OKTDbObjectId const &id : ids)
            {
                if (auto const *const category = OKTDbCategory::cast(object(id)))
                    printCategory(*category);
                else
                    line("  " + reference(id));
            }
        }
    }

    void strayCategories()
    {
        bool first = true;
        for (OKTDbCategory const *const category : all<OKTDbCategory>())
        {
            if (m_shown.count(category->objectId()) != 0)
                continue;
            if (first)
                heading("Categories in no group");
            first = false;
            printCategory(*category);
        }
    }

    void printCategory(OKTDbCategory const &category)
    {
        std::string const title = sentence("  Category {} {}", quoted(category.CategoryName()), idText(category.objectId()));
        // A list may name a category any number of times.
        if (!m_shown.insert(category.objectId()).second)
        {
            line(title + ", shown above");
            return;
        }
        line(sentence("{}, {}", title, plural(category.parameterCount(), "parameter")));
        IdArray ids;
        category.getAllParameters(ids);
        Columns table = parameterColumns();
        for (OKTDbObjectId const &id : ids)
        {
            auto const *const parameter = OKTDbParameter::cast(object(id));
            if (parameter == nullptr)
                table.add({reference(id), "", "", "", "", "", ""});
            else
                addParameter(table, *parameter);
        }
        if (ids.getSize() > 0)
            m_text += table.text("    ");
    }

    void strayParameters()
    {
        Columns table = parameterColumns();
        bool any = false;
        for (OKTDbParameter const *const parameter : all<OKTDbParameter>())
        {
            if (m_shown.count(parameter->objectId()) != 0)
                continue;
            addParameter(table, *parameter);
            any = true;
        }
        if (!any)
            return;
        heading("Parameters in no category");
        m_text += table.text("    ");
    }

    // Parameters

    static Columns parameterColumns()
    {
        return Columns({"NAME", "TYPE", "KIND", "VALUE", "LIST", "EXPRESSION", "DESCRIPTION"});
    }

    void addParameter(Columns &table, OKTDbParameter const &parameter)
    {
        m_shown.insert(parameter.objectId());
        std::string const typeName = printable(parameter.getTypeName());
        std::vector<std::string> below;
        if (parameter.TabParams().getSize() > 0)
            below.push_back("uses " + references(parameter.TabParams()));
        if (m_withIds)
        {
            below.push_back("id " + idText(parameter.objectId()));
            below.push_back("category " + reference(parameter.Category()));
            below.push_back("owner " + reference(parameter.OwnerId()));
        }
        tagVARIANT const value = parameter.Value();
        table.add({printable(parameter.UserName()), std::to_string(parameter.Type()) + (typeName.empty() ? "" : " " + typeName),
                   kindName(value.vt), textOf(value, parameter.isInDrawingUnits()), printable(parameter.getListIndex()),
                   printable(parameter.Expression()), printable(parameter.Description())},
                  std::move(below));
    }

    std::string textOf(tagVARIANT const &value, bool isLength) const
    {
        if (value.vt == VT_EMPTY || value.vt == VT_NULL)
            return "";
        std::string const text = valueText(value, isLength, m_unit);
        return text.empty() ? "?" : text;
    }

    // Relations, pictures and other objects

    void relations()
    {
        std::vector<OKTDbRelation *> const found = all<OKTDbRelation>();
        if (found.empty())
            return;
        heading("Relations");
        for (OKTDbRelation const *const relation : found)
        {
            m_shown.insert(relation->objectId());
            line(sentence("  {} {}", className(relation), idText(relation->objectId())));
            auto const *const members = OKTDbParamRelation::cast(relation);
            if (members == nullptr)
                continue;
            IdArray ids;
            members->getAllParameters(ids);
            line("    " + (ids.getSize() == 0 ? "no parameters" : references(ids)));
        }
    }

    static std::string pointText(OKTGeXYZ const &point)
    {
        return sentence("({}, {}, {})", number(point.X()), number(point.Y()), number(point.Z()));
    }

    void pictures()
    {
        std::vector<OKTDbPicture *> const found = all<OKTDbPicture>();
        if (found.empty())
            return;
        heading("Pictures");
        // In the order of the pool's list, by which they are asked for.
        IdArray const listed = m_pool.picturesId();
        for (int i = 0; i < listed.getSize(); ++i)
            if (OKTDbPicture *const picture = OKTDbPicture::cast(object(listed.at(i))))
                showPicture(sentence("  {}: ", i), *picture);
        for (OKTDbPicture *const picture : found)
            if (m_shown.count(picture->objectId()) == 0)
                showPicture("  ", *picture);
    }

    void showPicture(std::string const &label, OKTDbPicture &picture)
    {
        m_shown.insert(picture.objectId());
        CByteArray data;
        picture.getPictureData(data);
        OKTGeXYZ camera;
        OKTGeXYZ target;
        OKTGeXYZ up;
        picture.getCameraData(camera, target, up);
        line(sentence("{}{}, image of {}{}", label, idText(picture.objectId()), plural(data.GetSize(), "byte"),
                      data.IsEmpty() ? "" : ", " + formatOf(data).text()));
        line(sentence("    camera {}, target {}, up {}", pointText(camera), pointText(target), pointText(up)));
    }

    void otherObjects()
    {
        bool first = true;
        for (OKTDbObjectId const &id : m_all)
        {
            OKTDbObject const *const found = object(id);
            if (found == nullptr || m_shown.count(id) != 0 || OKTDbGroupCategory::cast(found) != nullptr)
                continue;
            if (first)
                heading("Other objects");
            first = false;
            bool const unknown = dynamic_cast<StandIn const *>(found) != nullptr;
            line(sentence("  {} {}{}{}", className(found), idText(id), placeOf(id),
                          unknown ? ", a class that needs a client module" : ""));
        }
    }

    std::string placeOf(OKTDbObjectId const &id) const
    {
        auto const found = m_frames.find(id);
        if (found == m_frames.end())
            return "";
        return sentence(", {} from byte {}", plural(found->second->size, "byte"), found->second->offset);
    }

    void sizes()
    {
        struct Sum
        {
            std::size_t objects = 0;
            std::size_t bytes = 0;
        };
        std::map<std::string, Sum> sums;
        std::size_t objects = 0;
        std::size_t bytes = static_cast<std::size_t>(m_file.objectsStart);
        for (Frame const &frame : m_file.frames)
        {
            if (frame.state != Frame::State::Whole)
                continue;
            Sum &sum = sums[printable(frame.className)];
            ++sum.objects;
            sum.bytes += static_cast<std::size_t>(frame.size);
            ++objects;
            bytes += static_cast<std::size_t>(frame.size);
        }
        heading(sentence("Objects: {} read, {} in the file", m_pool.objectCount(), objects));
        Columns table({"CLASS", "OBJECTS", "BYTES"});
        for (auto const &[name, sum] : sums)
            table.add({name, std::to_string(sum.objects), std::to_string(sum.bytes)});
        table.add({"(header)", "", std::to_string(m_file.objectsStart)});
        std::size_t const whole = static_cast<std::size_t>(m_file.size);
        if (bytes < whole)
            table.add({"(no whole object)", "", std::to_string(whole - bytes)});
        m_text += table.text("  ");
    }

    void notRead()
    {
        if (m_file.unread.empty())
            return;
        heading("Not read");
        for (UnreadObject const &object : m_file.unread)
        {
            Frame const &frame = object.frame;
            line(sentence("  {}{}, {} from byte {}: {}", frame.className.IsEmpty() ? "an object" : printable(frame.className),
                          frame.id ? " " + idText(toId(*frame.id)) : "", plural(frame.size, "byte"), frame.offset,
                          object.reason));
        }
    }

    void missingModules()
    {
        std::vector<std::string> const lines = missingLines(m_file, ModulePlace::Path);
        if (!lines.empty())
            heading("Classes that need a client module");
        for (std::string const &each : lines)
            line("  " + each);
    }

    PoolFile const &m_file;
    DisplayUnit const &m_unit;
    bool const m_withIds;
    std::map<OKTDbObjectId, Frame const *> m_frames;
    std::set<OKTDbObjectId> m_shown;
    std::string m_text;
};

} // namespace

std::string describe(PoolFile const &file, DisplayUnit const &unit, bool withIds)
{
    return Printer(file, unit, withIds).text();
}

} // namespace okt
