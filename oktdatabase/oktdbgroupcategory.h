// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobject.h>

/// A list of categories, kept as ids. Appending a category here does not touch its group. Appending refuses an id that is in
/// the list; reading a stream does not.
class OKT_API OKTDbGroupCategory : public OKTDbObject
{
    OKT_STORED_CLASS(OKTDbGroupCategory)

    /// Without categories.
    OKTDbGroupCategory();
    OKTDbGroupCategory(OKTDbGroupCategory const &other);
    OKTDbGroupCategory &operator=(OKTDbGroupCategory const &other);
    ~OKTDbGroupCategory() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    /// The number of entries in the list.
    int categoryCount() const;
    /// A default id outside the list.
    OKTDbObjectId categoryAt(int const &index) const;
    /// The first index of the id, or -1.
    int findCategoryIndex(OKTDbObjectId const &id) const;
    /// Adds the id at the end, unless the list holds an equal one.
    void appendCategory(OKTDbObjectId const &id);
    /// Removes every entry of the id.
    void removeCagegory(OKTDbObjectId const &id);
    void removeAllCategories();
    /// A copy of the list.
    void getAllCategories(IdArray &ids) const;

private:
    IdArray m_tabCategory;
};
