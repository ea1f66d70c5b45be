// SPDX-License-Identifier: MIT
#include <oktinspect/finding.h>

#include <algorithm>

namespace okt
{

char const *severityName(Finding::Severity severity)
{
    switch (severity)
    {
    case Finding::Severity::Error: return "error";
    case Finding::Severity::Warning: return "warning";
    case Finding::Severity::Info: break;
    }
    return "info";
}

char const *codeName(Finding::Code code)
{
    using Code = Finding::Code;
    switch (code)
    {
    case Code::Header: return "header";
    case Code::HeaderSize: return "header-size";
    case Code::Object: return "object";
    case Code::ForeignBytes: return "foreign-bytes";
    case Code::NotLoaded: return "not-loaded";
    case Code::ClassName: return "class-name";
    case Code::UnknownClass: return "unknown-class";
    case Code::Id: return "id";
    case Code::DuplicateId: return "duplicate-id";
    case Code::Order: return "order";
    case Code::Records: return "records";
    case Code::ListCount: return "list-count";
    case Code::Later: return "later-release";
    case Code::Library: return "library";
    case Code::TooLarge: return "too-large";
    case Code::Number: return "number";
    case Code::Text: return "text";
    case Code::Type: return "type";
    case Code::Value: return "value";
    case Code::PictureText: return "picture-text";
    case Code::Image: return "image";
    case Code::ImageNotJudged: return "image-not-judged";
    case Code::Missing: return "missing";
    case Code::WrongClass: return "wrong-class";
    case Code::Link: return "link";
    case Code::ListedTwice: return "listed-twice";
    case Code::NotListed: return "not-listed";
    case Code::Place: return "place";
    case Code::Remnant: break;
    }
    return "remnant";
}

namespace
{

std::pair<Finding::Code, Finding::Severity> natureOf(Finding::What what)
{
    using What = Finding::What;
    using Code = Finding::Code;
    constexpr auto kError = Finding::Severity::Error;
    constexpr auto kWarning = Finding::Severity::Warning;
    constexpr auto kInfo = Finding::Severity::Info;
    switch (what)
    {
    case What::HeaderDamaged:
    case What::HeaderMembers:
    case What::HeaderInner: return {Code::Header, kError};
    case What::NoHeaderSize:
    case What::HeaderSizeDiffers: return {Code::HeaderSize, kError};
    case What::ObjectDamaged:
    case What::BaseAlone: return {Code::Object, kError};
    case What::ForeignBytes: return {Code::ForeignBytes, kWarning};
    case What::NotLoaded: return {Code::NotLoaded, kError};
    case What::ClassNameNearly:
    case What::ClassNameNone:
    case What::ClassByRecords: return {Code::ClassName, kWarning};
    case What::UnknownClass: return {Code::UnknownClass, kInfo};
    case What::NoId:
    case What::NullId: return {Code::Id, kWarning};
    case What::DuplicateId:
    case What::IdTaken: return {Code::DuplicateId, kError};
    case What::Order: return {Code::Order, kWarning};
    case What::OddRecord:
    case What::FrameNameNearly:
    case What::FrameNameNone:
    case What::SectionFirst:
    case What::SectionBehind:
    case What::VersionNone:
    case What::VersionDiffers:
    case What::MemberBehindLast: return {Code::Records, kWarning};
    case What::FrameNotDue:
    case What::BaseMissing:
    case What::SectionNotDue:
    case What::SectionEnds:
    case What::MemberNotDue: return {Code::Records, kError};
    case What::ListIsShort:
    case What::ListIsLong:
    case What::ListCountNegative: return {Code::ListCount, kError};
    case What::LaterSections: return {Code::Later, kInfo};
    case What::LibraryMembers:
    case What::LibraryInner: return {Code::Library, kError};
    case What::WrittenDifferently: return {Code::Library, kWarning};
    case What::TooLarge: return {Code::TooLarge, kInfo};
    case What::MetricsFactorNone: return {Code::Number, kError};
    case What::MetricsFactorOther:
    case What::ValueOdd:
    case What::CoordinateOdd: return {Code::Number, kWarning};
    case What::TextZero:
    case What::TextControl:
    case What::TextHalf: return {Code::Text, kWarning};
    case What::TypeUnknown: return {Code::Type, kWarning};
    case What::ValueBool:
    case What::ValueNoFloat:
    case What::ValueKind:
    case What::LengthKind:
    case What::LengthSize: return {Code::Value, kWarning};
    case What::PictureText: return {Code::PictureText, kError};
    case What::ImageDamaged: return {Code::Image, kError};
    case What::ImageOdd: return {Code::Image, kWarning};
    case What::ImageNotJudged: return {Code::ImageNotJudged, kInfo};
    case What::HeaderNamesMissing:
    case What::ObjectNamesMissing: return {Code::Missing, kError};
    case What::IdOfNone: return {Code::Missing, kWarning};
    case What::HeaderNamesNoPicture:
    case What::ObjectNamesOther: return {Code::WrongClass, kError};
    case What::ListedTwice: return {Code::ListedTwice, kWarning};
    case What::ListedNotNamed:
    case What::NamedNotListed: return {Code::Link, kWarning};
    case What::PictureNotListed: return {Code::NotListed, kWarning};
    case What::PlaceOfNone:
    case What::NoPlace: return {Code::Place, kWarning};
    case What::PlaceDiffers: return {Code::Place, kError};
    case What::Remnant: return {Code::Remnant, kWarning};
    case What::PoolIdFromOwner:
    case What::PoolIdNew:
    case What::PoolNameLost:
    case What::ConstructFound:
    case What::ConstructLost:
    case What::IndexFound:
    case What::IndexLost:
    case What::PicturesFound:
    case What::PicturesLost:
    case What::IdsLost: break;
    }
    return {Code::Header, kWarning};
}

template <typename Kind> Kind const *factAs(Finding const &finding, std::string_view name)
{
    Fact::Value const *const value = finding.fact(name);
    return value == nullptr ? nullptr : std::get_if<Kind>(value);
}

} // namespace

Fact::Value const *Finding::fact(std::string_view name) const
{
    auto const found = std::find_if(facts.begin(), facts.end(), [name](Fact const &each) { return each.name == name; });
    return found == facts.end() ? nullptr : &found->value;
}

std::int64_t Finding::integer(std::string_view name) const
{
    auto const *const value = factAs<std::int64_t>(*this, name);
    return value == nullptr ? 0 : *value;
}

double Finding::real(std::string_view name) const
{
    auto const *const value = factAs<double>(*this, name);
    return value == nullptr ? 0 : *value;
}

std::string Finding::text(std::string_view name) const
{
    auto const *const value = factAs<std::string>(*this, name);
    return value == nullptr ? std::string() : *value;
}

std::optional<_GUID> Finding::guid(std::string_view name) const
{
    auto const *const value = factAs<_GUID>(*this, name);
    return value == nullptr ? std::nullopt : std::optional<_GUID>(*value);
}

Finding makeFinding(Finding::What what, std::int64_t offset, std::vector<Fact> facts)
{
    auto const [code, severity] = natureOf(what);
    Finding finding;
    finding.severity = severity;
    finding.code = code;
    finding.what = what;
    finding.offset = offset;
    finding.facts = std::move(facts);
    return finding;
}

void Findings::add(Finding const &finding)
{
    switch (finding.severity)
    {
    case Finding::Severity::Error: ++m_verdict.errors; break;
    case Finding::Severity::Warning: ++m_verdict.warnings; break;
    case Finding::Severity::Info: ++m_verdict.infos; break;
    }
    m_onFinding(finding);
}

} // namespace okt
