// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbparameter.h>

#include <oktdatabase/oktdbpool.h>
#include <oktdatabase/oktexpression.h>
#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktframe.h>
#include <oktdatabase/oktparametertypes.h>
#include <oktdatabase/oktwholeparameter.h>
#include <oktplatform/oktarena.h>
#include <oktplatform/oktdatabytes.h>
#include <oktplatform/oktwarning.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

namespace
{
constexpr double kFactorOne = 1e-20; // a factor whose distance from 1, squared, is at most this counts as 1

// The prompts of the types 3 to 75. 0 stands for a type without a prompt of its own.
constexpr unsigned int kFirstPromptType = 3;
constexpr unsigned int kTypePrompts[] = {
    1000, 1001, 1002, 1003,                                           //  3 material and diameter
    1004, 1005, 1006, 1007, 1008, 1009, 1010, 1011, 1012, 1013, 1014, //  7 hooks
    1015, 1016, 1017, 1018, 1019, 1020,                               // 18 anchors
    1021, 1022, 1023,                                                 // 24 bends
    1025, 1026, 1068, 1069, 1070, 1071,                               // 27 shape and view
    1027, 1028, 1029,                                                 // 33 extensions
    1030, 1031, 1032, 1033, 1034, 1035,                               // 36 quantity and distribution
    1037, 1038, 1039, 1040, 1041, 1042,                               // 42 alternate bars to rotation
    0,    1043, 1044, 1045,                                           // 48 no row; offsets
    1046, 1047, 1048, 1049, 1050, 1051, 1052, 1053, 1054,             // 52 mesh sheets
    1055, 1056, 1057, 1058, 1059, 1060,                               // 61 repartition and overlap
    1061, 1062, 1063, 1064, 1065, 1066, 1067,                         // 67 second covers, overlap and bend
    1072, 1073,                                                       // 74 further settings
};
static_assert(std::size(kTypePrompts) == 75 - kFirstPromptType + 1);

// The types 76 to 82 have constant texts, which are not looked up.
constexpr unsigned int kFirstConstantType = 76;
constexpr char16_t const *kConstantNames[] = {
    u"Hook position",      u"Index", u"Multiplication Factor", u"Repartition offset top", u"Repartition offset Bottom",
    u"Hidden length unit", u"Prefix"};
static_assert(std::size(kConstantNames) == 82 - kFirstConstantType + 1);

// With all data bytes zero, which the platform's own call does not promise.
tagVARIANT emptyVariant()
{
    tagVARIANT variant;
    std::memset(&variant, 0, sizeof variant);
    return variant;
}

// Raises for an array that somebody has locked, which stays. A kind that the platform does not know, as a damaged file may have
// it, owns nothing.
void clearVariant(tagVARIANT &variant)
{
    if (HRESULT const result = VariantClear(&variant); FAILED(result) && result != DISP_E_BADVARTYPE)
        throw COleException(result);
    variant = emptyVariant();
}

// Kinds whose data bytes are a pointer to something that the variant owns. They are no numbers: no factor applies to them.
bool ownsMemory(VARTYPE kind)
{
    return kind == VT_BSTR || kind == VT_DISPATCH || kind == VT_UNKNOWN || kind == VT_RECORD ||
           (kind & (VT_ARRAY | VT_VECTOR | VT_BYREF)) != 0;
}

CString textOf(tagVARIANT const &variant) { return variant.vt == VT_BSTR ? CString(variant.bstrVal) : CString(); }

// A system string as a variant that is freed at the end of a scope.
struct OwnedText
{
    explicit OwnedText(BSTR text) : variant(emptyVariant())
    {
        variant.vt = VT_BSTR;
        variant.bstrVal = text;
    }
    OwnedText(OwnedText const &) = delete;
    OwnedText &operator=(OwnedText const &) = delete;
    ~OwnedText() { VariantClear(&variant); }

    tagVARIANT variant;
};

// A deep copy of a variant that may share its string with the target. A failed one leaves the target of kind VT_ERROR and
// raises.
void copyVariant(tagVARIANT &target, tagVARIANT const &source)
{
    struct Copy
    {
        ~Copy() { VariantClear(&variant); }
        tagVARIANT variant = emptyVariant();
    } copy;
    HRESULT const result = VariantCopy(&copy.variant, const_cast<tagVARIANT *>(&source));
    clearVariant(target);
    target = std::exchange(copy.variant, emptyVariant());
    if (SUCCEEDED(result))
        return;
    target.vt = VT_ERROR;
    throw COleException(result);
}
} // namespace

void *OKTDbParameter::operator new(std::size_t size) { return ::operator new(size); }

void *OKTDbParameter::operator new(std::size_t size, std::nothrow_t const &tag) noexcept { return ::operator new(size, tag); }

void OKTDbParameter::operator delete(void *memory) noexcept
{
    if (OktIsInArena(memory))
        OktFreeInArena(memory);
    else
        ::operator delete(memory);
}

void OKTDbParameter::operator delete(void *memory, std::nothrow_t const &) noexcept { operator delete(memory); }

OKTDbParameter::OKTDbParameter() : m_varValue(emptyVariant()) { m_varValue.vt = VT_I4; }

OKTDbParameter::OKTDbParameter(ParamType const &type, OKTDbObjectId const &owner)
    : m_strUserName(getNameFromType(type)), m_nParamType(type), m_varValue(emptyVariant()), m_idOwner(owner)
{
}

OKTDbParameter::OKTDbParameter(OKTDbParameter const &other) : OKTDbObject(other), m_varValue(emptyVariant()) { *this = other; }

OKTDbParameter &OKTDbParameter::operator=(OKTDbParameter const &other)
{
    if (this == &other)
        return *this;
    try
    {
        OKTDbObject::operator=(other);
        m_strUserName = other.m_strUserName;
        m_nParamType = other.m_nParamType;
        copyVariant(m_varValue, other.m_varValue);
        m_nListIndex = other.m_nListIndex;
        m_idCategory = other.m_idCategory;
        m_idOwner = other.m_idOwner;
        m_strExpression = other.m_strExpression;
        m_strDescription = other.m_strDescription;
        m_tabIdsParams = other.m_tabIdsParams;
    }
    OKT_ANSWER_NOTHING
    return *this;
}

OKTDbParameter::~OKTDbParameter() { VariantClear(&m_varValue); }

// --- Value ---

void OKTDbParameter::setValue(tagVARIANT const &value)
try
{
    if (&value != &m_varValue)
        copyVariant(m_varValue, value);
}
OKT_ANSWER_NOTHING

// Stores a variant that the parameter comes to own.
void OKTDbParameter::takeValue(tagVARIANT &value, int listIndex)
{
    clearVariant(m_varValue);
    m_varValue = std::exchange(value, emptyVariant());
    m_nListIndex = listIndex;
}

void OKTDbParameter::takeNumber(std::int32_t value, int listIndex)
{
    tagVARIANT variant = emptyVariant();
    variant.vt = VT_I4;
    variant.lVal = value;
    takeValue(variant, listIndex);
}

void OKTDbParameter::setValue(double const &value, int const &listIndex)
try
{
    tagVARIANT variant = emptyVariant();
    variant.vt = VT_R8;
    variant.dblVal = value;
    takeValue(variant, listIndex);
}
OKT_ANSWER_NOTHING

void OKTDbParameter::setValue(long const &value, int const &listIndex)
try
{
    takeNumber(static_cast<std::int32_t>(value), listIndex);
}
OKT_ANSWER_NOTHING

void OKTDbParameter::setValue(int const &value, int const &listIndex)
try
{
    takeNumber(value, listIndex);
}
OKT_ANSWER_NOTHING

void OKTDbParameter::setValue(bool const &value, int const &listIndex)
try
{
    tagVARIANT variant = emptyVariant();
    variant.vt = VT_BOOL;
    variant.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
    takeValue(variant, listIndex);
}
OKT_ANSWER_NOTHING

void OKTDbParameter::setValue(wchar_t const *value, int const &listIndex)
try
{
    OwnedText text(value == nullptr ? nullptr : CString(value).AllocSysString());
    takeValue(text.variant, listIndex);
}
OKT_ANSWER_NOTHING

void OKTDbParameter::setValue(CString const &value, int const &listIndex)
try
{
    OwnedText text(value.AllocSysString());
    takeValue(text.variant, listIndex);
}
OKT_ANSWER_NOTHING

// These go by the overloads that a client's class may override.

void OKTDbParameter::setValue(char16_t const *value, int const &listIndex)
try
{
    if (value == nullptr)
        setValue(nullptr, listIndex);
    else
        setValue(CString(value), listIndex);
}
OKT_ANSWER_NOTHING

void OKTDbParameter::setValue(char const *value, int const &listIndex)
try
{
    if (value == nullptr)
        setValue(nullptr, listIndex);
    else
        setValue(CString(value), listIndex);
}
OKT_ANSWER_NOTHING

void OKTDbParameter::setValue(std::nullptr_t, int const &listIndex)
{
    setValue(static_cast<wchar_t const *>(nullptr), listIndex);
}

tagVARIANT OKTDbParameter::Value() const { return m_varValue; }

// --- Plain members ---

CString OKTDbParameter::UserName() const { return m_strUserName; }

void OKTDbParameter::setUserName(CString const &name, bool append)
try
{
    CString const code = append ? getListIndex() : CString();
    if (append && m_nListIndex != 0 && code.IsEmpty())
        return; // there was no memory for it, which is reported already
    CString full = name.Owned();
    if (!code.IsEmpty())
    {
        full += u' ';
        full += code;
    }
    m_strUserName = std::move(full);
}
OKT_ANSWER_NOTHING

ParamType OKTDbParameter::Type() const { return m_nParamType; }

void OKTDbParameter::setType(ParamType const &type) { m_nParamType = type; }

int OKTDbParameter::ListIndex() const { return m_nListIndex; }

void OKTDbParameter::setListIndex(int const &listIndex) { m_nListIndex = listIndex; }

OKTDbObjectId OKTDbParameter::Category() const { return m_idCategory; }

void OKTDbParameter::setCategory(OKTDbObjectId const &id) { m_idCategory = id; }

OKTDbObjectId OKTDbParameter::OwnerId() const { return m_idOwner; }

void OKTDbParameter::setOwnerId(OKTDbObjectId const &id) { m_idOwner = id; }

CString OKTDbParameter::Expression() const { return m_strExpression; }

void OKTDbParameter::setExpression(CString const &expression)
try
{
    m_strExpression = expression.Owned();
}
OKT_ANSWER_NOTHING

bool OKTDbParameter::isValidExpression() { return true; }

CString OKTDbParameter::Description() const { return m_strDescription; }

void OKTDbParameter::setDescription(CString const &description)
try
{
    m_strDescription = description.Owned();
}
OKT_ANSWER_NOTHING

IdArray OKTDbParameter::TabParams() const
try
{
    return m_tabIdsParams;
}
OKT_ANSWER_ZERO

void OKTDbParameter::setTabParams(IdArray const &ids)
try
{
    IdArray kept;
    for (OKTDbObjectId const &id : ids)
        kept.append(idForList(id));
    m_tabIdsParams = std::move(kept);
}
OKT_ANSWER_NOTHING

// --- Names ---

bool OKTDbParameter::isInDrawingUnits() const { return OktIsLengthType(m_nParamType); }

CString OKTDbParameter::getTypeName() const { return getNameFromType(m_nParamType); }

CString OKTDbParameter::getListIndex() const { return encodeListIndex(m_nListIndex); }

CString OKTDbParameter::getNameFromType(ParamType const &type)
try
{
    // As unsigned numbers, types below a table's first lie beyond its end.
    unsigned int const constant = static_cast<unsigned int>(type) - kFirstConstantType;
    if (constant < std::size(kConstantNames))
        return kConstantNames[constant];
    unsigned int const row = static_cast<unsigned int>(type) - kFirstPromptType;
    unsigned int const prompt = row < std::size(kTypePrompts) ? kTypePrompts[row] : 0;
    return ZnPrompts::getPrompt(prompt, L"OKTDATABASE", 0);
}
OKT_ANSWER_ZERO

CString OKTDbParameter::encodeListIndex(int const &index)
try
{
    CString code;
    if (index < 0)
    {
        // In unsigned arithmetic the smallest integer negates to itself, with its sign (quirk 53).
        code.Format(u"%d", static_cast<int>(0u - static_cast<unsigned int>(index)));
        return code;
    }
    // Bijective base 26: there is no digit for zero.
    char16_t letters[8] = {};
    int first = 7;
    for (int value = index - 1; value >= 0; value = value / 26 - 1)
        letters[--first] = static_cast<char16_t>(u'A' + value % 26);
    return CString(static_cast<char16_t const *>(letters + first));
}
OKT_ANSWER_ZERO

// --- Stream form ---

// The factor between drawing units and the stream, exactly 1 where nothing is to be converted. It comes by way of the owner.
double OKTDbParameter::conversionFactor() const
{
    double const factor = OKTDbPool::metricsFactorOf(m_idOwner.getPool());
    return (factor - 1.0) * (factor - 1.0) > kFactorOne ? factor : 1.0;
}

bool OKTDbParameter::writeValue(OKTFiler &filer) const
{
    bool const isLength = isInDrawingUnits();
    if (!isLength && m_nParamType != kQuantityExpression)
        return filer.writeVariant(u"m_varValue", m_varValue);

    // The name differs from the one of reading, whether or not anything is converted (quirk 45).
    CString const name = u"varConverted";
    double const factor = conversionFactor();
    if (factor == 1.0 || (isLength && ownsMemory(m_varValue.vt)))
        return filer.writeVariant(name, m_varValue);
    if (isLength)
    {
        tagVARIANT converted = m_varValue; // eight bytes of a double, whatever the kind says (quirk 46)
        OktSetDataAsDouble(converted, OktDataAsDouble(converted) / factor);
        return filer.writeVariant(name, converted);
    }
    std::optional<OwnedText> converted;
    bool const hasMemory =
        OktHasMemory([&] { converted.emplace(OktScaledExpression(textOf(m_varValue), 1.0 / factor).AllocSysString()); });
    return hasMemory && filer.writeVariant(name, converted->variant);
}

bool OKTDbParameter::readValue(OKTFiler &filer)
{
    // A filer overwrites the variant without freeing what it holds.
    if (ownsMemory(m_varValue.vt) && SUCCEEDED(VariantClear(&m_varValue)))
        m_varValue = emptyVariant();
    return filer.readVariant(u"m_varValue", m_varValue);
}

bool OKTDbParameter::convertAfterReading()
{
    double const factor = conversionFactor();
    if (factor == 1.0)
        return true;
    if (isInDrawingUnits())
    {
        if (!ownsMemory(m_varValue.vt))
            OktSetDataAsDouble(m_varValue, OktDataAsDouble(m_varValue) * factor);
        return true;
    }
    if (m_nParamType != kQuantityExpression)
        return true;
    return OktHasMemory([&] {
        // Another kind than a text becomes an empty text (quirk 48).
        bool const isText = m_varValue.vt == VT_BSTR;
        CString const text = isText ? OktScaledExpression(textOf(m_varValue), factor) : CString();
        OwnedText converted(text.AllocSysString());
        takeValue(converted.variant, m_nListIndex);
    });
}

FilerStatusDb OKTDbParameter::xmlOut(OKTFiler *filer) const
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (OKTWholeParameter::write(*this, *filer))
        return eFilerOk;
    if (!filer->beginWriteClass(u"Object", u"OKTDbParameter", 2))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlOut(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginWriteMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->writeString(u"m_strUserName", m_strUserName));
        frame.fold(filer->writeInt(u"m_nParamType", m_nParamType));
        frame.fold(writeValue(*filer));
        frame.fold(filer->writeInt(u"m_nListIndex", m_nListIndex));
        frame.fold(filer->writeObjectId(u"m_idCategory", m_idCategory));
        frame.fold(filer->writeObjectId(u"m_idOwner", m_idOwner));
        writeIdList(*filer, u"m_tabIdsParams", u"m_tabIdsParams.Length", m_tabIdsParams, frame);
        frame.fold(filer->writeString(u"m_strExpression", m_strExpression));
        filer->endWriteMembers();
    }
    if (filer->beginWriteMembers(2))
    {
        frame.enterSection();
        frame.fold(filer->writeString(u"m_strDescription", m_strDescription));
        filer->endWriteMembers();
    }
    filer->endWriteClass();
    return frame.status();
}
OKT_ANSWER_ZERO

FilerStatusDb OKTDbParameter::xmlIn(OKTFiler *filer)
try
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (OKTWholeParameter::read(*this, *filer))
        return convertAfterReading() ? eFilerOk : eFilerMemberFailed;
    if (!filer->beginReadClass(u"Object", u"OKTDbParameter"))
        return eFilerClassFailed;
    if (FilerStatusDb const status = OKTDbObject::xmlIn(filer); status != eFilerOk)
        return status;
    OKTFrame frame;
    if (filer->beginReadMembers(1))
    {
        frame.enterSection();
        frame.fold(filer->readString(u"m_strUserName", m_strUserName));
        frame.fold(filer->readInt(u"m_nParamType", m_nParamType));
        frame.fold(readValue(*filer));
        frame.fold(filer->readInt(u"m_nListIndex", m_nListIndex));
        frame.fold(filer->readObjectId(u"m_idCategory", m_idCategory));
        frame.fold(filer->readObjectId(u"m_idOwner", m_idOwner));
        readIdList(*filer, u"m_tabIdsParams", u"m_tabIdsParams.Length", m_tabIdsParams, frame);
        frame.fold(filer->readString(u"m_strExpression", m_strExpression));
        frame.fold(convertAfterReading()); // here, because it needs type and owner
        filer->endReadMembers();
    }
    if (filer->beginReadMembers(2))
    {
        frame.enterSection();
        frame.fold(filer->readString(u"m_strDescription", m_strDescription));
        filer->endReadMembers();
    }
    filer->endReadClass();
    return frame.status();
}
OKT_ANSWER_ZERO

OKT_STORED_CLASS_SOURCE(OKTDbParameter)
