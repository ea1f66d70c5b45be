// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbrelation.h>

/// A relation over a list of parameters, kept as ids. Appending refuses an id that is in the list; reading a stream does not.
class OKT_API OKTDbParamRelation : public OKTDbRelation
{
    OKT_STORED_CLASS(OKTDbParamRelation)

    /// Without parameters.
    OKTDbParamRelation();
    OKTDbParamRelation(OKTDbParamRelation const &other);
    OKTDbParamRelation &operator=(OKTDbParamRelation const &other);
    ~OKTDbParamRelation() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    /// Adds the id at the end, unless the list holds an equal one.
    virtual void appendParameter(OKTDbObjectId const &id);
    /// Removes every entry of the id.
    virtual void removeParameter(OKTDbObjectId const &id);
    virtual void removeAllParameters();
    /// A copy of the list.
    virtual void getAllParameters(IdArray &ids) const;
    /// The number of entries in the list.
    virtual int parameterCount() const;
    /// A default id outside the list.
    virtual OKTDbObjectId parameterAt(int index) const;

private:
    IdArray m_tabParameters;
};
