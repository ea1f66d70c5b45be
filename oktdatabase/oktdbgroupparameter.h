// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbparameter.h>
#include <oktplatform/oktarrays.h>

/// Several parameters of a pool under one, so that their values are read and set as one array. The element list lives in memory
/// only: in a stream a group is an ordinary OKTDbParameter (quirk 55). Elements are kept by id, resolved at every use, and
/// never made or erased here.
///
/// Elements are ordered by user name as it was when they were added: shorter names first, names of one length without case.
class OKT_API OKTDbGroupParameter : public OKTDbParameter
{
    OKT_STORED_CLASS(OKTDbGroupParameter)

    /// Without elements.
    OKTDbGroupParameter();
    OKTDbGroupParameter(OKTDbGroupParameter const &other);
    OKTDbGroupParameter &operator=(OKTDbGroupParameter const &other);
    ~OKTDbGroupParameter() override;

    using OKTDbParameter::setValue;
    /// Hands a one-dimensional array out to the elements, entry by entry from its lower bound, each read as eight bytes of a
    /// double whatever its kind. A variant without an array is reported. An array of another rank is destroyed: the caller must
    /// not use it again (quirk 56).
    void setValue(tagVARIANT const &value) override;

    /// Ignored: an id that is no parameter, or is an element already.
    void addElement(OKTDbObjectId id);
    void removeElement(OKTDbObjectId id);
    void eraseAll();
    void getAllElements(IdArray &ids);

    /// A VT_R8 array from 0 in `out`, which is cleared first and owns it: the value of each element, 0.0 where it is no VT_R8.
    void ValuesVariant(tagVARIANT &out);
    /// A VT_BSTR array likewise: the list code of each element, whatever its user name (quirk 57).
    void UserNamesVariant(tagVARIANT &out);

private:
    IdArray m_tabElements;
    CStringArray m_tabElementNames;
};
