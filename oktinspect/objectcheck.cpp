#include <oktinspect/objectcheck.h>

#include <oktinspect/classrecords.h>
#include <oktinspect/libraryread.h>
#include <oktinspect/valuecheck.h>

#include <oktformat/guids.h>
#include <oktformat/text.h>
#include <oktinspect/imagecheck.h>
#include <oktinspect/objectread.h>
#include <oktinspect/picturetext.h>
#include <oktinspect/valuetext.h>

#include <oktdatabase/oktdbparameter.h>

#include <algorithm>
#include <cmath>

namespace okt
{

namespace
{

using Kind = StoredValue::Kind;
using Severity = Finding::Severity;
using Code = Finding::Code;

constexpr std::int32_t kNone = ObjectTable::kNone;

// A larger object is not given to the library, which keeps several copies of it.
constexpr std::int64_t kLargestRead = std::int64_t(1) << 26;

// Lengths in metres that no drawing has.
constexpr double kLongest = 1e7;
constexpr double kShortest = 1e-12;

/// What a member of a known class is that names another object.
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

void ObjectCheck::add(Severity severity, Code code, std::int64_t at, std::string const &text, std::optional<_GUID> named)
{
    ObjectTable::Entry const &self = m_objects.at(m_index);
    m_findings.add({severity, code, at, self.begin, self.id, named, text});
}

void ObjectCheck::check(std::int32_t index)
{
    m_index = index;
    m_type = -1;
    records();
    ValueWalk walk(m_source, m_objects.at(index).begin);
    while (walk.next())
        value(walk.value());
    byLibrary(walk.classNames());
}

void ObjectCheck::records()
{
    RecordCheck const check = checkRecords(m_source, m_objects.at(m_index).begin);
    m_astrayAt = -1;
    for (RecordFault const &fault : check.faults)
    {
        add(fault.severity, fault.code, fault.at, fault.text);
        m_astrayAt = fault.isAstray ? fault.at : m_astrayAt;
    }
    if (check.isLater && ++m_laterCount == 1)
        m_firstLater = m_objects.at(m_index).begin;
}

void ObjectCheck::value(StoredValue const &value)
{
    std::string const noun = nounOf(m_objects.at(m_index).known);
    numbers(value);
    if (std::string const fault = textFault(m_source, value); !fault.empty())
        add(Severity::Warning, Code::Text, value.begin, "a text of this " + noun + " " + fault);
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
    add(fault.isNone ? Severity::Error : Severity::Warning, Code::Number, value.begin,
        std::string(value.kind == Kind::Point ? "a coordinate" : "a value") + " of this " +
            nounOf(m_objects.at(m_index).known) + " is " + number(fault.number));
}

void ObjectCheck::reference(StoredValue const &value)
{
    std::string const noun = nounOf(m_objects.at(m_index).known);
    if (value.owner == KnownClass::Object && value.nested == 0 && value.section == 1 && value.ordinal == 0)
    {
        if (isSame(value.id, kNoId))
            add(Severity::Warning, Code::Id, value.begin, "the id of this " + noun + " is null");
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
        // What a newer release or a nested frame means by an id is not known.
        if (expected.role == nullptr && value.owner == KnownClass::Other && value.nested == 0)
            add(Severity::Warning, Code::Missing, value.begin,
                "the id " + idText(value.id) + " in this object is of none in the file", value.id);
        else if (expected.role != nullptr)
            add(Severity::Error, Code::Missing, value.begin,
                "the " + std::string(expected.role) + " " + idText(value.id) + " of this " + noun + " is not in the file",
                value.id);
        return;
    }
    if (expected.target != KnownClass::Other && m_objects.at(named).known != expected.target)
    {
        add(Severity::Error, Code::WrongClass, value.begin,
            "the " + std::string(expected.role) + " " + idText(value.id) + " of this " + noun + " is no " +
                nounOf(expected.target));
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
        add(Severity::Warning, Code::Type, value.begin,
            "the type " + std::to_string(type) + " of this parameter is none that is known");
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
            add(Severity::Warning, Code::Value, value.begin,
                "the value of this parameter is a bool of " + std::to_string(value.number) + ", which is 0 or -1");
        break;
    case VT_R4:
        // It was a float before it was written as a double.
        if (double const real = value.reals.empty() ? 0 : value.reals.front();
            std::isfinite(real) && static_cast<double>(static_cast<float>(real)) != real)
            add(Severity::Warning, Code::Value, value.begin,
                "the value of this parameter is of the kind VT_R4, but " + number(real) + " is no float");
        break;
    case VT_I2:
    case VT_I4:
    case VT_R8:
    case VT_BSTR: break;
    default:
        add(Severity::Warning, Code::Value, value.begin,
            "the value of this parameter is of the kind " + std::to_string(value.variantKind) + ", which no file can hold");
        return;
    }
    if (isLength(type))
        length(value);
}

void ObjectCheck::length(StoredValue const &value)
{
    if (value.variantValue != Kind::Double || value.reals.empty())
        add(Severity::Warning, Code::Value, value.begin,
            "the value of this parameter is a length by its type, but of the kind " +
                kindName(static_cast<VARTYPE>(value.variantKind)));
    else if (double const size = std::abs(value.reals.front());
             std::isfinite(size) && size != 0 && (size > kLongest || size < kShortest))
        add(Severity::Warning, Code::Value, value.begin,
            "the length of this parameter is " + number(value.reals.front()) + " metres");
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
        add(Severity::Info, Code::TooLarge, self.begin,
            "this " + printable(stretch.className()) + " of " + plural(self.size, "byte") +
                " is too large to be read here, only its records are checked");
        return;
    }
    LibraryRead const read = readByLibrary(m_source, stretch);
    if (!read.fault.empty())
        add(Severity::Error, Code::Library, self.begin, "damaged: " + read.fault);
    else if (!read.isSameAgain)
        add(Severity::Warning, Code::Library, self.begin,
            "its class would write this " + printable(stretch.className()) +
                " differently: it is of another release, or damaged");
    if (self.known != KnownClass::Picture)
        return;
    std::string const bytes = m_source.copy(self.begin, self.size);
    CByteArray picture;
    std::copy(bytes.begin(), bytes.end(), picture.Extend(static_cast<int>(bytes.size())));
    if (std::string const fault = pictureTextFault(picture); !fault.empty())
        add(Severity::Error, Code::PictureText, self.begin, "this picture has a damaged text: " + fault);
    else if (read.image)
        image(*read.image);
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
    {
        bool const isDamaged = check.state == ImageCheck::State::Damaged;
        add(isDamaged ? Severity::Error : Severity::Warning, Code::Image, begin,
            "the " + check.format + " of this picture is " + (isDamaged ? "damaged" : "odd") + " at byte " +
                std::to_string(check.at) + " of " + std::to_string(image.GetSize()) + ": " + check.fault);
        return;
    }
    case ImageCheck::State::NotJudged: break;
    }
    add(Severity::Info, Code::ImageNotJudged, begin,
        "the image of this picture is not judged: " +
            (check.format.empty() ? "it has no known format" : "its format is " + check.format));
}

} // namespace okt
