// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobject.h>

/// A named list of parameters, kept as ids, and the group of categories it lies in. The links are not kept in step: appending a
/// parameter here does not touch its category. Appending refuses an id that is in the list; reading a stream does not.
class OKT_API OKTDbCategory : public OKTDbObject
{
    OKT_STORED_CLASS(OKTDbCategory)

    /// Without a name, a group and parameters.
    OKTDbCategory();
    OKTDbCategory(OKTDbCategory const &other);
    OKTDbCategory &operator=(OKTDbCategory const &other);
    ~OKTDbCategory() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    /// The number of entries in the list.
    int parameterCount() const;
    /// A default id outside the list.
    OKTDbObjectId parameterAt(int index) const;
    /// The first index of the id, or -1.
    int findParameterIndex(OKTDbObjectId const &id) const;
    /// Adds the id at the end, unless the list holds an equal one.
    void appendParameter(OKTDbObjectId const &id);
    /// Removes every entry of the id.
    void removeParameter(OKTDbObjectId const &id);
    void removeAllParameters();
    /// A copy of the list.
    void getAllParameters(IdArray &ids) const;

    /// The name, which is copied, and the id of the group.
    void setCategoryName(CString const &name);
    CString CategoryName() const;
    void setGroupCategory(OKTDbObjectId const &id);
    OKTDbObjectId GroupCategory() const;

private:
    OKTDbObjectId m_idGroupCategory;
    IdArray m_tabParameters;
    CString m_strCategoryName;
};
