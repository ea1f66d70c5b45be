// SPDX-License-Identifier: MIT
// unload.client_module: opens a client module, lets it register classes and fill a pool, and closes it. Whatever the registry
// and the pool keep must then stand on its own: a text that still wrapped one of the literals would now name memory that is
// no longer there.

#include <oktdatabase/oktdatabase.h>

#include <dlfcn.h>

#include <cstdio>
#include <memory>
#include <string>

namespace
{
int g_failures = 0;

void expect(bool holds, char const *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "not so: %s\n", what);
    ++g_failures;
}

void expectText(CString const &text, char const *expected)
{
    std::string const found = text.ToUtf8();
    if (found == expected)
        return;
    std::fprintf(stderr, "\"%s\" instead of \"%s\"\n", found.c_str(), expected);
    ++g_failures;
}

template <typename T> T *only(OKTDbPool &pool)
{
    IdArray ids;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
        if (T *const object = T::cast(id); object != nullptr && object->isA(T::desc()))
            return object;
    return nullptr;
}

OKTDbParameter *named(OKTDbPool &pool, char16_t const *name)
{
    IdArray ids;
    pool.getAllObjects(ids);
    for (OKTDbObjectId const &id : ids)
        if (OKTDbParameter *const parameter = OKTDbParameter::cast(id); parameter != nullptr && parameter->UserName() == name)
            return parameter;
    return nullptr;
}

void expectTexts(OKTDbPool &pool)
{
    expectText(pool.poolName(), "Stirrup of the client");
    OKTDbParameter *const cover = named(pool, u"Concrete cover");
    expect(cover != nullptr, "a parameter \"Concrete cover\"");
    if (cover != nullptr)
    {
        expectText(cover->Expression(), "cover + d / 2");
        expectText(cover->Description(), "to the edge of the bar");
        expectText(CString(cover->Value().bstrVal), "a text value");
    }
    OKTDbParameter *const leg = named(pool, u"Leg C");
    expect(leg != nullptr, "a parameter \"Leg C\"");
    if (leg != nullptr)
    {
        expectText(leg->Expression(), "leg");
        expectText(leg->Description(), "of the stirrup");
        expectText(CString(leg->Value().bstrVal), "another text value");
    }
    OKTDbCategory *const category = only<OKTDbCategory>(pool);
    expect(category != nullptr, "a category");
    if (category != nullptr)
        expectText(category->CategoryName(), "Geometry of the client");
}

void expectRegistry()
{
    for (char16_t const *const name : {u"UnloadedBar", u"UnloadedWideBar", u"OKTDbObject", u"OKTDbParameter", u"OKTDbPicture"})
        expect(g_RuntimeClass.contains(name), "the class is registered");
    expect(!g_RuntimeClass.contains(u"UnloadedBas") && !g_RuntimeClass.contains(u"Z"), "another class is not");
    bool bar = false;
    bool wideBar = false;
    for (auto const &[name, descriptor] : g_RuntimeClass)
    {
        bar = bar || name == u"UnloadedBar";
        wideBar = wideBar || name == u"UnloadedWideBar";
    }
    expect(bar && wideBar, "the names stand in the registry");

    for (char16_t const *const name : {u"OKTDbCategory", u"OKTDbGroupParameter", u"OKTDbParamRelation", u"OKTDbRelation"})
    {
        OKTDbObject *made = nullptr;
        expect(OKTTools::getObjectFromClassName(name, made) && made != nullptr && made->isA(name), "a class makes its object");
        delete made;
    }
    // A name that falls between those of the module.
    OKTRuntimeClass const later(u"UnloadedC", u"OKTDbRelation", new OKTDbRelation, OKTDbRelation::desc());
    expect(later.ClassCounter() >= 0, "a later class is registered");
    g_RuntimeClass.erase(u"UnloadedC");
}
} // namespace

int main(int argc, char **argv)
{
    if (argc != 2)
        return 2;
    OKTDbPool pool;
    {
        void *const module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr)
        {
            std::fprintf(stderr, "%s\n", dlerror());
            return 2;
        }
        auto *const fill = reinterpret_cast<bool (*)(OKTDbPool *)>(dlsym(module, "okt_unload_fill"));
        expect(fill != nullptr && fill(&pool), "the module fills the pool");
        expect(dlclose(module) == 0, "the module is closed");
        expect(dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD) == nullptr, "the module has left the memory");
    }
    expectRegistry();
    expectTexts(pool);
    if (auto *const group = only<OKTDbGroupParameter>(pool))
    {
        expectText(group->UserName(), "All legs");
        IdArray elements;
        group->getAllElements(elements);
        expect(elements.getSize() == 2, "the group has two elements");
        if (OKTDbParameter *const cover = named(pool, u"Concrete cover"))
        {
            group->removeElement(cover->objectId());
            group->addElement(cover->objectId()); // is put in its place among the names
        }
        group->getAllElements(elements);
        expect(elements.getSize() == 2 && OKTDbParameter::cast(elements.at(0)) == named(pool, u"Leg C"),
               "the shorter name first");
    }
    else
        expect(false, "a group of parameters");

    CByteArray image;
    IdMap translated;
    expect(pool.saveFiler(image, translated), "the pool is saved");
    OKTDbPool loaded;
    expect(loaded.loadFiler(image), "the image is loaded");
    expect(loaded.objectCount() == 4, "four objects come back");
    expectTexts(loaded);
    std::unique_ptr<OKTDbPool> const clone(pool.clone());
    expect(clone != nullptr, "the pool is cloned");
    if (clone != nullptr)
        expectTexts(*clone);
    return g_failures == 0 ? 0 : 1;
}
