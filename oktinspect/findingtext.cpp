// SPDX-License-Identifier: MIT
#include <oktinspect/findingtext.h>

#include <oktinspect/valuetext.h>

#include <oktformat/guids.h>
#include <oktformat/sentence.h>
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
        case What::HeaderInner: return sentence("the header is damaged: {} is inside of it", withArticle(className()));
        case What::NoHeaderSize:
            return sentence("the file does not begin with the size of its header, which is {}", integer("size"));
        case What::HeaderSizeDiffers:
            return sentence("the file begins with {} for the size of its header, which is {}", integer("stated"),
                            integer("size"));
        case What::NotLoaded:
            return sentence("a load does not find {} that begins here: no end of a frame stands in front of it",
                            withArticle(className()));
        case What::ClassNameNearly:
            return sentence("{}{} is; the name may be damaged", notKnown(), quoted(CString(text("known").c_str())));
        case What::ClassByRecords:
            return sentence("{}its records are those of an {}; the name may be damaged", notKnown(), text("known"));
        case What::ClassNameNone: return sentence("the class name {} is none that a class can have", quoted(className()));
        case What::UnknownClass: return unknownClass();
        case What::NoId: return sentence("this {} has no id", printable(className()));
        case What::NullId: return sentence("the id of this {} is null", noun());
        case What::DuplicateId:
            return sentence("the id {} of this object is in the file already, at byte {}", idText(m_finding.id.value_or(kNoId)),
                            integer("first"));
        case What::IdTaken: return sentence("the id {} of this object is in the file already", id());
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
            return sentence("{} {} sections of a later release, which are not looked into", objects(),
                            m_finding.integer("count") == 1 ? "has" : "have");
        case What::LibraryMembers:
            return sentence("damaged: the members of this {} are not those of its class", printable(className()));
        case What::LibraryInner:
            return sentence("damaged: behind the members of this {} stands {}, which is still inside of it",
                            printable(className()), withArticle(CString(text("inner").c_str())));
        case What::WrittenDifferently:
            return sentence("its class would write this {} differently: it is of another release, or damaged",
                            printable(className()));
        case What::TooLarge:
            return sentence("this {} of {} is too large to be read here, only its records are checked", printable(className()),
                            plural(m_finding.integer("size"), "byte"));
        case What::MetricsFactorNone: return sentence("the metrics factor is {}", real());
        case What::MetricsFactorOther:
            return sentence("the header states the metrics factor {}, which is 1 in every file", real());
        case What::ValueOdd: return sentence("a value of this {} is {}", noun(), real());
        case What::CoordinateOdd: return sentence("a coordinate of this {} is {}", noun(), real());
        case What::TextZero: return sentence("{} has a zero at {}, where a reader ends it", textSubject(), integer("at"));
        case What::TextControl: return sentence("{} has a control character at {}", textSubject(), integer("at"));
        case What::TextHalf: return sentence("{} has half a character at {}", textSubject(), integer("at"));
        case What::TypeUnknown: return sentence("the type {} of this parameter is none that is known", integer("type"));
        case What::ValueBool:
            return sentence("the value of this parameter is a bool of {}, which is 0 or -1", integer("number"));
        case What::ValueNoFloat:
            return sentence("the value of this parameter is of the kind VT_R4, but {} is no float", real());
        case What::ValueKind:
            return sentence("the value of this parameter is of the kind {}, which no file can hold", integer("kind"));
        case What::LengthKind:
            return sentence("the value of this parameter is a length by its type, but of the kind {}",
                            kindName(static_cast<VARTYPE>(m_finding.integer("kind"))));
        case What::LengthSize: return sentence("the length of this parameter is {} metres", real());
        case What::PictureText: return sentence("this picture has a damaged text: {}", text("fault"));
        case What::ImageDamaged: return image("damaged");
        case What::ImageOdd: return image("odd");
        case What::ImageNotJudged:
            return sentence("the image of this picture is not judged: {}",
                            text("format").empty() ? "it has no known format" : sentence("its format is {}", text("format")));
        default: return ofNames();
        }
    }

    std::string ofNames() const
    {
        switch (m_finding.what)
        {
        case What::HeaderNamesMissing: return sentence("the header names {} for {}, which is not in the file", named(), role());
        case What::ObjectNamesMissing:
            return sentence("the {} {} of this {} is not in the file", text("role"), named(), noun());
        case What::IdOfNone: return sentence("the id {} in this object is of none in the file", named());
        case What::HeaderNamesNoPicture: return sentence("the header names {} for a picture, which is none", id());
        case What::ObjectNamesOther: return sentence("the {} {} of this {} is no {}", text("role"), id(), noun(), text("due"));
        case What::ListedTwice: return sentence("this {} lists the {} {} twice", noun(), text("member"), id());
        case What::ListedNotNamed:
        {
            std::optional<_GUID> const other = m_finding.guid("other");
            return sentence("the {} {} lists this {}, which names {}", text("list"), id(), noun(),
                            other ? sentence("the {} {}", text("list"), idText(*other)) : "none");
        }
        case What::NamedNotListed:
            return sentence("this {} names the {} {}, which does not list it", noun(), text("list"), id());
        case What::PictureNotListed: return "this picture is not in the list of the header";
        case What::PlaceOfNone: return sentence("the header gives a place for {}, but names none", role());
        case What::NoPlace: return sentence("the header gives no place for {}, which is at byte {}", role(), integer("begin"));
        case What::PlaceDiffers:
            return sentence("the header places {} at byte {}, {} long, but it is at byte {}, {} long", role(),
                            integer("stated"), plural(m_finding.integer("statedSize"), "byte"), integer("begin"),
                            plural(m_finding.integer("size"), "byte"));
        default: return ofRecords();
        }
    }

    std::string ofRecords() const
    {
        std::string const name = printable(std::string_view(text("class")));
        std::string const section = sentence("section {} of {}", integer("section"), name);
        switch (m_finding.what)
        {
        case What::OddRecord: return sentence("in this {} stands {}", printable(className()), text("fault"));
        case What::FrameNameNearly: return sentence("the class name {} stands here as \"{}\"", text("known"), name);
        case What::FrameNameNone: return sentence("the class name \"{}\" is none that a class can have", name);
        case What::FrameNotDue:
            return sentence("the frame of {} stands in that of {}, where it is not due", name,
                            printable(std::string_view(text("outer"))));
        case What::BaseMissing: return sentence("the frame of the base is missing in that of {}", name);
        case What::SectionFirst: return sentence("a {} is the first", section);
        case What::SectionBehind: return sentence("a {} stands behind section {}", section, integer("last"));
        case What::SectionNotDue: return sentence("{} stands where section {} is due", section, integer("due"));
        case What::SectionEnds: return sentence("{} ends where {} is due", section, kind("due"));
        case What::VersionNone:
            return sentence("the class version {} of {} is none that a class can have", integer("version"), name);
        case What::VersionDiffers:
            return sentence("the class version {} of {} is not that of its sections, the last of which is {}",
                            integer("version"), name, integer("last"));
        case What::MemberBehindLast: return sentence("{} stands behind the last member of {}", kind("member"), section);
        case What::MemberNotDue: return sentence("{} stands where {} is due, in {}", kind("member"), kind("due"), section);
        case What::ListIsShort:
        case What::ListIsLong:
            return sentence("a list in {} has {}{} than its count says", section,
                            plural(m_finding.integer("count"), text("of")),
                            m_finding.what == What::ListIsShort ? " fewer" : " more");
        case What::ListCountNegative: return sentence("the count of a list in {} is {}", section, integer("count"));
        default: return ofNewHeader();
        }
    }

    std::string ofNewHeader() const
    {
        switch (m_finding.what)
        {
        case What::PoolIdFromOwner: return sentence("the id of the pool is taken from the owner of its parameters, {}", id());
        case What::PoolIdNew: return "the id of the pool is lost, it gets a new one";
        case What::PoolNameLost: return "the name of the pool is lost";
        case What::ConstructFound: return sentence("the construct is found by its class, {}", id());
        case What::ConstructLost: return "the id of the construct is lost";
        case What::IndexFound: return sentence("the index is found by its class, {}", id());
        case What::IndexLost: return "the id of the index is lost";
        case What::PicturesFound:
            return sentence("the list of pictures ends in {} found by their class, in the order of the file", integer("count"));
        case What::PicturesLost: return "the end of the list of pictures is lost";
        default: return sentence("the ids of these are lost: {}", text("names"));
        }
    }

    std::string unknownClass() const
    {
        std::string const module = text("module");
        return sentence(
            "{} of the class \"{}\", which is not known here: only the records are checked, and a load stops at the first; {}",
            objects(), printable(std::string_view(text("class"))),
            module.empty() ? "a client module that brings the class is loaded with --module FILE"
                           : sentence("{} names it; --module loads it", module));
    }

    std::string order() const
    {
        std::int64_t const further = m_finding.integer("further");
        return sentence(
            "a pool is saved in the order of its ids, but the id of this object is below that of one in front of it{}",
            further > 0 ? sentence("; so are those of {}", plural(further, "further object")) : "");
    }

    std::string image(std::string const &state) const
    {
        return sentence("the {} of this picture is {} at byte {} of {}: {}", text("format"), state, integer("at"),
                        integer("size"), text("fault"));
    }

    std::string notKnown() const { return sentence("the class {} is not known here, but ", quoted(className())); }
    std::string textSubject() const
    {
        return m_finding.object < 0 ? "the name of the pool" : sentence("a text of this {}", noun());
    }
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
    return sentence("{}, {}{}", plural(verdict.errors, "error"), plural(verdict.warnings, "warning"),
                    verdict.infos > 0 ? sentence(", {}", plural(verdict.infos, "info")) : "");
}

std::string labelText(ObjectLabel const &label)
{
    std::string text = label.id ? idText(*label.id) : "";
    if (!label.name.IsEmpty())
        text += (text.empty() ? "" : " ") + quoted(label.name);
    return text;
}

} // namespace okt
