// SPDX-License-Identifier: MIT
#include <tools/okt/commands/declaration.h>

#include <oktformat/failure.h>
#include <oktformat/guids.h>
#include <oktformat/imageformat.h>
#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/moduletext.h>
#include <oktinspect/poolreader.h>
#include <oktinspect/pooltree.h>
#include <oktinspect/valuetext.h>
#include <tools/okt/commands/fileoperands.h>
#include <tools/okt/commands/jsonoutput.h>
#include <tools/okt/files/exportfiles.h>
#include <tools/okt/printing/parameterjson.h>
#include <tools/okt/terminal/console.h>
#include <tools/okt/terminal/progress.h>

#include <oktdatabase/oktdatabase.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

namespace okt
{

namespace
{

struct Options
{
    FileOperands files;
    std::string unit = "mm";
    bool inAscii = false;
    bool asJson = false;
    bool isQuiet = false;
};

/// The branches before a line.
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

void append(std::string &text, Style const &style, std::string const &indent, std::vector<Node> const &nodes)
{
    for (std::size_t i = 0; i < nodes.size(); ++i)
    {
        bool const isLast = i + 1 == nodes.size();
        text += sentence("{}{}{}\n", indent, isLast ? style.last : style.middle, nodes[i].text);
        append(text, style, indent + (isLast ? style.nothing : style.passed), nodes[i].children);
    }
}

std::string withClass(TreeNode const &node)
{
    return sentence("{} {}", printable(node.object->isA()->ClassName()), idText(node.id));
}

std::string parameterText(OKTDbParameter const &self, DisplayUnit const &unit)
{
    std::string const name = self.UserName().IsEmpty() ? idText(self.objectId()) : printable(self.UserName());
    std::string const value = valueText(self.Value(), self.isInDrawingUnits(), unit);
    return name + (value.empty() ? "" : " = " + value) +
           (self.Expression().IsEmpty() ? "" : sentence("  [{}]", printable(self.Expression())));
}

std::string pictureText(OKTDbPicture &self)
{
    CByteArray data;
    self.getPictureData(data);
    return sentence("{}, {}{}", idText(self.objectId()), plural(data.GetSize(), "byte"),
                    data.IsEmpty() ? "" : ", " + formatOf(data).text());
}

std::string textOf(TreeNode const &node, DisplayUnit const &unit)
{
    switch (node.kind)
    {
    case TreeNode::Kind::GroupCategory: return "Group category " + idText(node.id);
    case TreeNode::Kind::Category: return "Category " + quoted(OKTDbCategory::cast(node.object)->CategoryName());
    case TreeNode::Kind::Parameter: return parameterText(*OKTDbParameter::cast(node.object), unit);
    case TreeNode::Kind::Picture: return pictureText(*OKTDbPicture::cast(node.object));
    case TreeNode::Kind::Relation:
    case TreeNode::Kind::Other: return withClass(node);
    case TreeNode::Kind::Misplaced: return withClass(node) + " (does not belong here)";
    case TreeNode::Kind::Missing: return idText(node.id) + " (not in this file)";
    case TreeNode::Kind::LooseCategories: return "Categories in no group";
    case TreeNode::Kind::LooseParameters: return "Parameters in no category";
    case TreeNode::Kind::Relations: return "Relations";
    case TreeNode::Kind::Pictures: return "Pictures";
    case TreeNode::Kind::Others: return "Other objects";
    }
    return "";
}

std::vector<Node> linesOf(std::vector<TreeNode> const &nodes, DisplayUnit const &unit)
{
    std::vector<Node> lines;
    for (TreeNode const &node : nodes)
    {
        std::string const more = node.below == TreeNode::Below::ShownAbove       ? ", shown above"
                                 : node.below == TreeNode::Below::ShownElsewhere ? ", with what it uses shown elsewhere"
                                                                                 : "";
        lines.push_back({textOf(node, unit) + more, linesOf(node.children, unit)});
    }
    return lines;
}

/// The environment variables select a locale with UTF-8.
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

bool printTree(std::string const &name, Options const &options, DisplayUnit const &unit)
{
    InputFile const input(utf8Path(name));
    PoolFile const file = readPool(input.path(), unit.factor, input.name(), terminalProgress());
    std::string text = sentence("{} {}\n", quoted(file.pool->poolName()), idText(file.pool->objectId()));
    std::optional<Waiting> waiting(std::in_place, printable(input.name()), static_cast<std::uintmax_t>(file.size));
    std::vector<Node> nodes = linesOf(treeOf(*file.pool), unit);
    addLines(nodes, "Client modules", moduleLines(file, ModulePlace::Path));
    addLines(nodes, "Classes that need a client module", missingLines(file, ModulePlace::Path));
    append(text, options.inAscii || !isUtf8Locale() ? kAscii : kBoxes, "", nodes);
    waiting.reset();
    if (!options.isQuiet)
        print(text);
    if (!file.fault.empty())
        printError(file.fault);
    return file.fault.empty();
}

int tree(Options const &options)
{
    DisplayUnit const *const unit = findUnit(options.unit);
    if (unit == nullptr)
        throw Failure("--unit", "", "there is no unit " + options.unit);
    bool ok = true;
    std::vector<std::string> const files = options.files.expanded([&ok](std::string const &fault) {
        ok = false;
        printError(fault);
    });
    std::int64_t faulty = 0;
    for (std::string const &file : files)
    {
        if (options.asJson && !options.isQuiet)
        {
            ok = printJson(file, *findLengthUnit(options.unit), treeJson) && ok;
            continue;
        }
        try
        {
            if (files.size() > 1 && !options.isQuiet)
                print(sentence("{}{}:\n", &file == files.data() ? "" : "\n", printable(std::string_view(file))));
            faulty += printTree(file, options, *unit) ? 0 : 1;
        }
        catch (Failure const &failure)
        {
            printError(failure.what());
            ++faulty;
        }
    }
    ok = ok && faulty == 0;
    if (options.isQuiet)
        print(sentence("{}, {} with a fault\n", plural(static_cast<std::int64_t>(files.size()), "file"), faulty));
    return ok ? kDone : kFailed;
}

} // namespace

void addTree(CommandLine &line)
{
    DeclaredCommand const command(
        line, "tree",
        "Prints pool files as trees: groups, their categories, parameters and what these use; relations, pictures.");
    command.footer("0 done, 1 the file cannot be read or has a fault, 2 wrong usage.");
    auto const options = std::make_shared<Options>();
    addFiles(command, options->files);
    command.option("-u,--unit", options->unit, "the unit that lengths are shown in: mm (default), cm, m, in, ft")
        .oneOf(unitNames());
    command.flag("--ascii", options->inAscii, "branches in plain characters, as where the locale is not UTF-8");
    command.flag("--json", options->asJson, "one JSON object a line, one for each file: names, values, units, ids");
    command.flag("-q,--quiet", options->isQuiet, "only how many files there are and how many of them have a fault");
    command.onParsed([&line, options] {
        options->files.check();
        line.run = [options] { return tree(*options); };
    });
}

} // namespace okt
