// SPDX-License-Identifier: MIT
#include <oktreport/templatefacts.h>

#include <oktreport/html.h>
#include <oktreport/naturalorder.h>

#include <oktformat/failure.h>
#include <oktformat/fileread.h>
#include <oktformat/progress.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/members.h>
#include <oktinspect/moduletext.h>
#include <oktinspect/objectsof.h>
#include <oktinspect/standin.h>
#include <oktinspect/valuetext.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <map>
#include <set>

namespace okt
{

namespace
{

constexpr std::size_t kUnits = kUnitNames.size();

constexpr int kCameraDigits = 6;

/// Names are cut behind so many characters where they refer to something, and behind those of a heading.
constexpr std::size_t kLongestReference = 80;
constexpr std::size_t kLongestTitle = 160;

constexpr char kNotHere[] = " (not in this file)";

std::string idHtml(OKTDbObjectId const &id) { return html(id.getGuidAsString(false)); }

/// The name that an expression has for a parameter: without blanks, in whatever case.
std::string expressionName(std::string const &utf8)
{
    std::string name;
    for (char const c : utf8)
        if (c != ' ')
            name += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return name;
}

/// The MIME type of a format that browsers show; null for any other.
char const *typeOf(ImageFormat const &format)
{
    static std::map<std::string, char const *> const kTypes = {
        {"PNG", "image/png"},   {"JPEG", "image/jpeg"},  {"GIF", "image/gif"},    {"BMP", "image/bmp"},
        {"WebP", "image/webp"}, {"ICO", "image/x-icon"}, {"SVG", "image/svg+xml"}};
    auto const found = kTypes.find(format.name);
    return found == kTypes.end() ? nullptr : found->second;
}

std::string pointText(OKTGeXYZ const &point)
{
    auto const shown = [](double value) { return rounded(value, kCameraDigits); };
    return sentence("({}, {}, {})", shown(point.X()), shown(point.Y()), shown(point.Z()));
}

/// An expression that may go on in another line behind an operator.
std::string breakable(CString const &expression)
{
    std::string const text = unfolding(expression);
    if (text.starts_with('<'))
        return text; // too long to be read as a whole
    std::string result;
    for (char const c : text)
    {
        result += c;
        // A semicolon may end an escape of HTML, behind which a break does no harm.
        if (c == '+' || c == '-' || c == '*' || c == '/' || c == ';')
            result += "<wbr/>";
    }
    return result;
}

class Collector : ObjectsOf
{
public:
    Collector(PoolFile const &file, UnitValues const &values, TemplateFacts &facts)
        : ObjectsOf(*file.pool), m_file(file), m_values(values), m_facts(facts)
    {
        for (Frame const &frame : file.frames)
            if (frame.id)
                m_frames.emplace(toId(*frame.id), &frame);
    }

    void run()
    {
        header();
        groups();
        strays();
        m_facts.keyFacts = keyFactsOf(m_listed, m_values);
        relations();
        pictures();
        others();
        for (UnreadObject const &object : m_file.unread)
            unread(object);
        stretches();
        tie();
        m_facts.objects = static_cast<std::uint64_t>(m_pool.objectCount());
        m_facts.parameters = all<OKTDbParameter>().size();
        m_facts.categories = all<OKTDbCategory>().size();
    }

private:
    static CString classOf(OKTDbObject const *object) { return object->isA()->ClassName(); }

    /// What an object is called; empty for one without a name.
    static CString nameOf(OKTDbObject const *object)
    {
        if (auto const *const parameter = OKTDbParameter::cast(object))
            return parameter->UserName();
        if (auto const *const category = OKTDbCategory::cast(object))
            return category->CategoryName();
        return {};
    }

    /// How an object is called where another one refers to it, as plain text.
    std::string plainReference(OKTDbObjectId const &id) const
    {
        OKTDbObject *const target = object(id);
        if (target == nullptr)
            return id.isNull() ? "no object" : printable(id.getGuidAsString(false)) + kNotHere;
        if (CString const name = nameOf(target); !name.IsEmpty())
            return shortened(printable(name), kLongestReference);
        return sentence("{} {}", printable(classOf(target)), printable(id.getGuidAsString(false)));
    }

    std::string reference(OKTDbObjectId const &id) const { return escapedLine(plainReference(id)); }

    // Header

    void role(std::string const &name, OKTDbObjectId const &id)
    {
        if (id.isNull())
            return;
        OKTDbObject *const target = object(id);
        m_facts.header.push_back({name, idHtml(id) + (target == nullptr ? kNotHere : ", " + html(classOf(target)))});
    }

    void header()
    {
        m_facts.header.push_back({"Pool", idHtml(m_pool.objectId())});
        m_facts.header.push_back(
            {"Metrics factor", m_file.factor ? number(*m_file.factor) + " in the file" : "none in the file"});
        role("Construct", m_pool.constructId());
        role("Index", m_pool.indexId());
        role("Sketch", m_pool.sketchId());
        role("PP actions", m_pool.ppActionsId());
        role("Radial", m_pool.RadialReinfId());
        IdArray const pictures = m_pool.picturesId();
        for (int i = 0; i < pictures.getSize(); ++i)
            role(sentence("Picture {}", i), pictures.at(i));
    }

    // Categories

    void addNode(RelationGraph::NodeKind kind, OKTDbObjectId const &id, std::string label)
    {
        if (m_nodes.emplace(id, m_facts.graph.nodes.size()).second)
            m_facts.graph.nodes.push_back({kind, std::move(label)});
    }

    void addEdge(RelationGraph::EdgeKind kind, OKTDbObjectId const &from, OKTDbObjectId const &to)
    {
        auto const tail = m_nodes.find(from);
        auto const head = m_nodes.find(to);
        if (tail == m_nodes.end() || head == m_nodes.end())
            return;
        // By name only where nothing stronger ties the two.
        if (m_tied.insert({tail->second, head->second}).second)
            m_facts.graph.edges.push_back({kind, tail->second, head->second});
    }

    void groups()
    {
        for (OKTDbGroupCategory const *const group : all<OKTDbGroupCategory>())
        {
            addNode(RelationGraph::NodeKind::Group, group->objectId(), "Group");
            PageGroup shown;
            shown.title = "Group";
            shown.id = idHtml(group->objectId());
            IdArray ids;
            group->getAllCategories(ids);
            for (OKTDbObjectId const &id : ids)
            {
                if (auto const *const category = OKTDbCategory::cast(object(id)))
                    shown.categories.push_back(categoryOf(*category));
                else
                    shown.categories.push_back({reference(id), "", {}, false});
                addEdge(RelationGraph::EdgeKind::Lists, group->objectId(), id);
            }
            m_facts.groups.push_back(std::move(shown));
        }
    }

    PageCategory categoryOf(OKTDbCategory const &category)
    {
        PageCategory shown;
        shown.title = category.CategoryName().IsEmpty() ? reference(category.objectId()) : unfolding(category.CategoryName());
        shown.id = idHtml(category.objectId());
        // A list may name a category any number of times.
        shown.isAbove = !m_shown.insert(category.objectId()).second;
        if (shown.isAbove)
            return shown;
        addNode(RelationGraph::NodeKind::Category, category.objectId(), plainReference(category.objectId()));
        IdArray ids;
        category.getAllParameters(ids);
        for (OKTDbObjectId const &id : ids)
        {
            if (auto const *const parameter = OKTDbParameter::cast(object(id)))
            {
                shown.parameters.push_back(parameterOf(*parameter));
            }
            else
            {
                PageParameter entry;
                entry.isLink = false;
                entry.name = reference(id);
                shown.parameters.push_back(std::move(entry));
            }
            addEdge(RelationGraph::EdgeKind::Lists, category.objectId(), id);
        }
        return shown;
    }

    void strays()
    {
        PageGroup loose;
        loose.title = "In no group";
        for (OKTDbCategory const *const category : all<OKTDbCategory>())
            if (m_shown.count(category->objectId()) == 0)
                loose.categories.push_back(categoryOf(*category));
        PageCategory none;
        none.title = "In no category";
        for (OKTDbParameter const *const parameter : all<OKTDbParameter>())
            if (m_shown.count(parameter->objectId()) == 0)
                none.parameters.push_back(parameterOf(*parameter));
        if (!loose.categories.empty())
            m_facts.groups.push_back(std::move(loose));
        if (!none.parameters.empty())
            m_facts.groups.push_back({"", "", {std::move(none)}});
    }

    PageParameter parameterOf(OKTDbParameter const &parameter)
    {
        OKTDbObjectId const id = parameter.objectId();
        PageParameter shown;
        // A list may name a parameter more than once: the first place is the one to go to.
        if (m_shown.insert(id).second)
        {
            shown.box = m_nodes.size();
            addNode(RelationGraph::NodeKind::Parameter, id, plainReference(id));
            m_listed.push_back(&parameter);
        }
        shown.id = idHtml(id);
        shown.name = parameter.UserName().IsEmpty() ? reference(id) : unfolding(parameter.UserName());
        shown.type = typeText(parameter);
        shown.expression = breakable(parameter.Expression());
        shown.description = unfolding(parameter.Description());
        shown.kind = kindWord(parameter.Value().vt);
        for (OKTDbObjectId const &used : parameter.TabParams())
            shown.uses.push_back(reference(used));
        if (auto const value = m_values.find(id); value != m_values.end())
            shown.value = value->second;
        return shown;
    }

    /// The type in words, with the place in its list; empty where the name says the same.
    static std::string typeText(OKTDbParameter const &parameter)
    {
        CString const typeName = parameter.getTypeName();
        std::string const list = printable(parameter.getListIndex());
        std::string type = typeName.IsEmpty() ? sentence("type {}", parameter.Type()) : printable(typeName);
        type += list.empty() ? "" : " " + list;
        return type == printable(parameter.UserName()) ? "" : escapedLine(type);
    }

    // What else there is

    void relations()
    {
        for (OKTDbRelation const *const relation : all<OKTDbRelation>())
        {
            m_shown.insert(relation->objectId());
            PageRelation shown;
            shown.className = html(classOf(relation));
            shown.id = idHtml(relation->objectId());
            addNode(RelationGraph::NodeKind::Relation, relation->objectId(), printable(classOf(relation)));
            if (auto const *const members = OKTDbParamRelation::cast(relation))
            {
                IdArray ids;
                members->getAllParameters(ids);
                for (OKTDbObjectId const &id : ids)
                {
                    shown.members.push_back(reference(id));
                    addEdge(RelationGraph::EdgeKind::Ties, id, relation->objectId());
                }
            }
            m_facts.relations.push_back(std::move(shown));
        }
    }

    /// The arrows between parameters, when all boxes are there.
    void tie()
    {
        std::map<std::string, OKTDbObjectId> names;
        std::vector<OKTDbParameter *> const parameters = all<OKTDbParameter>();
        for (OKTDbParameter const *const parameter : parameters)
        {
            for (OKTDbObjectId const &used : parameter->TabParams())
                addEdge(RelationGraph::EdgeKind::Uses, parameter->objectId(), used);
            names.emplace(expressionName(parameter->UserName().ToUtf8()), parameter->objectId());
        }
        for (OKTDbParameter const *const parameter : parameters)
            for (std::string const &name : namesIn(parameter->Expression().ToUtf8()))
                if (auto const named = names.find(expressionName(name)); named != names.end())
                    addEdge(RelationGraph::EdgeKind::Named, parameter->objectId(), named->second);
    }

    void pictures()
    {
        // In the order of the pool's list, by which they are asked for.
        IdArray const listed = m_pool.picturesId();
        for (int i = 0; i < listed.getSize(); ++i)
            if (OKTDbPicture *const picture = OKTDbPicture::cast(object(listed.at(i))))
                if (m_shown.insert(picture->objectId()).second)
                    addPicture(sentence("Picture {}", i), *picture);
        for (OKTDbPicture *const picture : all<OKTDbPicture>())
            if (m_shown.insert(picture->objectId()).second)
                addPicture("Picture in no list", *picture);
    }

    void addPicture(std::string label, OKTDbPicture &picture)
    {
        CByteArray data;
        picture.getPictureData(data);
        PagePicture shown;
        shown.label = std::move(label);
        shown.id = idHtml(picture.objectId());
        shown.size = static_cast<std::uint64_t>(data.GetSize());
        shown.format = formatOf(data);
        if (char const *const type = typeOf(shown.format))
            shown.uri = dataUri(type, data);
        OKTGeXYZ camera;
        OKTGeXYZ target;
        OKTGeXYZ up;
        picture.getCameraData(camera, target, up);
        shown.camera = sentence("Camera {}, target {}, up {}", pointText(camera), pointText(target), pointText(up));
        m_facts.pictures.push_back(std::move(shown));
    }

    void others()
    {
        for (OKTDbObjectId const &id : m_all)
        {
            OKTDbObject const *const found = object(id);
            if (found == nullptr || m_shown.count(id) != 0 || OKTDbGroupCategory::cast(found) != nullptr)
                continue;
            PageObject shown;
            shown.className = html(classOf(found));
            shown.id = idHtml(id);
            if (auto const frame = m_frames.find(id); frame != m_frames.end())
                shown.note = placeOf(*frame->second);
            if (dynamic_cast<StandIn const *>(found) != nullptr)
                shown.note += ", a class that needs a client module";
            else
                for (Member const &member : membersOf(*found))
                    shown.members.push_back({escapedLine(member.name), escapedLine(member.value)});
            m_facts.others.push_back(std::move(shown));
        }
    }

    static std::string placeOf(Frame const &frame)
    {
        return sentence("{} from byte {}", counted(static_cast<std::uint64_t>(frame.size), "byte"), frame.offset);
    }

    void unread(UnreadObject const &object)
    {
        Frame const &frame = object.frame;
        m_facts.unread.push_back({(frame.className.IsEmpty() ? "An object" : html(frame.className)) +
                                      (frame.id ? " " + idHtml(toId(*frame.id)) : ""),
                                  sentence("{}: {}", placeOf(frame), escapedLine(object.reason))});
    }

    // Bytes

    static void describe(PageStretch &stretch, OKTDbObject const &object)
    {
        if (CString const name = nameOf(&object); !name.IsEmpty())
            stretch.name = escapedLine(shortened(printable(name), kLongestReference));
        if (auto const *const parameter = OKTDbParameter::cast(&object))
            stretch.type = sentence("{} {}", parameter->Type(), kindName(parameter->Value().vt));
    }

    void stretches()
    {
        std::uint64_t const size = static_cast<std::uint64_t>(m_file.size);
        std::uint64_t at = std::min(static_cast<std::uint64_t>(std::max(m_file.objectsStart, 0)), size);
        m_facts.stretches.push_back({PageStretch::Kind::Header, 0, at, "", "", "", ""});
        auto const fill = [&](std::uint64_t to) {
            if (to > at)
                m_facts.stretches.push_back({PageStretch::Kind::Gap, at, to - at, "", "", "", ""});
        };
        for (Frame const &frame : m_file.frames)
        {
            std::uint64_t const offset = static_cast<std::uint64_t>(frame.offset);
            fill(offset);
            PageStretch stretch;
            stretch.kind = frame.state == Frame::State::Whole ? PageStretch::Kind::Object : PageStretch::Kind::Fault;
            stretch.offset = offset;
            stretch.size = static_cast<std::uint64_t>(frame.size);
            stretch.className = frame.className.IsEmpty() ? "an object" : html(frame.className);
            stretch.id = frame.id ? idHtml(toId(*frame.id)) : "";
            if (OKTDbObject const *const found = frame.id ? object(toId(*frame.id)) : nullptr)
                describe(stretch, *found);
            m_facts.stretches.push_back(std::move(stretch));
            at = offset + static_cast<std::uint64_t>(frame.size);
        }
        fill(size);
    }

    PoolFile const &m_file;
    UnitValues const &m_values;
    TemplateFacts &m_facts;
    std::map<OKTDbObjectId, Frame const *> m_frames;
    std::vector<OKTDbParameter const *> m_listed; ///< every parameter, in the order of the page
    std::set<OKTDbObjectId> m_shown;
    std::map<OKTDbObjectId, std::size_t> m_nodes;
    std::set<std::pair<std::size_t, std::size_t>> m_tied;
};

std::string fileName(std::filesystem::path const &path)
{
    std::filesystem::path const name = path.filename();
    return inputName(name.empty() ? path : name);
}

/// A line for the user in which the file has no folder: whoever gets the page has others.
std::string withoutFolder(std::string const &line, std::string const &path, std::string const &name)
{
    return line.starts_with(path + ":") ? name + line.substr(path.size()) : line;
}

std::string faultText(std::filesystem::path const &shownAs, std::string const &faultLine)
{
    return escapedLine(withoutFolder(faultLine, printable(std::string_view(pathName(shownAs))),
                                     printable(std::string_view(fileName(shownAs)))));
}

void readFacts(std::filesystem::path const &path, std::string const &name, TemplateFacts &facts, std::string &faultLine,
               OnProgress const &onProgress)
{
    UnitValues values;
    PoolFile file;
    for (std::size_t unit = 0; unit < kUnits; ++unit)
    {
        PoolFile read = readPool(path, findUnit(kUnitNames[unit])->factor, name, onProgress);
        putValues(values, unit, *read.pool);
        if (unit == 0)
            file = std::move(read);
    }
    ProgressStep const step = ProgressStep::uncounted(onProgress, printable(name), static_cast<std::uint64_t>(file.size));
    faultLine = file.fault;
    facts.isRead = true;
    facts.size = static_cast<std::uint64_t>(file.size);
    if (CString const poolName = file.pool->poolName(); !poolName.IsEmpty())
    {
        std::string const whole = printable(poolName);
        std::string const title = shortened(whole, kLongestTitle);
        facts.title = escapedLine(title);
        if (title.size() < whole.size())
            facts.longName = unfolding(poolName);
    }
    completeDiameters(values, *file.pool);
    Collector(file, values, facts).run();
    for (std::string const &module : moduleLines(file, ModulePlace::Name))
        facts.header.push_back({"Module", escapedLine(module)});
    for (std::string const &missing : missingLines(file, ModulePlace::Name))
        facts.header.push_back({"Needs a client module", escapedLine(missing)});
}

} // namespace

TemplateFacts factsOfUnread(std::filesystem::path const &shownAs, std::string const &faultLine)
{
    TemplateFacts facts;
    std::string const name = fileName(shownAs);
    facts.file = html(std::string_view(name));
    facts.title = facts.file;
    facts.fault = faultText(shownAs, faultLine);
    return facts;
}

TemplateFacts factsOf(std::filesystem::path const &path, std::filesystem::path const &shownAs, std::string &faultLine,
                      OnProgress const &onProgress)
{
    TemplateFacts facts = factsOfUnread(shownAs, "");
    try
    {
        readFacts(path, inputName(shownAs), facts, faultLine, onProgress);
    }
    catch (Failure const &failure)
    {
        faultLine = failure.what();
    }
    facts.fault = faultText(shownAs, faultLine);
    return facts;
}

void arrange(std::vector<TemplateFacts> &templates)
{
    std::stable_sort(templates.begin(), templates.end(), [](TemplateFacts const &a, TemplateFacts const &b) {
        return a.title != b.title ? naturalLess(a.title, b.title) : naturalLess(a.file, b.file);
    });
    for (std::size_t i = 0; i < templates.size(); ++i)
        templates[i].anchor = sentence("t{}", i + 1);
}

} // namespace okt
