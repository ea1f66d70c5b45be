// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/progress.h>

#include <oktreport/keyfacts.h>
#include <oktreport/pagevalue.h>
#include <oktreport/relationgraph.h>

#include <oktformat/imageformat.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace okt
{

// What the page tells, as plain values: found once, apart from how it is laid out. All texts are HTML: what comes from a file is
// escaped. Offsets and sizes are bytes of the file.

struct PageParameter
{
    std::optional<std::size_t> box; ///< its place in the graph; nothing where the page has shown it before
    std::string id;
    std::string name;
    std::string type; ///< "Spacing A", "type 99"; empty where the name says the same
    std::string kind; ///< "whole number"
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
    std::string name;      ///< of the object; may be empty
    std::string id;
    std::string type; ///< of a parameter: "37 VT_R8"
};

/// Everything that the page tells of a file.
struct TemplateFacts
{
    std::string anchor; ///< begins the names of the places in the page
    std::string title;
    std::string file;  ///< its name without the folder
    std::string fault; ///< the line about the first fault, without the folder; empty when all is well
    bool isRead = false;

    std::uint64_t size = 0;
    std::uint64_t objects = 0; ///< that were read
    std::uint64_t parameters = 0;
    std::uint64_t categories = 0;
    std::vector<KeyFact> keyFacts;
    std::string longName; ///< the whole name of the pool where the title is the beginning of it
    std::vector<PageFact> header;
    std::vector<PageGroup> groups;
    std::vector<PageRelation> relations;
    std::vector<PagePicture> pictures;
    std::vector<PageObject> others;
    std::vector<PageFact> unread; ///< class and id; place and reason
    std::vector<PageStretch> stretches;
    RelationGraph graph;
};

/// What the page says of a file that cannot be read: its name and the line for the user.
TemplateFacts factsOfUnread(std::filesystem::path const &shownAs, std::string const &faultLine);

/// Reads a pool file once for each unit. A file with a fault has the facts that could be read, and one of which not even a header
/// can be read has its line; neither throws. `shownAs` is how the page calls the file. `faultLine` receives the line for the user,
/// empty when all is well. `onProgress` hears the bytes that are done; where it answers false, Cancelled is thrown.
TemplateFacts factsOf(std::filesystem::path const &path, std::filesystem::path const &shownAs, std::string &faultLine,
                      OnProgress const &onProgress = {});

/// The templates in the order of the page, by their titles, and the anchor of each.
void arrange(std::vector<TemplateFacts> &templates);

} // namespace okt
