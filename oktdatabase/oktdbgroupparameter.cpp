// SPDX-License-Identifier: MIT
#include <oktdatabase/oktdbgroupparameter.h>

#include <oktdatabase/oktframe.h>
#include <oktplatform/oktdatabytes.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace
{
// The element of that id, or null. The copy takes the cache of the look-up, so that the list keeps none.
OKTDbParameter *elementOf(OKTDbObjectId id) { return OKTDbParameter::cast(id); }
} // namespace

OKTDbGroupParameter::OKTDbGroupParameter() = default;

// A copy is a default object that is assigned to. NOLINTNEXTLINE(bugprone-copy-constructor-init)
OKTDbGroupParameter::OKTDbGroupParameter(OKTDbGroupParameter const &other) : OKTDbParameter() { *this = other; }

OKTDbGroupParameter &OKTDbGroupParameter::operator=(OKTDbGroupParameter const &other)
{
    try
    {
        OKTDbParameter::operator=(other);
        m_tabElements = other.m_tabElements;
        m_tabElementNames = other.m_tabElementNames;
    }
    OKT_ANSWER_NOTHING
    return *this;
}

OKTDbGroupParameter::~OKTDbGroupParameter() = default;

void OKTDbGroupParameter::setValue(tagVARIANT const &value)
try
{
    // The array is attached as it is. Until it is detached again, the end of this scope destroys it (quirk 56).
    tagVARIANT image = value;
    COleSafeArray array;
    array.Attach(image);
    if (array.GetDim() != 1)
        return;
    LONG lower = 0;
    LONG upper = 0;
    array.GetLBound(1, &lower);
    array.GetUBound(1, &upper);
    void *data = nullptr;
    array.AccessData(&data);

    // Whatever the kind of the elements, the data are taken as doubles (quirk 58). What lies outside them gives 0.
    std::int64_t const entries = static_cast<std::int64_t>(upper) - lower + 1;
    UINT const elementSize = SafeArrayGetElemsize(array.parray);
    std::int64_t const room = entries * elementSize;
    for (int k = 0; k < entries && k < m_tabElements.getSize(); ++k)
    {
        tagVARIANT entry;
        VariantInit(&entry);
        entry.vt = VT_R8;
        entry.dblVal = 0;
        std::int64_t const offset = std::int64_t{8} * k;
        if (offset + 8 <= room)
            entry.dblVal = OktDoubleOfBytes(static_cast<unsigned char const *>(data) + offset, std::min(elementSize, 8u));
        if (OKTDbParameter *const element = elementOf(m_tabElements.at(k)))
            element->setValue(entry);
    }
    array.UnaccessData();
    array.Detach();
}
OKT_ANSWER_NOTHING

void OKTDbGroupParameter::addElement(OKTDbObjectId id)
try
{
    OKTDbParameter const *const element = OKTDbParameter::cast(id);
    if (element == nullptr || m_tabElements.contains(id))
        return;
    CString const name = element->UserName();
    int const length = name.GetLength();
    int place = 0;
    for (; place < m_tabElements.getSize(); ++place)
    {
        CString const &there = m_tabElementNames[place];
        int const lengthThere = there.GetLength();
        if (length < lengthThere || (length == lengthThere && name.CompareNoCase(there) < 0))
            break;
    }
    m_tabElements.insertAt(place, idForList(id));
    try
    {
        m_tabElementNames.InsertAt(place, name);
    }
    catch (...)
    {
        m_tabElements.removeAt(place); // the two lists stay in step
        throw;
    }
}
OKT_ANSWER_NOTHING

void OKTDbGroupParameter::removeElement(OKTDbObjectId id)
try
{
    int const place = m_tabElements.findIndex(id);
    if (place < 0)
        return;
    m_tabElements.removeAt(place);
    m_tabElementNames.RemoveAt(place);
}
OKT_ANSWER_NOTHING

void OKTDbGroupParameter::eraseAll()
{
    m_tabElements.removeAll();
    m_tabElementNames.RemoveAll();
}

void OKTDbGroupParameter::getAllElements(IdArray &ids)
try
{
    ids = m_tabElements;
}
OKT_ANSWER_NOTHING

void OKTDbGroupParameter::ValuesVariant(tagVARIANT &out)
try
{
    COleSafeArray array;
    array.CreateOneDim(VT_R8, static_cast<DWORD>(m_tabElements.getSize()));
    for (LONG i = 0; i < m_tabElements.getSize(); ++i)
    {
        double value = 0.0;
        OKTDbParameter const *const element = elementOf(m_tabElements.at(i));
        if (element != nullptr && element->Value().vt == VT_R8)
            value = element->Value().dblVal;
        array.PutElement(&i, &value);
    }
    VariantClear(&out);
    out = array.Detach();
}
OKT_ANSWER_NOTHING

void OKTDbGroupParameter::UserNamesVariant(tagVARIANT &out)
try
{
    COleSafeArray array;
    array.CreateOneDim(VT_BSTR, static_cast<DWORD>(m_tabElements.getSize()));
    for (LONG i = 0; i < m_tabElements.getSize(); ++i)
    {
        OKTDbParameter const *const element = elementOf(m_tabElements.at(i));
        CString const code = element == nullptr ? CString() : element->getListIndex(); // not the user name (quirk 57)
        if (element != nullptr && element->ListIndex() != 0 && code.IsEmpty())
            throw std::bad_alloc(); // it was reported already, and no code is not what stands there
        std::unique_ptr<OLECHAR, void (*)(BSTR)> const text(code.AllocSysString(), &SysFreeString);
        array.PutElement(&i, text.get());
    }
    VariantClear(&out);
    out = array.Detach();
}
OKT_ANSWER_NOTHING

OKT_STORED_CLASS_SOURCE(OKTDbGroupParameter)
