// SPDX-License-Identifier: MIT
#include <oktinspect/findingtext.h>

#include <oktinspect/valuetext.h>

#include <oktformat/guids.h>
#include <oktformat/text.h>

namespace okt
{

namespace
{

/// The sentences of one finding.
class Sentence
{
public:
    explicit Sentence(Finding const &finding) : m_finding(finding) {}

    std::string whole() const
    {
        bool const isOfHeader =
            m_finding.object < 0 && (m_finding.code == Finding::Code::Records || m_finding.code == Finding::Code::ListCount);
        return (isOfHeader ? "the header: " : "") + plain();
    }

private:
    using What = Finding::What;

    std::string plain() const
    {
        switch (m_finding.what)
        {
        case What::HeaderDamaged:
        case What::ObjectDamaged:
        case What::ForeignBytes: return text("fault");
        case What::HeaderMembers: return "the header is damaged: its members are not those of a pool";
        case What::HeaderInner: return "the header is damaged: " + withArticle(className()) + " is inside of it";
        case What::NoHeaderSize: return "the file does not begin with the size of its header, which is " + integer("size");
        case What::HeaderSizeDiffers:
            return "the file begins with " + integer("stated") + " for the size of its header, which is " + integer("size");
        case What::NotLoaded:
            return "a load does not find " + withArticle(className()) +
                   " that begins here: no end of a frame stands in front of it";
        case What::ClassNameNearly: return notKnown() + quoted(CString(text("known").c_str())) + " is; the name may be damaged";
        case What::ClassByRecords:
            return notKnown() + "its records are those of an " + text("known") + "; the name may be damaged";
        case What::ClassNameNone: return "the class name " + quoted(className()) + " is none that a class can have";
        case What::UnknownClass: return unknownClass();
        case What::NoId: return "this " + printable(className()) + " has no id";
        case What::NullId: return "the id of this " + noun() + " is null";
        case What::DuplicateId:
            return "the id " + idText(m_finding.id.value_or(kNoId)) + " of this object is in the file already, at byte " +
                   integer("first");
        case What::IdTaken: return "the id " + id() + " of this object is in the file already";
        case What::Order: return order();
        case What::BaseAlone: return "nothing is left of it but the frame of its base";
        case What::Remnant: return "it stands beside damaged bytes and may be the base of another object";
        default: return ofContents();
        }
    }

    std::string ofContents() const
    {
        switch (m_finding.what)
        {
        case What::LaterSections:
            return objects() + (m_finding.integer("count") == 1 ? " has" : " have") +
                   " sections of a later release, which are not looked into";
        case What::LibraryMembers:
            return "damaged: the members of this " + printable(className()) + " are not those of its class";
        case What::LibraryInner:
            return "damaged: behind the members of this " + printable(className()) + " stands " +
                   withArticle(CString(text("inner").c_str())) + ", which is still inside of it";
        case What::WrittenDifferently:
            return "its class would write this " + printable(className()) +
                   " differently: it is of another release, or damaged";
        case What::TooLarge:
            return "this " + printable(className()) + " of " + plural(m_finding.integer("size"), "byte") +
                   " is too large to be read here, only its records are checked";
        case What::MetricsFactorNone: return "the metrics factor is " + real();
        case What::MetricsFactorOther: return "the header states the metrics factor " + real() + ", which is 1 in every file";
        case What::ValueOdd: return "a value of this " + noun() + " is " + real();
        case What::CoordinateOdd: return "a coordinate of this " + noun() + " is " + real();
        case What::TextZero: return textSubject() + " has a zero at " + integer("at") + ", where a reader ends it";
        case What::TextControl: return textSubject() + " has a control character at " + integer("at");
        case What::TextHalf: return textSubject() + " has half a character at " + integer("at");
        case What::TypeUnknown: return "the type " + integer("type") + " of this parameter is none that is known";
        case What::ValueBool: return "the value of this parameter is a bool of " + integer("number") + ", which is 0 or -1";
        case What::ValueNoFloat: return "the value of this parameter is of the kind VT_R4, but " + real() + " is no float";
        case What::ValueKind:
            return "the value of this parameter is of the kind " + integer("kind") + ", which no file can hold";
        case What::LengthKind:
            return "the value of this parameter is a length by its type, but of the kind " +
                   kindName(static_cast<VARTYPE>(m_finding.integer("kind")));
        case What::LengthSize: return "the length of this parameter is " + real() + " metres";
        case What::PictureText: return "this picture has a damaged text: " + text("fault");
        case What::ImageDamaged: return image("damaged");
        case What::ImageOdd: return image("odd");
        case What::ImageNotJudged:
            return "the image of this picture is not judged: " +
                   (text("format").empty() ? "it has no known format" : "its format is " + text("format"));
        default: return ofNames();
        }
    }

    std::string ofNames() const
    {
        switch (m_finding.what)
        {
        case What::HeaderNamesMissing: return "the header names " + named() + " for " + role() + ", which is not in the file";
        case What::ObjectNamesMissing:
            return "the " + text("role") + " " + named() + " of this " + noun() + " is not in the file";
        case What::IdOfNone: return "the id " + named() + " in this object is of none in the file";
        case What::HeaderNamesNoPicture: return "the header names " + id() + " for a picture, which is none";
        case What::ObjectNamesOther: return "the " + text("role") + " " + id() + " of this " + noun() + " is no " + text("due");
        case What::ListedTwice: return "this " + noun() + " lists the " + text("member") + " " + id() + " twice";
        case What::ListedNotNamed:
        {
            std::optional<_GUID> const other = m_finding.guid("other");
            return "the " + text("list") + " " + id() + " lists this " + noun() + ", which names " +
                   (other ? "the " + text("list") + " " + idText(*other) : "none");
        }
        case What::NamedNotListed:
            return "this " + noun() + " names the " + text("list") + " " + id() + ", which does not list it";
        case What::PictureNotListed: return "this picture is not in the list of the header";
        case What::PlaceOfNone: return "the header gives a place for " + role() + ", but names none";
        case What::NoPlace: return "the header gives no place for " + role() + ", which is at byte " + integer("begin");
        case What::PlaceDiffers:
            return "the header places " + role() + " at byte " + integer("stated") + ", " +
                   plural(m_finding.integer("statedSize"), "byte") + " long, but it is at byte " + integer("begin") + ", " +
                   plural(m_finding.integer("size"), "byte") + " long";
        default: return ofRecords();
        }
    }

    std::string ofRecords() const
    {
        std::string const name = printable(std::string_view(text("class")));
        std::string const section = "section " + integer("section") + " of " + name;
        switch (m_finding.what)
        {
        case What::OddRecord: return "in this " + printable(className()) + " stands " + text("fault");
        case What::FrameNameNearly: return "the class name " + text("known") + " stands here as \"" + name + "\"";
        case What::FrameNameNone: return "the class name \"" + name + "\" is none that a class can have";
        case What::FrameNotDue:
            return "the frame of " + name + " stands in that of " + printable(std::string_view(text("outer"))) +
                   ", where it is not due";
        case What::BaseMissing: return "the frame of the base is missing in that of " + name;
        case What::SectionFirst: return "a " + section + " is the first";
        case What::SectionBehind: return "a " + section + " stands behind section " + integer("last");
        case What::SectionNotDue: return section + " stands where section " + integer("due") + " is due";
        case What::SectionEnds: return section + " ends where " + kind("due") + " is due";
        case What::VersionNone:
            return "the class version " + integer("version") + " of " + name + " is none that a class can have";
        case What::VersionDiffers:
            return "the class version " + integer("version") + " of " + name +
                   " is not that of its sections, the last of which is " + integer("last");
        case What::MemberBehindLast: return kind("member") + " stands behind the last member of " + section;
        case What::MemberNotDue: return kind("member") + " stands where " + kind("due") + " is due, in " + section;
        case What::ListIsShort:
        case What::ListIsLong:
            return "a list in " + section + " has " + plural(m_finding.integer("count"), text("of")) +
                   (m_finding.what == What::ListIsShort ? " fewer" : " more") + " than its count says";
        case What::ListCountNegative: return "the count of a list in " + section + " is " + integer("count");
        default: return ofNewHeader();
        }
    }

    std::string ofNewHeader() const
    {
        switch (m_finding.what)
        {
        case What::PoolIdFromOwner: return "the id of the pool is taken from the owner of its parameters, " + id();
        case What::PoolIdNew: return "the id of the pool is lost, it gets a new one";
        case What::PoolNameLost: return "the name of the pool is lost";
        case What::ConstructFound: return "the construct is found by its class, " + id();
        case What::ConstructLost: return "the id of the construct is lost";
        case What::IndexFound: return "the index is found by its class, " + id();
        case What::IndexLost: return "the id of the index is lost";
        case What::PicturesFound:
            return "the list of pictures ends in " + integer("count") + " found by their class, in the order of the file";
        case What::PicturesLost: return "the end of the list of pictures is lost";
        default: return "the ids of these are lost: " + text("names");
        }
    }

    std::string unknownClass() const
    {
        std::string const module = text("module");
        return objects() + " of the class \"" + printable(std::string_view(text("class"))) +
               "\", which is not known here: only the records are checked, and a load stops at the first; " +
               (module.empty() ? "a client module that brings the class is loaded with --module FILE"
                               : module + " names it; --module loads it");
    }

    std::string order() const
    {
        std::int64_t const further = m_finding.integer("further");
        return "a pool is saved in the order of its ids, but the id of this object is below that of one in front of it" +
               (further > 0 ? "; so are those of " + plural(further, "further object") : "");
    }

    std::string image(std::string const &state) const
    {
        return "the " + text("format") + " of this picture is " + state + " at byte " + integer("at") + " of " +
               integer("size") + ": " + text("fault");
    }

    std::string notKnown() const { return "the class " + quoted(className()) + " is not known here, but "; }
    std::string textSubject() const { return m_finding.object < 0 ? "the name of the pool" : "a text of this " + noun(); }
    std::string objects() const { return plural(m_finding.integer("count"), "object"); }
    std::string role() const { return (text("role") == "picture" ? "a " : "the ") + text("role"); }
    std::string noun() const { return text("noun"); }
    std::string id() const { return idText(m_finding.guid("id").value_or(kNoId)); }
    std::string named() const { return idText(m_finding.named.value_or(kNoId)); }
    std::string real() const { return number(m_finding.real("number")); }
    std::string integer(char const *name) const { return std::to_string(m_finding.integer(name)); }
    std::string text(char const *name) const { return m_finding.text(name); }
    CString className() const { return CString(text("class").c_str()); }
    /// A kind of record or value.
    std::string kind(char const *name) const
    {
        std::string const plain = text(name);
        return (plain == "id" || plain == "8-bit text" ? "an " : "a ") + plain;
    }

    Finding const &m_finding;
};

} // namespace

std::string sentenceOf(Finding const &finding) { return Sentence(finding).whole(); }

std::string findingsText(Verdict const &verdict)
{
    return plural(verdict.errors, "error") + ", " + plural(verdict.warnings, "warning") +
           (verdict.infos > 0 ? ", " + plural(verdict.infos, "info") : "");
}

std::string labelText(ObjectLabel const &label)
{
    std::string text = label.id ? idText(*label.id) : "";
    if (!label.name.IsEmpty())
        text += (text.empty() ? "" : " ") + quoted(label.name);
    return text;
}

} // namespace okt
