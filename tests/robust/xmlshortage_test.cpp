// SPDX-License-Identifier: MIT
#include "support/alloccount.h"
#include "support/bytetext.h"
#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/shortage.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

// Memory that runs out in the filer of documents: what answered true stands in the document, what answered false does not.

namespace
{
CString const kText = u"a text of a document, with Ø and & and < in it, longer than short";

struct Call
{
    char const *name;
    std::function<bool(OKTXmlFiler &)> perform;
};

tagVARIANT longVariant()
{
    tagVARIANT value = {};
    value.vt = VT_I4;
    value.lVal = 7;
    return value;
}

/// Values below the root, each under a name of its own.
std::vector<Call> const kValues = {
    {"cover", [](OKTXmlFiler &f) { return f.writeDouble(u"cover", 35.25); }},
    {"count", [](OKTXmlFiler &f) { return f.writeLong(u"count", 70000L); }},
    {"size", [](OKTXmlFiler &f) { return f.writeLong(u"size", 70000UL); }},
    {"text", [](OKTXmlFiler &f) { return f.writeString(u"text", kText); }},
    {"flag", [](OKTXmlFiler &f) { return f.writeBool(u"flag", true); }},
    {"short", [](OKTXmlFiler &f) { return f.writeShort(u"short", short{3}); }},
    {"integer", [](OKTXmlFiler &f) { return f.writeInt(u"integer", 5); }},
    {"variant", [](OKTXmlFiler &f) { return f.writeVariant(u"variant", longVariant()); }},
    {"point", [](OKTXmlFiler &f) { return f.writePoint3d(u"point", OKTGeXYZ(1.0, 2.0, 3.0)); }},
};
} // namespace

TEST(ShortageXmlFiler, WriteValues_EveryFault_WhatWasTrueIsInTheDocument)
{
    ScratchFolder const folder;
    CString const path = folder.path("values.xml");
    // Each element as a document of its own has it.
    std::vector<std::string> elements;
    for (Call const &call : kValues)
    {
        OKTXmlFiler filer;
        ASSERT_TRUE(filer.NewFiler(path, true));
        ASSERT_TRUE(call.perform(filer));
        ASSERT_TRUE(filer.CloseFiler());
        std::string const document = textOf(contentsOf(path));
        std::size_t const begin = document.find("<Document>") + 10;
        elements.push_back(document.substr(begin, document.find("</Document>") - begin));
    }
    std::unique_ptr<OKTXmlFiler> filer;
    std::array<bool, 16> answers = {};
    forEveryFault({
        .name = "values of OKTXmlFiler",
        .prepare =
            [&] {
                filer = std::make_unique<OKTXmlFiler>();
                filer->NewFiler(path, true);
                answers = {};
            },
        .perform =
            [&] {
                for (std::size_t i = 0; i < kValues.size(); ++i)
                    answers[i] = kValues[i].perform(*filer);
            },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            if (!filer->CloseFiler())
                wrong = "with memory back, the document is not closed";
            filer.reset();
            std::string const document = textOf(contentsOf(path));
            for (std::size_t i = 0; i < kValues.size() && wrong.empty(); ++i)
            {
                bool const isThere = document.find(elements[i]) != std::string::npos;
                if (answers[i] && !isThere)
                    wrong = std::string("true, and not whole in the document: ") + kValues[i].name;
                else if (!answers[i] && isThere && kValues[i].name != std::string("variant") &&
                         kValues[i].name != std::string("point"))
                    wrong = std::string("false, and in the document: ") + kValues[i].name;
                else if (!answers[i] && !struck)
                    wrong = std::string("false without cause: ") + kValues[i].name;
            }
            return wrong;
        },
    });
}

TEST(ShortageXmlFiler, WriteFrames_EveryFault_WhereAllWasTrueTheDocumentIsWhole_Quirk73)
{
    ScratchFolder const folder;
    CString const path = folder.path("frames.xml");
    std::vector<Call> const calls = {
        {"NewFiler", [&](OKTXmlFiler &f) { return f.NewFiler(path, true); }},
        {"beginWriteClass", [](OKTXmlFiler &f) { return f.beginWriteClass(u"Object", u"AClassOfSomeClient", 2); }},
        {"beginWriteMembers", [](OKTXmlFiler &f) { return f.beginWriteMembers(1); }},
        {"writeString", [](OKTXmlFiler &f) { return f.writeString(u"text", kText); }},
        {"endWriteMembers", [](OKTXmlFiler &f) { return f.endWriteMembers(); }},
        {"beginWriteMap", [](OKTXmlFiler &f) { return f.beginWriteMap(u"a map of the document"); }},
        {"writeDouble", [](OKTXmlFiler &f) { return f.writeDouble(u"cover", 35.25); }},
        {"endWriteMap", [](OKTXmlFiler &f) { return f.endWriteMap(); }},
        {"endWriteClass", [](OKTXmlFiler &f) { return f.endWriteClass(); }},
        {"CloseFiler", [](OKTXmlFiler &f) { return f.CloseFiler(); }},
    };
    std::string whole;
    {
        OKTXmlFiler filer;
        for (Call const &call : calls)
            ASSERT_TRUE(call.perform(filer)) << call.name;
        whole = textOf(contentsOf(path));
    }
    std::unique_ptr<OKTXmlFiler> filer;
    bool all = false;
    std::size_t unsaved = 0;
    forEveryFault({
        .name = "frames of OKTXmlFiler",
        .prepare =
            [&] {
                folder.put("frames.xml", CByteArray());
                filer = std::make_unique<OKTXmlFiler>();
                all = false;
            },
        .perform =
            [&] {
                bool done = true;
                for (Call const &call : calls)
                    done = call.perform(*filer) && done;
                all = done;
            },
        .judge = [&](bool struck) -> std::string {
            filer.reset();
            std::string const found = textOf(contentsOf(path));
            if (!all)
                return struck ? "" : "false without cause";
            if (found == whole)
                return "";
            // A save that fails is not told.
            unsaved += found.empty() ? 1 : 0;
            return found.empty() || whole.starts_with(found) ? "" : "true, and the document is another";
        },
    });
    RecordProperty("saves that were not told to have failed", static_cast<int>(unsaved));
}

TEST(ShortageXmlFiler, WriteString_PresenterRaises_ItsExceptionTravelsAndTheDocumentGoesOn)
{
    ScratchFolder const folder;
    CString const path = folder.path("presenter.xml");
    OKTXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(path, true));
    ASSERT_TRUE(filer.writeLong(u"before", 1L));
    OktSetWarningPresenter([](CString const &) { throw std::domain_error("no screen"); });
    bool raised = false;
    {
        AllocationFault const fault(0);
        try
        {
            filer.writeString(u"text", kText);
        }
        catch (std::domain_error const &)
        {
            raised = true;
        }
    }
    OktSetWarningPresenter(nullptr);
    EXPECT_TRUE(raised);
    EXPECT_TRUE(filer.writeLong(u"behind", 2L));
    EXPECT_TRUE(filer.CloseFiler());
    std::string const document = textOf(contentsOf(path));
    EXPECT_NE(document.find("<before long=\"1\"/><behind long=\"2\"/>"), std::string::npos) << document;
}

TEST(ShortageXmlFiler, NewFilerToWrite_EveryFault_FalseAndTheFileStaysWhenTheFilerEnds)
{
    ScratchFolder const folder;
    CString const path = folder.path("new.xml");
    CString const earlier = folder.path("earlier.xml");
    std::string const old = "a document that is there already";
    std::unique_ptr<OKTXmlFiler> filer;
    bool opened = false;
    forEveryFault({
        .name = "NewFiler of OKTXmlFiler over a file",
        .prepare =
            [&] {
                folder.put("new.xml", bytesOf(old));
                filer = std::make_unique<OKTXmlFiler>();
                // A document whose root was ended is still there when the next one is asked for.
                filer->NewFiler(earlier, true);
                filer->writeLong(u"count", 7L);
                filer->endWriteClass();
                opened = false;
            },
        .perform = [&] { opened = filer->NewFiler(path, true); },
        .judge = [&](bool struck) -> std::string {
            if (!opened && !struck)
                return "false without cause";
            filer.reset();
            std::string const found = textOf(contentsOf(path));
            if (!opened)
                return found == old ? "" : "false, and the file is another: " + found;
            return found.ends_with("<Document/>\n") ? "" : "true, and no document: " + found;
        },
    });
}

TEST(ShortageXmlFiler, Read_EveryFault_TheValueOrFalseAndTheValueBefore)
{
    ScratchFolder const folder;
    CString const path = folder.path("read.xml");
    {
        OKTXmlFiler filer;
        ASSERT_TRUE(filer.NewFiler(path, true));
        for (Call const &call : kValues)
            ASSERT_TRUE(call.perform(filer));
        ASSERT_TRUE(filer.beginWriteMap(u"a map"));
        ASSERT_TRUE(filer.writeString(u"entry", kText));
        ASSERT_TRUE(filer.endWriteMap());
        ASSERT_TRUE(filer.beginWriteClass(u"Object", u"OKTDbRelation", 1));
        ASSERT_TRUE(filer.endWriteClass());
        ASSERT_TRUE(filer.CloseFiler());
    }
    std::unique_ptr<OKTXmlFiler> filer;
    struct Values
    {
        double cover = -1.0;
        long count = -1;
        CString text;
        bool flag = false;
        int integer = -1;
        tagVARIANT variant = {};
        tagVARIANT entry = {};
        CString entryName;
        CString className;
        OKTGeXYZ point;
        bool opened = false;
        std::array<bool, 10> done = {};
    };
    std::unique_ptr<Values> values;
    forEveryFault({
        .name = "reads of OKTXmlFiler",
        .prepare =
            [&] {
                filer = std::make_unique<OKTXmlFiler>();
                values = std::make_unique<Values>();
            },
        .perform =
            [&] {
                Values &v = *values;
                v.opened = filer->NewFiler(path, false);
                v.done[0] = filer->readDouble(u"cover", v.cover);
                v.done[1] = filer->readLong(u"count", v.count);
                v.done[2] = filer->readString(u"text", v.text);
                v.done[3] = filer->readBool(u"flag", v.flag);
                v.done[4] = filer->readInt(u"integer", v.integer);
                v.done[5] = filer->readVariant(u"variant", v.variant);
                v.done[6] = filer->readPoint3d(u"point", v.point);
                v.done[7] = filer->beginReadMap(u"a map");
                v.done[8] = v.done[7] && filer->getMapAttribute(v.entryName, &v.entry) && filer->endReadMap();
                v.done[9] = filer->getDescriptionForNextReadObject(v.className);
            },
        .judge = [&](bool struck) -> std::string {
            Values &v = *values;
            std::string wrong;
            auto const check = [&](std::size_t index, bool isRead, bool isBefore, char const *name) {
                if (v.done[index] ? !isRead : !isBefore)
                    wrong = firstOf(
                        wrong, std::string(v.done[index] ? "true, and another value of " : "false, and a value of ") + name);
                if (!v.done[index] && !struck)
                    wrong = firstOf(wrong, std::string("false without cause: ") + name);
            };
            check(0, v.cover == 35.25, v.cover == -1.0, "a double");
            check(1, v.count == 70000, v.count == -1, "a long");
            check(2, v.text == kText, v.text.IsEmpty(), "a text");
            check(3, v.flag, !v.flag, "a bool");
            check(4, v.integer == 5, v.integer == 0 || v.integer == -1, "an int");
            check(5, v.variant.vt == VT_I4 && v.variant.lVal == 7, true, "a variant");
            check(6, v.point.X() == 1.0 && v.point.Y() == 2.0 && v.point.Z() == 3.0, true, "a point");
            check(8, v.entry.vt == VT_BSTR && CString(v.entry.bstrVal) == kText && v.entryName == u"entry", true, "a map");
            check(9, v.className == u"OKTDbRelation", v.className.IsEmpty(), "a description");
            VariantClear(&v.entry);
            VariantClear(&v.variant);
            values.reset();
            filer.reset();
            return wrong;
        },
    });
}

TEST(ShortageXmlFiler, Destructor_OpenDocumentAndEveryFault_NothingEscapes)
{
    ScratchFolder const folder;
    CString const path = folder.path("open.xml");
    std::unique_ptr<OKTXmlFiler> filer;
    forEveryFault({
        .name = "~OKTXmlFiler with an open document",
        .prepare =
            [&] {
                filer = std::make_unique<OKTXmlFiler>();
                filer->NewFiler(path, true);
                filer->writeString(u"text", kText);
            },
        .perform = [&] { filer.reset(); },
        .judge = [](bool) { return std::string(); },
    });
}
