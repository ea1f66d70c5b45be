#include "standin.h"

#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktruntimeclass.h>

#include <algorithm>

namespace okt
{

/// What objects of one class share.
struct StandIn::Class
{
    CString name;
    std::vector<CString> between; ///< the frames between its own and that of OKTDbObject
    OKTRuntimeClass *descriptor = nullptr;
};

std::vector<std::unique_ptr<StandIn::Class>> &StandIn::classes()
{
    // Never destroyed: the registry keeps pointing at the descriptors for as long as the process lives.
    static auto &all = *new std::vector<std::unique_ptr<Class>>;
    return all;
}

bool StandIn::isRegistered(CString const &className)
{
    return std::any_of(classes().begin(), classes().end(), [&](auto const &known) { return known->name == className; });
}

bool StandIn::registerClass(CString const &className, std::vector<CString> const &bases)
{
    if (className.IsEmpty() || bases.empty() || bases.back().CompareNoCase(u"OKTDbObject") != 0)
        return false;
    if (g_RuntimeClass.contains(className))
        return true;
    classes().push_back(std::make_unique<Class>());
    Class &added = *classes().back();
    added.name = className;
    added.between.assign(bases.begin(), bases.end() - 1);
    added.descriptor = new OKTRuntimeClass(className, bases.front(), new StandIn(added), OKTDbObject::desc());
    return true;
}

CString StandIn::className() const { return m_class->name; }

OKTDbObject *StandIn::createObject() { return new StandIn(*m_class); }

bool StandIn::isKindOf(OKTRuntimeClass const *other) const { return m_class->descriptor->IsDerivedFrom(other); }

OKTRuntimeClass *StandIn::isA() const { return m_class->descriptor; }

bool StandIn::isA(CString const &className) const { return !className.IsEmpty() && m_class->name == className; }

bool StandIn::isA(OKTRuntimeClass const *other) const { return m_class->descriptor->isA(other); }

FilerStatusDb StandIn::xmlIn(OKTFiler *filer)
{
    if (filer == nullptr)
        return eFilerNoFiler;
    if (!filer->beginReadClass(u"Object", m_class->name))
        return eFilerClassFailed;
    for (CString const &base : m_class->between)
        if (!filer->beginReadClass(u"Object", base))
            return eFilerClassFailed;
    FilerStatusDb const status = OKTDbObject::xmlIn(filer);
    if (status != eFilerOk)
        return status;
    // Leaving a frame passes over its sections.
    bool ok = true;
    for (std::size_t frame = 0; frame <= m_class->between.size(); ++frame)
        ok = filer->endReadClass() && ok;
    return ok ? eFilerOk : eFilerMemberFailed;
}

FilerStatusDb StandIn::xmlOut(OKTFiler *) const { return eFilerClassFailed; }

} // namespace okt
