// SPDX-License-Identifier: MIT
// module.host: a program that does not link the library. It loads it by name again and again, asks its entry points, lets a client
// module hold it, and unloads it: it must then be gone.
//   host LIBRARY CLIENT-MODULE

#include <oktdatabase/oktruntimeclass.h>
#include <oktplatform/oktguid.h>

#include <cstdio>
#include <cwchar>
#include <string>
#include <thread>

#if defined(_WIN32)
#include <oleauto.h>
#include <windows.h>
#else
#include <dlfcn.h>
#endif

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

#if defined(_WIN32)
using Module = HMODULE;

Module load(char const *path) { return LoadLibraryExA(path, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH); }

bool unload(Module module) { return FreeLibrary(module) != 0; }

bool isLoaded(char const *path)
{
    std::string const name(path);
    return GetModuleHandleA(name.substr(name.find_last_of("/\\") + 1).c_str()) != nullptr;
}

void *symbol(Module module, char const *name) { return reinterpret_cast<void *>(GetProcAddress(module, name)); }

std::string reason() { return "error " + std::to_string(GetLastError()); }

#else
using Module = void *;

Module load(char const *path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }

bool unload(Module module) { return dlclose(module) == 0; }

bool isLoaded(char const *path)
{
    void *const found = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
    if (found != nullptr)
        dlclose(found);
    return found != nullptr;
}

void *symbol(Module module, char const *name) { return dlsym(module, name); }

std::string reason()
{
    char const *const told = dlerror();
    return told == nullptr ? "no reason" : told;
}
#endif

template <typename F> F function(Module module, char const *name)
{
    auto const found = reinterpret_cast<F>(symbol(module, name));
    if (found == nullptr)
        std::fprintf(stderr, "no function %s\n", name);
    return found;
}

using Registry = OKTMap<CString, OKTRuntimeClass *, CString const &, OKTRuntimeClass *const &>;
constexpr int kOwnClasses = 8;

int classesIn(Module module)
{
    auto const *const registry = static_cast<Registry const *>(symbol(module, "g_RuntimeClass"));
    return registry == nullptr ? -1 : registry->getSize();
}

/// Asks every entry point.
void useEntries(Module module)
{
    using Answer = HRESULT(OKT_ENTRY_CALL *)();
    using ClassObject = HRESULT(OKT_ENTRY_CALL *)(GUID const &, GUID const &, void **);
    using Name = wchar_t const *(*)();
    auto const name = function<Name>(module, "getModulePromptsProjectName");
    expect(name != nullptr && std::wcscmp(name(), L"OKTDATABASE") == 0, "the project is OKTDATABASE");
    for (char const *const entry : {"DllRegisterServer", "DllUnregisterServer", "DllCanUnloadNow"})
    {
        auto const answer = function<Answer>(module, entry);
        expect(answer != nullptr && answer() == 0, entry);
    }
    auto const classObject = function<ClassObject>(module, "DllGetClassObject");
    GUID const any = {};
    void *object = &g_failures;
    expect(classObject != nullptr && classObject(any, any, &object) == static_cast<HRESULT>(0x80040111u) && object == nullptr,
           "no class is given");
    expect(symbol(module, "OktAttachModule") == nullptr &&
               symbol(module, "_Z15OktAttachModuleR20AFX_EXTENSION_MODULE") == nullptr,
           "what is inside stays inside");
}

void loadAgainAndAgain(char const *library)
{
    for (int i = 0; i < 20; ++i)
    {
        Module const module = load(library);
        if (module == nullptr)
        {
            std::fprintf(stderr, "%s cannot be loaded: %s\n", library, reason().c_str());
            ++g_failures;
            return;
        }
        expect(classesIn(module) == kOwnClasses, "the library's classes are registered");
        // On a thread of its own, so that what the library keeps for a thread has ended before it goes.
        std::thread([module] { useEntries(module); }).join();
        expect(unload(module) && !isLoaded(library), "the library is gone");
    }
}

void loadTwice(char const *library)
{
    Module const first = load(library);
    Module const second = load(library);
    expect(first != nullptr && first == second, "loaded twice, it is there once");
    expect(classesIn(first) == kOwnClasses, "and its classes too");
    unload(second);
    expect(isLoaded(library), "unloaded once, it is still there");
    useEntries(first);
    unload(first);
    expect(!isLoaded(library), "unloaded twice, it is gone");
}

void unloadUnderAClient(char const *library, char const *client)
{
    Module const module = load(library);
    Module const user = load(client);
    if (module == nullptr || user == nullptr)
    {
        std::fprintf(stderr, "%s cannot be loaded: %s\n", client, reason().c_str());
        ++g_failures;
        return;
    }
    expect(classesIn(module) > kOwnClasses, "the client has brought classes");
    unload(module);
    expect(isLoaded(library), "a client that is loaded keeps the library");
    expect(classesIn(module) > kOwnClasses, "with its classes");
    useEntries(module);
    unload(user);
    expect(!isLoaded(client) && !isLoaded(library), "with its last client the library is gone");
    Module const again = load(library);
    expect(classesIn(again) == kOwnClasses, "loaded again, it knows its own classes and no others");
    unload(again);
}

#if defined(_WIN32)
void readResources(char const *library)
{
    Module const module = load(library);
    int texts = 0;
    for (UINT id = 900; id < 1200; ++id)
    {
        wchar_t text[128];
        texts += LoadStringW(module, id, text, 128) > 0 ? 1 : 0;
    }
    expect(texts == 73, "73 texts");
    wchar_t text[128];
    expect(LoadStringW(module, 1002, text, 128) == 8 && std::wcscmp(text, L"Diameter") == 0, "1002 is Diameter");
    expect(LoadStringW(module, 1000, text, 128) > 0 && std::wcscmp(text, L"Standard") == 0, "1000 is Standard");
    expect(LoadStringW(module, 1073, text, 128) > 0 && std::wcscmp(text, L"Spacing tolerance") == 0,
           "1073 is Spacing tolerance");
    expect(LoadStringW(module, 1036, text, 128) == 0, "1036 is not given");
    expect(LoadStringW(module, 21011, text, 128) == 0, "the support library's text is not among them");
    wchar_t const *const block = MAKEINTRESOURCEW(1002 / 16 + 1);
    expect(FindResourceExW(module, reinterpret_cast<wchar_t const *>(RT_STRING), block, 1036) != nullptr,
           "they stand under 1036 (quirk 85)");
    HRSRC const manifest = FindResourceW(module, MAKEINTRESOURCEW(2), reinterpret_cast<wchar_t const *>(RT_MANIFEST));
    expect(manifest != nullptr, "a manifest");
    if (manifest != nullptr)
    {
        std::string const words(static_cast<char const *>(LockResource(LoadResource(module, manifest))),
                                SizeofResource(module, manifest));
        for (char const *const part : {"asInvoker", "Microsoft.VC90.CRT", "Microsoft.VC90.MFC", "9.0.21022.8", "amd64"})
            expect(words.find(part) != std::string::npos, part);
    }
    expect(FindResourceW(module, MAKEINTRESOURCEW(1), reinterpret_cast<wchar_t const *>(RT_VERSION)) == nullptr,
           "no version resource");
    expect(FindResourceExW(module, L"TYPELIB", MAKEINTRESOURCEW(1), 1033) != nullptr, "a type library under 1033");
    unload(module);
}

void readTypeLibrary(char const *library)
{
    std::wstring const path(library, library + std::string(library).size());
    ITypeLib *types = nullptr;
    HRESULT const result = LoadTypeLibEx(path.c_str(), REGKIND_NONE, &types);
    expect(SUCCEEDED(result), "the type library can be loaded");
    if (FAILED(result))
        return;
    BSTR name = nullptr;
    expect(SUCCEEDED(types->GetDocumentation(-1, &name, nullptr, nullptr, nullptr)) && std::wcscmp(name, L"OKTDatabase") == 0,
           "its name is OKTDatabase");
    SysFreeString(name);
    TLIBATTR *attributes = nullptr;
    expect(SUCCEEDED(types->GetLibAttr(&attributes)), "it has attributes");
    expect(attributes->wMajorVerNum == 1 && attributes->wMinorVerNum == 0, "its version is 1.0");
    expect(attributes->lcid == 0x409, "its locale is 0x409");
    types->ReleaseTLibAttr(attributes);
    expect(types->GetTypeInfoCount() == 0, "not one type in it");
    types->Release();
}
#endif
} // namespace

int main(int argc, char **argv)
{
    if (argc != 3)
    {
        std::fprintf(stderr, "usage: %s LIBRARY CLIENT-MODULE\n", argv[0]);
        return 2;
    }
    loadAgainAndAgain(argv[1]);
    loadTwice(argv[1]);
    unloadUnderAClient(argv[1], argv[2]);
#if defined(_WIN32)
    readResources(argv[1]);
    readTypeLibrary(argv[1]);
#endif
    return g_failures == 0 ? 0 : 1;
}
