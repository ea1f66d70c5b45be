// SPDX-License-Identifier: MIT
#include "growth.h"

namespace
{
constexpr char const *kFiler = "Memory filer";

using Bytes = std::shared_ptr<CByteArray>;

/// `size` values into one filer; nothing has room before.
template <typename W> std::function<Run(int)> writing(W write)
{
    return [write](int size) -> Run {
        return [write, size] {
            OKTMemoryFiler filer;
            return repeat(size, [&](int) { return write(filer); });
        };
    };
}

template <typename W> Bytes written(int size, W write)
{
    OKTMemoryFiler filer;
    repeat(size, [&](int) { return write(filer); });
    filer.endWriteClass(); // a value cannot be read from the very end of a buffer (quirk 27)
    return std::make_shared<CByteArray>(filer.takeBytes());
}

/// The same values read back.
template <typename W, typename R> std::function<Run(int)> reading(W write, R read)
{
    return [write, read](int size) -> Run {
        Bytes const bytes = written(size, write);
        return [bytes, read, size] {
            OKTMemoryFiler filer;
            filer.readInPlace(*bytes);
            return repeat(size, [&](int) { return read(filer); });
        };
    };
}

/// Calls an operation on a filer whose buffer has that many integers.
template <typename F> std::function<Run(int)> called(bool read, F call)
{
    return [read, call](int size) -> Run {
        auto const filer = std::make_shared<OKTMemoryFiler>();
        repeat(size, [&](int i) { return filer->writeInt(u"m_value", i); });
        if (read)
            filer->setInternalIsWriteEnabled(false);
        return [filer, call] {
            return repeat(kCalls, [&](int) {
                call(*filer);
                return true;
            });
        };
    };
}

/// One operation on a filer with that many bytes of integers.
template <typename F> std::function<Run(int)> onWhole(F operation)
{
    return [operation](int size) -> Run {
        auto const filer = std::make_shared<OKTMemoryFiler>();
        repeat(size, [&](int i) { return filer->writeInt(u"m_value", i); });
        return [filer, operation, size] {
            demand(operation(*filer), "an operation on a filer");
            return size;
        };
    };
}

template <typename T> auto put(bool (OKTFiler::*write)(CString const &, T const &), T const &value)
{
    return [write, value](OKTFiler &filer) { return (filer.*write)(u"m_value", value); };
}

template <typename T> auto get(bool (OKTFiler::*read)(CString const &, T &))
{
    return [read](OKTFiler &filer) {
        T value = T();
        return (filer.*read)(u"m_value", value);
    };
}

IdArray freshIds(int size)
{
    IdArray ids;
    for (int i = 0; i < size; ++i)
        ids.append(OKTDbObjectId::createObjectId(nullptr));
    return ids;
}

IdMap translations(IdArray const &ids)
{
    IdMap map;
    for (OKTDbObjectId const &id : ids)
        map[id] = OKTDbObjectId::createObjectId(nullptr);
    return map;
}

bool writeFrame(OKTMemoryFiler &filer)
{
    return filer.beginWriteClass(u"Object", u"Bench", 1) && filer.beginWriteMembers(1) && filer.writeInt(u"m_value", 1) &&
           filer.endWriteMembers() && filer.endWriteClass();
}

bool readFrame(OKTMemoryFiler &filer)
{
    int value = 0;
    return filer.beginReadClass(u"Object", u"Bench") && filer.beginReadMembers(1) && filer.readInt(u"m_value", value) &&
           filer.endReadMembers() && filer.endReadClass();
}

/// One frame with that many values, or frames in frames, of which the reader takes none.
template <bool Nested> Run skipRun(int size)
{
    OKTMemoryFiler filer;
    filer.beginWriteClass(u"Object", u"Bench", 1);
    filer.beginWriteMembers(1);
    for (int i = 0; i < size; ++i)
        if (Nested)
            demand(filer.beginWriteClass(u"m_value", u"Inner", 1) && filer.beginWriteMembers(1), "writing frames");
        else
            demand(filer.writeInt(u"m_value", i), "writing values");
    for (int i = 0; Nested && i < size; ++i)
        demand(filer.endWriteMembers() && filer.endWriteClass(), "writing frames");
    filer.endWriteMembers();
    filer.endWriteClass();
    Bytes const bytes = std::make_shared<CByteArray>(filer.takeBytes());
    return [bytes, size] {
        OKTMemoryFiler reader;
        reader.readInPlace(*bytes);
        demand(reader.beginReadClass(u"Object", u"Bench") && reader.endReadClass(), "passing over a frame");
        return size;
    };
}

Run nextObjectsRun(int size)
{
    Bytes const bytes = written(size, writeFrame);
    return [bytes, size] {
        OKTMemoryFiler filer;
        filer.readInPlace(*bytes);
        CString name;
        return repeat(size, [&](int) { return filer.readNextObjectClass(name) && readFrame(filer); });
    };
}

Run farObjectRun(int size)
{
    OKTMemoryFiler filer;
    CByteArray gap;
    gap.SetSize(size);
    filer.writeByteArray(u"m_value", gap);
    writeFrame(filer);
    Bytes const bytes = std::make_shared<CByteArray>(filer.takeBytes());
    return [bytes, size] {
        OKTMemoryFiler reader;
        reader.readInPlace(*bytes);
        CString name;
        reader.readNextObjectClass(name);
        return size;
    };
}

template <bool Translated> Run writeIdsRun(int size)
{
    auto const ids = std::make_shared<IdArray>(freshIds(size));
    return [ids, size] {
        OKTMemoryFiler filer;
        filer.setTranslatedIds(Translated);
        return repeat(size, [&](int i) { return filer.writeObjectId(u"m_value", ids->at(i)); });
    };
}

template <bool Translated> Run readIdsRun(int size)
{
    auto const ids = std::make_shared<IdArray>(freshIds(size));
    auto const map = std::make_shared<IdMap>(Translated ? translations(*ids) : IdMap());
    OKTMemoryFiler writer;
    for (OKTDbObjectId const &id : *ids)
        demand(writer.writeObjectId(u"m_value", id), "writing an id");
    Bytes const bytes = std::make_shared<CByteArray>(writer.takeBytes());
    return [bytes, map, size] {
        OKTMemoryFiler filer;
        filer.loadMapTranslatedIds(*map);
        filer.setTranslatedIds(Translated);
        filer.readInPlace(*bytes);
        OKTDbObjectId id;
        return repeat(size, [&](int) { return filer.readObjectId(u"m_value", id); });
    };
}

/// The ids of a pool, so that they are valid.
Run saveMapRun(int size)
{
    auto const pool = std::make_shared<OKTDbPool>();
    for (int i = 0; i < size; ++i)
        demand(pool->appendObject(new OKTDbRelation), "building a pool");
    IdArray ids;
    pool->getAllObjects(ids);
    auto const filer = std::make_shared<OKTMemoryFiler>();
    filer->loadMapTranslatedIds(translations(ids));
    return [pool, filer, size] {
        IdMap map;
        demand(filer->saveMapTranslatedIds(map), "asking for the map");
        return size;
    };
}

CByteArray someBytes(int size)
{
    CByteArray bytes;
    bytes.SetSize(size);
    return bytes;
}

tagVARIANT realVariant()
{
    tagVARIANT value = {};
    value.vt = VT_R8;
    value.dblVal = 12.5;
    return value;
}
} // namespace

std::vector<GrowthCase> memoryFilerCases()
{
    CString const text(u"Position 12, see drawing", 24);
    auto const ansi = [text](bool read) {
        return [text, read](OKTFiler &filer) {
            CString value;
            filer.setIsAnsiString(true);
            return read ? filer.readString(u"m_value", value) : filer.writeString(u"m_value", text);
        };
    };
    OKTGeXYZ const point(1.0, 2.0, 3.0);
    std::vector<GrowthCase> cases;
    auto const value = [&cases](char const *write, char const *read, auto putValue, auto getValue) {
        cases.push_back({kFiler, write, writing(putValue)});
        cases.push_back({kFiler, read, reading(putValue, getValue)});
    };
    using F = OKTFiler;
    value("writeDouble", "readDouble", put<double>(&F::writeDouble, 12.5), get<double>(&F::readDouble));
    value("writeLong", "readLong", put<long>(&F::writeLong, 7L), get<long>(&F::readLong));
    value("writeLong, unsigned", "readLong, unsigned", put<unsigned long>(&F::writeLong, 7UL),
          get<unsigned long>(&F::readLong));
    value("writeString", "readString", put<CString>(&F::writeString, text), get<CString>(&F::readString));
    value("writeString, 8 bits", "readString, 8 bits", ansi(false), ansi(true));
    value("writePoint3d", "readPoint3d", put<OKTGeXYZ>(&F::writePoint3d, point), get<OKTGeXYZ>(&F::readPoint3d));
    value("writeBool", "readBool", put<bool>(&F::writeBool, true), get<bool>(&F::readBool));
    value("writeBool of an int", "readBool of an int", put<int>(&F::writeBool, 1), get<int>(&F::readBool));
    value("writeInt", "readInt", put<int>(&F::writeInt, 7), get<int>(&F::readInt));
    value("writeInt, unsigned", "readInt, unsigned", put<unsigned int>(&F::writeInt, 7U), get<unsigned int>(&F::readInt));
    value("writeShort", "readShort", put<short>(&F::writeShort, 7), get<short>(&F::readShort));
    value("writeShort, unsigned", "readShort, unsigned", put<unsigned short>(&F::writeShort, 7),
          get<unsigned short>(&F::readShort));
    value("writeVariant", "readVariant", put<tagVARIANT>(&F::writeVariant, realVariant()), get<tagVARIANT>(&F::readVariant));
    value("writeByteArray", "readByteArray", put<CByteArray>(&F::writeByteArray, someBytes(16)),
          get<CByteArray>(&F::readByteArray));
    cases.push_back({kFiler, "writeByteArray, one of so many bytes", [](int size) -> Run {
                         auto const bytes = std::make_shared<CByteArray>(someBytes(size));
                         return [bytes, size] {
                             OKTMemoryFiler filer;
                             demand(filer.writeByteArray(u"m_value", *bytes), "writing bytes");
                             return size;
                         };
                     }});
    cases.push_back({kFiler, "writeObjectId", writeIdsRun<false>});
    cases.push_back({kFiler, "writeObjectId, translated", writeIdsRun<true>});
    cases.push_back({kFiler, "readObjectId", readIdsRun<false>});
    cases.push_back({kFiler, "readObjectId, translated", readIdsRun<true>});
    cases.push_back({kFiler, "writeObjectIdArray", [](int size) -> Run {
                         auto const ids = std::make_shared<IdArray>(freshIds(size));
                         return [ids, size] {
                             OKTMemoryFiler filer;
                             demand(filer.writeObjectIdArray(u"m_ids", *ids), "writing ids");
                             return size;
                         };
                     }});
    cases.push_back({kFiler, "readObjectIdArray", [](int size) -> Run {
                         OKTMemoryFiler writer;
                         demand(writer.writeObjectIdArray(u"m_ids", freshIds(size)), "writing ids");
                         Bytes const bytes = std::make_shared<CByteArray>(writer.takeBytes());
                         return [bytes, size] {
                             OKTMemoryFiler filer;
                             filer.readInPlace(*bytes);
                             IdArray ids;
                             demand(filer.readObjectIdArray(u"m_ids", ids) && ids.getSize() == size, "reading ids");
                             return size;
                         };
                     }});
    cases.push_back({kFiler, "beginWriteClass to endWriteClass", writing(writeFrame)});
    cases.push_back({kFiler, "beginReadClass to endReadClass", reading(writeFrame, readFrame)});
    cases.push_back({kFiler, "endReadClass over values not read", skipRun<false>});
    cases.push_back({kFiler, "endReadClass over frames in frames", skipRun<true>});
    cases.push_back({kFiler, "readNextObjectClass, objects in a row", nextObjectsRun});
    cases.push_back({kFiler, "readNextObjectClass, over bytes", farObjectRun});
    cases.push_back({kFiler, "skipToNextObject", called(true, [](OKTMemoryFiler &filer) { filer.skipToNextObject(); })});
    cases.push_back({kFiler, "GetFilerLength, GetFilerPosition", called(true, [](OKTMemoryFiler &filer) {
                         filer.GetFilerLength();
                         filer.GetFilerPosition();
                     })});
    cases.push_back({kFiler, "setInternalIsWriteEnabled",
                     called(false, [](OKTMemoryFiler &filer) { filer.setInternalIsWriteEnabled(true); })});
    cases.push_back({kFiler, "setTranslatedIds, setIsAnsiString, setIsReadingObjectFromRoot, and what they set",
                     called(false, [](OKTMemoryFiler &filer) {
                         filer.setTranslatedIds(filer.getTranslatedIds());
                         filer.setIsAnsiString(filer.getIsAnsiString());
                         filer.setIsReadingObjectFromRoot(filer.getIsReadingObjectFromRoot());
                         filer.isReadingStalled();
                     })});
    cases.push_back({kFiler, "loadMapTranslatedIds", [](int size) -> Run {
                         auto const map = std::make_shared<IdMap>(translations(freshIds(size)));
                         return [map, size] {
                             OKTMemoryFiler filer;
                             filer.loadMapTranslatedIds(*map);
                             return size;
                         };
                     }});
    cases.push_back({kFiler, "saveMapTranslatedIds", saveMapRun});
    cases.push_back({kFiler, "copy of a filer", onWhole([](OKTMemoryFiler &filer) {
                         OKTMemoryFiler const copy = filer;
                         return copy.GetFilerLength() == filer.GetFilerLength();
                     })});
    cases.push_back({kFiler, "saveFiler into bytes", onWhole([](OKTMemoryFiler &filer) {
                         CByteArray bytes;
                         return filer.saveFiler(bytes);
                     })});
    cases.push_back({kFiler, "loadFiler from bytes", [](int size) -> Run {
                         Bytes const bytes = std::make_shared<CByteArray>(someBytes(size));
                         return [bytes, size] {
                             OKTMemoryFiler filer;
                             demand(filer.loadFiler(*bytes), "loading bytes");
                             return size;
                         };
                     }});
    cases.push_back({kFiler, "takeBytes, readInPlace", onWhole([](OKTMemoryFiler &filer) {
                         CByteArray const bytes = filer.takeBytes();
                         OKTMemoryFiler reader;
                         reader.readInPlace(bytes);
                         return reader.GetFilerLength() == bytes.GetSize();
                     })});
    cases.push_back({kFiler, "saveFiler into a file", [](int size) -> Run {
                         Bytes const bytes = std::make_shared<CByteArray>(someBytes(size));
                         return [bytes, size] {
                             SampleFile const file;
                             demand(OKTMemoryFiler::saveFiler(file.path(), *bytes), "saving bytes");
                             return size;
                         };
                     }});
    cases.push_back({kFiler, "loadFiler from a file", [](int size) -> Run {
                         auto const file = std::make_shared<SampleFile>();
                         demand(OKTMemoryFiler::saveFiler(file->path(), someBytes(size)), "saving bytes");
                         return [file, size] {
                             CByteArray bytes;
                             demand(OKTMemoryFiler::loadFiler(file->path(), bytes, 0, -1), "loading bytes");
                             return size;
                         };
                     }});
    return cases;
}
