// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobject.h>
#include <oktplatform/oktvariant.h>

#include <cstddef>
#include <new>

/// The type number of a parameter: -1 is not set, 3 to 82 are named. Any other number is accepted.
using ParamType = int;

/// One named, typed value of a reinforcement template: a diameter, a cover, a spacing, a quantity expression.
///
/// The type number alone decides the default display name, whether the value is a length (isInDrawingUnits) and whether it is a
/// quantity expression (39). Any kind of value can be put into any type. A length is held in drawing units and divided by the
/// metrics factor of the pool on its way into a stream, multiplied on its way out; so are the lengths in a quantity expression.
/// The pool is the one that the owner id names: without one nothing is converted on writing, while a reading filer gives its
/// pool even to a null owner (quirk 44).
///
/// The parameter owns its value; setters copy. Ids keep no object alive.
class OKT_API OKTDbParameter : public OKTDbObject
{
    OKT_STORED_CLASS(OKTDbParameter)

    /// Type -1, the value VT_I4 0, everything else empty.
    OKTDbParameter();
    /// The default name of the type, the value VT_EMPTY, that owner.
    OKTDbParameter(ParamType const &type, OKTDbObjectId const &owner);
    OKTDbParameter(OKTDbParameter const &other);
    OKTDbParameter &operator=(OKTDbParameter const &other);
    ~OKTDbParameter() override;

    /// A load makes many parameters in one block of memory; one that is made by `new` has its own, as ever. All end by `delete`.
    static void *operator new(std::size_t size);
    static void *operator new(std::size_t size, std::nothrow_t const &tag) noexcept;
    static void *operator new(std::size_t, void *place) noexcept { return place; }
    static void operator delete(void *memory) noexcept;
    static void operator delete(void *memory, std::nothrow_t const &tag) noexcept;
    static void operator delete(void *, void *) noexcept {}

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    /// A deep copy; the list index stays.
    virtual void setValue(tagVARIANT const &value);
    /// VT_R8, VT_I4 (a long is cut to 32 bits), VT_I4, VT_BOOL, VT_BSTR, VT_BSTR; a null text gives a null string. All move the
    /// parameter to the list place given in the same call.
    virtual void setValue(double const &value, int const &listIndex);
    virtual void setValue(long const &value, int const &listIndex);
    virtual void setValue(int const &value, int const &listIndex);
    virtual void setValue(bool const &value, int const &listIndex);
    virtual void setValue(wchar_t const *value, int const &listIndex);
    virtual void setValue(CString const &value, int const &listIndex);
    /// The other forms of a text, which would count as a bool without these. They set the text by the overload of CString, a null
    /// text by that of wchar_t, which a derived class may override.
    void setValue(char16_t const *value, int const &listIndex);
    void setValue(char const *value, int const &listIndex);
    void setValue(std::nullptr_t, int const &listIndex);

    /// The members. Setters copy their argument.
    virtual CString UserName() const;
    /// With `append` and a list index other than 0, a blank and the list code of this moment follow the name.
    virtual void setUserName(CString const &name, bool append);
    /// The type number.
    virtual ParamType Type() const;
    /// The display name does not change; neither does it in setListIndex.
    virtual void setType(ParamType const &type);
    /// A bitwise image of the value: a string in it belongs to the parameter and is good until the value changes. Not to be
    /// cleared.
    virtual tagVARIANT Value() const;
    /// The place in a list of alike parameters, 0 for none; the ids of the category and of the owner.
    virtual int ListIndex() const;
    virtual void setListIndex(int const &listIndex);
    virtual OKTDbObjectId Category() const;
    virtual void setCategory(OKTDbObjectId const &id);
    virtual OKTDbObjectId OwnerId() const;
    virtual void setOwnerId(OKTDbObjectId const &id);
    /// A text that is kept and never evaluated here.
    virtual CString Expression() const;
    virtual void setExpression(CString const &expression);
    /// Always true.
    virtual bool isValidExpression();
    /// A free text.
    virtual CString Description() const;
    virtual void setDescription(CString const &description);
    /// Ids of other parameters; order and duplicates are kept.
    virtual IdArray TabParams() const;
    virtual void setTabParams(IdArray const &ids);

    /// The type is one of the 37 lengths; the value and the pool are not looked at.
    bool isInDrawingUnits() const;
    /// The display text of the type, and the list code of the list index.
    CString getTypeName() const;
    CString getListIndex() const;

    /// The display text of a type; for a type without one, what the prompt catalogue answers for id 0.
    static CString getNameFromType(ParamType const &type);
    /// 1 "A", 26 "Z", 27 "AA"; empty for 0; the absolute value in decimal for a negative index.
    static CString encodeListIndex(int const &index);

private:
    friend class OKTWholeParameter;

    void takeValue(tagVARIANT &value, int listIndex);
    void takeNumber(std::int32_t value, int listIndex);
    double conversionFactor() const;
    bool writeValue(OKTFiler &filer) const;
    bool readValue(OKTFiler &filer);
    bool convertAfterReading();

    CString m_strUserName;
    ParamType m_nParamType = -1;
    tagVARIANT m_varValue;
    int m_nListIndex = 0;
    OKTDbObjectId m_idCategory;
    OKTDbObjectId m_idOwner;
    CString m_strExpression;
    CString m_strDescription;
    IdArray m_tabIdsParams;
};
