// SPDX-License-Identifier: MIT
#include "support/bytetext.h"
#include "support/files.h"
#include "support/process.h"

#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"
#include "support/units.h"

#include <oktinspect/picturetext.h>

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace
{

namespace fs = std::filesystem;

CByteArray bytesOfSize(int size)
{
    CByteArray bytes;
    bytes.SetSize(size);
    for (int i = 0; i < size; ++i)
        bytes[i] = static_cast<BYTE>(i * 7 + i / 251);
    return bytes;
}

/// A second process takes pictures out of pool files that are made here.
class OktPicture : public FolderTest
{
protected:
    static OKTDbPicture &append(OKTDbPool &pool, CByteArray const &image)
    {
        auto *const picture = new OKTDbPicture;
        picture->setPictureData(image);
        EXPECT_TRUE(pool.appendObject(picture));
        return *picture;
    }

    /// A file with pictures of these sizes in the order of the list.
    std::string poolFile(std::string const &name, std::vector<int> const &sizes) const
    {
        OKTDbPool pool;
        for (int const size : sizes)
            append(pool, bytesOfSize(size));
        EXPECT_TRUE(pool.writeFile(m_folder.path(name)));
        return path(name);
    }

    CByteArray fileBytes(std::string const &name) const { return contentsOf(m_folder.path(name)); }

    /// The file with one character of a picture's text replaced: the first that follows on `text`.
    void damage(std::string const &name, std::string const &text, char replacement) const
    {
        CByteArray bytes = fileBytes(name);
        std::size_t const at = textOf(bytes).find(text);
        ASSERT_NE(at, std::string::npos);
        bytes[static_cast<int>(at + text.size())] = static_cast<BYTE>(replacement);
        m_folder.put(name, bytes);
    }

    std::size_t filesInFolder() const
    {
        fs::directory_iterator const entries(path(""));
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }

    static void expectFailure(ProcessResult const &result, std::string const &message)
    {
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_EQ(result.err, "okt: " + message + "\n");
        EXPECT_EQ(result.out, "");
    }

    static std::string idText(std::string const &file, int index)
    {
        OKTDbPool pool;
        EXPECT_TRUE(pool.readFile(CString::FromUtf8(file)));
        return pool.picturesId().at(index).getGuidAsString(false).ToUtf8();
    }
};

TEST_F(OktPicture, Picture_OfOneByte_ByteInTheSingular)
{
    ProcessResult const result = runOkt({"picture", poolFile("one.okt", {1}), "-o", path("one.bin")});
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(result.out, path("one.bin") + ": no known format, 1 byte\n");
}

TEST_F(OktPicture, Picture_ExampleTemplate_PngAndOneLine)
{
    ASSERT_EQ(runOkt({"build", OKT_EXAMPLES_DIR "/data/bars-astm-a615.csv", "-o", path("t")}).exitCode, 0);
    ProcessResult const result = runOkt({"picture", path("t/link-no4.okt"), "-o", path("link.png")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    CByteArray const image = fileBytes("link.png");
    EXPECT_TRUE(textOf(image).starts_with("\x89PNG\r\n\x1A\n"));
    EXPECT_EQ(result.out, path("link.png") + ": PNG, 800 x 600 pixels, " + std::to_string(image.GetSize()) + " bytes\n");

    OKTDbPool pool;
    ASSERT_TRUE(pool.readFilePicture(m_folder.path("t/link-no4.okt")));
    CByteArray stored;
    OKTDbPicture::cast(pool.picturesId().at(0))->getPictureData(stored);
    EXPECT_EQ(image, stored);
    // In the drawing unit of the template: inches.
    ProcessResult const shown = runOkt({"show", path("t/link-no4.okt")});
    EXPECT_NE(shown.out.find("  0: " + idText(path("t/link-no4.okt"), 0) + ", image of " + std::to_string(image.GetSize()) +
                             " bytes, PNG, 800 x 600 pixels\n    camera (8, 5, 16), target (8, 5, 0), up (0, 1, 0)\n"),
              std::string::npos)
        << shown.out;
}

TEST_F(OktPicture, Picture_EveryIndex_ThePictureAtThatPlaceOfTheList)
{
    std::vector<int> const sizes = {1000, 3, 49152, 200};
    std::string const file = poolFile("four.okt", sizes);
    for (std::size_t i = 0; i < sizes.size(); ++i)
    {
        ProcessResult const result = runOkt({"picture", file, "--index", std::to_string(i), "-o", path("image"), "--force"});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(fileBytes("image"), bytesOfSize(sizes[i]));
    }
    ASSERT_EQ(runOkt({"picture", file, "--output", path("image"), "--force"}).exitCode, 0);
    EXPECT_EQ(fileBytes("image"), bytesOfSize(1000));
    EXPECT_EQ(filesInFolder(), 2u);
}

TEST_F(OktPicture, Picture_StandardOutput_TheBytesAlone)
{
    std::string const file = poolFile("one.okt", {5000});
    ProcessResult const result = runOkt({"picture", file, "-o", "-"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, textOf(bytesOfSize(5000)));
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(OktPicture, Picture_StandardInput_AsFromTheFile)
{
    std::string const file = poolFile("one.okt", {5000});
    ProcessResult const result = runOktOn(file, {"picture", "-", "-o", "-"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(result.out, textOf(bytesOfSize(5000)));
    ProcessResult const empty = runOkt({"picture", "-", "-o", "-"});
    EXPECT_EQ(empty.exitCode, 1);
    EXPECT_EQ(empty.err, "okt: standard input: the file is empty\n");
}

// The partial readers refuse files below 1024 bytes.
TEST_F(OktPicture, Picture_SmallFile_ReadAsAWhole)
{
    std::string const file = poolFile("small.okt", {31});
    ASSERT_LT(fs::file_size(file), 1024u);
    OKTDbPool pool;
    ASSERT_FALSE(pool.readFilePicture(m_folder.path("small.okt")));
    ASSERT_EQ(runOkt({"picture", file, "--index", "0", "-o", path("image")}).exitCode, 0);
    EXPECT_EQ(fileBytes("image"), bytesOfSize(31));
}

TEST_F(OktPicture, Picture_ExistingOutput_KeptUnlessForcedAndNothingLeftBeside)
{
    std::string const file = poolFile("one.okt", {5000});
    m_folder.put("image", bytesOfSize(9000));
    expectFailure(runOkt({"picture", file, "-o", path("image")}),
                  path("image") + ": the file exists already; --force replaces it");
    EXPECT_EQ(fileBytes("image"), bytesOfSize(9000));
    ASSERT_EQ(runOkt({"picture", file, "-o", path("image"), "--force"}).exitCode, 0);
    EXPECT_EQ(fileBytes("image"), bytesOfSize(5000));
    EXPECT_EQ(filesInFolder(), 2u);
}

TEST_F(OktPicture, Picture_GoldenFiles_ThePicturesInThem)
{
    std::string const file = OKT_TEST_DATA_DIR "/golden/pictures.okt";
    OKTDbPool pool;
    ASSERT_TRUE(pool.readFile(CString::FromUtf8(file)));
    IdArray const ids = pool.picturesId();
    ASSERT_EQ(ids.getSize(), 10);
    for (int i = 0; i < ids.getSize(); ++i)
    {
        CByteArray image;
        OKTDbPicture::cast(ids.at(i))->getPictureData(image);
        ProcessResult const result = runOkt({"picture", file, "--index", std::to_string(i), "-o", "-"});
        EXPECT_EQ(result.exitCode, image.IsEmpty() ? 1 : 0);
        EXPECT_EQ(result.out, textOf(image));
    }
}

TEST_F(OktPicture, Picture_20Megabytes_SameBytes)
{
    std::string const file = poolFile("large.okt", {20'000'000});
    ASSERT_EQ(runOkt({"picture", file, "-o", path("image")}).exitCode, 0);
    EXPECT_EQ(fileBytes("image"), bytesOfSize(20'000'000));
}

// An object at fault elsewhere does not keep the pictures from being had.
TEST_F(OktPicture, Picture_OtherObjectDamaged_PictureAllTheSame)
{
    OKTDbPool pool;
    append(pool, bytesOfSize(3000));
    pool.appendObject(new OKTDbRelation);
    ASSERT_TRUE(pool.writeFile(m_folder.path("x.okt")));
    CByteArray bytes = fileBytes("x.okt");
    std::size_t const at = textOf(bytes).find("OKTDbRelation");
    ASSERT_NE(at, std::string::npos);
    bytes[static_cast<int>(at) + 13] = 0xEE; // no kind of record
    m_folder.put("x.okt", bytes);
    EXPECT_EQ(runOkt({"show", path("x.okt")}).exitCode, 1);
    ASSERT_EQ(runOkt({"picture", path("x.okt"), "-o", path("image")}).exitCode, 0);
    EXPECT_EQ(fileBytes("image"), bytesOfSize(3000));
}

// ---- What is no picture -----------------------------------------------------------------------------------------------------

TEST_F(OktPicture, Picture_NoPicture_Failure)
{
    std::string const empty = OKT_TEST_DATA_DIR "/golden/empty.okt";
    expectFailure(runOkt({"picture", empty, "-o", path("image")}), empty + ": the pool has no picture");
    std::string const others = OKT_TEST_DATA_DIR "/golden/quantities.okt";
    expectFailure(runOkt({"picture", others, "-o", path("image")}), others + ": the pool has no picture");
    EXPECT_EQ(filesInFolder(), 0u);
}

TEST_F(OktPicture, Picture_IndexBeyondTheList_FailureWithTheCount)
{
    std::string const one = poolFile("one.okt", {2000});
    expectFailure(runOkt({"picture", one, "--index", "1", "-o", path("image")}),
                  one + ": there is no picture 1: the pool has 1 picture");
    std::string const two = poolFile("two.okt", {2000, 10});
    expectFailure(runOkt({"picture", two, "--index", "2147483647", "-o", path("image")}),
                  two + ": there is no picture 2147483647: the pool has 2 pictures, counted from 0");
    EXPECT_EQ(filesInFolder(), 2u);
}

TEST_F(OktPicture, Picture_EmptyPicture_Failure)
{
    std::string const file = poolFile("two.okt", {2000, 0});
    expectFailure(runOkt({"picture", file, "--index", "1", "-o", path("image")}),
                  file + ": picture 1 " + idText(file, 1) + " is empty");
}

TEST_F(OktPicture, Picture_ListedButMissing_Failure)
{
    OKTDbPool pool;
    append(pool, bytesOfSize(2000));
    IdArray ids = pool.picturesId();
    OKTDbObjectId const stranger = OKTDbObjectId::createObjectId(&pool);
    ids.append(stranger);
    pool.setPicturesIds(ids);
    ASSERT_TRUE(pool.writeFile(m_folder.path("x.okt")));
    expectFailure(runOkt({"picture", path("x.okt"), "--index", "1", "-o", path("image")}),
                  path("x.okt") + ": picture 1 " + stranger.getGuidAsString(false).ToUtf8() +
                      " is listed, but not in this file");
    ASSERT_EQ(runOkt({"picture", path("x.okt"), "-o", path("image")}).exitCode, 0);
}

TEST_F(OktPicture, Picture_OfTheClassOfAModule_WhatHelps)
{
    StreamBuilder picture;
    picture.beginClass("OwnPicture").objectBase("{00000001-1111-1111-1111-111111111111}").endClass();
    HeaderFields header;
    header.pictures = {{"{00000001-1111-1111-1111-111111111111}", {0, picture.size()}}};
    expectFailure(runOkt({"picture", put("x.okt", poolImage(header, picture)), "-o", path("image")}),
                  path("x.okt") +
                      ": picture 0 {00000001-1111-1111-1111-111111111111} is of the class \"OwnPicture\", which needs "
                      "a client module: no module that okt finds names it; --module FILE gives one, okt modules tells "
                      "where okt looks");
}

TEST_F(OktPicture, Picture_ListedObjectOfAnotherClass_Failure)
{
    OKTDbPool pool;
    append(pool, bytesOfSize(2000));
    auto *const relation = new OKTDbRelation;
    ASSERT_TRUE(pool.appendObject(relation));
    IdArray ids;
    ids.append(relation->objectId());
    pool.setPicturesIds(ids);
    ASSERT_TRUE(pool.writeFile(m_folder.path("x.okt")));
    expectFailure(runOkt({"picture", path("x.okt"), "-o", path("image")}),
                  path("x.okt") + ": picture 0 " + relation->objectId().getGuidAsString(false).ToUtf8() +
                      " is an object of another class: OKTDbRelation");
}

TEST_F(OktPicture, Picture_DamagedText_FailureWithThePlaceAndShowTellsIt)
{
    // Bytes 0, 7, 14, ... are AAcOFRwjKjE4...
    std::string const file = poolFile("x.okt", {3000});
    damage("x.okt", "AAcOFRwj", '!');
    InfoMap places;
    OKTDbPool pool;
    ASSERT_TRUE(pool.readFileHeader(m_folder.path("x.okt"), places));
    std::string const id = pool.picturesId().at(0).getGuidAsString(false).ToUtf8();
    std::string const place = std::to_string(places.find(pool.picturesId().at(0))->nObjectPosition);
    std::string const fault = "is damaged: \"!\" at 8 is no character of base64";
    expectFailure(runOkt({"picture", file, "-o", path("image")}),
                  file + ":byte " + place + ": the text of picture 0 " + id + " " + fault);
    EXPECT_EQ(filesInFolder(), 1u);

    ProcessResult const shown = runOkt({"show", file});
    EXPECT_EQ(shown.exitCode, 1);
    EXPECT_EQ(shown.err, "okt: " + file + ":byte " + place + ": the text of the OKTDbPicture that begins here " + fault + "\n");
    // The library passes over the character.
    EXPECT_NE(shown.out.find("  0: " + id + ", image of 2999 bytes"), std::string::npos) << shown.out;
}

TEST_F(OktPicture, Picture_FileEndsInsideThePicture_Failure)
{
    std::string const file = poolFile("x.okt", {3000});
    CByteArray bytes = fileBytes("x.okt");
    InfoMap places;
    OKTDbPool pool;
    ASSERT_TRUE(pool.readFileHeader(m_folder.path("x.okt"), places));
    std::string const place = std::to_string(places.find(pool.picturesId().at(0))->nObjectPosition);
    bytes.SetSize(bytes.GetSize() - 1000);
    m_folder.put("x.okt", bytes);
    expectFailure(runOkt({"picture", file, "-o", path("image")}),
                  file + ":byte " + std::to_string(bytes.GetSize()) +
                      ": the file ends inside an OKTDbPicture that begins at byte " + place);
    EXPECT_EQ(filesInFolder(), 1u);
}

TEST_F(OktPicture, Picture_NoPoolFile_Failure)
{
    expectFailure(runOkt({"picture", path("none.okt"), "-o", path("image")}), path("none.okt") + ": there is no such file");
    expectFailure(runOkt({"picture", path(""), "-o", path("image")}), path("") + ": this is a folder, not a file");
    m_folder.put("empty.okt", CByteArray());
    expectFailure(runOkt({"picture", path("empty.okt"), "-o", path("image")}), path("empty.okt") + ": the file is empty");
    m_folder.put("image.png", bytesOfSize(3000));
    expectFailure(runOkt({"picture", path("image.png"), "-o", path("image")}),
                  path("image.png") + ":byte 0: this is no pool file: it does not begin with the size of a header");
}

// ---- What cannot be written -------------------------------------------------------------------------------------------------

TEST_F(OktPicture, Picture_OutputThatCannotBeWritten_FailureAndNothingLeft)
{
    std::string const file = poolFile("one.okt", {20000});
    expectFailure(runOkt({"picture", file, "-o", path("none/image")}),
                  path("none/image") + ": the file cannot be written: " + systemWords("No such file or directory", 3));
    fs::create_directory(path("folder"));
    expectFailure(runOkt({"picture", file, "-o", path("folder")}),
                  path("folder") + ": the file cannot be written: a folder has this name");
#if !defined(_WIN32)
    expectFailure(runOkt({"picture", file, "-o", "/dev/null"}), "/dev/null: the file cannot be written: this is no plain file");
#endif
    expectFailure(runOkt({"picture", file, "-o", file}), file + ": the file cannot be written: this is the pool file itself");
    m_folder.put("protected", bytesOfSize(4));
    fs::permissions(path("protected"), fs::perms::owner_read);
    expectFailure(runOkt({"picture", file, "-o", path("protected")}), path("protected") + ": the file is write-protected");
    EXPECT_EQ(fileBytes("protected"), bytesOfSize(4));
    m_folder.put("locked", bytesOfSize(4));
    {
        CFile held;
        ASSERT_TRUE(held.Open(m_folder.path("locked"), CFile::modeWrite | CFile::shareExclusive));
        expectFailure(runOkt({"picture", file, "-o", path("locked")}),
                      path("locked") + ": the file is locked by another program");
    }
    EXPECT_EQ(fileBytes("locked"), bytesOfSize(4));
    EXPECT_EQ(filesInFolder(), 4u);
}

#if !defined(_WIN32) // where a process can be held to a size of files
TEST_F(OktPicture, Picture_DiskTakesNoMore_FailureAndOldFileStays)
{
    std::string const file = poolFile("one.okt", {20000});
    m_folder.put("image", bytesOfSize(4));
    expectFailure(runOkt({"picture", file, "-o", path("image"), "--force"}, ProcessOutput::Kept, 4096),
                  path("image") + ": the file cannot be written: File too large");
    EXPECT_EQ(fileBytes("image"), bytesOfSize(4));
    EXPECT_EQ(filesInFolder(), 2u);
}
#endif

TEST_F(OktPicture, Picture_StandardOutputTakesNothing_Failure)
{
    std::string const file = poolFile("one.okt", {20000});
    expectOutputFailure(runOkt({"picture", file, "-o", "-"}, ProcessOutput::Full), "No space left on device");
    expectOutputFailure(runOkt({"picture", file, "-o", "-"}, ProcessOutput::Closed), "Bad file descriptor");
}

TEST_F(OktPicture, Usage_Wrong_ExitCodeTwoAndOneLine)
{
    std::string const file = poolFile("one.okt", {2000});
    for (std::vector<std::string> const &command :
         std::vector<std::vector<std::string>>{{"picture"},
                                               {"picture", file},
                                               {"picture", "-o", path("image")},
                                               {"picture", file, file, "-o", path("image")},
                                               {"picture", file, "-o"},
                                               {"picture", file, "-o", path("image"), "--index"},
                                               {"picture", file, "-o", path("image"), "--index", "-1"},
                                               {"picture", file, "-o", path("image"), "--index", "two"}})
    {
        ProcessResult const result = runOkt(command);
        EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(command);
        EXPECT_EQ(result.out, "");
        EXPECT_TRUE(result.err.starts_with("okt: ")) << result.err;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
    }
    EXPECT_EQ(filesInFolder(), 1u);
}

// ---- The check of the text --------------------------------------------------------------------------------------------------

/// A picture's object whose text is given in chunks.
CByteArray objectWithText(std::vector<CString> const &chunks)
{
    OKTMemoryFiler filer;
    filer.beginWriteClass(u"Object", u"OKTDbPicture", 3);
    OKTDbRelation().OKTDbObject::xmlOut(&filer);
    filer.setIsAnsiString(true);
    if (!chunks.empty())
    {
        filer.beginWriteMembers(1);
        filer.writeString(CString(), chunks.front());
        filer.endWriteMembers();
    }
    if (chunks.size() > 1)
    {
        filer.beginWriteMembers(2);
        filer.writeInt(CString(), static_cast<int>(chunks.size()) - 1);
        for (std::size_t i = 1; i < chunks.size(); ++i)
            filer.writeString(CString(), chunks[i]);
        filer.endWriteMembers();
    }
    filer.endWriteClass();
    return filer.takeBytes();
}

TEST(OktPictureText, PictureTextFault_EveryKindOfText_FaultOrNone)
{
    struct Row
    {
        std::vector<CString> chunks;
        char const *fault;
    };
    Row const rows[] = {
        {{}, ""},
        {{u""}, ""},
        {{u"AQID"}, ""},
        {{u"AQI"}, ""},
        {{u"AQ"}, ""},
        {{u"AQ=="}, ""},
        {{u"AQID\r\nAQID\r\n"}, ""},
        {{u"AQIDA", u"QID"}, ""},
        {{u"A"}, "it breaks off behind character 1"},
        {{u"AQIDA"}, "it breaks off behind character 5"},
        {{u"AQID", u"A", u"QIDA"}, "it breaks off behind character 9"},
        {{u"AQ D"}, "\" \" at 2 is no character of base64"},
        {{u"AQID", u"AQ-D"}, "\"-\" at 6 is no character of base64"},
        {{u"AQID", u"\u00E9QID", u"!"}, "\"\u00E9\" at 4 is no character of base64"},
        {{u"AR"}, "it ends within a byte"},
        {{u"AQID", u"AQJ"}, "it ends within a byte"},
        {{u"AQI="}, ""},
        {{u"AQ="}, "its padding does not fit its length"},
        {{u"AQID="}, "its padding does not fit its length"},
        {{u"AQ==", u"AQID"}, "text goes on behind its padding, at 4"},
        {{CString(viewOf({u"AQ\0D", 4}))}, "a zero at 2 cuts it"},
        {{CString(viewOf({u"AQID\0", 5})), u"AQID"}, "a zero at 4 cuts it"},
    };
    for (Row const &row : rows)
        EXPECT_EQ(okt::pictureTextFault(objectWithText(row.chunks)), row.fault) << testing::PrintToString(row.chunks);
}

TEST(OktPictureText, PictureTextFault_NoObject_None)
{
    EXPECT_EQ(okt::pictureTextFault(CByteArray()), "");
    EXPECT_EQ(okt::pictureTextFault(bytesOfSize(200)), "");
    CByteArray const whole = objectWithText({u"AQIDAQID", u"AQID"});
    for (int size = 0; size < whole.GetSize(); ++size)
    {
        CByteArray cut = whole;
        cut.SetSize(size);
        EXPECT_EQ(okt::pictureTextFault(cut), "") << size;
    }
}

} // namespace
