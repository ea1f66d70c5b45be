// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktdatabase/oktdbobject.h>

#include <vector>

namespace okt
{

/// An object of a class that no loaded module knows: its id, and nothing of its members. It lets a reader pass over such
/// objects to the ones behind them. It refuses to be written.
class StandIn : public OKTDbObject
{
public:
    /// Registers the class under its name, unless a library or a module has the name. `bases` are the class names of the frames
    /// nested in its frame, the nearest first; the last must be that of OKTDbObject. False: it is not, or there is no name.
    static bool registerClass(CString const &className, std::vector<CString> const &bases);
    /// The same in place of the class of a module, until stepAside.
    static bool replaceClass(CString const &className, std::vector<CString> const &bases);
    /// The classes of modules are those of the modules again.
    static void stepAside();

    /// The class is one that was registered here, now.
    static bool isRegistered(CString const &className);
    static bool isStandIn(OKTRuntimeClass const *descriptor);

    CString className() const;

    OKTDbObject *createObject() override;
    bool isKindOf(OKTRuntimeClass const *other) const override;
    OKTRuntimeClass *isA() const override;
    bool isA(CString const &className) const override;
    bool isA(OKTRuntimeClass const *other) const override;
    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;

private:
    struct Class;
    struct Classes;
    static Classes &classes();
    static Class &madeFor(CString const &className, std::vector<CString> const &between);

    explicit StandIn(Class const &description) : m_class(&description) {}

    Class const *m_class;
};

} // namespace okt
