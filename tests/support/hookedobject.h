// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobject.h>

#include <functional>

/// A stored class of a client module that lets a test act while one of its objects is written or read: behind the frame of its
/// base, ahead of its only member, a reference. The hooks hold for all its objects; a Hooks puts them back.
class HookedObject : public OKTDbObject
{
    OKT_STORED_CLASS(HookedObject)

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

    OKTDbObjectId m_idOther;

    static inline std::function<void(HookedObject const &, OKTFiler &)> s_whileWritten;
    static inline std::function<void(HookedObject &, OKTFiler &)> s_whileRead;
};

class Hooks
{
public:
    Hooks() = default;
    Hooks(Hooks const &) = delete;
    Hooks &operator=(Hooks const &) = delete;
    ~Hooks()
    {
        HookedObject::s_whileWritten = nullptr;
        HookedObject::s_whileRead = nullptr;
    }
};
