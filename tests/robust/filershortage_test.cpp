// SPDX-License-Identifier: MIT
#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/shortage.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Memory that runs out in the binary filer itself, also in one that a client derived: what answered true is in the stream or in the
// target, whole.

namespace
{
constexpr int kIds = 60;

CString const kText = u"a text of a stream, with Ø in it, that is longer than any that is kept in place";

/// As a client derives one.
class DerivedFiler : public OKTMemoryFiler
{
public:
    using OKTMemoryFiler::OKTMemoryFiler;
};

struct Record
{
    char const *name;
    std::function<bool(OKTMemoryFiler &)> write;
    /// Reads it and tells whether it came whole.
    std::function<bool(OKTMemoryFiler &, bool &isWhole)> read;
};

IdArray someIds()
{
    IdArray ids;
    for (int i = 0; i < kIds; ++i)
        ids.append(OKTDbObjectId::createObjectId(nullptr));
    return ids;
}

tagVARIANT textVariant()
{
    tagVARIANT value = {};
    value.vt = VT_BSTR;
    value.bstrVal = kText.AllocSysString();
    return value;
}

std::vector<Record> records(IdArray const &ids, CByteArray const &bytes, tagVARIANT const &variant)
{
    return {
        {"a long", [](OKTMemoryFiler &f) { return f.writeLong(u"n", 70000L); },
         [](OKTMemoryFiler &f, bool &isWhole) {
             long n = 0;
             bool const done = f.readLong(u"n", n);
             isWhole = n == 70000;
             return done;
         }},
        {"a text", [](OKTMemoryFiler &f) { return f.writeString(u"s", kText); },
         [](OKTMemoryFiler &f, bool &isWhole) {
             CString text;
             bool const done = f.readString(u"s", text);
             isWhole = text == kText;
             return done;
         }},
        {"an 8-bit text",
         [](OKTMemoryFiler &f) {
             OKTSmartAnsiString const ansi(&f, true);
             return f.writeString(u"s", u"a text of letters that every code page has");
         },
         [](OKTMemoryFiler &f, bool &isWhole) {
             OKTSmartAnsiString const ansi(&f, true);
             CString text;
             bool const done = f.readString(u"s", text);
             isWhole = text == u"a text of letters that every code page has";
             return done;
         }},
        {"bytes", [&](OKTMemoryFiler &f) { return f.writeByteArray(u"b", bytes); },
         [&](OKTMemoryFiler &f, bool &isWhole) {
             CByteArray found;
             bool const done = f.readByteArray(u"b", found);
             isWhole = found == bytes;
             return done;
         }},
        {"a list of ids", [&](OKTMemoryFiler &f) { return f.writeObjectIdArray(u"ids", ids); },
         [&](OKTMemoryFiler &f, bool &isWhole) {
             IdArray found;
             bool const done = f.readObjectIdArray(u"ids", found);
             isWhole = found.getSize() == ids.getSize() && found.at(kIds - 1) == ids.at(kIds - 1);
             return done;
         }},
        {"a point", [](OKTMemoryFiler &f) { return f.writePoint3d(u"p", OKTGeXYZ(1.0, 2.0, 3.0)); },
         [](OKTMemoryFiler &f, bool &isWhole) {
             OKTGeXYZ point;
             bool const done = f.readPoint3d(u"p", point);
             isWhole = point.X() == 1.0 && point.Y() == 2.0 && point.Z() == 3.0;
             return done;
         }},
        {"a variant", [&](OKTMemoryFiler &f) { return f.writeVariant(u"v", variant); },
         [](OKTMemoryFiler &f, bool &isWhole) {
             tagVARIANT value = {};
             bool const done = f.readVariant(u"v", value);
             isWhole = value.vt == VT_BSTR && OktTextView(value.bstrVal, SysStringLen(value.bstrVal)) == kText.View();
             VariantClear(&value);
             return done;
         }},
    };
}

template <typename Filer> void writeUnderFaults(char const *kind)
{
    IdArray const ids = someIds();
    CByteArray bytes;
    bytes.SetSize(3000);
    tagVARIANT variant = textVariant();
    for (Record const &record : records(ids, bytes, variant))
    {
        OKTMemoryFiler reference;
        EXPECT_TRUE(record.write(reference));
        CByteArray const whole = written(reference);
        std::optional<Filer> filer;
        bool done = false;
        forEveryFault({
            .name = std::string("write of ") + record.name + kind,
            .prepare =
                [&] {
                    filer.emplace();
                    done = false;
                },
            .perform = [&] { done = record.write(*filer); },
            .judge = [&](bool struck) -> std::string {
                CByteArray const found = written(*filer);
                filer.reset();
                if (done && found != whole)
                    return "true, and the record is not whole";
                return done || struck ? "" : "false without cause";
            },
        });
    }
    VariantClear(&variant);
}

template <typename Filer> void readUnderFaults(char const *kind)
{
    IdArray const ids = someIds();
    CByteArray bytes;
    bytes.SetSize(3000);
    tagVARIANT variant = textVariant();
    for (Record const &record : records(ids, bytes, variant))
    {
        OKTMemoryFiler reference;
        EXPECT_TRUE(record.write(reference) && reference.writeBool(u"more", true));
        CByteArray const stream = written(reference);
        std::optional<Filer> filer;
        bool done = false;
        bool isWhole = false;
        forEveryFault({
            .name = std::string("read of ") + record.name + kind,
            .prepare =
                [&] {
                    filer.emplace();
                    filer->loadFiler(stream);
                    done = isWhole = false;
                },
            .perform = [&] { done = record.read(*filer, isWhole); },
            .judge = [&](bool struck) -> std::string {
                filer.reset();
                if (done && !isWhole)
                    return "true, and the value is not whole";
                return done || struck ? "" : "false without cause";
            },
            .mayTakeNone = true, // numbers
        });
    }
    VariantClear(&variant);
}
} // namespace

TEST(ShortageFiler, Write_EveryFault_FalseOrTheWholeRecord)
{
    writeUnderFaults<OKTMemoryFiler>("");
    writeUnderFaults<DerivedFiler>(" by a filer of a client");
}

TEST(ShortageFiler, Read_EveryFault_FalseOrTheWholeValue)
{
    readUnderFaults<OKTMemoryFiler>("");
    readUnderFaults<DerivedFiler>(" by a filer of a client");
}

TEST(ShortageFiler, LoadAndSaveFiler_EveryFault_FalseOrAllBytes)
{
    CByteArray stream;
    stream.SetSize(200'000);
    OKTMemoryFiler writing;
    ASSERT_TRUE(writing.writeByteArray(u"b", stream));
    std::optional<OKTMemoryFiler> reading;
    CByteArray saved;
    bool didLoad = false;
    bool didSave = false;
    forEveryFault({
        .name = "loadFiler and saveFiler of a filer",
        .prepare =
            [&] {
                reading.emplace();
                saved.SetSize(3);
                didLoad = didSave = false;
            },
        .perform =
            [&] {
                didLoad = reading->loadFiler(stream);
                didSave = writing.saveFiler(saved);
            },
        .judge = [&](bool struck) -> std::string {
            long const loaded = reading->GetFilerLength();
            int const size = saved.GetSize();
            reading.reset();
            saved = CByteArray();
            if (loaded != (didLoad ? stream.GetSize() : 0))
                return "the filer does not hold what it answered";
            if (size != (didSave ? stream.GetSize() + 5 : 0))
                return "the bytes are not what was answered";
            return (didLoad && didSave) || struck ? "" : "false without cause";
        },
    });
}
