// SPDX-License-Identifier: MIT
#include <tools/okt/commands/commands.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/imageformat.h>
#include <oktformat/text.h>
#include <oktinspect/moduletext.h>
#include <oktinspect/objectsof.h>
#include <oktinspect/poolreader.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/printing/poolprinter.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktdatabase/oktdatabase.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace okt
{

namespace
{

struct Options
{
    std::string file;
    std::string unit = "mm";
    bool inAscii = false;
};

/// The branches in front of a line.
struct Style
{
    char const *middle;
    char const *last;
    char const *passed;
    char const *nothing;
};

constexpr Style kBoxes = {"\u251C\u2500 ", "\u2514\u2500 ", "\u2502  ", "   "};
constexpr Style kAscii = {"|- ", "`- ", "|  ", "   "};

struct Node
{
    std::string text;
    std::vector<Node> children;
};

// Parameters that use each other are not followed deeper.
constexpr std::size_t kDeepest = 32;

void append(std::string &text, Style const &style, std::string const &indent, std::vector<Node> const &nodes)
{
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        bool const isLast = i + 1 == nodes.size();
        text += indent + (isLast ? style.last : style.middle) + nodes[i].text + "\n";
        append(text, style, indent + (isLast ? style.nothing : style.passed), nodes[i].children);
    }
}

class TreeMaker : ObjectsOf
{
public:
    TreeMaker(OKTDbPool &pool, DisplayUnit const &unit) : ObjectsOf(pool), m_unit(unit) {}

    std::vector<Node> nodes()
    {
        std::vector<Node> made;
        for (auto const *const each : all<OKTDbGroupCategory>())
            made.push_back(group(*each));
        addStray<OKTDbCategory>(made, "Categories in no group", [this](OKTDbCategory const &each) { return category(each); });
        addStray<OKTDbParameter>(made, "Parameters in no category",
                                 [this](OKTDbParameter const &each) { return parameter(each, {}); });
        addAll<OKTDbRelation>(made, "Relations", [this](OKTDbRelation const &each) { return relation(each); });
        addAll<OKTDbPicture>(made, "Pictures", [](OKTDbPicture &each) { return picture(each); });
        addOthers(made);
        return made;
    }

private:
    /// In place of what a list names, which is not there, or of another class than is meant.
    Node missing(OKTDbObjectId const &id) const
    {
        OKTDbObject const *const found = object(id);
        return {found == nullptr ? idText(id) + " (not in this file)"
                                 : printable(found->isA()->ClassName()) + " " + idText(id) + " (does not belong here)",
                {}};
    }

    template <typename T, typename Make> void addAll(std::vector<Node> &made, char const *title, Make make)
    {
        Node node{title, {}};
        for (T *const each : all<T>())
        {
            m_shown.insert(each->objectId());
            node.children.push_back(make(*each));
        }
        if (!node.children.empty())
            made.push_back(std::move(node));
    }

    template <typename T, typename Make> void addStray(std::vector<Node> &made, char const *title, Make make)
    {
        Node node{title, {}};
        for (T *const each : all<T>())
            if (m_shown.count(each->objectId()) == 0)
                node.children.push_back(make(*each));
        if (!node.children.empty())
            made.push_back(std::move(node));
    }

    void addOthers(std::vector<Node> &made)
    {
        Node node{"Other objects", {}};
        for (OKTDbObjectId const &id : m_all)
            if (OKTDbObject const *const each = object(id); each != nullptr && m_shown.count(id) == 0)
                node.children.push_back({printable(each->isA()->ClassName()) + " " + idText(id), {}});
        if (!node.children.empty())
            made.push_back(std::move(node));
    }

    Node group(OKTDbGroupCategory const &self)
    {
        m_shown.insert(self.objectId());
        Node node{"Group category " + idText(self.objectId()), {}};
        IdArray ids;
        self.getAllCategories(ids);
        for (OKTDbObjectId const &id : ids)
        {
            auto const *const found = OKTDbCategory::cast(object(id));
            node.children.push_back(found == nullptr ? missing(id) : category(*found));
        }
        return node;
    }

    Node category(OKTDbCategory const &self)
    {
        Node node{"Category " + quoted(self.CategoryName()), {}};
        // A list may name a category any number of times.
        if (!m_shown.insert(self.objectId()).second)
        {
            node.text += ", shown above";
            return node;
        }
        IdArray ids;
        self.getAllParameters(ids);
        for (OKTDbObjectId const &id : ids)
        {
            auto const *const found = OKTDbParameter::cast(object(id));
            node.children.push_back(found == nullptr ? missing(id) : parameter(*found, {}));
        }
        return node;
    }

    Node parameter(OKTDbParameter const &self, std::vector<OKTDbParameter const *> above)
    {
        m_shown.insert(self.objectId());
        Node node{title(self), {}};
        if (std::find(above.begin(), above.end(), &self) != above.end() || above.size() >= kDeepest)
        {
            node.text += ", shown above";
            return node;
        }
        bool const isShown = !above.empty() && !m_followed.insert(&self).second && self.TabParams().getSize() > 0;
        if (isShown)
        {
            node.text += ", with what it uses shown elsewhere";
            return node;
        }
        m_followed.insert(&self);
        above.push_back(&self);
        IdArray const ids = self.TabParams();
        for (OKTDbObjectId const &id : ids)
        {
            auto const *const found = OKTDbParameter::cast(object(id));
            node.children.push_back(found == nullptr ? missing(id) : parameter(*found, above));
        }
        return node;
    }

    std::string title(OKTDbParameter const &self) const
    {
        std::string const name = self.UserName().IsEmpty() ? idText(self.objectId()) : printable(self.UserName());
        std::string const value = valueText(self.Value(), self.isInDrawingUnits(), m_unit);
        return name + (value.empty() ? "" : " = " + value) +
               (self.Expression().IsEmpty() ? "" : "  [" + printable(self.Expression()) + "]");
    }

    Node relation(OKTDbRelation const &self) const
    {
        Node node{printable(self.isA()->ClassName()) + " " + idText(self.objectId()), {}};
        auto const *const members = OKTDbParamRelation::cast(&self);
        if (members == nullptr)
            return node;
        IdArray ids;
        members->getAllParameters(ids);
        for (OKTDbObjectId const &id : ids)
        {
            auto const *const found = OKTDbParameter::cast(object(id));
            node.children.push_back(found == nullptr ? missing(id) : Node{title(*found), {}});
        }
        return node;
    }

    static Node picture(OKTDbPicture &self)
    {
        CByteArray data;
        self.getPictureData(data);
        return {idText(self.objectId()) + ", " + plural(data.GetSize(), "byte") +
                    (data.IsEmpty() ? "" : ", " + formatOf(data).text()),
                {}};
    }

    DisplayUnit const &m_unit;
    std::set<OKTDbObjectId> m_shown;
    std::set<OKTDbParameter const *> m_followed;
};

/// The locale writes in UTF-8, as the variables that decide say.
bool isUtf8Locale()
{
#if defined(_WIN32)
    return true;
#else
    for (char const *const name : {"LC_ALL", "LC_CTYPE", "LANG"})
    {
        char const *const value = std::getenv(name);
        if (value == nullptr || *value == '\0')
            continue;
        std::string_view const text = value;
        return text.find("UTF-8") != std::string_view::npos || text.find("utf8") != std::string_view::npos ||
               text.find("UTF8") != std::string_view::npos || text.find("utf-8") != std::string_view::npos;
    }
    return false;
#endif
}

void addLines(std::vector<Node> &nodes, char const *title, std::vector<std::string> const &lines)
{
    Node node{title, {}};
    for (std::string const &line : lines)
        node.children.push_back({line, {}});
    if (!lines.empty())
        nodes.push_back(std::move(node));
}

int tree(Options const &options)
{
    DisplayUnit const *const unit = findUnit(options.unit);
    if (unit == nullptr)
        throw Failure("--unit", "", "there is no unit " + options.unit);
    InputFile const input(utf8Path(options.file));
    PoolFile const file = readPool(input.path(), unit->factor, input.name(), terminalProgress());
    std::string text = quoted(file.pool->poolName()) + " " + idText(file.pool->objectId()) + "\n";
    std::optional<Waiting> waiting(std::in_place, printable(input.name()), static_cast<std::uintmax_t>(file.size));
    std::vector<Node> nodes = TreeMaker(*file.pool, *unit).nodes();
    addLines(nodes, "Client modules", moduleLines(file, ModulePlace::Path));
    addLines(nodes, "Classes that need a client module", missingLines(file, ModulePlace::Path));
    append(text, options.inAscii || !isUtf8Locale() ? kAscii : kBoxes, "", nodes);
    waiting.reset();
    print(text);
    if (!file.fault.empty())
        printError(file.fault);
    return file.fault.empty() ? kDone : kFailed;
}

} // namespace

void addTree(CommandLine &line)
{
    CLI::App *const command = line.app.add_subcommand(
        "tree", "Prints a pool file as a tree: groups, their categories, parameters and what these use; relations, pictures.\n"
                "  okt tree templates/link-d12.okt");
    command->footer("0 done, 1 the file cannot be read or has a fault, 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    command->add_option("FILE", options->file, "a pool file; - for standard input")->required();
    command->add_option("-u,--unit", options->unit, "the unit that lengths are shown in: mm (default), cm, m, in, ft")
        ->check(CLI::IsMember(unitNames()));
    command->add_flag("--ascii", options->inAscii, "branches in plain characters, as where the locale is not UTF-8");
    command->callback([&line, options] { line.run = [options] { return tree(*options); }; });
}

} // namespace okt
