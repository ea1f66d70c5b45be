// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobject.h>

#include <set>

/// A stored class as a client module would bring it: one string, one integer and one reference in section 1. Counts its living
/// objects, so that a test can prove who deletes. The prototypes of the registry are among them: compare counts from before and
/// after.
class TestObject : public OKTDbObject
{
    OKT_STORED_CLASS(TestObject)

    TestObject() { all().insert(this); }
    TestObject(TestObject const &other)
        : OKTDbObject(other), m_strText(other.m_strText), m_nNumber(other.m_nNumber), m_idOther(other.m_idOther)
    {
        all().insert(this);
    }
    TestObject &operator=(TestObject const &) = default;
    ~TestObject() override { all().erase(this); }

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    static int living() { return static_cast<int>(all().size()); }
    /// The living objects. An object that an operation loses by rule is found here, and so is no leak.
    static std::set<TestObject *> &all();

    CString m_strText;
    int m_nNumber = 0;
    OKTDbObjectId m_idOther;
    bool m_throwInXmlOut = false; ///< not stored: writing throws between the string and the number
    bool m_refuseXmlOut = false;  ///< not stored: writing gives eFilerMemberFailed and writes nothing

    /// While one lives, reading any TestObject gives eFilerMemberFailed and reads nothing.
    class RefuseReading
    {
    public:
        RefuseReading() { s_refuseXmlIn = true; }
        RefuseReading(RefuseReading const &) = delete;
        RefuseReading &operator=(RefuseReading const &) = delete;
        ~RefuseReading() { s_refuseXmlIn = false; }
    };

private:
    static inline bool s_refuseXmlIn = false;
};

/// A class derived from TestObject, without members.
class TestDerivedObject : public TestObject
{
    OKT_STORED_CLASS(TestDerivedObject)

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;
};

/// The two classes that the pool knows by name and that client modules bring: no members of their own.
class OKTDbConstruct : public TestObject
{
    OKT_STORED_CLASS(OKTDbConstruct)

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;
};

class OKTDbIndexData : public TestObject
{
    OKT_STORED_CLASS(OKTDbIndexData)

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;
};
