// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobject.h>

/// A named list of parameters, kept as ids, and the group of categories it lies in. The links are not kept in step: appending a
/// parameter here does not touch its category. Appending refuses an id that is in the list; reading a stream does not.
class OKT_API OKTDbCategory : public OKTDbObject
{
    OKT_STORED_CLASS(OKTDbCategory)

    OKTDbCategory();
    OKTDbCategory(OKTDbCategory const &other);
    OKTDbCategory &operator=(OKTDbCategory const &other);
    ~OKTDbCategory() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;
    /// How many bytes the frame takes in a pool file, by which room is made for it ahead.
    std::int64_t frameSize() const;

    int parameterCount() const;
    /// A default id outside the list.
    OKTDbObjectId parameterAt(int index) const;
    /// The first index of the id, or -1.
    int findParameterIndex(OKTDbObjectId const &id) const;
    void appendParameter(OKTDbObjectId const &id);
    /// Removes every entry of the id.
    void removeParameter(OKTDbObjectId const &id);
    void removeAllParameters();
    void getAllParameters(IdArray &ids) const;

    void setCategoryName(CString const &name);
    CString CategoryName() const;
    void setGroupCategory(OKTDbObjectId const &id);
    OKTDbObjectId GroupCategory() const;

private:
    OKTDbObjectId m_idGroupCategory;
    IdArray m_tabParameters;
    CString m_strCategoryName;
};
