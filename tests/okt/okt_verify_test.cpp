// SPDX-License-Identifier: MIT
#include "support/bytetext.h"
#include "support/files.h"
#include "support/process.h"
#include "support/tinypng.h"

#include <oktinspect/findingtext.h>
#include <oktinspect/libraryread.h>
#include <oktinspect/recovery.h>
#include <oktinspect/verifier.h>

#include "support/clientclasses.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace
{

namespace fs = std::filesystem;

class OktVerify : public FolderTest
{
};

TEST_F(OktVerify, BuiltTemplates_Clean)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data", "-o", path("t")}).exitCode, 0);
    std::vector<std::string> arguments = {"verify", "--json"};
    for (fs::directory_entry const &entry : fs::directory_iterator(path("t")))
        arguments.push_back(entry.path().generic_string());
    EXPECT_EQ(arguments.size(), 2u + 48u);
    ProcessResult const result = runOkt(arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "");
}

TEST_F(OktVerify, GoldenFiles_Findings)
{
    EXPECT_EQ(runOkt({"verify", golden("bytes-between.okt")}).exitCode, 0);
    EXPECT_EQ(runOkt({"verify", golden("bytes-between.okt")}).out,
              golden("bytes-between.okt") + ":byte 760: warning: 4 bytes that belong to no object\n" +
                  golden("bytes-between.okt") + ":byte 1061: warning: 4 bytes that belong to no object\n" +
                  golden("bytes-between.okt") + ":byte 1362: warning: 4 bytes that belong to no object\n" +
                  golden("bytes-between.okt") + ": 3 objects, 0 errors, 3 warnings\n");
    EXPECT_EQ(runOkt({"verify", golden("duplicate-id.okt")}).exitCode, 1);
    EXPECT_EQ(runOkt({"verify", golden("duplicate-id.okt")}).out,
              golden("duplicate-id.okt") +
                  ":byte 1061: error: the id {3D5E7580-1FAD-4FE8-AC3A-689A00668CB1} of this object is in the file "
                  "already, at byte 467\n" +
                  golden("duplicate-id.okt") +
                  ":byte 764: warning: a pool is saved in the order of its ids, but the id of this object is below that of one "
                  "in front of it; so are those of 1 further object\n" +
                  golden("duplicate-id.okt") + ": 4 objects, 1 error, 1 warning\n");
    // A client that removes these objects leaves their ids in the header. A class that is not known here is no fault.
    EXPECT_EQ(runOkt({"verify", golden("every-class.okt")}).exitCode, 0);
    EXPECT_EQ(runOkt({"verify", golden("every-class.okt")}).out,
              golden("every-class.okt") +
                  ":byte 299: warning: the header names {45A3C7B9-1986-4CD1-A067-68DE1D95FE29} for the ppActions, "
                  "which is not in the file\n" +
                  golden("every-class.okt") +
                  ":byte 354: warning: the header names {1A435E24-0A16-4E55-B2F3-F55750B8BCD9} for the sketch, "
                  "which is not in the file\n" +
                  golden("every-class.okt") +
                  ":byte 479: warning: the header names {46705F52-6EC5-4F4E-BAE4-4BF91EFAAD93} for the radial "
                  "reinforcement, which is not in the file\n" +
                  golden("every-class.okt") +
                  ":byte 2303: info: the image of this picture is not judged: it has no known format\n" +
                  golden("every-class.okt") +
                  ":byte 1799: warning: the category {A1DDE39E-F7DB-44EC-BAFB-D4A63A29323E} lists this parameter, "
                  "which names none\n" +
                  golden("every-class.okt") +
                  ":byte 1011: info: 1 object of the class \"OKTDbConstruct\", which is not known here: only the records are "
                  "checked, and a load stops at the first; " +
                  ownModule() + " names it; --module loads it\n" + golden("every-class.okt") +
                  ":byte 2178: info: 1 object of the class \"OKTDbIndexData\", which is not known here: only the records are "
                  "checked, and a load stops at the first; " +
                  ownModule() + " names it; --module loads it\n" + golden("every-class.okt") +
                  ": 10 objects, 0 errors, 4 warnings, 3 infos\n");
    EXPECT_EQ(runOkt({"verify", golden("stirrup.okt")}).exitCode, 0);
    EXPECT_EQ(runOkt({"verify", golden("stirrup.okt")}).out,
              golden("stirrup.okt") +
                  ":byte 388: warning: the header names {5926E432-8963-4BA0-9B8A-63BD13355F3E} for the sketch, which is not in "
                  "the file\n" +
                  golden("stirrup.okt") +
                  ":byte 3571: info: the image of this picture is not judged: it has no known format\n" +
                  golden("stirrup.okt") + ": 21 objects, 0 errors, 1 warning, 1 info\n");
    EXPECT_EQ(runOkt({"verify", golden("metrics-factor.okt")}).out,
              golden("metrics-factor.okt") +
                  ":byte 969: error: the owner {6B292448-56A8-4AB8-B577-21EBDAC1C96E} of this parameter is not in "
                  "the file\n" +
                  golden("metrics-factor.okt") + ": 8 objects, 1 error, 0 warnings\n");
    EXPECT_EQ(runOkt({"verify", golden("truncated.okt")}).out,
              golden("truncated.okt") + ":byte 1595: error: the file ends inside an OKTDbParameter that begins at byte 1358\n" +
                  golden("truncated.okt") + ": 3 objects, 1 error, 0 warnings\n");
    EXPECT_EQ(runOkt({"verify", golden("value-kinds.okt")}).out,
              golden("value-kinds.okt") + ":byte 1451: error: a value of this parameter is infinity\n" +
                  golden("value-kinds.okt") + ":byte 2022: warning: the type 2 of this parameter is none that is known\n" +
                  golden("value-kinds.okt") +
                  ":byte 2310: warning: the value of this parameter is a length by its type, but of the kind "
                  "VT_BOOL\n" +
                  golden("value-kinds.okt") + ":byte 2588: warning: the type 1 of this parameter is none that is known\n" +
                  golden("value-kinds.okt") + ": 11 objects, 1 error, 3 warnings\n");
    EXPECT_EQ(
        runOkt({"verify", golden("unknown-class.okt")}).out,
        golden("unknown-class.okt") +
            ":byte 869: warning: a pool is saved in the order of its ids, but the id of this object is below that of one "
            "in front of it\n" +
            golden("unknown-class.okt") +
            ":byte 760: info: 1 object of the class \"OKTDbNobody\", which is not known here: only the records are "
            "checked, and a load stops at the first; a client module that brings the class is loaded with --module FILE\n" +
            golden("unknown-class.okt") + ": 3 objects, 0 errors, 1 warning, 1 info\n");
    EXPECT_EQ(runOkt({"verify", golden("trailing-bytes.okt")}).out,
              golden("trailing-bytes.okt") + ":byte 1356: warning: 1 byte that belongs to no object\n" +
                  golden("trailing-bytes.okt") +
                  ":byte 1374: error: the file ends inside an object that begins at byte 1357\n" +
                  golden("trailing-bytes.okt") + ": 3 objects, 1 error, 1 warning\n");
    EXPECT_EQ(runOkt({"verify", golden("other-case.okt")}).exitCode, 0);
    EXPECT_NE(runOkt({"verify", golden("other-case.okt")})
                  .out.find(":byte 1051: warning: the class \"oktdbrelation\" is not known here, but \"OKTDbRelation\" is; the "
                            "name may be damaged\n"),
              std::string::npos);
    EXPECT_EQ(runOkt({"verify", golden("odd-members.okt")}).out,
              golden("odd-members.okt") +
                  ":byte 1047: warning: a bool stands behind the last member of section 2 of OKTDbParameter\n" +
                  golden("odd-members.okt") +
                  ":byte 1049: warning: a text stands behind the last member of section 2 of OKTDbParameter\n" +
                  golden("odd-members.okt") + ": 3 objects, 0 errors, 2 warnings\n");
    std::string const newer = runOkt({"verify", golden("newer-sections.okt")}).out;
    EXPECT_NE(newer.find(":byte 2635: info: 8 objects have sections of a later release, which are not looked into\n"),
              std::string::npos);
    EXPECT_EQ(runOkt({"verify", golden("float-value.okt")}).out,
              golden("float-value.okt") +
                  ":byte 612: warning: the value of this parameter is of the kind VT_R4, but 1.1 is no float\n" +
                  golden("float-value.okt") + ": 1 object, 0 errors, 1 warning\n");
    EXPECT_EQ(runOkt({"verify", golden("factor-in-header.okt")}).out,
              golden("factor-in-header.okt") +
                  ":byte 273: warning: the header states the metrics factor 2.5, which is 1 in every file\n" +
                  golden("factor-in-header.okt") + ": 8 objects, 0 errors, 1 warning\n");
    EXPECT_EQ(runOkt({"verify", golden("empty.okt"), golden("oldest-header.okt"), golden("quantities.okt")}).out,
              golden("empty.okt") + ": 0 objects, 0 errors, 0 warnings\n" + golden("oldest-header.okt") +
                  ": 3 objects, 0 errors, 0 warnings\n" + golden("quantities.okt") + ": 22 objects, 0 errors, 0 warnings\n");
}

TEST_F(OktVerify, Json_OneObjectAFinding)
{
    ProcessResult const result = runOkt({"verify", "--json", golden("truncated.okt"), "none.okt"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "okt: none.okt: there is no such file\n");
    EXPECT_EQ(nlohmann::json::parse(result.out),
              nlohmann::json({{"file", golden("truncated.okt")},
                              {"offset", 1595},
                              {"severity", "error"},
                              {"code", "object"},
                              {"finding", "the file ends inside an OKTDbParameter that begins at byte 1358"}}));
}

TEST_F(OktVerify, Json_CodeObjectAndWhatIsMissing)
{
    ProcessResult const result = runOkt({"verify", "--json", golden("metrics-factor.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(
        nlohmann::json::parse(result.out),
        nlohmann::json({{"file", golden("metrics-factor.okt")},
                        {"offset", 969},
                        {"severity", "error"},
                        {"code", "missing"},
                        {"id", "{842B182A-671D-48BC-A7D3-6B12579BDDA2}"},
                        {"names", "{6B292448-56A8-4AB8-B577-21EBDAC1C96E}"},
                        {"finding", "the owner {6B292448-56A8-4AB8-B577-21EBDAC1C96E} of this parameter is not in the file"}}));
}

/// A category with two parameters in millimetres, which each test spoils in its own way.
class OktVerifyPool : public OktVerify
{
protected:
    OktVerifyPool()
    {
        m_pool.setMetricsFactor(1000.0);
        m_pool.appendObject(m_category = new OKTDbCategory);
        m_category->setCategoryName(u"Bars");
        for (OKTDbParameter *&parameter : m_parameters)
        {
            m_pool.appendObject(parameter = new OKTDbParameter(6, m_pool.objectId()));
            parameter->setValue(25.0, 0);
            parameter->setCategory(m_category->objectId());
            m_category->appendParameter(parameter->objectId());
        }
    }

    /// The findings, without the name of the file and the places.
    std::string findings()
    {
        EXPECT_TRUE(m_pool.writeFile(m_folder.path("pool.okt")));
        return findingsOf(contents(path("pool.okt")));
    }

    std::string findingsOf(std::string const &bytes)
    {
        okt::VerifyOptions options;
        options.moduleOf = m_moduleOf;
        std::string text;
        for (okt::Finding const &finding : okt::verify(put("pool.okt", bytes), options).findings)
            text += okt::severityName(finding.severity) + (": " + okt::sentenceOf(finding)) + "\n";
        return text;
    }

    static std::string idOf(OKTDbObject const &object) { return object.objectId().getGuidAsString(false).ToUtf8(); }

    OKTDbPool m_pool;
    okt::ModuleLookup m_moduleOf;
    OKTDbCategory *m_category = nullptr;
    OKTDbParameter *m_parameters[2] = {};
};

TEST_F(OktVerifyPool, Sound) { EXPECT_EQ(findings(), ""); }

TEST_F(OktVerifyPool, NotANumberAndAbsurdLengths)
{
    m_parameters[0]->setValue(std::numeric_limits<double>::quiet_NaN(), 0);
    EXPECT_EQ(findings(), "error: a value of this parameter is not a number\n");
    m_parameters[0]->setValue(-1e300, 0);
    EXPECT_EQ(findings(), "warning: the length of this parameter is -1e+297 metres\n");
    m_parameters[0]->setValue(7L, 0);
    EXPECT_EQ(findings(), "warning: the value of this parameter is a length by its type, but of the kind VT_I4\n");
}

TEST_F(OktVerifyPool, UnknownType)
{
    m_parameters[0]->setType(4711);
    EXPECT_EQ(findings(), "warning: the type 4711 of this parameter is none that is known\n");
}

TEST_F(OktVerifyPool, DanglingAndMismatchedLinks)
{
    m_pool.setIndexId(m_category->objectId());
    m_parameters[0]->setCategory(m_parameters[1]->objectId());
    std::string const category = idOf(*m_category);
    EXPECT_EQ(findings(), "error: the category " + idOf(*m_parameters[1]) +
                              " of this parameter is no category\nwarning: the category " + category +
                              " lists this parameter, which names none\n");
    m_pool.setIndexId(OKTDbObjectId());
    m_parameters[0]->setCategory(m_category->objectId());
    m_category->removeParameter(m_parameters[0]->objectId());
    EXPECT_EQ(findings(), "warning: this parameter names the category " + category + ", which does not list it\n");
    std::string const gone = idOf(*m_parameters[0]);
    m_category->appendParameter(m_parameters[0]->objectId());
    EXPECT_TRUE(m_pool.removeObject(m_parameters[0]));
    delete m_parameters[0];
    EXPECT_EQ(findings(), "error: the parameter " + gone + " of this category is not in the file\n");
}

TEST_F(OktVerifyPool, HeaderNamesWhatIsNotThere_WarningWhereAClientLeavesIt)
{
    auto const named = [this](auto set) {
        OKTDbPool pool;
        OKTDbObjectId const id = OKTDbObjectId::createObjectId(&pool);
        set(pool, id);
        EXPECT_TRUE(pool.writeFile(m_folder.path("pool.okt")));
        std::string text = findingsOf(contents(path("pool.okt")));
        std::string const guid = id.getGuidAsString(false).ToUtf8();
        if (std::size_t const at = text.find(guid); at != std::string::npos)
            text.replace(at, guid.size(), "ID");
        return text;
    };
    using Id = OKTDbObjectId;
    EXPECT_EQ(named([](OKTDbPool &pool, Id id) { pool.setSketchId(id); }),
              "warning: the header names ID for the sketch, which is not in the file\n");
    EXPECT_EQ(named([](OKTDbPool &pool, Id id) { pool.setPPActionsId(id); }),
              "warning: the header names ID for the ppActions, which is not in the file\n");
    EXPECT_EQ(named([](OKTDbPool &pool, Id id) { pool.setRadialReinfId(id); }),
              "warning: the header names ID for the radial reinforcement, which is not in the file\n");
    EXPECT_EQ(named([](OKTDbPool &pool, Id id) { pool.setConstructId(id); }),
              "error: the header names ID for the construct, which is not in the file\n");
    EXPECT_EQ(named([](OKTDbPool &pool, Id id) { pool.setIndexId(id); }),
              "error: the header names ID for the index, which is not in the file\n");
    EXPECT_EQ(named([](OKTDbPool &pool, Id id) {
                  IdArray pictures;
                  pictures.append(id);
                  pool.setPicturesIds(pictures);
              }),
              "error: the header names ID for a picture, which is not in the file\n");
}

TEST_F(OktVerifyPool, UnknownClass_InformationThatNamesTheModule)
{
    std::string const bytes = contents(golden("unknown-class.okt"));
    m_moduleOf = [](std::string const &className) -> std::optional<std::string> {
        EXPECT_EQ(className, "OKTDbNobody");
        return "/opt/okt/libnobody.so";
    };
    EXPECT_EQ(findingsOf(bytes).substr(findingsOf(bytes).find("info: ")),
              "info: 1 object of the class \"OKTDbNobody\", which is not known here: only the records are checked, and a load "
              "stops at the first; /opt/okt/libnobody.so names it; --module loads it\n");
}

TEST_F(OktVerifyPool, ClassNameDamaged_AWarningAndNoModuleIsAskedFor)
{
    EXPECT_EQ(findings(), "");
    auto const renamed = [this](std::string const &name) {
        std::string bytes = contents(path("pool.okt"));
        bytes.replace(bytes.find("OKTDbCategory"), name.size(), name);
        std::string const found = findingsOf(bytes);
        put("pool.okt", bytes.replace(bytes.find(name), name.size(), "OKTDbCategory"));
        return found.substr(0, found.find('\n'));
    };
    EXPECT_EQ(renamed("OKTDbCatgeory").find("the name may be damaged"), std::string::npos); // another name of two letters
    EXPECT_EQ(renamed("OKTDbCatxgory"),
              "warning: the class \"OKTDbCatxgory\" is not known here, but \"OKTDbCategory\" is; the name may be damaged");
    EXPECT_EQ(renamed("OKT-bCat-gory"), "warning: the class name \"OKT-bCat-gory\" is none that a class can have");
}

TEST_F(OktVerifyPool, RecordsOfAParameterUnderAnotherName_AWarning)
{
    EXPECT_EQ(findings(), "");
    std::string bytes = contents(path("pool.okt"));
    bytes.replace(bytes.find("OKTDbParameter"), 14, "OKTSomethingXX");
    EXPECT_EQ(
        findingsOf(bytes).substr(0, findingsOf(bytes).find('\n')),
        "warning: the class \"OKTSomethingXX\" is not known here, but its records are those of an OKTDbParameter; the name "
        "may be damaged");
}

TEST_F(OktVerifyPool, Texts)
{
    m_parameters[0]->setUserName(CString(u"a\x0001b", 3), false);
    EXPECT_EQ(findings(), "warning: a text of this parameter has a control character at 1\n");
    m_parameters[0]->setUserName(CString(u"ab\0c", 4), false);
    EXPECT_EQ(findings(), "warning: a text of this parameter has a zero at 2, where a reader ends it\n");
    m_parameters[0]->setUserName(CString(u"\xD83D\xDE00\xDC00", 3), false);
    EXPECT_EQ(findings(), "warning: a text of this parameter has half a character at 2\n");
    m_parameters[0]->setUserName(u"two\r\n\tlines", false);
    EXPECT_EQ(findings(), "");
    m_pool.setPoolName(CString(u"\xDC00", 1));
    EXPECT_EQ(findings(), "warning: the name of the pool has half a character at 0\n");
}

TEST_F(OktVerifyPool, Values)
{
    m_parameters[0]->setType(29); // no length
    m_parameters[0]->setValue(1e200, 0);
    EXPECT_EQ(findings(), "warning: a value of this parameter is 1e+200\n");
    tagVARIANT value = {};
    value.vt = VT_BOOL;
    value.lVal = 7;
    m_parameters[0]->setValue(value);
    EXPECT_EQ(findings(), "warning: the value of this parameter is a bool of 7, which is 0 or -1\n");
}

TEST_F(OktVerifyPool, OrderOfIds)
{
    EXPECT_EQ(findings(), "");
    std::string const bytes = contents(path("pool.okt"));
    okt::ByteSource source{std::string_view(bytes)};
    okt::ObjectScan scan(source, okt::findHeader(source).end);
    std::vector<std::string> objects;
    std::int64_t const begin = okt::findHeader(source).end;
    while (std::optional<okt::Stretch> const object = scan.next())
        objects.push_back(source.copy(object->begin, object->size()));
    ASSERT_EQ(objects.size(), 3u);
    std::string const head = bytes.substr(0, static_cast<std::size_t>(begin));
    EXPECT_EQ(
        findingsOf(head + objects[0] + objects[2] + objects[1]),
        "warning: a pool is saved in the order of its ids, but the id of this object is below that of one in front of it\n");
    EXPECT_EQ(
        findingsOf(head + objects[2] + objects[1] + objects[0]),
        "warning: a pool is saved in the order of its ids, but the id of this object is below that of one in front of it; so "
        "are those of 1 further object\n");
}

TEST_F(OktVerifyPool, Pictures_ByTheirOwnStructure)
{
    auto *const picture = new OKTDbPicture;
    m_pool.appendObject(picture);
    auto const with = [&](std::string const &image) {
        CByteArray bytes;
        std::copy(image.begin(), image.end(), bytes.Extend(static_cast<int>(image.size())));
        picture->setPictureData(bytes);
        return findings();
    };
    EXPECT_EQ(with(""), "");
    std::string png = kTinyPng;
    EXPECT_EQ(with(png), "");
    EXPECT_EQ(with(png + "x"), "warning: the PNG of this picture is odd at byte 70 of 71: 1 byte behind its end\n");
    png[45] = 'x';
    EXPECT_EQ(with(png),
              "error: the PNG of this picture is damaged at byte 33 of 70: the check sum of its chunk IDAT is not that of "
              "its bytes\n");
    EXPECT_EQ(with("no image"), "info: the image of this picture is not judged: it has no known format\n");
    EXPECT_EQ(with("%PDF-1.7\n"), "info: the image of this picture is not judged: its format is PDF\n");
    EXPECT_EQ(with("GIF89a"), "error: the GIF of this picture is damaged at byte 6 of 6: it ends inside its head\n");

    // The text is looked at before what it stands for.
    with("no image");
    std::string bytes = contents(path("pool.okt"));
    bytes[bytes.find("bm8gaW1hZ2U")] = '!';
    EXPECT_EQ(findingsOf(bytes), "error: this picture has a damaged text: \"!\" at 0 is no character of base64\n");
}

/// The stored form of a module's class is known to the module alone.
TEST_F(OktVerifyPool, ClassOfAModule_WrittenAgainToCompare)
{
    ClientClasses const classes;
    char const *const id = "{11111111-2222-3333-4444-555555555555}";
    auto const found = [&](StreamBuilder const &object) { return findingsOf(textOf(poolImage({}, object))); };
    EXPECT_EQ(found(clientFrame("OKTDbConstruct", id, 7, u"a")), "");
    EXPECT_EQ(found(StreamBuilder()
                        .beginClass("OKTDbConstruct")
                        .objectBase(id)
                        .beginMembers(1)
                        .integer(7)
                        .wideText(u"a")
                        .boolean(1)
                        .endMembers()
                        .endClass()),
              "warning: its class would write this OKTDbConstruct differently: it is of another release, or damaged\n");
}

TEST_F(OktVerifyPool, PlacesOfTheHeader)
{
    auto *const picture = new OKTDbPicture;
    m_pool.appendObject(picture);
    EXPECT_EQ(findings(), "");
    std::string bytes = contents(path("pool.okt"));
    std::size_t const header = static_cast<unsigned char>(bytes[1]) + 256u * static_cast<unsigned char>(bytes[2]);
    // The place of the picture: its position, then its size.
    auto const record = [](std::size_t number) {
        return std::string{'\x02', static_cast<char>(number & 0xFF), static_cast<char>(number >> 8), '\0', '\0'};
    };
    std::size_t const begin = bytes.find("\x06\x05\x0C" + std::string(1, '\0') + "OKTDbPicture") - 5 - header;
    OKTMemoryFiler frame;
    ASSERT_EQ(picture->xmlOut(&frame), eFilerOk);
    std::size_t const place = bytes.find(record(begin) + record(static_cast<std::size_t>(frame.GetFilerLength())));
    ASSERT_NE(place, std::string::npos);
    bytes[place + 1] = static_cast<char>(bytes[place + 1] ^ 1);
    EXPECT_EQ(findingsOf(bytes).substr(0, 40), "error: the header places a picture at by");
    bytes = contents(path("pool.okt"));
    put("pool.okt", bytes);
    bytes[1] = static_cast<char>(bytes[1] ^ 1);
    EXPECT_EQ(findingsOf(bytes).substr(0, 35), "error: the file begins with " + std::to_string(header ^ 1) + " for");
}

TEST_F(OktVerifyPool, CutInsideTheBeginOfAnObject_AnErrorBehindForeignBytesToo)
{
    std::string const whole = contents(golden("bytes-between.okt"));
    EXPECT_EQ(findingsOf(whole.substr(0, 764)).find("error: "), std::string::npos);
    EXPECT_NE(findingsOf(whole.substr(0, 770)).find("error: the file ends inside an object that begins at byte 764"),
              std::string::npos);
}

/// Of a file that okt verify has no error for, the library reads every object; and what okt recover makes of a damaged file has no
/// findings but those of a loss.
TEST_F(OktVerifyPool, RandomDamages_NoErrorMeansThatTheLibraryReadsIt)
{
    ReportCatcher const reports;
    std::mt19937 random(7);
    int sound = 0;
    fs::directory_iterator const folder(OKT_TEST_DATA_DIR "/golden");
    std::vector<fs::directory_entry> files(begin(folder), end(folder));
    std::sort(files.begin(), files.end()); // each system has an order of its own
    for (fs::directory_entry const &file : files)
    {
        if (file.path().extension() != ".okt" || file.file_size() > 20000)
            continue;
        std::string const whole = contents(file.path());
        for (int i = 0; i < 40; ++i)
        {
            std::string bytes = whole;
            if (std::size_t const at = random() % bytes.size(); i % 4 != 0)
                bytes[at] = static_cast<char>(random());
            else
                bytes.erase(at, i % 8 == 0 ? bytes.size() : bytes.size() / 100);
            if (bytes.empty())
                continue;
            std::string const found = findingsOf(bytes);
            if (found.find("error: ") == std::string::npos && found.find("is not known here") == std::string::npos)
            {
                OKTDbPool pool;
                EXPECT_TRUE(pool.readFile(m_folder.path("pool.okt"))) << file.path() << ' ' << i;
                ++sound;
            }
            okt::ByteSource source{std::string_view(bytes)};
            okt::Recovery recovery(source);
            std::string good;
            recovery.write([&good](std::string_view piece) { good += piece; });
            std::string const left = findingsOf(good);
            for (char const *const structural : {"damaged inside", "damaged: ", "ends inside", "already", "belong to no object",
                                                 "the file begins", "the header places", "does not find", "the header is"})
                EXPECT_EQ(left.find(structural), std::string::npos) << file.path() << ' ' << i << '\n' << left;
        }
    }
    EXPECT_GT(sound, 60);
}

} // namespace
