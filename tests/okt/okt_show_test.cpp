// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"

#include "support/hexbytes.h"
#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace
{

namespace fs = std::filesystem;

std::size_t linesIn(std::string const &text) { return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')); }

/// A second process prints pool files; golden ones and those made here.
class OktShow : public FolderTest
{
protected:
    static CByteArray bytesOfFile(std::string const &path) { return contentsOf(CString::FromUtf8(path)); }

    static void expectLine(ProcessResult const &result, std::string const &line)
    {
        EXPECT_NE(("\n" + result.out).find("\n" + line + "\n"), std::string::npos) << line << "\n--- in ---\n" << result.out;
    }

    static void expectPart(ProcessResult const &result, std::string const &part)
    {
        EXPECT_NE(result.out.find(part), std::string::npos) << part << "\n--- in ---\n" << result.out;
    }

    static void expectFailure(ProcessResult const &result, std::string const &message)
    {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "okt: " + message + "\n");
    }
};

TEST_F(OktShow, Show_StandardInput_AsFromTheFile)
{
    std::string const file = OKT_TEST_DATA_DIR "/golden/stirrup.okt";
    for (std::string const option : {"--ids", "--index", "--preview"})
    {
        ProcessResult const piped = runOktOn(file, {"show", option, "-"});
        ProcessResult named = runOkt({"show", option, file});
        EXPECT_EQ(piped.exitCode, named.exitCode);
        for (std::string *const text : {&named.out, &named.err})
            for (std::size_t at = 0; (at = text->find(file)) != std::string::npos;)
                text->replace(at, file.size(), "standard input");
        EXPECT_EQ(piped.out, named.out);
        EXPECT_EQ(piped.err, named.err);
    }
    EXPECT_EQ(runOkt({"show", "-", "-"}).err, "okt: standard input: it can be read only once\n");
}

TEST_F(OktShow, Show_Stirrup_HeaderTreeRelationsPicturesSizes)
{
    ProcessResult const result = runOkt({"show", golden("stirrup.okt"), "--unit", "m"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    expectLine(result, golden("stirrup.okt") + ": 9311 bytes");
    expectLine(result, "  Pool            \"Stirrup, closed, 135 degrees\" {ED7D40B5-8AF9-4025-8681-00D526EDB9C2}");
    expectLine(result, "  Units           lengths in m (1 to the metre)");
    expectLine(result, "  Metrics factor  1 in the file");
    expectLine(result, "  Construct       none");
    expectLine(result, "  Sketch          {5926E432-8963-4BA0-9B8A-63BD13355F3E}, not in this file");
    expectLine(result, "  Picture         {727EC297-1483-468D-812D-A07952424387}, OKTDbPicture, 2149 bytes from byte 3571");
    expectLine(result, "Group category {FD73AB2E-1A82-49FF-8881-F7D70F960A36}, 2 categories");
    expectLine(result, "  Category \"Bar\" {FBC03831-907F-4EE3-8692-9454586D785D}, 10 parameters");
    expectLine(result, "  Category \"Layout\" {F36B99D1-E282-49A7-99CF-42E42EDCB07B}, 5 parameters");
    expectPart(result,
               "    Steelgrade             4 Steelgrade              VT_BSTR  \"B500B\"                 Grade of the bar\n");
    expectPart(result, "VT_R8    120 m      10*Diameter  Straight length behind the bend\n");
    expectPart(result, "    Bügel Ø12 — strzemię   82 Prefix                 VT_BSTR  \"Série 🔩\"\n");
    expectPart(result,
               "    Spacing B            37 Spacing              VT_R8    150 m           B     Spacing at the supports\n");
    expectPart(result, "\"3x200 2x150 \"");
    expectLine(result, "        uses Spacing A, Spacing B");
    expectLine(result, "  OKTDbParamRelation {8B87DAE8-0AB5-41BD-BC6D-1853113361DB}");
    expectLine(result, "    Diameter, Hook length 1, Bending radius");
    expectLine(result, "  0: {727EC297-1483-468D-812D-A07952424387}, image of 1399 bytes, no known format");
    expectLine(result, "    camera (1250, -800, 950.5), target (0, 0, 120.25), up (0, 0, 1)");
    expectLine(result, "Objects: 21 read, 21 in the file");
    expectPart(result, "  OKTDbParameter      15 ");
}

TEST_F(OktShow, Show_EveryUnit_LengthsConvertedOthersNot)
{
    struct Row
    {
        char const *unit;
        char const *cover;
        char const *quantity;
    };
    Row const rows[] = {{"mm", " 30 mm", "\"4x150 2x100 \""},
                        {"cm", " 3 cm", "\"4x15 2x10 \""},
                        {"m", " 0.03 m", "\"4x0.15 2x0.1 \""},
                        {"in", " 1.1811023622 in", "\"4x5.906 2x3.937 \""},
                        {"ft", " 0.0984251968504 ft", "\"4x0.492 2x0.328 \""}};
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data", "-o", path("out")}).exitCode, 0);
    for (Row const &row : rows)
    {
        ProcessResult const result = runOkt({"show", "-u", row.unit, path("out/link-d12.okt")});
        EXPECT_EQ(result.exitCode, 0);
        expectPart(result, row.cover);
        expectPart(result, row.quantity);
        expectPart(result, "    Diameter        5 Diameter         VT_R8    12 ");
        expectPart(result, "    Hook angle 1   9 Hook angle 1    VT_R8    90 ");
    }
}

TEST_F(OktShow, Show_InchTemplateInBothUnits_InchesAndMillimetres)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-astm-a615.csv", "-o", path("out")}).exitCode, 0);
    ProcessResult const inches = runOkt({"show", "--unit", "in", path("out/link-no4.okt")});
    expectPart(inches, " 1.5 in ");
    expectPart(inches, "\"4x10 2x5 \"");
    expectPart(inches, "57.780972451 in");
    ProcessResult const millimetres = runOkt({"show", path("out/link-no4.okt")});
    expectPart(millimetres, " 38.1 mm ");
    expectPart(millimetres, "\"4x254 2x127 \"");
    expectPart(millimetres, "1467.63670025 mm");
}

TEST_F(OktShow, Show_ValueKinds_EachWithItsKind)
{
    ProcessResult const result = runOkt({"show", "--unit", "m", golden("value-kinds.okt")});
    EXPECT_EQ(result.exitCode, 0);
    expectLine(result, "Parameters in no category");
    expectPart(result, "VT_I2    32767");
    expectPart(result, "VT_I4    -2147483648");
    expectPart(result, "VT_R8    -0 m");
    expectPart(result, "VT_R8    infinity");
    expectPart(result, "VT_BOOL  true");
    expectPart(result, "VT_BOOL  false");
    expectPart(result, "VT_BSTR  \"text\"");
    expectPart(runOkt({"show", "--unit", "m", golden("float-value.okt")}), "VT_R4");
}

TEST_F(OktShow, Show_EveryGoldenFile_ReadsItAndSaysWhatIsWrong)
{
    for (fs::directory_entry const &entry : fs::directory_iterator(golden("")))
    {
        if (entry.path().extension() != ".okt")
            continue;
        std::string const file = entry.path().generic_string();
        std::string const name = entry.path().filename().string();
        ProcessResult const result = runOkt({"show", file, "--ids"});
        bool const isFaulty = name == "truncated.okt" || name == "trailing-bytes.okt" || name == "duplicate-id.okt" ||
                              name == "group-parameter-name.okt";
        EXPECT_EQ(result.exitCode, isFaulty ? 1 : 0) << name;
        EXPECT_EQ(linesIn(result.err), isFaulty ? 1u : 0u) << result.err;
        EXPECT_TRUE(result.out.starts_with(file + ": ")) << name;
        EXPECT_NE(result.out.find("\nObjects: "), std::string::npos) << name;
    }
}

TEST_F(OktShow, Show_GoldenFilesWithFaults_PlaceAndReason)
{
    expectFailure(runOkt({"show", golden("truncated.okt")}),
                  golden("truncated.okt") + ":byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358");
    expectFailure(runOkt({"show", golden("duplicate-id.okt")}),
                  golden("duplicate-id.okt") +
                      ":byte 1061: the id {3D5E7580-1FAD-4FE8-AC3A-689A00668CB1} of this object is in the file already");
    expectFailure(runOkt({"show", golden("group-parameter-name.okt")}),
                  golden("group-parameter-name.okt") +
                      ":byte 756: damaged: the members of this OKTDbGroupParameter are not those of its class");
}

TEST_F(OktShow, Show_FileWithFault_WhatCouldBeReadAndWhatNot)
{
    ProcessResult const cut = runOkt({"show", golden("truncated.okt")});
    expectLine(cut, "Objects: 3 read, 3 in the file");
    expectLine(cut, "Not read");
    expectLine(cut, "  OKTDbParameter {31882FDD-D649-4893-A02B-DECFCDD39355}, 230 bytes from byte 1358: cut off");
    ProcessResult const twice = runOkt({"show", golden("duplicate-id.okt")});
    expectLine(twice, "Objects: 3 read, 4 in the file");
    expectLine(twice, "  OKTDbRelation {0F11336D-DF48-4DA0-B22C-7504ED6B20E8}");
    expectLine(twice,
               "  OKTDbRelation {3D5E7580-1FAD-4FE8-AC3A-689A00668CB1}, 106 bytes from byte 1061: an id that is in the file "
               "already");
}

// The fault is in front, and lengths are converted all the same.
TEST_F(OktShow, Show_ObjectAtFaultInFront_TheOnesBehindItInTheChosenUnit)
{
    CByteArray bytes = bytesOfFile(golden("stirrup.okt"));
    int const firstObject = 563;
    ASSERT_EQ(bytes[firstObject], 6);
    bytes[firstObject + 18] = 0xEE;
    ProcessResult const result = runOkt({"show", "--unit", "mm", put("front.okt", bytes)});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err,
              "okt: " + path("front.okt") + ":byte 581: damaged inside an OKTDbParameter that begins at byte 563\n");
    expectLine(result, "Objects: 20 read, 20 in the file");
    expectPart(result, "VT_R8    120000 mm");
    expectLine(result, "  Pool            \"Stirrup, closed, 135 degrees\" {ED7D40B5-8AF9-4025-8681-00D526EDB9C2}");
    expectLine(result, "  Picture         {727EC297-1483-468D-812D-A07952424387}, OKTDbPicture, 2149 bytes from byte 3571");
    expectLine(result, "  OKTDbParameter, 18 bytes from byte 563: damaged");
}

// A class of a client module is nothing wrong with a file.
TEST_F(OktShow, Show_ClassOfNoModule_InformationAndWhatHelps)
{
    ProcessResult const result = runOkt({"show", golden("unknown-class.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    expectLine(result, "Objects: 3 read, 3 in the file");
    expectPart(result, "\n\nClasses that need a client module\n"
                       "  OKTDbNobody, 1 object: no module that okt finds names it; --module FILE gives one, okt modules tells "
                       "where okt looks\n");
    EXPECT_EQ(result.out.find("fault"), std::string::npos);
    ProcessResult const other = runOkt({"show", golden("other-case.okt")});
    EXPECT_EQ(other.exitCode, 0);
    EXPECT_EQ(other.err, "");
    expectPart(other, "\n  oktdbrelation, 1 object: no module that okt finds names it; ");
}

// The bases of a class are those of its own file: releases may nest it in different ways.
TEST_F(OktShow, Show_ClassWithOtherBasesInTheNextFile_BothRead)
{
    auto const file = [this](std::string const &name, std::vector<std::string> const &between) {
        StreamBuilder objects;
        objects.beginClass("OwnThing");
        for (std::string const &base : between)
            objects.beginClass(base);
        objects.objectBase("{00000001-1111-1111-1111-111111111111}");
        for (std::size_t i = 0; i < between.size(); ++i)
            objects.endClass();
        objects.endClass();
        return put(name, poolImage(HeaderFields(), objects));
    };
    ProcessResult const result = runOkt({"show", file("a.okt", {}), file("b.okt", {"OwnBase"}), file("c.okt", {})});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    std::size_t count = 0;
    for (std::size_t at = 0; (at = result.out.find("\nObjects: 1 read, 1 in the file\n", at)) != std::string::npos; ++at)
        ++count;
    EXPECT_EQ(count, 3u) << result.out;
}

TEST_F(OktShow, Show_UnknownClassWithoutTheFrameOfAnObject_ListedAndTheOthersRead)
{
    StreamBuilder objects = relationFrame("{00000001-1111-1111-1111-111111111111}");
    objects.beginClass("Strange").beginMembers(1).integer(1).endMembers().endClass();
    objects.append(relationFrame("{00000002-2222-2222-2222-222222222222}"));
    ProcessResult const result = runOkt({"show", put("a.okt", poolImage(HeaderFields(), objects))});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    expectLine(result, "Objects: 2 read, 3 in the file");
    expectPart(result, "\nNot read\n  Strange, ");
    expectPart(result,
               ": a class that needs a client module\n\nClasses that need a client module\n  Strange, 1 object: no module");
}

TEST_F(OktShow, Show_UnknownClasses_ObjectsBehindThemAreReadToo)
{
    ProcessResult const result = runOkt({"--no-modules", "show", golden("every-class.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    expectLine(result, "Objects: 10 read, 10 in the file");
    expectLine(result, "  OKTDbConstruct {5512977A-E6C4-420D-B5F7-5332B461C314}, 133 bytes from byte 1011, a class that needs "
                       "a client module");
    expectLine(result, "  OKTDbIndexData {439080EE-F923-4AFE-BA7E-DFA1C51754E7}, 125 bytes from byte 2178, a class that needs "
                       "a client module");
    expectLine(result, "  Construct       {5512977A-E6C4-420D-B5F7-5332B461C314}, OKTDbConstruct, 133 bytes from byte 1011");
    expectLine(result, "  Category \"All\" {A1DDE39E-F7DB-44EC-BAFB-D4A63A29323E}, 2 parameters");
    expectLine(result, "  OKTDbObject {E82D871E-4897-4269-BF59-A669FEB8B632}, 76 bytes from byte 935");
    expectPart(result, "\n\nClasses that need a client module\n  OKTDbConstruct, 1 object: " + ownModule() +
                           " names it, which --no-modules leaves out\n  OKTDbIndexData, 1 object: " + ownModule() +
                           " names it, which --no-modules leaves out\n");
}

TEST_F(OktShow, Show_SeveralFiles_EachShownAndEachFaultTold)
{
    ProcessResult const result =
        runOkt({"show", golden("truncated.okt"), path("none.okt"), golden("truncated.okt"), golden("empty.okt")});
    EXPECT_EQ(result.exitCode, 1);
    std::string const cut =
        "okt: " + golden("truncated.okt") + ":byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358\n";
    EXPECT_EQ(result.err, cut + "okt: " + path("none.okt") + ": there is no such file\n" + cut);
    expectLine(result, golden("empty.okt") + ": 459 bytes");
}

TEST_F(OktShow, Show_Ids_EveryParameterWithIdCategoryAndOwner)
{
    ProcessResult const result = runOkt({"show", "--ids", golden("stirrup.okt")});
    expectLine(result, "        id {3DDC822C-47DB-4729-83F4-04AD06AC28C8}");
    expectLine(result, "        category \"Layout\"");
    expectLine(result, "        owner OKTDbParamRelation {8B87DAE8-0AB5-41BD-BC6D-1853113361DB}");
}

// ---- Texts and links that nobody expects ------------------------------------------------------------------------------------

TEST_F(OktShow, Show_TextsThatSteerTheTerminal_Escaped)
{
    OKTDbPool pool;
    pool.setPoolName(CString(u"\x001b]0;title\x0007"));
    auto *const parameter = new OKTDbParameter(4, OKTDbObjectId());
    ASSERT_TRUE(pool.appendObject(parameter));
    WCHAR const lone[] = {u'a', 0xD800, u'\n', u'b', 0x202E};
    parameter->setUserName(CString(lone, 5), false);
    parameter->setValue(CString(u"say \"x\"\r\n"), 0);
    parameter->setDescription(CString(u"\x009b"
                                      u"2J"));
    ASSERT_TRUE(pool.writeFile(m_folder.path("hostile.okt")));
    ProcessResult const result = runOkt({"show", path("hostile.okt")});
    EXPECT_EQ(result.exitCode, 0);
    expectPart(result, "\"\\u001B]0;title\\u0007\"");
    expectPart(result, "a\\uD800\\nb\\u202E");
    expectPart(result, "\"say \\\"x\\\"\\r\\n\"");
    expectPart(result, "\\u009B2J");
    EXPECT_EQ(result.out.find('\x1b'), std::string::npos);
}

TEST_F(OktShow, Show_DanglingIdsAndWrongClasses_ShownAsIds)
{
    OKTDbPool pool;
    auto *const group = new OKTDbGroupCategory;
    auto *const category = new OKTDbCategory;
    auto *const relation = new OKTDbParamRelation;
    for (OKTDbObject *const object : std::initializer_list<OKTDbObject *>{group, category, relation})
        ASSERT_TRUE(pool.appendObject(object));
    OKTDbObjectId outside;
    outside.setGuidFromString(u"{00112233-4455-6677-8899-AABBCCDDEEFF}");
    category->setCategoryName(u"Loose");
    category->appendParameter(outside);
    category->appendParameter(relation->objectId());
    category->appendParameter(OKTDbObjectId());
    group->appendCategory(outside);
    group->appendCategory(category->objectId());
    group->appendCategory(group->objectId());
    relation->appendParameter(outside);
    relation->appendParameter(category->objectId());
    ASSERT_TRUE(pool.writeFile(m_folder.path("loose.okt")));
    ProcessResult const result = runOkt({"show", path("loose.okt")});
    EXPECT_EQ(result.exitCode, 0);
    expectLine(result, "  {00112233-4455-6677-8899-AABBCCDDEEFF} (not in this file)");
    expectLine(result, "    {00112233-4455-6677-8899-AABBCCDDEEFF} (not in this file)");
    expectLine(result, "    OKTDbParamRelation " + relation->objectId().getGuidAsString(false).ToUtf8());
    expectLine(result, "    no object");
    expectLine(result, "  OKTDbGroupCategory " + group->objectId().getGuidAsString(false).ToUtf8());
    expectLine(result, "    {00112233-4455-6677-8899-AABBCCDDEEFF} (not in this file), \"Loose\"");
}

// A file may name a long category again and again; the output must stay in proportion to the file.
TEST_F(OktShow, Show_CategoryListedTwice_PrintedOnce)
{
    OKTDbPool pool;
    auto *const first = new OKTDbGroupCategory;
    auto *const second = new OKTDbGroupCategory;
    auto *const category = new OKTDbCategory;
    auto *const parameter = new OKTDbParameter(38, OKTDbObjectId());
    for (OKTDbObject *const object : std::initializer_list<OKTDbObject *>{first, second, category, parameter})
        ASSERT_TRUE(pool.appendObject(object));
    parameter->setValue(5, 0);
    category->setCategoryName(u"Shared");
    category->appendParameter(parameter->objectId());
    first->appendCategory(category->objectId());
    second->appendCategory(category->objectId());
    ASSERT_TRUE(pool.writeFile(m_folder.path("shared.okt")));
    ProcessResult const result = runOkt({"show", path("shared.okt")});
    EXPECT_EQ(result.exitCode, 0);
    std::string const title = "  Category \"Shared\" " + category->objectId().getGuidAsString(false).ToUtf8();
    expectLine(result, title + ", 1 parameter");
    expectLine(result, title + ", shown above");
    std::string const row = "    Number  38 Number  VT_I4  5\n";
    expectPart(result, row);
    EXPECT_EQ(result.out.find(row, result.out.find(row) + 1), std::string::npos);
}

TEST_F(OktShow, Show_EmptyPool_HeaderAlone)
{
    ProcessResult const result = runOkt({"show", golden("empty.okt")});
    EXPECT_EQ(result.exitCode, 0);
    expectLine(result, "Objects: 0 read, 0 in the file");
    expectLine(result, "  Pictures        none");
}

TEST_F(OktShow, Show_TrailingBytes_Counted)
{
    ProcessResult const result = runOkt({"show", golden("trailing-bytes.okt")});
    expectPart(result, "Objects: 3 read, 3 in the file");
    expectPart(result, "  (no whole object)           18");
    // A byte of no object, then the begin of one.
    expectPart(result, "Not read\n  an object, 1 byte from byte 1357: cut off\n");
    expectFailure(result, golden("trailing-bytes.okt") + ":byte 1374: the file ends inside an object that begins at byte 1357");
}

TEST_F(OktShow, Show_OldestHeader_NoFactorInTheFile)
{
    expectLine(runOkt({"show", golden("oldest-header.okt")}), "  Metrics factor  none in the file");
    expectLine(runOkt({"show", golden("factor-in-header.okt")}), "  Metrics factor  2.5 in the file");
}

// ---- Bad input --------------------------------------------------------------------------------------------------------------

TEST_F(OktShow, Show_NoFileToRead_Failure)
{
    expectFailure(runOkt({"show", path("none.okt")}), path("none.okt") + ": there is no such file");
    expectFailure(runOkt({"show", path("")}), path("") + ": this is a folder, not a file");
    expectFailure(runOkt({"show", golden("stirrup.okt") + "/x.okt"}), golden("stirrup.okt") + "/x.okt: there is no such file");
    expectFailure(runOkt({"show", ""}), "\"\": there is no such file");
#if !defined(_WIN32) // no such devices, and no such bytes in an argument
    expectFailure(runOkt({"show", "/dev/zero"}), "/dev/zero: this is no plain file");
    expectFailure(runOkt({"show", "/proc/self/mem"}), "/proc/self/mem: the file is empty");
    expectFailure(runOkt({"show", path("") + "bytes-\xFF.okt"}), path("bytes-\\xFF.okt") + ": there is no such file");
#endif
}

TEST_F(OktShow, Show_EmptyFile_Failure)
{
    std::string const file = put("empty.okt", CByteArray());
    ProcessResult const result = runOkt({"show", file});
    expectFailure(result, file + ": the file is empty");
    EXPECT_EQ(result.out, "");
}

TEST_F(OktShow, Show_LockedFile_Failure)
{
    std::string const file = put("locked.okt", bytesOfFile(golden("empty.okt")));
    {
        CFile held;
        ASSERT_TRUE(held.Open(CString::FromUtf8(file), CFile::modeWrite | CFile::shareExclusive));
        expectFailure(runOkt({"show", file}), file + ": the file is locked by another program");
    }
    EXPECT_EQ(runOkt({"show", file}).exitCode, 0);
    CFile reader;
    ASSERT_TRUE(reader.Open(CString::FromUtf8(file), CFile::modeRead | CFile::shareDenyWrite));
    EXPECT_EQ(runOkt({"show", file}).exitCode, 0);
}

TEST_F(OktShow, Show_ForeignFiles_Failure)
{
    struct Row
    {
        char const *bytes;
        char const *message;
    };
    Row const rows[] = {
        {"'diameter_mm,area_mm2'", ":byte 0: this is no pool file: it does not begin with the size of a header"},
        {"02", ":byte 0: this is no pool file: it does not begin with the size of a header"},
        {"02 10 00 00 00", ":byte 0: this is no pool file: it does not begin with the size of a header"},
        {"02 10 00 00 00 'text'", ":byte 5: this is no pool file: the header of a pool is missing"},
        {"02 10 00 00 00 06 05 01 00 'X' 02 01 00 00 00 07", ":byte 5: this is no pool file: the header of a pool is missing"},
        {"02 10 00 00 00 06 05 09 00 'OKTDbPool' 02 06 00 00 00 07",
         ":byte 5: the header is damaged: its members are not those of a pool"},
        {"02 10 00 00 00 06 05 09 00 'OKTDbPool' 02 06 00 00 00 FF", ":byte 23: the header is damaged here"},
        {"02 10 00 00 00 06 05 09 00 'OKTDbPool' 02 06 00", ":byte 21: the file ends inside the header"},
    };
    for (Row const &row : rows)
    {
        std::string const file = put("foreign.okt", hex(row.bytes));
        expectFailure(runOkt({"show", file}), file + row.message);
    }
}

TEST_F(OktShow, Show_FileCutAtManyLengths_OneLineAndExitCodeOneOrWholeObjects)
{
    CByteArray const whole = bytesOfFile(golden("stirrup.okt"));
    for (int length = 1; length < whole.GetSize(); length += length < 700 ? 23 : 211)
    {
        std::string const file = put("cut.okt", firstBytes(whole, length));
        ProcessResult const result = runOkt({"show", file});
        EXPECT_EQ(result.exitCode, 1) << length;
        EXPECT_EQ(linesIn(result.err), 1u) << length << result.err;
        EXPECT_TRUE(result.err.starts_with("okt: " + file + ":byte ")) << length << result.err;
    }
}

TEST_F(OktShow, Show_OneByteChanged_NeverMoreThanOneLine)
{
    CByteArray const whole = bytesOfFile(golden("every-class.okt"));
    for (int place = 0; place < whole.GetSize(); place += 61)
    {
        CByteArray changed(whole);
        changed[place] = static_cast<BYTE>(changed[place] ^ 0xFF);
        ProcessResult const result = runOkt({"show", put("changed.okt", changed)});
        EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1) << place;
        EXPECT_LE(linesIn(result.err), 1u) << place << result.err;
        EXPECT_EQ(result.err.empty(), result.exitCode == 0) << place << result.err;
    }
}

TEST_F(OktShow, Show_DamageInsideAnObject_ItsPlace)
{
    CByteArray bytes = bytesOfFile(golden("duplicate-id.okt"));
    // The last object, at byte 1167: its version record becomes one of no kind.
    bytes.SetSize(1167 + 17);
    bytes.Add(0xEE);
    // The third object repeats the id of the first; give it another.
    bytes[1061 + 75] = 0x55;
    std::string const file = put("damaged.okt", bytes);
    ProcessResult const result = runOkt({"show", file});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: " + file + ":byte 1184: damaged inside an OKTDbRelation that begins at byte 1167\n");
    expectLine(result, "Objects: 3 read, 3 in the file");
    expectLine(result, "  OKTDbRelation, 17 bytes from byte 1167: damaged");
}

TEST_F(OktShow, ShowInPart_FileTooShort_Failure)
{
    for (char const *const part : {"--index", "--preview"})
    {
        EXPECT_EQ(runOkt({"show", part, put("empty.okt", std::string())}).err,
                  "okt: " + path("empty.okt") + ": the file is empty\n");
        EXPECT_EQ(runOkt({"show", part, put("one.okt", std::string("x"))}).err,
                  "okt: " + path("one.okt") +
                      ": a file of 1 byte cannot be read in part, only one of 1024 or more; okt show "
                      "without --index and --preview reads it whole\n");
    }
}

TEST_F(OktShow, Show_StandardOutputTakesNothing_Failure)
{
    expectOutputFailure(runOkt({"show", golden("stirrup.okt")}, ProcessOutput::Full), "No space left on device");
    expectOutputFailure(runOkt({"show", golden("stirrup.okt")}, ProcessOutput::Closed), "Bad file descriptor");
}

} // namespace
