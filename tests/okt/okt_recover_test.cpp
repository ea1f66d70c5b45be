// SPDX-License-Identifier: MIT
#include "support/files.h"
#include "support/process.h"
#include "support/tinypng.h"

#include <oktformat/guids.h>
#include <oktformat/objectscan.h>

#include "support/printers.h"
#include "support/scratchfolder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

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
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.err, "");
    std::string const good = path("good.okt");
    // The category that lists the lost object, and what the undamaged file lacks.
    EXPECT_EQ(result.out,
              damaged + ":byte 581: lost: damaged inside an OKTDbParameter that begins at byte 563; 463 bytes from byte 563\n" +
                  good +
                  ":byte 388: missing {5926E432-8963-4BA0-9B8A-63BD13355F3E}: warning: the header names "
                  "{5926E432-8963-4BA0-9B8A-63BD13355F3E} for the sketch, which is not in the file\n" +
                  good +
                  ":byte 6583: missing {3DDC822C-47DB-4729-83F4-04AD06AC28C8}: error: the parameter "
                  "{3DDC822C-47DB-4729-83F4-04AD06AC28C8} of this category is not in the file; named by "
                  "{F36B99D1-E282-49A7-99CF-42E42EDCB07B} \"Layout\"\n" +
                  good + ":byte 3108: info: the image of this picture is not judged: it has no known format\n" + good +
                  ": 20 objects with 8285 bytes rescued as far as can be checked, 1 lost, 2 ids missing, the header kept\n" +
                  good + ": okt verify finds 1 error, 1 warning, 1 info\n");
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
    EXPECT_EQ(result.exitCode, 1);
    std::string const good = path("good.okt");
    EXPECT_EQ(result.out,
              damaged + ":byte 5: this is no pool file: the header of a pool is missing\n" + good +
                  ":byte 388: missing {5926E432-8963-4BA0-9B8A-63BD13355F3E}: warning: the header names "
                  "{5926E432-8963-4BA0-9B8A-63BD13355F3E} for the sketch, which is not in the file\n" +
                  good + ":byte 3571: info: the image of this picture is not judged: it has no known format\n" + good +
                  ": 21 objects with 8748 bytes rescued as far as can be checked, 1 id missing, the header made anew\n" + good +
                  ": okt verify finds 0 errors, 1 warning, 1 info\n");
    EXPECT_EQ(contents(path("good.okt")), contents(golden("stirrup.okt")));
}

TEST_F(OktRecover, HeaderCut_WhatIsLeftAndWhatTheObjectsTell)
{
    std::string const damaged = put("damaged.okt", contents(golden("stirrup.okt")).erase(200, 300));
    ProcessResult const result = runOkt({"recover", damaged, "-o", path("good.okt")});
    EXPECT_EQ(result.exitCode, 1);
    std::string const good = path("good.okt");
    EXPECT_EQ(result.out, damaged + ":byte 193: the header is damaged here\n" + damaged +
                              ": new header: the name of the pool is lost\n" + damaged +
                              ": new header: the id of the index is lost\n" + damaged +
                              ": new header: the list of pictures ends in 1 found by their class, in the order of the file\n" +
                              damaged + ": new header: the ids of these are lost: ppActions, sketch\n" + good +
                              ":byte 3515: info: the image of this picture is not judged: it has no known format\n" + good +
                              ": 21 objects with 8748 bytes rescued as far as can be checked, the header made anew\n" + good +
                              ": okt verify finds 0 errors, 0 warnings, 1 info\n");
    OKTDbPool pool;
    EXPECT_TRUE(pool.readFile(m_folder.path("good.okt")));
    EXPECT_EQ(pool.objectCount(), 21);
    EXPECT_EQ(pool.picturesId().getSize(), 1);
    EXPECT_EQ(pool.objectId().getGuidAsString(false), CString(u"{ED7D40B5-8AF9-4025-8681-00D526EDB9C2}"));
}

TEST_F(OktRecover, EndCutOff)
{
    ProcessResult const result = runOkt({"recover", golden("truncated.okt"), "-o", path("good.okt")});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out,
              golden("truncated.okt") +
                  ":byte 1595: lost {31882FDD-D649-4893-A02B-DECFCDD39355} \"Parameter 3\": the file ends inside an "
                  "OKTDbParameter that begins at byte 1358; 237 bytes from byte 1358\n" +
                  path("good.okt") + ": 3 objects with 891 bytes rescued as far as can be checked, 1 lost, the header kept\n" +
                  path("good.okt") + ": okt verify finds 0 errors, 0 warnings\n");
    EXPECT_EQ(objectsIn(path("good.okt")), 3);
}

TEST_F(OktRecover, UnknownClass_StandsLast)
{
    ProcessResult const result = runOkt({"recover", golden("unknown-class.okt"), "-o", path("good.okt")});
    EXPECT_EQ(result.exitCode, 1);
    std::string const good = path("good.okt");
    EXPECT_EQ(
        result.out,
        good +
            ":byte 760: doubtful order: warning: a pool is saved in the order of its ids, but the id of this object is "
            "below that of one in front of it\n" +
            good +
            ":byte 866: info: 1 object of the class \"OKTDbNobody\", which is not known here: only the records are "
            "checked, and a load stops at the first; a client module that brings the class is loaded with --module FILE\n" +
            good + ": 3 objects with 512 bytes rescued as far as can be checked, the header kept\n" + good +
            ": 1 object of a class that is not known here, behind the others\n" + good +
            ": okt verify finds 0 errors, 1 warning, 1 info\n");
    OKTDbPool pool;
    EXPECT_FALSE(pool.readFile(m_folder.path("good.okt")));
    EXPECT_EQ(pool.objectCount(), 2);
}

TEST_F(OktRecover, StandardOutput_TheFileAloneAndTheReportOnTheOtherStream)
{
    ProcessResult const result = runOkt({"recover", golden("truncated.okt"), "-o", "-"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.out.size(), 1358u);
    EXPECT_EQ(result.err,
              "okt: " + golden("truncated.okt") +
                  ":byte 1595: lost {31882FDD-D649-4893-A02B-DECFCDD39355} \"Parameter 3\": the file ends inside an "
                  "OKTDbParameter that begins at byte 1358; 237 bytes from byte 1358\n"
                  "okt: standard output: 3 objects with 891 bytes rescued as far as can be checked, 1 lost, the header kept\n"
                  "okt: standard output: okt verify finds 0 errors, 0 warnings\n");
}

/// A category with three parameters and a picture, in the order of their ids.
class OktRecoverPool : public OktRecover
{
protected:
    OktRecoverPool()
    {
        m_pool.setPoolName(u"Link");
        m_pool.appendObject(m_category = new OKTDbCategory);
        m_category->setCategoryName(u"Bars");
        for (OKTDbParameter *&parameter : m_parameters)
        {
            m_pool.appendObject(parameter = new OKTDbParameter(6, m_pool.objectId()));
            parameter->setValue(0.25, 0);
            parameter->setCategory(m_category->objectId());
            m_category->appendParameter(parameter->objectId());
        }
        m_pool.appendObject(m_picture = new OKTDbPicture);
        CByteArray image;
        std::copy(kTinyPng.begin(), kTinyPng.end(), image.Extend(static_cast<int>(kTinyPng.size())));
        m_picture->setPictureData(image);
        EXPECT_TRUE(m_pool.writeFile(m_folder.path("whole.okt")));
        m_bytes = contents(path("whole.okt"));
    }

    static std::string idOf(OKTDbObject const &object) { return object.objectId().getGuidAsString(false).ToUtf8(); }

    struct Span
    {
        std::size_t begin;
        std::size_t size;
    };

    /// Where an object stands in the whole file.
    Span spanOf(OKTDbObject const &object) const
    {
        okt::ByteSource source{std::string_view(m_bytes)};
        okt::ObjectScan scan(source, okt::findHeader(source).end);
        while (std::optional<okt::Stretch> const stretch = scan.next())
            if (stretch->id && okt::idText(*stretch->id) == idOf(object))
                return {static_cast<std::size_t>(stretch->begin), static_cast<std::size_t>(stretch->size())};
        ADD_FAILURE() << "no such object";
        return {};
    }

    /// The report about a damaged file, with D and G for the names of the files.
    std::string report(std::string const &bytes)
    {
        std::string const damaged = put("damaged.okt", bytes);
        ProcessResult const result = runOkt({"recover", damaged, "-o", path("good.okt"), "--force"});
        EXPECT_EQ(result.err, "");
        m_exitCode = result.exitCode;
        std::string text = result.out;
        for (auto const &[name, letter] : {std::pair(damaged, "D"), std::pair(path("good.okt"), "G")})
            for (std::size_t at = 0; (at = text.find(name)) != std::string::npos;)
                text.replace(at, name.size(), letter);
        return text;
    }

    std::string sizes(std::size_t objects, std::size_t bytes) const
    {
        return std::to_string(objects) + (objects == 1 ? " object with " : " objects with ") + std::to_string(bytes) + " bytes";
    }

    std::size_t block() const { return m_bytes.size() - static_cast<std::size_t>(headerEnd()); }
    std::int64_t headerEnd() const
    {
        okt::ByteSource source{std::string_view(m_bytes)};
        return okt::findHeader(source).end;
    }

    OKTDbPool m_pool;
    OKTDbCategory *m_category = nullptr;
    OKTDbParameter *m_parameters[3] = {};
    OKTDbPicture *m_picture = nullptr;
    std::string m_bytes;
    int m_exitCode = -1;
};

std::string text(std::size_t number) { return std::to_string(number); }

TEST_F(OktRecoverPool, Undamaged_NothingLostAsFarAsCanBeChecked)
{
    EXPECT_EQ(report(m_bytes), "G: " + sizes(5, block()) +
                                   " rescued as far as can be checked, 0 lost, the header kept\n"
                                   "G: okt verify finds 0 errors, 0 warnings\n");
    EXPECT_EQ(m_exitCode, 0);
    EXPECT_EQ(contents(path("good.okt")), m_bytes);
}

TEST_F(OktRecoverPool, OneNumberChanged_NobodyCanTell)
{
    Span const object = spanOf(*m_parameters[0]);
    std::string bytes = m_bytes;
    std::size_t const value = bytes.find(std::string("\x00\x00\x00\x00\x00\x00\xD0\x3F", 8), object.begin);
    ASSERT_LT(value, object.begin + object.size);
    bytes[value + 6] = '\xE0';
    EXPECT_EQ(report(bytes), "G: " + sizes(5, block()) +
                                 " rescued as far as can be checked, 0 lost, the header kept\n"
                                 "G: okt verify finds 0 errors, 0 warnings\n");
    EXPECT_EQ(m_exitCode, 0);
}

TEST_F(OktRecoverPool, DamagedPicture_DoubtfulAndKept)
{
    Span const object = spanOf(*m_picture);
    std::string bytes = m_bytes;
    std::size_t const letter = bytes.find("mNk", object.begin); // in the pixels
    ASSERT_LT(letter, object.begin + object.size);
    bytes[letter] = 'n';
    std::string const place = text(object.begin);
    EXPECT_EQ(
        report(bytes),
        "G:byte " + place + ": doubtful " + idOf(*m_picture) +
            ": error: the PNG of this picture is damaged at byte 33 of 70: the check sum of its chunk IDAT is not that of "
            "its bytes; " +
            text(object.size) + " bytes from byte " + place + " of the damaged file\nG: " + sizes(4, block() - object.size) +
            " rescued as far as can be checked, " + sizes(1, object.size) +
            " doubtful, the header kept\nG: okt verify finds 1 error, 0 warnings\n");
    EXPECT_EQ(m_exitCode, 1);
    EXPECT_EQ(contents(path("good.okt")), bytes);
}

TEST_F(OktRecoverPool, BrokenBase64_Doubtful)
{
    Span const object = spanOf(*m_picture);
    std::string bytes = m_bytes;
    bytes[bytes.find("iVBORw0KGgo", object.begin) + 2] = '-';
    EXPECT_NE(report(bytes).find(": doubtful " + idOf(*m_picture) +
                                 ": error: this picture has a damaged text: \"-\" at 2 is no character of base64; "),
              std::string::npos);
    EXPECT_EQ(m_exitCode, 1);
}

TEST_F(OktRecoverPool, ValueThatNoWriterMakes_Doubtful)
{
    Span const object = spanOf(*m_parameters[1]);
    std::string bytes = m_bytes;
    bytes[object.begin + 19] = 9; // the class version
    EXPECT_NE(report(bytes).find(": doubtful " + idOf(*m_parameters[1]) + " \"" + m_parameters[1]->UserName().ToUtf8() +
                                 "\": warning: the class version 9 of OKTDbParameter is not that of its sections, the last of "
                                 "which is 2; "),
              std::string::npos);
    EXPECT_EQ(m_exitCode, 1);
}

/// What is lost is told once, with the number of those that name it; what is missing beside it is told as missing.
TEST_F(OktRecoverPool, LostCategory_NotMissingAsWell)
{
    Span const object = spanOf(*m_category);
    std::string bytes = m_bytes;
    std::size_t const name = bytes.find(std::string("B\0a\0r\0s\0", 8), object.begin);
    bytes[name - 3] = 11; // no record
    EXPECT_EQ(report(bytes), "D:byte " + text(name - 3) + ": lost " + idOf(*m_category) +
                                 ": damaged inside an OKTDbCategory that begins at byte " + text(object.begin) + "; " +
                                 text(object.size) + " bytes from byte " + text(object.begin) +
                                 "; it is named in 3 places\nG: " + sizes(4, block() - object.size) +
                                 " rescued as far as can be checked, 1 lost, the header kept\nG: okt verify finds 3 errors, 0 "
                                 "warnings\n");
    EXPECT_EQ(m_exitCode, 1);
}

TEST_F(OktRecoverPool, ObjectTakenOut_MissingByIdAndTheHeaderMended)
{
    Span const object = spanOf(*m_parameters[0]);
    std::string bytes = m_bytes;
    bytes.erase(object.begin, object.size);
    std::string const whole = report(bytes);
    EXPECT_NE(whole.find(": missing " + idOf(*m_parameters[0]) + ": error: the parameter " + idOf(*m_parameters[0]) +
                         " of this category is not in the file; named by " + idOf(*m_category) + " \"Bars\"\n"),
              std::string::npos)
        << whole;
    bool const isInFront = object.begin < spanOf(*m_picture).begin;
    EXPECT_EQ(whole.find("D:byte 400: mended: the header places a picture at byte ") != std::string::npos, isInFront) << whole;
    EXPECT_NE(whole.find("G: " + sizes(4, block() - object.size) +
                         " rescued as far as can be checked, 1 id missing, the header " + (isInFront ? "mended" : "kept") +
                         "\nG: okt verify finds 1 error, 0 warnings\n"),
              std::string::npos)
        << whole;
    EXPECT_EQ(m_exitCode, 1);
}

TEST_F(OktRecoverPool, SeveralNameOneThatIsMissing_ToldOnce)
{
    Span const object = spanOf(*m_category);
    std::string bytes = m_bytes;
    bytes.erase(object.begin, object.size);
    std::string const whole = report(bytes);
    std::size_t const at = whole.find(": missing " + idOf(*m_category));
    ASSERT_NE(at, std::string::npos) << whole;
    EXPECT_EQ(whole.find("missing {", at + 10), std::string::npos) << whole;
    EXPECT_NE(whole.find(" and in 2 further places\n", at), std::string::npos) << whole;
    EXPECT_NE(whole.find("1 id missing"), std::string::npos) << whole;
    EXPECT_NE(whole.find("okt verify finds 3 errors, 0 warnings\n"), std::string::npos) << whole;
}

TEST_F(OktRecoverPool, SizeOfTheHeader_Mended)
{
    std::string bytes = m_bytes;
    bytes[1] = static_cast<char>(bytes[1] ^ 1);
    std::string const size = text(static_cast<std::size_t>(headerEnd()) - 5);
    std::string const stated = text((static_cast<std::size_t>(headerEnd()) - 5) ^ 1U);
    EXPECT_EQ(report(bytes), "D:byte 0: mended: the file begins with " + stated + " for the size of its header, which is " +
                                 size + "\nG: " + sizes(5, block()) +
                                 " rescued as far as can be checked, the header mended\nG: okt verify finds 0 errors, 0 "
                                 "warnings\n");
    EXPECT_EQ(m_exitCode, 1);
    EXPECT_EQ(contents(path("good.okt")), m_bytes);
}

TEST_F(OktRecoverPool, NameOfThePool_DoubtfulHeader)
{
    std::string bytes = m_bytes;
    std::size_t const name = bytes.find(std::string("L\0i\0n\0k\0", 8));
    bytes[name + 2] = 1;
    EXPECT_EQ(report(bytes),
              "G:byte " + text(name - 3) +
                  ": doubtful header: warning: the name of the pool has a control character at 1\nG: " + sizes(5, block()) +
                  " rescued as far as can be checked, the header doubtful\nG: okt verify finds 0 errors, 1 "
                  "warning\n");
    EXPECT_EQ(m_exitCode, 1);
}

TEST_F(OktRecoverPool, BytesOfNoObject_LeftOutAndNothingClaimed)
{
    std::string const sum = "G: " + sizes(5, block()) + " rescued as far as can be checked, ";
    std::string const end = text(m_bytes.size());
    EXPECT_EQ(report(m_bytes + "x"), "D:byte " + end + ": left out: 1 byte from byte " + end +
                                         " that belongs to no whole object\n" + sum +
                                         "1 byte left out, the header kept\nG: okt verify finds 0 errors, 0 warnings\n");
    EXPECT_EQ(m_exitCode, 1);
    EXPECT_EQ(report(m_bytes + "xy"), "D:byte " + end + ": left out: 2 bytes from byte " + end +
                                          " that belong to no whole object\n" + sum +
                                          "2 bytes left out, the header kept\nG: okt verify finds 0 errors, 0 warnings\n");
}

/// Two halves that fit each other in their records: the one that is left names what went with the cut.
TEST_F(OktRecoverPool, SpliceOfTwoFiles_WhatBelongsToTheOtherIsMissing)
{
    OKTDbPool other;
    auto *const parameter = new OKTDbParameter(6, other.objectId());
    other.appendObject(parameter);
    parameter->setValue(0.25, 0);
    ASSERT_TRUE(other.writeFile(m_folder.path("other.okt")));
    std::string const second = contents(path("other.okt"));
    okt::ByteSource source{std::string_view(second)};
    std::string const whole = report(m_bytes + second.substr(static_cast<std::size_t>(okt::findHeader(source).end)));
    EXPECT_NE(whole.find(": missing " + other.objectId().getGuidAsString(false).ToUtf8() + ": error: the owner "),
              std::string::npos)
        << whole;
    EXPECT_EQ(whole.find(" 0 lost"), std::string::npos) << whole;
    EXPECT_EQ(m_exitCode, 1);
}

/// Where the begin and the end of an object are gone, the frame of its base alone looks like an object.
TEST_F(OktRecoverPool, BaseOfAnObject_LostAndNoObjectOfItsOwn)
{
    std::size_t const constexpr kHead = 23; // of the frame of a parameter
    std::size_t const constexpr kBase = 76;
    Span const object = spanOf(*m_parameters[0]);
    std::string const base = m_bytes.substr(object.begin + kHead, kBase);
    std::string const bytes = m_bytes.substr(0, object.begin) + "xx" + base + m_bytes.substr(object.begin + object.size);
    std::string const whole = report(bytes);
    EXPECT_NE(whole.find("D:byte " + text(object.begin + 2) + ": lost " + idOf(*m_parameters[0]) +
                         ": nothing is left of it but the frame of its base; 76 bytes from byte " + text(object.begin + 2) +
                         "; it is named in 1 place\n"),
              std::string::npos)
        << whole;
    EXPECT_NE(
        whole.find("G: " + sizes(4, block() - object.size) + " rescued as far as can be checked, 1 lost, 2 bytes left out, "),
        std::string::npos)
        << whole;
    EXPECT_EQ(m_exitCode, 1);

    // The same when its sections follow.
    std::string const sections = m_bytes.substr(object.begin + kHead + kBase, 40);
    std::string const behind =
        report(m_bytes.substr(0, object.begin) + base + sections + m_bytes.substr(object.begin + object.size));
    EXPECT_NE(behind.find(": lost "), std::string::npos) << behind;
    EXPECT_NE(behind.find("G: " + sizes(4, block() - object.size) + " rescued as far as can be checked, 1 lost, "),
              std::string::npos)
        << behind;
}

TEST_F(OktRecoverPool, RelationBesideDamage_Doubtful)
{
    auto *const relation = new OKTDbRelation;
    m_pool.appendObject(relation);
    EXPECT_TRUE(m_pool.writeFile(m_folder.path("whole.okt")));
    m_bytes = contents(path("whole.okt"));
    Span const object = spanOf(*relation);
    std::string bytes = m_bytes;
    bytes.insert(object.begin, "x");
    std::string const whole = report(bytes);
    EXPECT_NE(whole.find(": doubtful " + idOf(*relation) +
                         ": it stands beside damaged bytes and may be the base of another object; 106 bytes from byte " +
                         text(object.begin + 1) + " of the damaged file\n"),
              std::string::npos)
        << whole;
    EXPECT_NE(whole.find(sizes(1, 106) + " doubtful, 1 byte left out, "), std::string::npos) << whole;
    EXPECT_EQ(objectsIn(path("good.okt")), 6);
}

/// A parameter with the head of another frame in front of it is the base of an object that is damaged further on.
TEST_F(OktRecoverPool, ParameterThatIsABase_NotTakenForAnObject)
{
    Span const object = spanOf(*m_parameters[0]);
    std::string const parameter = m_bytes.substr(object.begin, object.size);
    std::string const head("\x06\x05\x05\0Angle\x02\x01\0\0\0", 14);
    std::string const bytes =
        m_bytes.substr(0, object.begin) + head + parameter + "\x0B" + m_bytes.substr(object.begin + object.size);
    std::string const whole = report(bytes);
    EXPECT_NE(whole.find(": lost " + idOf(*m_parameters[0])), std::string::npos) << whole;
    EXPECT_NE(whole.find("damaged inside an Angle that begins at byte " + text(object.begin)), std::string::npos) << whole;
    EXPECT_NE(whole.find("G: " + sizes(4, block() - object.size) + " rescued as far as can be checked, 1 lost, "),
              std::string::npos)
        << whole;
}

TEST_F(OktRecoverPool, ClassNameDamaged_DoubtfulAndBehindTheOthers)
{
    Span const object = spanOf(*m_parameters[2]);
    std::string bytes = m_bytes;
    bytes[object.begin + 10] = 'x';
    std::string const whole = report(bytes);
    EXPECT_NE(
        whole.find(": warning: the class \"OKTDbPxrameter\" is not known here, but \"OKTDbParameter\" is; the name may be "
                   "damaged; "),
        std::string::npos)
        << whole;
    EXPECT_NE(whole.find("G: 1 object of a class that is not known here, behind the others\n"), std::string::npos) << whole;
    EXPECT_EQ(m_exitCode, 1);
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
