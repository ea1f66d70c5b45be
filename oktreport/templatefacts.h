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

// The contents of the page as plain values, without its layout. All texts are HTML: what comes from a file is
// escaped. Offsets and sizes are bytes of the file.

struct PageParameter
{
    std::optional<std::size_t> box; ///< its index in the graph; empty: the page has shown it before
    std::string id;
    std::string name;
    std::string type; ///< "Spacing A", "type 99"; empty: the same as the name
    std::string kind; ///< "whole number"
    std::string expression;
    std::string description;
    std::vector<std::string> uses;
    PageValue value;
    bool isLink = true; ///< false: a list entry that is not a parameter; `name` says what it is
};

/// A category, or the parameters in no category.
struct PageCategory
{
    std::string title;
    std::string id;
    std::vector<PageParameter> parameters;
    bool isAbove = false; ///< listed again: its parameters are shown where it was listed first
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
    std::string uri; ///< empty: browsers cannot show the format
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

/// A range of the file.
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

/// Everything that the page shows about a file.
struct TemplateFacts
{
    std::string anchor; ///< prefix of the anchors in the page
    std::string title;
    std::string file;  ///< its name without the folder
    std::string fault; ///< the line about the first fault, without the folder; empty when all is well
    bool isRead = false;

    std::uint64_t size = 0;
    std::uint64_t objects = 0; ///< that were read
    std::uint64_t parameters = 0;
    std::uint64_t categories = 0;
    std::vector<KeyFact> keyFacts;
    std::string longName; ///< the whole name of the pool, if the title is shortened
    std::vector<PageFact> header;
    std::vector<PageGroup> groups;
    std::vector<PageRelation> relations;
    std::vector<PagePicture> pictures;
    std::vector<PageObject> others;
    std::vector<PageFact> unread; ///< class and id; place and reason
    std::vector<PageStretch> stretches;
    RelationGraph graph;
};

/// The facts of a file that cannot be read: its name and the line for the user.
TemplateFacts factsOfUnread(std::filesystem::path const &shownAs, std::string const &faultLine);

/// Reads a pool file once for each unit. A file with a fault has the facts that could be read; a file without a readable header
/// has only its line. Neither throws. `shownAs` is the path to show in the page. `faultLine` receives the line for the user,
/// empty: no fault. Throws Cancelled if `onProgress` returns false.
TemplateFacts factsOf(std::filesystem::path const &path, std::filesystem::path const &shownAs, std::string &faultLine,
                      OnProgress const &onProgress = {});

/// Sorts the templates by title, in the order of the page, and sets their anchors.
void arrange(std::vector<TemplateFacts> &templates);

} // namespace okt
