#include "files.h"
#include "process.h"

#include "support/printers.h"
#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace
{

namespace fs = std::filesystem;

class OktRecover : public FolderTest
{
protected:
    static int objectsIn(std::string const &file)
    {
        OKTDbPool pool;
        return pool.readFile(CString::FromUtf8(file)) ? pool.objectCount() : -1;
    }
};

TEST_F(OktRecover, OneByteFlipped_TheOtherObjectsAndTheHeader)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[581] = 11; // no record
    std::string const damaged = put("damaged.okt", bytes);
    ProcessResult const result = runOkt({"recover", damaged, "-o", path("good.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, damaged +
                              ":byte 581: lost: damaged inside an OKTDbParameter that begins at byte 563; 463 bytes from byte "
                              "563\n" +
                              path("good.okt") + ": 20 objects with 8285 bytes rescued, 1 lost, the header kept\n");
    EXPECT_EQ(objectsIn(path("good.okt")), 20);
    OKTDbPool pool;
    EXPECT_TRUE(pool.readFile(m_folder.path("good.okt")));
    EXPECT_EQ(pool.poolName(), CString(u"Stirrup, closed, 135 degrees"));
}

TEST_F(OktRecover, HeaderDamagedInFrontOfItsFields_AllOfThem)
{
    std::string bytes = contents(golden("stirrup.okt"));
    bytes[5] = 11;
    std::string const damaged = put("damaged.okt", bytes);
    ProcessResult const result = runOkt({"recover", damaged, "-o", path("good.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, damaged + ":byte 5: this is no pool file: the header of a pool is missing\n" + path("good.okt") +
                              ": 21 objects with 8748 bytes rescued, 0 lost, the header made anew\n");
    EXPECT_EQ(contents(path("good.okt")), contents(golden("stirrup.okt")));
}

TEST_F(OktRecover, HeaderCut_WhatIsLeftAndWhatTheObjectsTell)
{
    std::string const damaged = put("damaged.okt", contents(golden("stirrup.okt")).erase(200, 300));
    ProcessResult const result = runOkt({"recover", damaged, "-o", path("good.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out, damaged + ":byte 193: the header is damaged here\n" + damaged +
                              ": new header: the name of the pool is lost\n" + damaged +
                              ": new header: the list of pictures ends in 1 found by their class, in the order of the file\n" +
                              damaged + ": new header: the ids of these are lost: ppActions, sketch\n" + path("good.okt") +
                              ": 21 objects with 8748 bytes rescued, 0 lost, the header made anew\n");
    OKTDbPool pool;
    EXPECT_TRUE(pool.readFile(m_folder.path("good.okt")));
    EXPECT_EQ(pool.objectCount(), 21);
    EXPECT_EQ(pool.picturesId().getSize(), 1);
    EXPECT_EQ(pool.objectId().getGuidAsString(false), CString(u"{ED7D40B5-8AF9-4025-8681-00D526EDB9C2}"));
}

TEST_F(OktRecover, EndCutOff)
{
    ProcessResult const result = runOkt({"recover", golden("truncated.okt"), "-o", path("good.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out,
              golden("truncated.okt") +
                  ":byte 1595: lost {31882FDD-D649-4893-A02B-DECFCDD39355} \"Parameter 3\": the file ends inside an "
                  "OKTDbParameter that begins at byte 1358; 237 bytes from byte 1358\n" +
                  path("good.okt") + ": 3 objects with 891 bytes rescued, 1 lost, the header kept\n");
    EXPECT_EQ(objectsIn(path("good.okt")), 3);
}

TEST_F(OktRecover, UnknownClass_StandsLast)
{
    ProcessResult const result = runOkt({"recover", golden("unknown-class.okt"), "-o", path("good.okt")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out,
              path("good.okt") + ": 3 objects with 512 bytes rescued, 0 lost, the header kept\n" + path("good.okt") +
                  ": 1 object of classes that are not known here, behind the others; a load stops there unless a module "
                  "brings the classes\n");
    OKTDbPool pool;
    EXPECT_FALSE(pool.readFile(m_folder.path("good.okt")));
    EXPECT_EQ(pool.objectCount(), 2);
}

TEST_F(OktRecover, StandardOutput_TheFileAloneAndTheReportOnTheOtherStream)
{
    ProcessResult const result = runOkt({"recover", golden("truncated.okt"), "-o", "-"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.out.size(), 1358u);
    EXPECT_EQ(result.err,
              "okt: " + golden("truncated.okt") +
                  ":byte 1595: lost {31882FDD-D649-4893-A02B-DECFCDD39355} \"Parameter 3\": the file ends inside an "
                  "OKTDbParameter that begins at byte 1358; 237 bytes from byte 1358\n"
                  "okt: standard output: 3 objects with 891 bytes rescued, 1 lost, the header kept\n");
}

TEST_F(OktRecover, Refused)
{
    auto const expectFailure = [](std::string const &file, std::string const &output, std::string const &message) {
        ProcessResult const result = runOkt({"recover", file, "-o", output});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(result.err, "okt: " + message + "\n");
    };
    std::string const there = put("there.okt", "x");
    expectFailure(golden("empty.okt"), there, there + ": the file exists already; --force replaces it");
    expectFailure(there, there, there + ": the file cannot be written: this is the damaged file itself");
    expectFailure(put("empty.okt", ""), path("good.okt"), path("empty.okt") + ": the file is empty");
    expectFailure(path("none.okt"), path("good.okt"), path("none.okt") + ": there is no such file");
    expectFailure(put("text.okt", "no pool file"), path("good.okt"),
                  path("text.okt") +
                      ":byte 0: nothing can be rescued: there is neither a header nor a whole object; this is no "
                      "pool file: it does not begin with the size of a header");
    EXPECT_FALSE(fs::exists(path("good.okt")));
    EXPECT_EQ(contents(there), "x");
    EXPECT_EQ(runOkt({"recover", golden("empty.okt")}).exitCode, 2);
    EXPECT_EQ(runOkt({"recover", golden("empty.okt"), "-o", there, "--force"}).exitCode, 0);
    EXPECT_EQ(contents(there), contents(golden("empty.okt")));
}

} // namespace
