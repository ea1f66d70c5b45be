// SPDX-License-Identifier: MIT
#include "growth.h"

#include <algorithm>
#include <random>
#include <string>

namespace
{
constexpr char const *kFiler = "XML filer";
constexpr char const *kByName =
    "values are found by name in a section of any order, the first of a name counts, and any may have been added since";

using File = std::shared_ptr<SampleFile>;
using Names = std::shared_ptr<std::vector<CString>>;

Names namesOf(int size)
{
    auto const names = std::make_shared<std::vector<CString>>();
    for (int i = 0; i < size; ++i)
        names->push_back(CString::FromUtf8("m_nValue" + std::to_string(i)));
    return names;
}

bool openSection(OKTXmlFiler &filer) { return filer.beginWriteClass(u"Object", u"Bench", 1) && filer.beginWriteMembers(1); }

bool closeSection(OKTXmlFiler &filer) { return filer.endWriteMembers() && filer.endWriteClass(); }

/// `size` values into one section, the section and the tree included, the file not.
template <typename W> std::function<Run(int)> writing(W write)
{
    return [write](int size) -> Run {
        auto const file = std::make_shared<SampleFile>();
        auto const filer = std::make_shared<OKTXmlFiler>();
        Names const names = namesOf(size);
        demand(filer->NewFiler(file->path(), true) && openSection(*filer), "making a document");
        return [file, filer, names, write, size] {
            repeat(size, [&](int i) { return write(*filer, (*names)[static_cast<std::size_t>(i)]); });
            demand(closeSection(*filer), "ending a section");
            return size;
        };
    };
}

template <typename W> File documentOf(Names const &names, W write)
{
    auto const file = std::make_shared<SampleFile>();
    OKTXmlFiler filer;
    demand(filer.NewFiler(file->path(), true) && openSection(filer), "making a document");
    for (CString const &name : *names)
        demand(write(filer, name), "writing a value");
    demand(closeSection(filer) && filer.CloseFiler(), "saving a document");
    return file;
}

/// Values of one section looked up in no order.
template <typename W, typename R> std::function<Run(int)> reading(W write, R read)
{
    return [write, read](int size) -> Run {
        Names const names = namesOf(size);
        File const file = documentOf(names, write);
        auto const filer = std::make_shared<OKTXmlFiler>();
        demand(filer->NewFiler(file->path(), false) && filer->beginReadClass(u"Object", u"Bench") && filer->beginReadMembers(1),
               "opening a document");
        std::shuffle(names->begin(), names->end(), std::mt19937(1));
        return [file, filer, names, read, size] {
            return repeat(std::min(size, kFewCalls),
                          [&](int i) { return read(*filer, (*names)[static_cast<std::size_t>(i)]); });
        };
    };
}

/// All values of a section in its order.
Run inOrderRun(int size)
{
    Names const names = namesOf(size);
    File const file = documentOf(names, [](OKTXmlFiler &filer, CString const &name) { return filer.writeInt(name, 7); });
    auto const filer = std::make_shared<OKTXmlFiler>();
    demand(filer->NewFiler(file->path(), false) && filer->beginReadClass(u"Object", u"Bench") && filer->beginReadMembers(1),
           "opening a document");
    return [file, filer, names, size] {
        int value = 0;
        return repeat(std::min(size, 10'000),
                      [&](int i) { return filer->readInt((*names)[static_cast<std::size_t>(i)], value); });
    };
}

template <typename T> auto put(bool (OKTFiler::*write)(CString const &, T const &), T const &value)
{
    return [write, value](OKTFiler &filer, CString const &name) { return (filer.*write)(name, value); };
}

template <typename T> auto get(bool (OKTFiler::*read)(CString const &, T &))
{
    return [read](OKTFiler &filer, CString const &name) {
        T value = T();
        return (filer.*read)(name, value);
    };
}

/// No id and no bytes pass this filer (quirk 72): what is measured is the refusal.
template <typename F> auto refused(F call)
{
    return [call](OKTFiler &filer, CString const &name) {
        call(filer, name);
        return true;
    };
}

File documentOfObjects(int size)
{
    auto const file = std::make_shared<SampleFile>();
    OKTXmlFiler filer;
    demand(filer.NewFiler(file->path(), true), "making a document");
    for (int i = 0; i < size; ++i)
        demand(openSection(filer) && filer.writeInt(u"m_nValue", i) && closeSection(filer), "writing a document");
    demand(filer.CloseFiler(), "saving a document");
    return file;
}

Run writeObjectsRun(int size)
{
    auto const file = std::make_shared<SampleFile>();
    auto const filer = std::make_shared<OKTXmlFiler>();
    demand(filer->NewFiler(file->path(), true), "making a document");
    return [file, filer, size] { return repeat(size, [&](int) { return openSection(*filer) && closeSection(*filer); }); };
}

Run readObjectsRun(int size)
{
    File const file = documentOfObjects(size);
    auto const filer = std::make_shared<OKTXmlFiler>();
    demand(filer->NewFiler(file->path(), false), "opening a document");
    return [file, filer, size] {
        CString name;
        int value = 0;
        return repeat(size, [&](int) {
            filer->setIsReadingObjectFromRoot(true);
            return filer->getDescriptionForNextReadObject(name) && filer->beginReadClass(u"Object", u"Bench") &&
                   filer->beginReadMembers(1) && filer->readInt(u"m_nValue", value) && filer->endReadMembers() &&
                   filer->endReadClass();
        });
    };
}

Run passObjectsRun(int size)
{
    File const file = documentOfObjects(size);
    auto const filer = std::make_shared<OKTXmlFiler>();
    demand(filer->NewFiler(file->path(), false), "opening a document");
    return [file, filer, size] {
        CString name;
        repeat(size - 1,
               [&](int) { return filer->getDescriptionForNextReadObject(name) && filer->skipNextToReadDocumentObject(); });
        return static_cast<long long>(size);
    };
}

Run parseRun(int size)
{
    File const file = documentOfObjects(size);
    return [file, size] {
        OKTXmlFiler filer;
        demand(filer.NewFiler(file->path(), false) && filer.CloseFiler(), "opening a document");
        return size;
    };
}

Run saveRun(int size)
{
    auto const file = std::make_shared<SampleFile>();
    auto const filer = std::make_shared<OKTXmlFiler>();
    demand(filer->NewFiler(file->path(), true), "making a document");
    for (int i = 0; i < size; ++i)
        demand(openSection(*filer) && filer->writeInt(u"m_nValue", i) && closeSection(*filer), "writing a document");
    return [file, filer, size] {
        demand(filer->CloseFiler(), "saving a document");
        return size;
    };
}

bool writeMap(OKTXmlFiler &filer, std::vector<CString> const &names)
{
    bool done = openSection(filer) && filer.beginWriteMap(u"Values");
    for (CString const &name : names)
        done = filer.writeInt(name, 7) && done;
    return filer.endWriteMap() && closeSection(filer) && done;
}

Run writeMapRun(int size)
{
    auto const file = std::make_shared<SampleFile>();
    auto const filer = std::make_shared<OKTXmlFiler>();
    Names const names = namesOf(size);
    demand(filer->NewFiler(file->path(), true), "making a document");
    return [file, filer, names, size] {
        demand(writeMap(*filer, *names), "writing a map");
        return size;
    };
}

Run readMapRun(int size)
{
    auto const file = std::make_shared<SampleFile>();
    {
        OKTXmlFiler filer;
        demand(filer.NewFiler(file->path(), true) && writeMap(filer, *namesOf(size)) && filer.CloseFiler(), "saving a map");
    }
    auto const filer = std::make_shared<OKTXmlFiler>();
    demand(filer->NewFiler(file->path(), false) && filer->beginReadClass(u"Object", u"Bench") && filer->beginReadMembers(1),
           "opening a document");
    return [file, filer, size] {
        demand(filer->beginReadMap(u"Values"), "entering a map");
        CString name;
        tagVARIANT value = {};
        repeat(size, [&](int) { return filer->getMapAttribute(name, &value); });
        demand(filer->endReadMap(), "leaving a map");
        return size;
    };
}

/// A section with that many frames, of which some are entered in no order, or a frame with that many sections, of which the last is.
template <bool Sections> Run enterRun(int size)
{
    Names const names = namesOf(size);
    auto const file = std::make_shared<SampleFile>();
    {
        OKTXmlFiler filer;
        demand(filer.NewFiler(file->path(), true) && filer.beginWriteClass(u"Object", u"Bench", 1), "making a document");
        demand(Sections || filer.beginWriteMembers(1), "making a section");
        for (int i = 0; i < size; ++i)
            if (Sections)
                demand(filer.beginWriteMembers(i + 1 < size ? 1 : 2) && filer.endWriteMembers(), "writing a section");
            else
                demand(filer.beginWriteClass((*names)[static_cast<std::size_t>(i)], u"Inner", 1) && filer.endWriteClass(),
                       "writing a frame");
        demand((Sections || filer.endWriteMembers()) && filer.endWriteClass() && filer.CloseFiler(), "saving a document");
    }
    auto const filer = std::make_shared<OKTXmlFiler>();
    demand(filer->NewFiler(file->path(), false) && filer->beginReadClass(u"Object", u"Bench") &&
               (Sections || filer->beginReadMembers(1)),
           "opening a document");
    return [file, filer, names, size] {
        std::mt19937 random(1);
        return repeat(std::min(size, kFewCalls), [&](int) {
            auto const place = static_cast<std::size_t>(random()) % names->size();
            return Sections ? filer->beginReadMembers(2) && filer->endReadMembers()
                            : filer->beginReadClass((*names)[place], u"Inner") && filer->endReadClass();
        });
    };
}

Run copyRun(int size)
{
    File const file = documentOfObjects(size);
    auto const filer = std::make_shared<OKTXmlFiler>();
    demand(filer->NewFiler(file->path(), false), "opening a document");
    return [file, filer] {
        return repeat(kCalls, [&](int) {
            OKTXmlFiler copy = *filer;
            copy = *filer;
            return true;
        });
    };
}

tagVARIANT realVariant()
{
    tagVARIANT value = {};
    value.vt = VT_R8;
    value.dblVal = 12.5;
    return value;
}
} // namespace

std::vector<GrowthCase> xmlFilerCases()
{
    std::vector<GrowthCase> cases;
    auto const value = [&cases](char const *write, char const *read, auto putValue, auto getValue) {
        cases.push_back({kFiler, write, writing(putValue)});
        cases.push_back({kFiler, read, reading(putValue, getValue), kByName});
    };
    using F = OKTFiler;
    CString const text(u"Position 12, see drawing", 24);
    value("writeDouble", "readDouble", put<double>(&F::writeDouble, 12.5), get<double>(&F::readDouble));
    value("writeLong", "readLong", put<long>(&F::writeLong, 7L), get<long>(&F::readLong));
    value("writeLong, unsigned", "readLong, unsigned", put<unsigned long>(&F::writeLong, 7UL),
          get<unsigned long>(&F::readLong));
    value("writeString", "readString", put<CString>(&F::writeString, text), get<CString>(&F::readString));
    value("writePoint3d", "readPoint3d", put<OKTGeXYZ>(&F::writePoint3d, OKTGeXYZ(1.0, 2.0, 3.0)),
          get<OKTGeXYZ>(&F::readPoint3d));
    value("writeBool", "readBool", put<bool>(&F::writeBool, true), get<bool>(&F::readBool));
    value("writeBool of an int", "readBool of an int", put<int>(&F::writeBool, 1), get<int>(&F::readBool));
    value("writeInt", "readInt", put<int>(&F::writeInt, 7), get<int>(&F::readInt));
    value("writeInt, unsigned", "readInt, unsigned", put<unsigned int>(&F::writeInt, 7U), get<unsigned int>(&F::readInt));
    value("writeShort", "readShort", put<short>(&F::writeShort, 7), get<short>(&F::readShort));
    value("writeShort, unsigned", "readShort, unsigned", put<unsigned short>(&F::writeShort, 7),
          get<unsigned short>(&F::readShort));
    value("writeVariant", "readVariant", put<tagVARIANT>(&F::writeVariant, realVariant()), get<tagVARIANT>(&F::readVariant));
    auto const writeId = refused(
        [id = OKTDbObjectId::createObjectId(nullptr)](OKTFiler &filer, CString const &name) { filer.writeObjectId(name, id); });
    auto const readId = refused([](OKTFiler &filer, CString const &name) {
        OKTDbObjectId id;
        filer.readObjectId(name, id);
    });
    auto const writeBytes = refused([](OKTFiler &filer, CString const &name) { filer.writeByteArray(name, CByteArray()); });
    auto const readBytes = refused([](OKTFiler &filer, CString const &name) {
        CByteArray bytes;
        filer.readByteArray(name, bytes);
    });
    auto const writeInt = put<int>(&F::writeInt, 7);
    cases.push_back({kFiler, "writeObjectId, refused", writing(writeId)});
    cases.push_back({kFiler, "readObjectId, refused", reading(writeInt, readId), kByName});
    cases.push_back({kFiler, "writeByteArray, refused", writing(writeBytes)});
    cases.push_back({kFiler, "readByteArray, refused", reading(writeInt, readBytes)});
    cases.push_back({kFiler, "readInt, in the order of the section", inOrderRun, kByName});
    cases.push_back({kFiler, "beginWriteClass to endWriteClass", writeObjectsRun});
    cases.push_back({kFiler, "getDescriptionForNextReadObject, beginReadClass to endReadClass", readObjectsRun});
    cases.push_back({kFiler, "getDescriptionForNextReadObject, skipNextToReadDocumentObject", passObjectsRun});
    cases.push_back(
        {kFiler, "beginWriteClass to endWriteClass in a section", writing([](OKTXmlFiler &filer, CString const &name) {
             return filer.beginWriteClass(name, u"Inner", 1) && filer.endWriteClass();
         })});
    cases.push_back({kFiler, "beginReadClass to endReadClass, one of many frames", enterRun<false>, kByName});
    cases.push_back({kFiler, "beginReadMembers to endReadMembers, the last of many sections", enterRun<true>, kByName});
    cases.push_back({kFiler, "copy and assignment, document shared", copyRun});
    cases.push_back({kFiler, "NewFiler of a document", parseRun});
    cases.push_back({kFiler, "CloseFiler of a new document", saveRun});
    cases.push_back({kFiler, "beginWriteMap to endWriteMap", writeMapRun});
    cases.push_back({kFiler, "beginReadMap, getMapAttribute, endReadMap", readMapRun});
    return cases;
}
