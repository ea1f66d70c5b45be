// SPDX-License-Identifier: MIT
#include <oktinspect/objectcheck.h>

#include <oktinspect/classrecords.h>
#include <oktinspect/libraryread.h>
#include <oktinspect/valuecheck.h>

#include <oktformat/guids.h>
#include <oktinspect/imagecheck.h>
#include <oktinspect/objectread.h>
#include <oktinspect/picturetext.h>

#include <oktdatabase/oktdbparameter.h>

#include <algorithm>
#include <cmath>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;
using What = Finding::What;

constexpr std::int32_t kNone = ObjectTable::kNone;

// A larger object is not given to the library, which makes several copies of it.
constexpr std::int64_t kLargestRead = std::int64_t(1) << 26;

// Implausible lengths, in metres.
constexpr double kLongest = 1e7;
constexpr double kShortest = 1e-12;

/// What a member of a known class refers to.
struct Reference
{
    char const *role = nullptr; ///< null: the class is not known
    KnownClass target = KnownClass::Other;
    bool isParent = false;
    bool isMember = false; ///< of a list
};

Reference referenceOf(StoredValue const &value)
{
    if (value.section != 1)
        return {};
    switch (value.owner)
    {
    case KnownClass::Parameter:
        if (value.ordinal == 4)
            return {"category", KnownClass::Category, true, false};
        if (value.ordinal == 5)
            return {"owner", KnownClass::Other, false, false};
        return {"parameter", KnownClass::Parameter, false, false};
    case KnownClass::Category:
        if (value.ordinal == 0)
            return {"group", KnownClass::GroupCategory, true, false};
        return {"parameter", KnownClass::Parameter, false, true};
    case KnownClass::GroupCategory: return {"category", KnownClass::Category, false, true};
    case KnownClass::ParamRelation: return {"parameter", KnownClass::Parameter, false, false};
    default: return {};
    }
}

bool isValueOfParameter(StoredValue const &value)
{
    return value.nested == 0 && value.section == 1 && value.owner == KnownClass::Parameter && value.kind == Kind::Variant;
}

bool isLength(std::int32_t type)
{
    OKTDbParameter parameter;
    parameter.setType(type);
    return parameter.isInDrawingUnits();
}

} // namespace

void ObjectCheck::add(What what, std::int64_t at, std::vector<Fact> facts) { add(makeFinding(what, at, std::move(facts))); }

void ObjectCheck::add(Finding finding)
{
    ObjectTable::Entry const &self = m_objects.at(m_index);
    finding.object = self.begin;
    finding.id = self.id;
    m_findings.add(finding);
}

void ObjectCheck::check(std::int32_t index)
{
    m_index = index;
    m_type = -1;
    records();
    ValueWalk walk(m_source, m_objects.at(index).begin);
    while (walk.next())
        value(walk.value());
    if (m_reader == Reader::Library)
        byLibrary(walk.classNames());
    else
        byRecords(walk.classNames());
}

void ObjectCheck::records()
{
    RecordCheck const check = checkRecords(m_source, m_objects.at(m_index).begin);
    m_astrayAt = -1;
    for (RecordFault const &fault : check.faults)
    {
        add(fault.finding);
        m_astrayAt = fault.isAstray ? fault.finding.offset : m_astrayAt;
    }
    if (check.isLater && ++m_laterCount == 1)
        m_firstLater = m_objects.at(m_index).begin;
}

void ObjectCheck::value(StoredValue const &value)
{
    std::string const noun = nounOf(m_objects.at(m_index).known);
    numbers(value);
    if (std::optional<TextFault> const fault = textFault(m_source, value))
        add(fault->what, value.begin, {{"noun", noun}, {"at", fault->at}});
    if (m_astrayAt >= 0 && value.begin >= m_astrayAt)
        return;
    if (value.kind == Kind::Id)
        reference(value);
    if (value.nested > 0 || value.section != 1 || value.owner != KnownClass::Parameter)
        return;
    if (value.ordinal == 1 && value.kind == Kind::Long)
        m_type = checkType(value);
    if (isValueOfParameter(value))
        parameterValue(value, m_type);
}

void ObjectCheck::numbers(StoredValue const &value)
{
    NumberFault fault{};
    // A length has bounds of its own.
    if (!findNumberFault(value, fault) || (!fault.isNone && isValueOfParameter(value) && isLength(m_type)))
        return;
    Finding odd = makeFinding(value.kind == Kind::Point ? What::CoordinateOdd : What::ValueOdd, value.begin,
                              {{"noun", nounOf(m_objects.at(m_index).known)}, {"number", fault.number}});
    odd.severity = fault.isNone ? Finding::Severity::Error : Finding::Severity::Warning;
    add(std::move(odd));
}

void ObjectCheck::reference(StoredValue const &value)
{
    std::string const noun = nounOf(m_objects.at(m_index).known);
    if (value.owner == KnownClass::Object && value.nested == 0 && value.section == 1 && value.ordinal == 0)
    {
        if (isSame(value.id, kNoId))
            add(What::NullId, value.begin, {{"noun", noun}});
        return;
    }
    if (!value.isComplete || isSame(value.id, kNoId) || (m_pool && isSame(value.id, *m_pool)))
        return;
    Reference const expected = value.nested == 0 ? referenceOf(value) : Reference();
    std::int32_t const named = m_objects.find(value.id);
    if (named == kNone)
    {
        // An owner may be the pool itself, whose id stands in the header.
        if (!m_pool && expected.role != nullptr && expected.target == KnownClass::Other)
            return;
        // The meaning of an id of a newer release or in a nested frame is not known.
        if (expected.role == nullptr && (value.owner != KnownClass::Other || value.nested > 0))
            return;
        Finding missing = expected.role == nullptr
                              ? makeFinding(What::IdOfNone, value.begin)
                              : makeFinding(What::ObjectNamesMissing, value.begin, {{"noun", noun}, {"role", expected.role}});
        missing.named = value.id;
        add(std::move(missing));
        return;
    }
    if (expected.target != KnownClass::Other && m_objects.at(named).known != expected.target)
    {
        add(What::ObjectNamesOther, value.begin,
            {{"noun", noun}, {"role", expected.role}, {"id", value.id}, {"due", nounOf(expected.target)}});
        return;
    }
    if (expected.isParent)
        m_objects.at(m_index).parent = named;
    if (expected.isMember)
        m_listed.push_back({m_index, named});
}

std::int32_t ObjectCheck::checkType(StoredValue const &value)
{
    std::int32_t const type = value.number;
    // Not set, and the length without a name.
    bool const isKnown = type == -1 || type == 0 || !OKTDbParameter::getNameFromType(type).IsEmpty();
    if (!isKnown)
        add(What::TypeUnknown, value.begin, {{"type", std::int64_t{type}}});
    return type;
}

void ObjectCheck::parameterValue(StoredValue const &value, std::int32_t type)
{
    switch (value.variantKind)
    {
    case VT_EMPTY:
    case VT_NULL: return;
    case VT_BOOL:
        if (value.number != 0 && value.number != -1)
            add(What::ValueBool, value.begin, {{"number", std::int64_t{value.number}}});
        break;
    case VT_R4:
        // A float value, stored as a double.
        if (double const real = value.reals.empty() ? 0 : value.reals.front();
            std::isfinite(real) && static_cast<double>(static_cast<float>(real)) != real)
            add(What::ValueNoFloat, value.begin, {{"number", real}});
        break;
    case VT_I2:
    case VT_I4:
    case VT_R8:
    case VT_BSTR: break;
    default: add(What::ValueKind, value.begin, {{"kind", std::int64_t{value.variantKind}}}); return;
    }
    if (isLength(type))
        length(value);
}

void ObjectCheck::length(StoredValue const &value)
{
    if (value.variantValue != Kind::Double || value.reals.empty())
        add(What::LengthKind, value.begin, {{"kind", std::int64_t{value.variantKind}}});
    else if (double const size = std::abs(value.reals.front());
             std::isfinite(size) && size != 0 && (size > kLongest || size < kShortest))
        add(What::LengthSize, value.begin, {{"number", value.reals.front()}});
}

void ObjectCheck::byLibrary(std::vector<std::string> const &classNames)
{
    ObjectTable::Entry const &self = m_objects.at(m_index);
    Stretch stretch;
    stretch.begin = self.begin;
    stretch.end = self.begin + static_cast<std::int64_t>(self.size);
    stretch.classNames = classNames;
    if (self.size > kLargestRead)
    {
        add(What::TooLarge, self.begin, {{"class", stretch.className().ToUtf8()}, {"size", std::int64_t{self.size}}});
        return;
    }
    LibraryRead const read = readByLibrary(m_source, stretch);
    if (read.fault)
        add(*read.fault);
    else if (!read.isSameAgain)
        add(What::WrittenDifferently, self.begin, {{"class", stretch.className().ToUtf8()}});
    if (self.known != KnownClass::Picture)
        return;
    std::string const bytes = m_source.copy(self.begin, self.size);
    CByteArray picture;
    std::copy(bytes.begin(), bytes.end(), picture.Extend(static_cast<int>(bytes.size())));
    if (std::string const fault = pictureTextFault(picture); !fault.empty())
        add(What::PictureText, self.begin, {{"fault", fault}});
    else if (read.image)
        image(*read.image);
}

/// An object of one of the library's own classes, and with the records of that class, is one that the library reads.
void ObjectCheck::byRecords(std::vector<std::string> const &classNames)
{
    ObjectTable::Entry const &self = m_objects.at(m_index);
    std::string const name = classNames.empty() ? std::string() : classNames.front();
    if (self.size > kLargestRead || knownClass(name) == KnownClass::Other)
        return add(What::LibraryMembers, self.begin, {{"class", name}});
    if (self.known != KnownClass::Picture)
        return;
    if (std::optional<CByteArray> const read = imageOfPlainText(m_source, self.begin))
        image(*read);
    else
        add(What::PictureText, self.begin);
}

void ObjectCheck::image(CByteArray const &image)
{
    std::int64_t const begin = m_objects.at(m_index).begin;
    ImageCheck const check = checkImage(image);
    switch (check.state)
    {
    case ImageCheck::State::Whole: return;
    case ImageCheck::State::Odd:
    case ImageCheck::State::Damaged:
        return add(
            check.state == ImageCheck::State::Damaged ? What::ImageDamaged : What::ImageOdd, begin,
            {{"format", check.format}, {"at", check.at}, {"size", std::int64_t{image.GetSize()}}, {"fault", check.fault}});
    case ImageCheck::State::NotJudged: break;
    }
    add(What::ImageNotJudged, begin, check.format.empty() ? std::vector<Fact>() : std::vector<Fact>{{"format", check.format}});
}

} // namespace okt
