// SPDX-License-Identifier: MIT
#pragma once

#include "exampleexport.h"

#include <oktdatabase/oktdbobject.h>
#include <oktplatform/oktarrays.h>

class OKTDbPool;

/// What a browser of templates shows without reading the whole file: title, keywords, how much there is of what, and the unit
/// that the template was drawn in. The pool knows this class by name: indexId is the id of the one index of a template, and
/// OKTDbPool::readIndex reads it alone.
class OKT_EXAMPLE_API OKTDbIndexData : public OKTDbObject
{
    OKT_STORED_CLASS(OKTDbIndexData)

    OKTDbIndexData();
    OKTDbIndexData(OKTDbIndexData const &) = default;
    OKTDbIndexData &operator=(OKTDbIndexData const &) = default;
    ~OKTDbIndexData() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    CString Title() const { return m_strTitle; }
    void setTitle(CString const &title);
    /// The short name of the drawing unit, such as "mm".
    CString Unit() const { return m_strUnit; }
    void setUnit(CString const &unit);

    int keywordCount() const { return m_tabKeywords.GetSize(); }
    /// Empty outside the list.
    CString keywordAt(int index) const;
    /// Refuses, silently, a keyword that is in the list or empty.
    void appendKeyword(CString const &keyword);
    void removeAllKeywords();

    int ParameterCount() const { return m_nParameters; }
    int CategoryCount() const { return m_nCategories; }
    int PictureCount() const { return m_nPictures; }
    void setCounts(int parameters, int categories, int pictures);
    /// The counts of a pool as it is now. They do not follow it.
    void countObjects(OKTDbPool const &pool);

private:
    CString m_strTitle;
    CStringArray m_tabKeywords;
    int m_nParameters = 0;
    int m_nCategories = 0;
    int m_nPictures = 0;
    CString m_strUnit;
};
