// SPDX-License-Identifier: MIT
// The module of the unload test: a client that registers two classes and names things in a pool, all of it with literals, which
// go with the module.

#include <oktdatabase/oktdatabase.h>

class UnloadedBar : public OKTDbObject
{
    OKT_STORED_CLASS(UnloadedBar)

    FilerStatusDb xmlIn(OKTFiler *filer) override;
    FilerStatusDb xmlOut(OKTFiler *filer) const override;
};

FilerStatusDb UnloadedBar::xmlIn(OKTFiler *filer) { return OKTDbObject::xmlIn(filer); }

FilerStatusDb UnloadedBar::xmlOut(OKTFiler *filer) const { return OKTDbObject::xmlOut(filer); }

OKT_STORED_CLASS_REGISTRATION(UnloadedBar, OKTDbObject)
OKT_STORED_CLASS_SOURCE(UnloadedBar)

namespace
{
// The same with wide literals, as clients write them that do not use the macro.
OKTRuntimeClass const g_wide(L"UnloadedWideBar", L"OKTDbObject", new UnloadedBar, OKTDbObject::desc());
} // namespace

/// Gives the pool a name, a category, a group of parameters and two parameters.
extern "C" __attribute__((visibility("default"))) bool okt_unload_fill(OKTDbPool *pool)
{
    pool->setPoolName(L"Stirrup of the client");

    auto *const cover = new OKTDbParameter(6, pool->objectId());
    cover->setUserName(L"Concrete cover", false);
    cover->setExpression(L"cover + d / 2");
    cover->setDescription(L"to the edge of the bar");
    cover->setValue(L"a text value", 1);
    auto *const leg = new OKTDbParameter;
    leg->setListIndex(3);
    leg->setUserName(u"Leg", true);
    leg->setExpression(u"leg");
    leg->setDescription(u"of the stirrup");
    leg->setValue(u"another text value", 3);
    auto *const category = new OKTDbCategory;
    category->setCategoryName(L"Geometry of the client");
    auto *const group = new OKTDbGroupParameter;
    group->setUserName(L"All legs", false);

    if (!pool->appendObject(cover) || !pool->appendObject(leg) || !pool->appendObject(category) || !pool->appendObject(group))
        return false;
    group->addElement(cover->objectId());
    group->addElement(leg->objectId());
    category->appendParameter(cover->objectId());

    OKTDbObject *made = nullptr;
    bool const known = OKTTools::getObjectFromClassName(L"UnloadedBar", made);
    delete made;
    return known && g_wide.ClassCounter() >= 0;
}
