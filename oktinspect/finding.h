// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktplatform.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace okt
{

/// A named value of a finding, used in its sentence: a number of bytes or objects, an offset, a measured number, a name in
/// UTF-8 (a class name as its bytes are in the file), an id.
struct Fact
{
    using Value = std::variant<std::int64_t, double, std::string, _GUID>;

    char const *name; ///< a literal
    Value value;
};

/// A result of the inspection of a pool file, as data. sentenceOf (findingtext.h) makes the text of it.
struct Finding
{
    enum class Severity
    {
        Error,
        Warning, ///< nothing is damaged for certain, but somebody should look at it
        Info     ///< nothing is wrong; something could not be looked at
    };

    enum class Code
    {
        // the structure
        Header,       ///< the header is damaged
        HeaderSize,   ///< the size of the header at the start of the file is wrong or missing
        Object,       ///< damaged, or cut
        ForeignBytes, ///< bytes that belong to no object
        NotLoaded,    ///< an object that a load does not find
        ClassName,    ///< not a class name, or nearly that of another class
        UnknownClass, ///< one that needs a client module
        Id,           ///< an object without one
        DuplicateId,
        Order, ///< of the ids
        // what is in an object, or in the header
        Records,   ///< not those of the class
        ListCount, ///< not the number of the ids, or texts, after it
        Later,     ///< sections of a later release
        Library,   ///< the library cannot read the object, or writes it differently
        TooLarge,  ///< the object is not given to the library because of its size
        Number,
        Text,
        Type,
        Value,       ///< of a parameter: a wrong kind, or an implausible value
        PictureText, ///< the base64 text of a picture
        Image,       ///< the image of a picture
        ImageNotJudged,
        // references
        Missing,    ///< an id that is not in the file
        WrongClass, ///< the object has another class than expected
        Link,       ///< a list and its member that do not name each other
        ListedTwice,
        NotListed, ///< a picture that the header does not list
        Place,     ///< position or size of an object in the header
        // only of a recovered file
        Remnant ///< a whole object that may be the base of a damaged one
    };

    /// What exactly was found; one for each sentence. The comments list the facts. "noun" is the kind of the object, such as
    /// "parameter"; "fault" is a text from the check of records, base64 or an image.
    enum class What
    {
        // Header
        HeaderDamaged, ///< fault
        HeaderMembers, ///< (none): they are not those of a pool
        HeaderInner,   ///< class: of an object inside the header
        // HeaderSize
        NoHeaderSize,      ///< size
        HeaderSizeDiffers, ///< stated, size
        // Object, ForeignBytes, NotLoaded
        ObjectDamaged, ///< fault
        ForeignBytes,  ///< fault
        NotLoaded,     ///< class
        // ClassName, UnknownClass
        ClassNameNearly, ///< class, known: the class with nearly the same name
        ClassNameNone,   ///< class
        ClassByRecords,  ///< class, known: the class whose records it has
        UnknownClass,    ///< class, count; module: the client module that names it, if known
        // Id, DuplicateId, Order
        NoId,        ///< class
        NullId,      ///< noun
        DuplicateId, ///< first: where the object of that id begins
        Order,       ///< further: how many more objects
        // Records, ListCount
        OddRecord,         ///< class, fault
        FrameNameNearly,   ///< class, known
        FrameNameNone,     ///< class
        FrameNotDue,       ///< class, outer
        BaseMissing,       ///< class
        SectionFirst,      ///< class, section
        SectionBehind,     ///< class, section, last
        SectionNotDue,     ///< class, section, due
        SectionEnds,       ///< class, section, due: a kind of record or value
        VersionNone,       ///< class, version
        VersionDiffers,    ///< class, version, last: the last section
        MemberBehindLast,  ///< class, section, member: a kind
        MemberNotDue,      ///< class, section, member, due: kinds
        ListIsShort,       ///< class, section, count, of: "id" or "text"
        ListIsLong,        ///< the same
        ListCountNegative, ///< class, section, count
        // Later, Library, TooLarge
        LaterSections,      ///< count: of objects
        LibraryMembers,     ///< class
        LibraryInner,       ///< class, inner: the class of an object after its members
        WrittenDifferently, ///< class
        TooLarge,           ///< class, size
        // Number, Text: noun, except for the name of the pool
        MetricsFactorNone,  ///< number
        MetricsFactorOther, ///< number
        ValueOdd,           ///< noun, number
        CoordinateOdd,      ///< noun, number
        TextZero,           ///< at: index of the UTF-16 unit in the text
        TextControl,        ///< at
        TextHalf,           ///< at
        // Type, Value
        TypeUnknown,  ///< type
        ValueBool,    ///< number
        ValueNoFloat, ///< number
        ValueKind,    ///< kind
        LengthKind,   ///< kind: of a VARIANT
        LengthSize,   ///< number: metres
        // PictureText, Image, ImageNotJudged
        PictureText,    ///< fault
        ImageDamaged,   ///< format, at, size (bytes of the image), fault
        ImageOdd,       ///< the same
        ImageNotJudged, ///< format, where it is known
        // Missing, WrongClass; the id is in `named`, or in the fact "id" where it is in the file
        HeaderNamesMissing, ///< role
        ObjectNamesMissing, ///< noun, role
        IdOfNone,
        HeaderNamesNoPicture, ///< id
        ObjectNamesOther,     ///< noun, role, id, due: a noun
        // Link, ListedTwice, NotListed
        ListedTwice,    ///< noun, member (a noun), id
        ListedNotNamed, ///< noun (the member), list (a noun), id (of the list); other: the id of the one that it names, if any
        NamedNotListed, ///< noun, list, id
        PictureNotListed,
        // Place
        PlaceOfNone,  ///< role
        NoPlace,      ///< role, begin
        PlaceDiffers, ///< role, stated, statedSize, begin, size
        // Remnant
        Remnant,
        // reasons why an object is lost in a recovery
        BaseAlone,
        IdTaken, ///< id
        // where the fields of a new header come from: Header
        PoolIdFromOwner, ///< id
        PoolIdNew,
        PoolNameLost,
        ConstructFound, ///< id
        ConstructLost,
        IndexFound, ///< id
        IndexLost,
        PicturesFound, ///< count
        PicturesLost,
        IdsLost ///< names: of the fields, separated by a comma and a blank
    };

    Severity severity = Severity::Error;
    Code code = Code::Object;
    What what = What::ObjectDamaged;
    std::int64_t offset = 0;    ///< in bytes from the start of the file
    std::int64_t object = -1;   ///< offset of the object concerned; -1: the header, or the file
    std::optional<_GUID> id;    ///< of that object
    std::optional<_GUID> named; ///< the id that is missing
    std::vector<Fact> facts;

    /// Null: it has no such fact.
    Fact::Value const *fact(std::string_view name) const;
    /// The value of the fact; 0 or empty: there is no such fact.
    std::int64_t integer(std::string_view name) const;
    double real(std::string_view name) const;
    std::string text(std::string_view name) const;
    std::optional<_GUID> guid(std::string_view name) const;
};

/// Makes a finding with the code and the severity of `what`.
Finding makeFinding(Finding::What what, std::int64_t offset, std::vector<Fact> facts = {});

/// Id and name of an object, for messages.
struct ObjectLabel
{
    std::optional<_GUID> id;
    CString name; ///< of a parameter or a category

    /// There is neither.
    bool isEmpty() const { return !id && name.IsEmpty(); }
};

/// "error", "warning", "info".
char const *severityName(Finding::Severity severity);
/// The code as a word for programs: "missing", "picture-text". It stays the same in all releases.
char const *codeName(Finding::Code code);

/// The sums of an inspection.
struct Verdict
{
    std::int64_t objects = 0;
    std::int64_t errors = 0;
    std::int64_t warnings = 0;
    std::int64_t infos = 0;
};

/// Counts findings and passes them on.
class Findings
{
public:
    /// `onFinding` gets each finding when it is made; an empty function gets none.
    explicit Findings(std::function<void(Finding const &)> onFinding) : m_onFinding(std::move(onFinding)) {}

    /// Counts it by its severity and hands it on.
    void add(Finding const &finding);
    /// The numbers so far.
    Verdict const &verdict() const { return m_verdict; }
    /// One more object was looked at.
    void countObject() { ++m_verdict.objects; }

private:
    std::function<void(Finding const &)> m_onFinding;
    Verdict m_verdict;
};

/// Returns the name of the client module that contains a class; empty: none is known.
using ModuleLookup = std::function<std::optional<std::string>(std::string const &className)>;

} // namespace okt
