// SPDX-License-Identifier: MIT
#include <python/binding/limits.h>

#include <python/binding/values.h>

#include <algorithm>

namespace okt::python
{

namespace
{

constexpr int kLongestText = 65535;
constexpr char kTooLong[] = ": a text of it has more than 65535 characters";
constexpr char kZero[] = ": its value has a character zero, behind which a file has nothing";

bool isTooLong(CString const &text) { return text.GetLength() > kLongestText; }

char const *faultOf(tagVARIANT const &value)
{
    if (value.vt != VT_BSTR || value.bstrVal == nullptr)
        return nullptr;
    UINT const length = SysStringLen(value.bstrVal);
    if (length > kLongestText)
        return kTooLong;
    return std::find(value.bstrVal, value.bstrVal + length, OLECHAR{0}) != value.bstrVal + length ? kZero : nullptr;
}

/// Looks at the texts that an object of a client module writes.
class TextLimits : public OKTMemoryFiler
{
public:
    using OKTMemoryFiler::OKTMemoryFiler;

    bool writeString(CString const &name, CString const &value) override
    {
        if (isTooLong(value))
            fault = kTooLong;
        return OKTMemoryFiler::writeString(name, value);
    }
    bool writeVariant(CString const &name, tagVARIANT const &value) override
    {
        if (char const *const found = faultOf(value))
            fault = found;
        return OKTMemoryFiler::writeVariant(name, value);
    }

    char const *fault = nullptr;
};

char const *faultOf(OKTDbPool &pool, OKTDbObject const &object)
{
    OKTRuntimeClass const *const descriptor = object.isA();
    if (descriptor == OKTDbParameter::desc() || descriptor == OKTDbGroupParameter::desc())
    {
        auto const &parameter = static_cast<OKTDbParameter const &>(object);
        bool const isLong =
            isTooLong(parameter.UserName()) || isTooLong(parameter.Expression()) || isTooLong(parameter.Description());
        return isLong ? kTooLong : faultOf(parameter.Value());
    }
    if (descriptor == OKTDbCategory::desc())
        return isTooLong(static_cast<OKTDbCategory const &>(object).CategoryName()) ? kTooLong : nullptr;
    if (descriptor == OKTDbGroupCategory::desc() || descriptor == OKTDbRelation::desc() ||
        descriptor == OKTDbParamRelation::desc() || descriptor == OKTDbPicture::desc())
        return nullptr; // they have no texts
    TextLimits filer(&pool);
    object.xmlOut(&filer);
    return filer.fault;
}

} // namespace

std::optional<std::string> unholdable(OKTDbPool &pool)
{
    if (isTooLong(pool.poolName()))
        return std::string("name of the pool: it has more than 65535 characters");
    int const count = pool.objectCount();
    for (int i = 0; i < count; ++i)
    {
        OKTDbObject *object = nullptr;
        if (pool.findObject(pool.objectAt(i), object) && object != nullptr)
            if (char const *const fault = faultOf(pool, *object))
                return nameForMessages(*object) + fault;
    }
    return std::nullopt;
}

std::string nameForMessages(OKTDbObject const &object)
{
    std::string text = object.isA()->ClassName().ToUtf8();
    if (std::optional<CString> const name = displayName(object))
        text += " \"" + name->Left(80).ToUtf8() + "\"";
    return text + " " + object.objectId().getGuidAsString(false).ToUtf8();
}

} // namespace okt::python
