// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobject.h>

/// The base of relations: objects that tie others together by their ids. It adds no data; nothing in the library evaluates one.
class OKT_API OKTDbRelation : public OKTDbObject
{
    OKT_STORED_CLASS(OKTDbRelation)

    /// With a null id.
    OKTDbRelation();
    OKTDbRelation(OKTDbRelation const &) = default;
    OKTDbRelation &operator=(OKTDbRelation const &) = default;
    ~OKTDbRelation() override;

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;
};
