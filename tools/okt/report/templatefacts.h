#pragma once

#include "relationgraph.h"

#include <tools/okt/imageformat.h>
#include <tools/okt/poolprinter.h>
#include <tools/okt/poolreader.h>

#include <array>
#include <filesystem>
#include <string>
#include <vector>

namespace okt
{

// All texts here are HTML: what comes from a file is escaped.

/// A value in every unit of the page, as the library converts it.
struct PageValue
{
    std::array<std::string, kUnitNames.size()> texts; ///< with as many digits as a drawing needs
    std::array<std::string, kUnitNames.size()> exact; ///< with all digits
    std::string folded;                               ///< a long text, with its rest folded away
    bool isNumber = false;
    bool isAbsent = false;
    bool hasUnit = false; ///< it is a length, or holds some
};

struct PageParameter
{
    std::string anchor;
    std::string id;
    std::string name;
    std::string type; ///< "37 Spacing"
    std::string kind; ///< "VT_R8"
    std::string list;
    std::string expression;
    std::string description;
    std::vector<std::string> uses;
    PageValue value;
    bool isLink = true; ///< false: an entry of a list that leads to no parameter; `name` tells to what
};

/// A category, or what stands in none.
struct PageCategory
{
    std::string title;
    std::string id;
    std::vector<PageParameter> parameters;
    bool isAbove = false; ///< listed once more: its parameters stand where it was listed first
};

struct PageGroup
{
    std::string title; ///< empty: no group at all
    std::string id;
    std::vector<PageCategory> categories;
};

struct PageRelation
{
    std::string className;
    std::string id;
    std::vector<std::string> members;
};

struct PagePicture
{
    std::string label; ///< "Picture 0"
    std::string id;
    std::uint64_t size = 0;
    ImageFormat format;
    std::string uri; ///< empty where browsers do not show the format
    std::string camera;
};

/// A line of a list of names and values.
struct PageFact
{
    std::string name;
    std::string value;
};

struct PageObject
{
    std::string className;
    std::string id;
    std::string note;
    std::vector<PageFact> members;
};

/// A piece of the file.
struct PageStretch
{
    enum class Kind
    {
        Header,
        Object,
        Fault, ///< a cut or damaged object
        Gap    ///< bytes of no object
    };
    Kind kind = Kind::Object;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
    std::string className; ///< HTML, as all texts
    std::string name;      ///< of the object, in quotation marks; may be empty
};

/// Everything that the page tells of a file.
struct TemplateFacts
{
    std::string anchor;
    std::string title;
    std::string file;  ///< its name without the folder
    std::string fault; ///< the line about the first fault, without the folder; empty when all is well
    bool isRead = false;

    std::uint64_t size = 0;
    std::uint64_t objects = 0; ///< that were read
    std::uint64_t parameters = 0;
    std::uint64_t categories = 0;
    std::vector<PageFact> header;
    std::vector<PageGroup> groups;
    std::vector<PageRelation> relations;
    std::vector<PagePicture> pictures;
    std::vector<PageObject> others;
    std::vector<PageFact> unread; ///< class and id; place and reason
    std::vector<PageStretch> stretches;
    RelationGraph graph;
};

/// Reads a pool file once for each unit. One of which not even a header can be read has its facts too. `anchor` begins the names
/// of the places in the page. `faultLine` receives the line for the user, empty when all is well.
TemplateFacts factsOf(std::filesystem::path const &path, std::string const &anchor, std::string &faultLine);

} // namespace okt
