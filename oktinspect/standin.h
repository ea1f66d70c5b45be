// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktdatabase/oktdbobject.h>

#include <vector>

namespace okt
{

/// An object of a class that no loaded module has. It has an id but no members. With it a reader can skip such
/// objects and read those after them. It cannot be written.
class StandIn : public OKTDbObject
{
public:
    /// Registers a stand-in for a class name that no library or module has registered. `bases` are the class names of the frames
    /// nested in its frame, the nearest first; the last must be OKTDbObject. False: it is another one, or the name is empty.
    static bool registerClass(CString const &className, std::vector<CString> const &bases);
    /// The same, but replaces the class of a module until stepAside is called.
    static bool replaceClass(CString const &className, std::vector<CString> const &bases);
    /// Registers the replaced classes of modules again.
    static void stepAside();

    /// The registered class of that name is a stand-in.
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
