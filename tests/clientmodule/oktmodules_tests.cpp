// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/printers.h"
#include "support/process.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include "oktdbconstruct.h"
#include "oktdbindexdata.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#if !defined(_WIN32)
#include <dlfcn.h>
#endif

// okt --module, okt show --index and --preview, and the client objects of okt build.

namespace
{

namespace fs = std::filesystem;

constexpr char const *k1 = "{00000001-1111-1111-1111-111111111111}";
constexpr char const *k2 = "{00000002-2222-2222-2222-222222222222}";
constexpr char const *k3 = "{00000003-3333-3333-3333-333333333333}";
constexpr char const *k4 = "{00000004-4444-4444-4444-444444444444}";
constexpr char const *kPool = "{11111111-2222-3333-4444-555555555555}";

class OktModules : public FolderTest
{
protected:
    /// The first bytes of a file stay, zeros follow up to the size.
    static CByteArray padded(CByteArray bytes, int size = 1024)
    {
        if (bytes.GetSize() < size)
            bytes.SetSize(size);
        return bytes;
    }

    static void expectFailure(ProcessResult const &result, std::string const &message)
    {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "okt: " + message + "\n");
    }

    static void expectPart(ProcessResult const &result, std::string const &part)
    {
        EXPECT_NE(result.out.find(part), std::string::npos) << part << "\n--- in ---\n" << result.out << result.err;
    }

    static ProcessResult withModule(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {"--module", OKT_EXAMPLE_MODULE});
        return runOkt(arguments);
    }
};

// ---- --module ---------------------------------------------------------------------------------------------------------------

TEST_F(OktModules, Module_FileOfItsClass_OpensWhole)
{
    ASSERT_EQ(runProgram(OKT_BARMARKTOOL1, {"write", path("1.okt")}).exitCode, 0);
    ProcessResult const without = runOkt({"show", path("1.okt")});
    EXPECT_EQ(without.exitCode, 0);
    EXPECT_EQ(without.err, "");
    expectPart(without, "\n\nClasses that need a client module\n  BarMark, 1 object: no module that okt finds names it; ");
    for (std::vector<std::string> const &arguments : std::vector<std::vector<std::string>>{
             {"--module", OKT_BARMARK1, "show", path("1.okt")},
             {"show", "--module", OKT_BARMARK1, path("1.okt")},
             {"show", path("1.okt"), "--module", OKT_BARMARK1},
             {"show", path("1.okt"), "--module=" OKT_BARMARK2},
             {"--module", OKT_EXAMPLE_MODULE, "show", path("1.okt"), "--module", OKT_BARMARK1},
             {"--module", OKT_BARMARK1, "--module", OKT_BARMARK1, "show", path("1.okt")}})
    {
        ProcessResult const with = runOkt(arguments);
        EXPECT_EQ(with.exitCode, 0) << testing::PrintToString(arguments);
        EXPECT_EQ(with.err, "");
        expectPart(with, "\nObjects: 3 read, 3 in the file\n");
        expectPart(with, "\n  BarMark {");
        EXPECT_EQ(with.out.find("client module"), std::string::npos);
        EXPECT_EQ(with.out.find("  Module "), std::string::npos) << "it was named";
    }
}

// Who names a module says that it is the one: what it does not read is damaged then.
TEST_F(OktModules, Module_ThatReadsOtherMembers_IsAFault)
{
    ProcessResult const result = withModule({"show", golden("every-class.okt")});
    expectFailure(result, golden("every-class.okt") +
                              ":byte 1011: damaged: the members of this OKTDbConstruct are not those of its class");
    expectPart(result, "\nNot read\n  OKTDbConstruct {");
}

TEST_F(OktModules, Module_NameWithoutFolder_FileOfTheCurrentFolder)
{
    expectFailure(runOkt({"--module", "libc.so.6", "show", golden("stirrup.okt")}), "libc.so.6: there is no such file");
}

TEST_F(OktModules, Module_DoesNotLoad_OneLineAndNothingDone)
{
    std::string const show = golden("stirrup.okt");
    struct Row
    {
        std::string module;
        std::string message;
    };
    std::string const text = put("text.so", bytesOf({'t', 'e', 'x', 't'}));
    std::string const empty = put("empty.so", CByteArray());
    for (Row const &row : {Row{path("none.so"), path("none.so") + ": there is no such file"},
                           Row{path(""), path("") + ": this is a folder, not a file"},
                           Row{text, text + ": the module cannot be loaded: file too short"},
                           Row{empty, empty + ": the module cannot be loaded: file too short"},
                           Row{show, show + ": the module cannot be loaded: invalid ELF header"},
                           Row{OKT_NO_MODULE, OKT_NO_MODULE ": this is no client module: it registers no class"}})
    {
        ProcessResult const result = runOkt({"--module", row.module, "show", show});
#if defined(_WIN32) // the reason is in the system's words
        std::string const start = "okt: " + row.message.substr(0, row.message.find("be loaded: "));
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_TRUE(result.err.starts_with(start)) << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
#else
        expectFailure(result, row.message);
#endif
        EXPECT_EQ(result.out, "");
    }
}

#if !defined(_WIN32) // where links are common, and the file of a library in the process can be found by a name in it
TEST_F(OktModules, Module_OnceMoreByALink_IsPassedOver)
{
    fs::create_symlink(OKT_EXAMPLE_MODULE, path("symbolic.so"));
    ProcessResult const result =
        runOkt({"--module", OKT_EXAMPLE_MODULE, "--module", path("symbolic.so"), "show", golden("stirrup.okt")});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.err, "");
}

TEST_F(OktModules, Module_LibraryThatTheProgramUsesItself_IsNoClientModule)
{
    Dl_info used = {};
    ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, "getModulePromptsProjectName"), &used), 0);
    expectFailure(runOkt({"--module", used.dli_fname, "show", golden("stirrup.okt")}),
                  std::string(used.dli_fname) + ": this is no client module: it registers no class");
}
#endif

TEST_F(OktModules, Module_TwoWithTheSameClass_ClassAndBothModules)
{
    std::string const message =
        std::string(OKT_BARMARK2) + ": the module brings the class \"BarMark\", which is known already, from ";
    expectFailure(runOkt({"--module", OKT_BARMARK1, "--module", OKT_BARMARK2, "show", golden("stirrup.okt")}),
                  message + OKT_BARMARK1);
    // A copy of a module is another module.
    std::string const copy = path("copy.so");
    fs::copy_file(OKT_EXAMPLE_MODULE, copy);
    ProcessResult const result = runOkt({"--module", OKT_EXAMPLE_MODULE, "show", "--module", copy, golden("stirrup.okt")});
    expectFailure(result, copy + ": the module brings the class \"OKTDbAngleParameter\", which is known already, from " +
                              OKT_EXAMPLE_MODULE);
    EXPECT_EQ(result.out, "");
}

TEST_F(OktModules, Module_WithoutAFile_WrongUsage)
{
    EXPECT_EQ(runOkt({"show", golden("stirrup.okt"), "--module"}).exitCode, 2);
}

// ---- okt build --------------------------------------------------------------------------------------------------------------

TEST_F(OktModules, Build_WithoutTheModule_NoClientObjects)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data", "-o", path("out")}).exitCode, 0);
    ProcessResult const result = runOkt({"show", path("out/link-d12.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out.find("OKTDbConstruct"), std::string::npos);
    expectPart(result, "\n  Index           none\n");
}

TEST_F(OktModules, Build_WithTheModule_EveryTemplateHasConstructAndIndex)
{
    ASSERT_EQ(withModule({"build", OKT_EXAMPLES_DIR "/data", "-o", path("out")}).exitCode, 0);
    int templates = 0;
    for (fs::directory_entry const &entry : fs::directory_iterator(path("out")))
    {
        ++templates;
        OKTDbPool pool;
        ASSERT_TRUE(pool.readFile(CString::FromUtf8(entry.path().generic_string()))); // this program links the module
        auto const *const construct = OKTDbConstruct::cast(pool.constructId());
        auto const *const index = OKTDbIndexData::cast(pool.indexId());
        ASSERT_NE(construct, nullptr) << entry.path();
        ASSERT_NE(index, nullptr) << entry.path();
        EXPECT_GE(construct->pointCount(), 2);
        EXPECT_GT(construct->Diameter(), 0.0);
        EXPECT_EQ(index->Title(), pool.poolName());
        OKTDbIndexData counted;
        counted.countObjects(pool);
        EXPECT_EQ(index->ParameterCount(), counted.ParameterCount());
        EXPECT_EQ(index->CategoryCount(), 4);
        EXPECT_EQ(index->PictureCount(), counted.PictureCount());
        EXPECT_EQ(index->keywordCount(), 4); // kind, size, standard or mark, grade
    }
    EXPECT_EQ(templates, 48);
}

TEST_F(OktModules, Build_WithTheModule_GeometryOfTheBarInMetres)
{
    ASSERT_EQ(withModule({"build", OKT_EXAMPLES_DIR "/data", "-o", path("out")}).exitCode, 0);
    struct Row
    {
        char const *file;
        double factor;
        double diameter;
        double bendRadius;
        double developed;
    };
    // Cutting lengths of the inch templates are those of the centre line; of straight bars every cutting length is.
    for (Row const &row :
         {Row{"link-no4.okt", 1 / 0.0254, 0.5, 1.0, 57.780972450961724}, Row{"mesh-d8.okt", 1000, 8, 0, 4800},
          Row{"mesh-no4.okt", 1 / 0.0254, 0.5, 0, 240}, Row{"bar-records-1.okt", 1000, 12, 24, 1000 - 72 + 47.12388980384690}})
    {
        OKTDbPool pool;
        pool.setMetricsFactor(row.factor);
        ASSERT_TRUE(pool.readFile(m_folder.path(std::string("out/") + row.file)));
        auto const *const construct = OKTDbConstruct::cast(pool.constructId());
        ASSERT_NE(construct, nullptr);
        EXPECT_NEAR(construct->Diameter(), row.diameter, 1e-9);
        EXPECT_NEAR(construct->bendRadiusAt(1), row.bendRadius, 1e-9);
        EXPECT_NEAR(construct->developedLength(), row.developed, 1e-6) << row.file;
    }
}

TEST_F(OktModules, Build_TemplateWithClientObjects_WithoutTheModuleAnUnknownClass)
{
    ASSERT_EQ(withModule({"build", OKT_EXAMPLES_DIR "/data", "-o", path("out")}).exitCode, 0);
    ProcessResult const without = runOkt({"--no-modules", "show", path("out/link-d12.okt")});
    EXPECT_EQ(without.exitCode, 0);
    EXPECT_EQ(without.err, "");
    expectPart(without, ", a class that needs a client module\n");
    ProcessResult const with = withModule({"show", path("out/link-d12.okt")});
    EXPECT_EQ(with.exitCode, 0) << with.err;
    EXPECT_EQ(with.out.find("client module"), std::string::npos);
}

// ---- okt show --index and --preview -----------------------------------------------------------------------------------------

TEST_F(OktModules, ShowIndex_TemplateAndModule_TitleKeywordsCountsUnit)
{
    ASSERT_EQ(withModule({"build", OKT_EXAMPLES_DIR "/data", "-o", path("out")}).exitCode, 0);
    ProcessResult const result = withModule({"show", "--index", path("out/link-no4.okt"), path("out/mesh-d8.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    expectPart(result, "\n  Pool            \"Closed link, No. 4, ACI 318\" {");
    expectPart(result, "    m_strTitle            \"Closed link, No. 4, ACI 318\"\n"
                       "    m_tabKeywords.Length  4\n"
                       "    m_tabKeywords.0       \"Closed link\"\n"
                       "    m_tabKeywords.1       \"No. 4\"\n"
                       "    m_tabKeywords.2       \"ACI 318\"\n"
                       "    m_tabKeywords.3       \"Grade 60\"\n");
    expectPart(result, "    m_strUnit             \"in\"\n");
    expectPart(result, "    m_strTitle            \"Mesh sheet, 8 mm, EN 1992 / BS 8666\"\n");
}

class OktPartial : public OktModules
{
protected:
    /// A relation, an index, two pictures and a relation, with what the header says of them.
    OktPartial()
    {
        StreamBuilder index;
        index.beginClass("OKTDbIndexData").objectBase(k2).beginMembers(1).wideText(u"Title").integer(1).wideText(u"word");
        index.integer(3).integer(2).integer(2).wideText(u"mm").endMembers().endClass();
        for (StreamBuilder const &frame : {relationFrame(k1), index, pictureFrame(k3, {"iVBORw0KGgo"}),
                                           pictureFrame(k4, {"/9j/4AAQ"}), relationFrame(kPool)})
        {
            places.push_back({objects.size(), frame.size()});
            objects.append(frame);
        }
        header.name = u"Parts";
        header.indexId = k2;
        header.index = places[1];
        header.pictures = {{k3, places[2]}, {k4, places[3]}};
    }

    std::string file() { return put("a.okt", padded(poolImage(header, objects))); }
    int objectsStart() const { return 5 + poolHeader(header).size(); }
    std::string at(int object) const
    {
        return std::to_string(objectsStart() + places[static_cast<std::size_t>(object)].position);
    }
    std::string sizeOf(int object) const { return std::to_string(places[static_cast<std::size_t>(object)].size); }
    static std::string head(std::string const &name)
    {
        return name + ": " + std::to_string(fs::file_size(name)) + " bytes, read in part\n  Pool            \"Parts\" " +
               kPool + "\n";
    }

    HeaderFields header;
    StreamBuilder objects;
    std::vector<HeaderFields::Place> places;
};

TEST_F(OktPartial, ShowIndex_WithTheModule_Members)
{
    std::string const name = file();
    ProcessResult const result = withModule({"show", "--index", name});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, head(name) + "  Index           " + k2 + ", OKTDbIndexData, " + sizeOf(1) + " bytes from byte " +
                              at(1) +
                              "\n"
                              "    m_strTitle            \"Title\"\n"
                              "    m_tabKeywords.Length  1\n"
                              "    m_tabKeywords.0       \"word\"\n"
                              "    m_nParameters         3\n"
                              "    m_nCategories         2\n"
                              "    m_nPictures           2\n"
                              "    m_strUnit             \"mm\"\n");
}

TEST_F(OktPartial, ShowIndex_WithoutTheModule_RecordsAndWhatHelps)
{
    std::string const name = file();
    ProcessResult const result = runOkt({"--no-modules", "show", "--index", name});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, head(name) + "  Index           " + k2 + ", OKTDbIndexData, " + sizeOf(1) + " bytes from byte " +
                              at(1) +
                              "\n"
                              "    section 1\n"
                              "      text  \"Title\"\n"
                              "      long  1\n"
                              "      text  \"word\"\n"
                              "      long  3\n"
                              "      long  2\n"
                              "      long  2\n"
                              "      text  \"mm\"\n"
                              "  Module          the class needs a client module: " +
                              ownModule() + " names it, which --no-modules leaves out\n");
}

TEST_F(OktPartial, ShowIndex_EveryKindOfRecord_Listed)
{
    StreamBuilder index;
    index.beginClass("OKTDbIndexData").objectBase(k2).beginMembers(1).boolean(1).shortInteger(-2).integer(-3).real(0.5);
    index.wideText(u"wide\n").ansiText("narrow").byteArray({1, 2, 3}).point(1, 2, 3).endMembers();
    index.beginMembers(2).endMembers().endClass();
    header.index = {0, index.size()};
    header.pictures.clear();
    objects = index;
    ProcessResult const result = runOkt({"show", "--index", file()});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    expectPart(result, "\n    section 1\n"
                       "      bool        true\n"
                       "      short       -2\n"
                       "      long        -3\n"
                       "      double      0.5\n"
                       "      text        \"wide\\n\"\n"
                       "      8-bit text  \"narrow\"\n"
                       "      bytes       3 bytes\n"
                       "      OKTGeXYZ\n"
                       "        section 1\n"
                       "          double  1\n"
                       "          double  2\n"
                       "          double  3\n"
                       "    section 2\n"
                       "  Module          the class needs a client module: " +
                           ownModule() + " brings a class of this name with other members; --module FILE gives another\n");
}

TEST_F(OktPartial, ShowIndex_FileWithoutIndex_SaysSoAndShowsNoOtherObject_Quirk24)
{
    header.indexId = "";
    header.index = {};
    std::string const name = file();
    OKTDbPool pool;
    EXPECT_TRUE(pool.readIndex(CString::FromUtf8(name))); // the library gives the first object
    ProcessResult const result = withModule({"show", "--index", name});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, head(name) + "  Index           no index\n");
}

TEST_F(OktPartial, ShowIndex_IndexWithoutPlace_NotInThisFile_Quirk26)
{
    header.index = {};
    std::string const name = file();
    ProcessResult const result = withModule({"show", "--index", name});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, head(name) + "  Index           " + k2 + ", not in this file\n");
}

TEST_F(OktPartial, ShowIndex_HeaderThatLiesAboutThePlace_OneLine)
{
    int const start = objectsStart(); // the same for all rows
    struct Row
    {
        HeaderFields::Place place;
        std::string message;
    };
    std::string const noObject = "no whole object is here, although the header places the index here";
    auto const outside = [&](long long position, long long size) {
        return ": the header places the index at byte " + std::to_string(position) + ", " + std::to_string(size) +
               " bytes long, which is not inside the file";
    };
    Row const rows[] = {
        {{100000, 10}, outside(100000 + start, 10)},
        {{places[1].position, 100000}, outside(places[1].position + start, 100000)},
        {{-100000, 10}, outside(-100000 + start, 10)},
        {{places[1].position, 0}, ":byte " + at(1) + ": " + noObject},
        {{places[1].position, places[1].size - 5}, ":byte " + at(1) + ": " + noObject},
        {{places[1].position + 3, places[1].size}, ":byte " + std::to_string(start + places[1].position + 3) + ": " + noObject},
        {places[0], ":byte " + at(0) + ": another object is here, OKTDbRelation " + k1 +
                        ", although the header places the index " + k2 + " here"},
    };
    for (Row const &row : rows)
    {
        header.index = row.place;
        std::string const name = file();
        expectFailure(withModule({"show", "--index", name}), name + row.message);
    }
}

TEST_F(OktPartial, ShowIndex_MembersOfAnotherKind_OneLine)
{
    StreamBuilder index;
    index.beginClass("OKTDbIndexData").objectBase(k2).beginMembers(1).real(1.0).endMembers().endClass();
    objects = index;
    header.index = {0, index.size()};
    header.pictures.clear();
    std::string const name = file();
    expectFailure(withModule({"show", "--index", name}),
                  name + ":byte " + std::to_string(objectsStart()) +
                      ": damaged: the members of this OKTDbIndexData are not those of its class");
}

TEST_F(OktPartial, ShowPart_FileBelow1024Bytes_OneLine_Quirk23)
{
    std::string const name = put("short.okt", cut(padded(poolImage(header, StreamBuilder())), 1023));
    for (char const *const option : {"--index", "--preview"})
        expectFailure(
            runOkt({"show", option, name}),
            name + ": a file of 1023 bytes cannot be read in part, only one of 1024 or more; okt show without --index and "
                   "--preview reads it whole");
    EXPECT_EQ(runOkt({"show", golden("empty.okt")}).exitCode, 0);
    expectFailure(runOkt({"show", "--index", golden("empty.okt")}),
                  golden("empty.okt") +
                      ": a file of 459 bytes cannot be read in part, only one of 1024 or more; okt show without "
                      "--index and --preview reads it whole");
}

TEST_F(OktPartial, ShowPart_NoPoolFile_OneLineForEach)
{
    CByteArray zeros;
    zeros.SetSize(2000);
    std::string const name = put("zeros.okt", zeros);
    CByteArray lie = poolImage(header, objects);
    lie[3] = 0x7F; // the size of the header
    std::string const lying = put("lie.okt", padded(lie));
    for (char const *const option : {"--index", "--preview"})
    {
        for (std::string const &file : {name, lying})
            expectFailure(runOkt({"show", option, file}),
                          file + ": no header can be read: this is no pool file, or its header is damaged");
        expectFailure(runOkt({"show", option, path("none.okt")}), path("none.okt") + ": there is no such file");
        ProcessResult const folder = runOkt({"show", option, path("")});
        EXPECT_EQ(folder.exitCode, 1);
        EXPECT_EQ(folder.err, "okt: " + lying +
                                  ": no header can be read: this is no pool file, or its header is damaged\nokt: " + name +
                                  ": no header can be read: this is no pool file, or its header is damaged\n");
    }
}

TEST_F(OktPartial, ShowPreview_Pictures_PlaceSizeFormat)
{
    std::string const name = file();
    ProcessResult const result = runOkt({"show", "--preview", name});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, head(name) + "  Picture         " + k3 + ", OKTDbPicture, " + sizeOf(2) + " bytes from byte " +
                              at(2) + "\n    image of 8 bytes, PNG\n  Picture         " + k4 + ", OKTDbPicture, " + sizeOf(3) +
                              " bytes from byte " + at(3) + "\n    image of 6 bytes, JPEG\n");
}

TEST_F(OktPartial, ShowPreview_NoPictures_None)
{
    header.pictures.clear();
    std::string const name = file();
    ProcessResult const result = runOkt({"show", "--preview", name});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, head(name) + "  Pictures        none\n");
}

TEST_F(OktPartial, ShowPreview_OneAtFault_TheOthersAreShown)
{
    header.pictures[0].place = {100000, 10};
    std::string const name = file();
    ProcessResult const result = runOkt({"show", "--preview", name});
    expectFailure(result, name + ": the header places a picture at byte " + std::to_string(100000 + objectsStart()) +
                              ", 10 bytes long, which is not inside the file");
    expectPart(result, std::string("\n  Picture         ") + k4 + ", OKTDbPicture, ");
    expectPart(result, "    image of 6 bytes, JPEG\n");
}

TEST_F(OktPartial, ShowPreview_SeveralFiles_EachShown)
{
    ProcessResult const result = runOkt({"show", "--preview", file(), path("none.okt"), golden("stirrup.okt")});
    expectFailure(result, path("none.okt") + ": there is no such file");
    expectPart(result, "    image of 8 bytes, PNG\n");
    expectPart(result,
               "{727EC297-1483-468D-812D-A07952424387}, OKTDbPicture, 2149 bytes from byte 3571\n    image of 1399 bytes");
}

TEST_F(OktPartial, ShowIndexAndPreview_Together_WrongUsage)
{
    EXPECT_EQ(runOkt({"show", "--index", "--preview", file()}).exitCode, 2);
}

TEST_F(OktPartial, ShowPart_OneByteChanged_NeverMoreThanOneLine)
{
    CByteArray const whole = padded(poolImage(header, objects));
    for (int place = 0; place < whole.GetSize(); place += 31)
    {
        CByteArray changed(whole);
        changed[place] = static_cast<BYTE>(changed[place] ^ 0xFF);
        std::string const name = put("changed.okt", changed);
        for (char const *const option : {"--index", "--preview"})
        {
            ProcessResult const result = withModule({"show", option, name});
            EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 1) << place;
            EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), result.exitCode) << place << result.err;
        }
    }
}

} // namespace
