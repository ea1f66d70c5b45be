// SPDX-License-Identifier: MIT
#include <oktinspect/standin.h>

#include <oktdatabase/oktfiler.h>
#include <oktdatabase/oktruntimeclass.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <utility>

namespace okt
{

/// What objects of one class share.
struct StandIn::Class
{
    CString name;
    std::vector<CString> between; ///< the frames between its own and that of OKTDbObject
    OKTRuntimeClass *descriptor = nullptr;
    OKTRuntimeClass *replaced = nullptr; ///< that of a module, while this one is in its place
};

namespace
{

bool isObject(CString const &className, std::vector<CString> const &bases)
{
    return !className.IsEmpty() && !bases.empty() && bases.back().CompareNoCase(u"OKTDbObject") == 0;
}

} // namespace

/// Files of several releases may nest a class in different ways.
struct StandIn::Classes
{
    std::multimap<CString, std::unique_ptr<Class>> byName;
    std::set<OKTRuntimeClass const *> descriptors;
};

StandIn::Classes &StandIn::classes()
{
    // Never destroyed: the registry keeps pointing at the descriptors for as long as the process lives.
    static auto &all = *new Classes;
    return all;
}

bool StandIn::isStandIn(OKTRuntimeClass const *descriptor) { return classes().descriptors.contains(descriptor); }

bool StandIn::isRegistered(CString const &className)
{
    OKTRuntimeClass *const *const descriptor = g_RuntimeClass.find(className);
    return descriptor != nullptr && isStandIn(*descriptor);
}

StandIn::Class &StandIn::madeFor(CString const &className, std::vector<CString> const &between)
{
    auto const [begin, end] = classes().byName.equal_range(className);
    auto const found = std::find_if(begin, end, [&between](auto const &known) { return known.second->between == between; });
    if (found != end)
        return *found->second;
    Class &added = *classes().byName.emplace(className.Owned(), std::make_unique<Class>())->second;
    added.name = className.Owned();
    added.between = between;
    // A descriptor is refused where its name is taken.
    g_RuntimeClass.erase(added.name);
    added.descriptor = new OKTRuntimeClass(added.name, between.empty() ? CString(u"OKTDbObject") : between.front(),
                                           new StandIn(added), OKTDbObject::desc());
    classes().descriptors.insert(added.descriptor);
    return added;
}

bool StandIn::registerClass(CString const &className, std::vector<CString> const &bases)
{
    bool const isTaken = g_RuntimeClass.contains(className) && !isRegistered(className);
    return isTaken ? isObject(className, bases) : replaceClass(className, bases);
}

bool StandIn::replaceClass(CString const &className, std::vector<CString> const &bases)
{
    if (!isObject(className, bases))
        return false;
    OKTRuntimeClass *const *const entry = g_RuntimeClass.find(className);
    OKTRuntimeClass *const before = entry == nullptr ? nullptr : *entry;
    Class &made = madeFor(className, {bases.begin(), bases.end() - 1});
    g_RuntimeClass[made.name] = made.descriptor;
    if (before != nullptr && !isStandIn(before))
        made.replaced = before;
    return true;
}

void StandIn::stepAside()
{
    for (auto const &[name, each] : classes().byName)
        if (each->replaced != nullptr)
            g_RuntimeClass[each->name] = std::exchange(each->replaced, nullptr);
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
