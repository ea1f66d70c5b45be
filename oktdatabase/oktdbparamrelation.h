// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbrelation.h>

/// A relation over a list of parameters, kept as ids. Appending refuses an id that is in the list; reading a stream does not.
class OKT_API OKTDbParamRelation : public OKTDbRelation
{
    OKT_STORED_CLASS(OKTDbParamRelation)

    OKTDbParamRelation();
    OKTDbParamRelation(OKTDbParamRelation const &other);
    OKTDbParamRelation &operator=(OKTDbParamRelation const &other);
    ~OKTDbParamRelation() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    virtual void appendParameter(OKTDbObjectId const &id);
    /// Removes every entry of the id.
    virtual void removeParameter(OKTDbObjectId const &id);
    virtual void removeAllParameters();
    virtual void getAllParameters(IdArray &ids) const;
    virtual int parameterCount() const;
    /// A default id outside the list.
    virtual OKTDbObjectId parameterAt(int index) const;

private:
    IdArray m_tabParameters;
};
