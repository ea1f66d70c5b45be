#include "files.h"
#include "process.h"

#include <tools/okt/inspect/libraryread.h>
#include <tools/okt/inspect/recovery.h>
#include <tools/okt/inspect/verifier.h>

#include "support/reportcatcher.h"
#include "support/scratchfolder.h"

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
                  golden("duplicate-id.okt") + ": 4 objects, 1 error, 0 warnings\n");
    EXPECT_EQ(runOkt({"verify", golden("every-class.okt")}).out,
              golden("every-class.okt") +
                  ":byte 299: error: the header names {45A3C7B9-1986-4CD1-A067-68DE1D95FE29} for the ppActions, "
                  "which is not in the file\n" +
                  golden("every-class.okt") +
                  ":byte 354: error: the header names {1A435E24-0A16-4E55-B2F3-F55750B8BCD9} for the sketch, "
                  "which is not in the file\n" +
                  golden("every-class.okt") +
                  ":byte 479: error: the header names {46705F52-6EC5-4F4E-BAE4-4BF91EFAAD93} for the radial "
                  "reinforcement, which is not in the file\n" +
                  golden("every-class.okt") +
                  ":byte 1799: warning: the category {A1DDE39E-F7DB-44EC-BAFB-D4A63A29323E} lists this parameter, "
                  "which names none\n" +
                  golden("every-class.okt") +
                  ":byte 1011: warning: 1 object of the class \"OKTDbConstruct\", which is not known here; a load "
                  "stops at the first\n" +
                  golden("every-class.okt") +
                  ":byte 2178: warning: 1 object of the class \"OKTDbIndexData\", which is not known here; a load "
                  "stops at the first\n" +
                  golden("every-class.okt") + ": 10 objects, 3 errors, 3 warnings\n");
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
    EXPECT_EQ(runOkt({"verify", golden("unknown-class.okt")}).out,
              golden("unknown-class.okt") +
                  ":byte 760: warning: 1 object of the class \"OKTDbNobody\", which is not known here; a load "
                  "stops at the first\n" +
                  golden("unknown-class.okt") + ": 3 objects, 0 errors, 1 warning\n");
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
                              {"finding", "the file ends inside an OKTDbParameter that begins at byte 1358"}}));
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
        okt::FileScan scan(put("pool.okt", bytes));
        std::string text;
        okt::verify(scan, [&text](okt::Finding const &finding) {
            text += (finding.severity == okt::Finding::Severity::Error ? "error: " : "warning: ") + finding.text + "\n";
        });
        return text;
    }

    static std::string idOf(OKTDbObject const &object) { return object.objectId().getGuidAsString(false).ToUtf8(); }

    OKTDbPool m_pool;
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
    std::size_t const place = bytes.find(record(begin) + record(static_cast<std::size_t>(picture->frameSize())));
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
