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

/// One of the things that the sentence of a finding is made of: a number of bytes or objects, a place, a measured number, a name in
/// UTF-8 (a class name as its bytes are in the file), an id.
struct Fact
{
    using Value = std::variant<std::int64_t, double, std::string, _GUID>;

    char const *name; ///< a literal
    Value value;
};

/// Something about a pool file that somebody should know. It is data alone: sentenceOf (findingtext.h) says it in words.
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
        Header,       ///< it is damaged
        HeaderSize,   ///< the file begins with another size than it has
        Object,       ///< damaged, or cut
        ForeignBytes, ///< that belong to no object
        NotLoaded,    ///< an object that a load does not find
        ClassName,    ///< that is none, or all but that of another class
        UnknownClass, ///< one that needs a client module
        Id,           ///< an object without one
        DuplicateId,
        Order, ///< of the ids
        // what is in an object, or in the header
        Records,   ///< others than those of its class
        ListCount, ///< another than that of the ids, or pieces, behind it
        Later,     ///< sections of a later release
        Library,   ///< does not read it, or writes it differently
        TooLarge,  ///< to be read by the library
        Number,
        Text,
        Type,
        Value,       ///< of a parameter: its kind, or one that is out of all reason
        PictureText, ///< of base64
        Image,       ///< in a picture
        ImageNotJudged,
        // what names something
        Missing,    ///< an id that is not in the file
        WrongClass, ///< an object of another class than is meant
        Link,       ///< a list and its member that do not name each other
        ListedTwice,
        NotListed, ///< a picture, by the header
        Place,     ///< of an object, as the header has it
        // only of a recovered file
        Remnant ///< a whole object that may be the base of a damaged one
    };

    /// What a code means here; one for each sentence. Behind each stand its facts. "noun" is what an object is, such as
    /// "parameter"; "fault" is what the walk over records, base64 or an image met, in words.
    enum class What
    {
        // Header
        HeaderDamaged, ///< fault
        HeaderMembers, ///< they are not those of a pool
        HeaderInner,   ///< class: that stands inside of it
        // HeaderSize
        NoHeaderSize,      ///< size
        HeaderSizeDiffers, ///< stated, size
        // Object, ForeignBytes, NotLoaded
        ObjectDamaged, ///< fault
        ForeignBytes,  ///< fault
        NotLoaded,     ///< class
        // ClassName, UnknownClass
        ClassNameNearly, ///< class, known: the class that it is all but named as
        ClassNameNone,   ///< class
        ClassByRecords,  ///< class, known: the class whose records it has
        UnknownClass,    ///< class, count; module: the one that names it, where one is known
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
        LibraryInner,       ///< class, inner: the class that stands behind its members
        WrittenDifferently, ///< class
        TooLarge,           ///< class, size
        // Number, Text: noun, but for the name of the pool
        MetricsFactorNone,  ///< number
        MetricsFactorOther, ///< number
        ValueOdd,           ///< noun, number
        CoordinateOdd,      ///< noun, number
        TextZero,           ///< at: the unit of 16 bits in the text
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
        // why an object is lost in a recovery
        BaseAlone,
        IdTaken, ///< id
        // what a new header is made of: Header
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
    std::int64_t offset = 0;    ///< in bytes from the start of the file, as all places
    std::int64_t object = -1;   ///< where the object begins that it is about; -1: the header, or the file
    std::optional<_GUID> id;    ///< of that object
    std::optional<_GUID> named; ///< what is missing
    std::vector<Fact> facts;

    /// Null: it has no such fact.
    Fact::Value const *fact(std::string_view name) const;
    /// The same as what it is; 0 and empty where there is none.
    std::int64_t integer(std::string_view name) const;
    double real(std::string_view name) const;
    std::string text(std::string_view name) const;
    std::optional<_GUID> guid(std::string_view name) const;
};

/// A finding about the file, with the code and the severity that go with it.
Finding makeFinding(Finding::What what, std::int64_t offset, std::vector<Fact> facts = {});

/// An object by what people know it by.
struct ObjectLabel
{
    std::optional<_GUID> id;
    CString name; ///< of a parameter or a category

    /// There is neither.
    bool isEmpty() const { return !id && name.IsEmpty(); }
};

/// "error", "warning", "info".
char const *severityName(Finding::Severity severity);
/// The code for programs: "missing", "picture-text". It does not change with releases.
char const *codeName(Finding::Code code);

/// What came of looking through a file.
struct Verdict
{
    std::int64_t objects = 0;
    std::int64_t errors = 0;
    std::int64_t warnings = 0;
    std::int64_t infos = 0;
};

/// Counts findings and hands them on.
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

/// The client module that brings a class, as messages name it; nothing: none is known.
using ModuleLookup = std::function<std::optional<std::string>(std::string const &className)>;

} // namespace okt
