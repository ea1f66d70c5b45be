// SPDX-License-Identifier: MIT
#include "support/bytetext.h"
#include "support/printers.h"
#include "support/recordingfiler.h"
#include "support/reportcatcher.h"
#include "support/reporttext.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

using testing::ElementsAre;

namespace
{
constexpr char const *k1 = "{00000001-1111-1111-1111-111111111111}";
constexpr char const *k2 = "{00000002-2222-2222-2222-222222222222}";

/// Bytes that are not the same at any two neighbouring places.
CByteArray bytesOfSize(int size)
{
    CByteArray bytes;
    bytes.SetSize(size);
    for (int i = 0; i < size; ++i)
        bytes.SetAt(i, static_cast<BYTE>(i * 7 + i / 251));
    return bytes;
}

/// The text without padding and line breaks, made bit by bit.
std::string base64Of(CByteArray const &bytes)
{
    std::string text;
    unsigned int bits = 0;
    int count = 0;
    for (int i = 0; i < bytes.GetSize(); ++i)
    {
        bits = (bits << 8 | bytes.GetAt(i)) & 0xFFFFu;
        for (count += 8; count >= 6; count -= 6)
            text += "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[bits >> (count - 6) & 63];
    }
    if (count > 0)
        text += "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"[bits << (6 - count) & 63];
    return text;
}

std::vector<std::string> chunksOf(std::string const &text)
{
    std::vector<std::string> chunks;
    for (std::size_t at = 0; at < text.size(); at += 65535)
        chunks.push_back(text.substr(at, 65535));
    return chunks;
}

class PictureTest : public testing::Test
{
protected:
    void TearDown() override { EXPECT_THAT(m_reports.texts(), ElementsAre()); }

    static CByteArray data(OKTDbPicture &picture)
    {
        CByteArray bytes;
        picture.getPictureData(bytes);
        return bytes;
    }

    static std::vector<double> camera(OKTDbPicture const &picture)
    {
        OKTGeXYZ camera, target, up;
        picture.getCameraData(camera, target, up);
        return {camera.X(), camera.Y(), camera.Z(), target.X(), target.Y(), target.Z(), up.X(), up.Y(), up.Z()};
    }

    /// Id k1, bytes 1 2 3, camera 1 to 9.
    static void fill(OKTDbPicture &picture)
    {
        picture.setObjectId(idOf(k1));
        picture.setPictureData(bytesOf({1, 2, 3}));
        picture.setCameraData({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    }

    static CByteArray written(OKTDbPicture const &picture)
    {
        OKTMemoryFiler filer;
        EXPECT_EQ(picture.xmlOut(&filer), eFilerOk);
        return filer.takeBytes();
    }

    static FilerStatusDb read(OKTDbPicture &picture, CByteArray const &bytes)
    {
        OKTMemoryFiler filer;
        filer.loadFiler(bytes);
        return picture.xmlIn(&filer);
    }

    static FilerStatusDb read(OKTDbPicture &picture, StreamBuilder const &stream) { return read(picture, stream.bytes()); }

    /// A frame whose sections are given.
    static StreamBuilder frame(StreamBuilder const &sections)
    {
        return StreamBuilder().beginClass("OKTDbPicture", 3).objectBase(k2).append(sections).endClass();
    }
    static StreamBuilder section1(std::string const &text)
    {
        return StreamBuilder().beginMembers(1).ansiText(text).endMembers();
    }
    static StreamBuilder section2(std::int64_t count, std::vector<std::string> const &chunks)
    {
        StreamBuilder section;
        section.beginMembers(2).integer(count);
        for (std::string const &chunk : chunks)
            section.ansiText(chunk);
        return section.endMembers();
    }
    static StreamBuilder section3()
    {
        return StreamBuilder().beginMembers(3).point(9, 8, 7).point(6, 5, 4).point(3, 2, 1).endMembers();
    }

    ReportCatcher m_reports;
};

// --- Data and camera ---------------------------------------------------------------------------------------------------------

TEST_F(PictureTest, ConstructorCopyAndClassPattern)
{
    OKTDbPicture picture;
    EXPECT_EQ(data(picture).GetSize(), 0);
    EXPECT_THAT(camera(picture), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(OKTDbPicture::desc()->ClassName(), u"OKTDbPicture");
    EXPECT_EQ(OKTDbPicture::desc()->BaseClassDesc(), OKTDbObject::desc());
    std::unique_ptr<OKTDbObject> const made(picture.createObject());
    EXPECT_TRUE(made->isA(u"OKTDbPicture"));

    fill(picture);
    OKTDbPicture copy(picture);
    OKTDbPicture assigned;
    assigned = picture;
    picture.setPictureData({});
    EXPECT_EQ(data(copy), bytesOf({1, 2, 3}));
    EXPECT_EQ(data(assigned), bytesOf({1, 2, 3}));
    EXPECT_THAT(camera(assigned), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
    EXPECT_EQ(textOf(assigned.objectId()), k1);
}

TEST_F(PictureTest, SetCameraData_ThreePoints_ComeBackInOrder)
{
    OKTDbPicture picture;
    picture.setCameraData({1, 2, 3}, {4, 5, 6}, {7, 8, 9});
    EXPECT_THAT(camera(picture), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(PictureTest, GetPictureData_ReplacesItsArgumentWithACopy)
{
    OKTDbPicture picture;
    fill(picture);
    CByteArray bytes = bytesOfSize(100);
    picture.getPictureData(bytes);
    EXPECT_EQ(bytes, bytesOf({1, 2, 3}));
    bytes.SetAt(0, 99);
    EXPECT_EQ(data(picture), bytesOf({1, 2, 3}));
    picture.setPictureData(bytes);
    bytes.SetAt(0, 5);
    EXPECT_EQ(data(picture), bytesOf({99, 2, 3}));
    picture.setPictureData({});
    picture.getPictureData(bytes);
    EXPECT_EQ(bytes.GetSize(), 0);
}

// --- Writing -----------------------------------------------------------------------------------------------------------------

TEST_F(PictureTest, XmlOut_OneChunk_CallsInOrder_Quirk62)
{
    OKTDbPicture picture;
    fill(picture);
    RecordingFiler filer;
    EXPECT_EQ(picture.xmlOut(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginWriteClass Object OKTDbPicture 3", "beginWriteClass Object OKTDbObject 1",
                            "beginWriteMembers 1", std::string("writeObjectId m_objectId ") + k1, "endWriteMembers",
                            "endWriteClass", "beginWriteMembers 1", "writeString arrStrBase64[0] \"AQID\" ansi",
                            "endWriteMembers", "beginWriteMembers 2", "writeInt (int)arrStrBase64.GetSize() - 1 0",
                            "endWriteMembers", "beginWriteMembers 3", "writePoint3d m_pntCamera (1, 2, 3)",
                            "writePoint3d m_pntTarget (4, 5, 6)", "writePoint3d m_vecUp (7, 8, 9)", "endWriteMembers",
                            "endWriteClass"));
    EXPECT_FALSE(filer.getIsAnsiString());
}

TEST_F(PictureTest, XmlOut_NoData_EmptyTextAndACountOfMinusOne_Quirk62_Quirk63)
{
    RecordingFiler filer;
    EXPECT_EQ(OKTDbPicture().xmlOut(&filer), eFilerOk);
    EXPECT_THAT(std::vector<std::string>(filer.calls().begin() + 6, filer.calls().begin() + 12),
                ElementsAre("beginWriteMembers 1", "writeString strBase64 \"\" ansi", "endWriteMembers", "beginWriteMembers 2",
                            "writeInt (int)arrStrBase64.GetSize() - 1 -1", "endWriteMembers"));
}

TEST_F(PictureTest, XmlOut_ThreeChunks_CutAt65535Characters_Quirk62)
{
    OKTDbPicture picture;
    CByteArray const bytes = bytesOfSize(100000);
    picture.setPictureData(bytes);
    RecordingFiler filer;
    EXPECT_EQ(picture.xmlOut(&filer), eFilerOk);
    std::string const text = base64Of(bytes);
    ASSERT_EQ(text.size(), 133334u);
    EXPECT_THAT(std::vector<std::string>(filer.calls().begin() + 6, filer.calls().begin() + 14),
                ElementsAre("beginWriteMembers 1", "writeString arrStrBase64[0] \"" + text.substr(0, 65535) + "\" ansi",
                            "endWriteMembers", "beginWriteMembers 2", "writeInt (int)arrStrBase64.GetSize() - 1 2",
                            "writeString arrStrBase64[ (int)nIter ] \"" + text.substr(65535, 65535) + "\" ansi",
                            "writeString arrStrBase64[ (int)nIter ] \"" + text.substr(131070) + "\" ansi", "endWriteMembers"));
    EXPECT_EQ(text.size() - 131070, 2264u);
}

TEST_F(PictureTest, XmlOut_FilerInAnsiMode_StaysInIt)
{
    OKTDbPicture picture;
    fill(picture);
    OKTMemoryFiler filer;
    filer.setIsAnsiString(true);
    EXPECT_EQ(picture.xmlOut(&filer), eFilerOk);
    EXPECT_TRUE(filer.getIsAnsiString());
    CByteArray const bytes = filer.takeBytes();
    filer.loadFiler(bytes);
    EXPECT_EQ(picture.xmlIn(&filer), eFilerOk);
    EXPECT_TRUE(filer.getIsAnsiString());
}

// The chunk limit is that of 49,151 bytes; a multiple of 3 fills the encoder's buffer to its last character.
TEST_F(PictureTest, XmlOutThenXmlIn_SizesAroundTheLimits_BytesAndRoundTrip)
{
    for (int const size : {0,     1,     2,     3,     4,     5,     6,     7,     49148, 49149, 49150,  49151, 49152,
                           49153, 49154, 49155, 98301, 98302, 98303, 98304, 98305, 98306, 99999, 147453, 147456})
    {
        OKTDbPicture picture;
        picture.setObjectId(idOf(k1));
        picture.setPictureData(bytesOfSize(size));
        CByteArray const bytes = written(picture);
        std::vector<std::string> const chunks = chunksOf(base64Of(bytesOfSize(size)));
        EXPECT_EQ(bytes, pictureFrame(k1, chunks).bytes()) << size;

        OKTDbPicture back;
        back.setPictureData(bytesOf({9, 9, 9, 9}));
        ASSERT_EQ(read(back, bytes), eFilerOk) << size;
        EXPECT_EQ(data(back), bytesOfSize(size)) << size;
    }
}

TEST_F(PictureTest, XmlOut_49151And49152Bytes_OneChunkAndTwo)
{
    EXPECT_EQ(base64Of(bytesOfSize(49151)).size(), 65535u);
    EXPECT_EQ(chunksOf(base64Of(bytesOfSize(49151))).size(), 1u);
    std::vector<std::string> const two = chunksOf(base64Of(bytesOfSize(49152)));
    ASSERT_EQ(two.size(), 2u);
    EXPECT_EQ(two[1].size(), 1u);
}

TEST_F(PictureTest, XmlOut_CodePageOfTheThread_DoesNotMatter)
{
    OKTDbPicture picture;
    fill(picture);
    CByteArray const bytes = written(picture);
    for (unsigned int const page : {65001u, 932u})
    {
        OktSetThreadCodePage(page);
        EXPECT_EQ(written(picture), bytes) << page;
        OKTDbPicture back;
        EXPECT_EQ(read(back, bytes), eFilerOk) << page;
        EXPECT_EQ(data(back), bytesOf({1, 2, 3})) << page;
    }
    OktSetThreadCodePage(1252);
}

TEST_F(PictureTest, XmlOut_CodePageWithLettersInOtherPlaces_SameTextAndRoundTrip)
{
    OKTDbPicture picture;
    picture.setPictureData(bytesOfSize(100000));
    std::string const text = base64Of(bytesOfSize(100000));
    for (unsigned int const page : {37u, 500u})
    {
        OktSetThreadCodePage(page);
        CByteArray const bytes = written(picture);
        OKTDbPicture back;
        FilerStatusDb const status = read(back, bytes);
        OktSetThreadCodePage(1252);
        EXPECT_EQ(status, eFilerOk) << page;
        EXPECT_EQ(data(back), bytesOfSize(100000)) << page;
        std::string const stream = textOf(bytes);
        for (std::string const &chunk : chunksOf(text))
            EXPECT_NE(stream.find(chunk), std::string::npos) << page;
    }
}

// --- Reading -----------------------------------------------------------------------------------------------------------------

TEST_F(PictureTest, XmlIn_ThreeChunks_CallsInOrder_Quirk62)
{
    RecordingFiler filer;
    filer.loadFiler(pictureFrame(k1, {"AQID", "BAUG", "BwgJ"}).bytes());
    OKTDbPicture picture;
    EXPECT_EQ(picture.xmlIn(&filer), eFilerOk);
    EXPECT_THAT(filer.calls(),
                ElementsAre("beginReadClass Object OKTDbPicture", "beginReadClass Object OKTDbObject", "beginReadMembers 1",
                            "readObjectId m_objectId", "endReadMembers", "endReadClass", "beginReadMembers 1",
                            "readString strBase64 ansi", "endReadMembers", "beginReadMembers 2", "readInt nChunckNumber",
                            "readString strChunk ansi", "readString strChunk ansi", "endReadMembers", "beginReadMembers 3",
                            "readPoint3d m_pntCamera", "readPoint3d m_pntTarget", "readPoint3d m_vecUp", "endReadMembers",
                            "endReadClass"));
    EXPECT_FALSE(filer.getIsAnsiString());
    EXPECT_EQ(data(picture), bytesOf({1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_F(PictureTest, XmlIn_EveryChoiceOfSections_DataAndCamera_Quirk64)
{
    for (int choice = 0; choice < 8; ++choice)
    {
        bool const one = (choice & 1) != 0;
        bool const two = (choice & 2) != 0;
        bool const three = (choice & 4) != 0;
        StreamBuilder sections;
        if (one)
            sections.append(section1("AQID"));
        if (two)
            sections.append(section2(1, {"BAUG"}));
        if (three)
            sections.append(section3());
        OKTDbPicture picture;
        fill(picture);

        EXPECT_EQ(read(picture, frame(sections)), choice == 0 ? eFilerNoMembers : eFilerOk) << choice;

        CByteArray expected;
        if (one)
            expected.Append(bytesOf({1, 2, 3}));
        if (two)
            expected.Append(bytesOf({4, 5, 6}));
        EXPECT_EQ(data(picture), expected) << choice;
        if (three)
        {
            EXPECT_THAT(camera(picture), ElementsAre(9, 8, 7, 6, 5, 4, 3, 2, 1)) << choice;
        }
        else
        {
            EXPECT_THAT(camera(picture), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9)) << choice;
        }
        EXPECT_EQ(textOf(picture.objectId()), k2) << choice;
    }
}

TEST_F(PictureTest, XmlIn_FirstSectionAloneWithALongText_DecodesFromIt)
{
    std::string const text = base64Of(bytesOfSize(49151));
    OKTDbPicture picture;
    EXPECT_EQ(read(picture, frame(section1(text))), eFilerOk);
    EXPECT_EQ(data(picture), bytesOfSize(49151));
}

TEST_F(PictureTest, XmlIn_SectionOfTheFuture_IsPassedOver)
{
    StreamBuilder sections = section1("AQID").append(section2(0, {})).append(section3());
    sections.beginMembers(4).ansiText("later").endMembers();
    StreamBuilder stream = frame(sections).raw({6});
    OKTMemoryFiler filer;
    filer.loadFiler(stream.bytes());
    OKTDbPicture picture;
    EXPECT_EQ(picture.xmlIn(&filer), eFilerOk);
    EXPECT_EQ(filer.GetFilerPosition(), stream.size() - 1);
    EXPECT_EQ(data(picture), bytesOf({1, 2, 3}));
}

TEST_F(PictureTest, XmlIn_Counts_ZeroAndBelowReadNoFurtherText_Quirk63)
{
    for (std::int64_t const count : {0LL, -1LL, -2LL, -2147483648LL})
    {
        OKTDbPicture picture;
        EXPECT_EQ(read(picture, frame(section1("AQID").append(section2(count, {})).append(section3()))), eFilerOk) << count;
        EXPECT_EQ(data(picture), bytesOf({1, 2, 3})) << count;
        EXPECT_EQ(camera(picture).front(), 9.0) << count;
    }
}

TEST_F(PictureTest, XmlIn_TextOfAnyShape_WhatIsBase64Counts)
{
    struct
    {
        char const *what;
        std::vector<std::string> chunks;
        CByteArray expected;
    } const rows[] = {
        {"a border within a group", {"AQ", "IDBA", "UG"}, bytesOf({1, 2, 3, 4, 5, 6})},
        {"an empty chunk", {"AQID", "", "BAUG"}, bytesOf({1, 2, 3, 4, 5, 6})},
        {"one character too few", {"AQI"}, bytesOf({1, 2})},
        {"two too few", {"AQ"}, bytesOf({1})},
        {"three too few", {"A"}, bytesOf({})},
        {"padding", {"AQ=="}, bytesOf({1})},
        {"padding between chunks", {"AQI=", "D"}, bytesOf({1, 2, 3})},
        {"line breaks and blanks", {"AQ\r\nI D", "\tBAUG"}, bytesOf({1, 2, 3, 4, 5, 6})},
        {"characters of no alphabet", {"A!Q*I-D_", "\xE4\x80"}, bytesOf({1, 2, 3})},
        {"nothing but such", {"!!!!"}, bytesOf({})},
        {"a zero, which ends the text of its chunk", {std::string("AQID\0BwgJ", 9), "BAUG"}, bytesOf({1, 2, 3, 4, 5, 6})},
        {"the last letters of the alphabet", {"+/+/"}, bytesOf({0xFB, 0xFF, 0xBF})},
    };
    for (auto const &row : rows)
    {
        OKTDbPicture picture;
        fill(picture);
        EXPECT_EQ(read(picture, pictureFrame(k1, row.chunks)), eFilerOk) << row.what;
        EXPECT_EQ(data(picture), row.expected) << row.what;
    }
}

/// What it costs is counted in tests/instructions.
TEST_F(PictureTest, XmlIn_CountOfTwoThousandMillion_Fails)
{
    for (std::int64_t const count : {2147483647LL, 1000000000LL, 4LL})
    {
        OKTDbPicture picture;
        fill(picture);
        EXPECT_EQ(read(picture, frame(section1("AQID").append(section2(count, {"BAUG"})).append(section3()))),
                  eFilerMemberFailed)
            << count;
        EXPECT_EQ(data(picture), bytesOf({1, 2, 3, 4, 5, 6})) << count;
        EXPECT_EQ(camera(picture).front(), 9.0) << count; // the walk over the frame goes on
    }
}

TEST_F(PictureTest, XmlIn_CountOfTwoThousandMillionAtTheEndOfTheData_FailsAtNoCost)
{
    CByteArray const whole = frame(section1("AQID").append(section2(2147483647, {"BAUG"}))).bytes();
    for (int size = whole.GetSize(); size > whole.GetSize() - 10; --size)
    {
        OKTDbPicture picture;
        EXPECT_EQ(read(picture, cut(whole, size)), eFilerMemberFailed) << size;
    }
}

TEST_F(PictureTest, XmlIn_ChunkOfAnotherRecord_1AndTheRestIsKept)
{
    StreamBuilder wide;
    wide.beginMembers(1).wideText(u"AQID").endMembers();
    OKTDbPicture picture;
    fill(picture);
    // The text stays unread, so that the section's end, and all behind it, is not found.
    EXPECT_EQ(read(picture, frame(wide.append(section3()))), eFilerMemberFailed);
    EXPECT_EQ(data(picture).GetSize(), 0);
    EXPECT_THAT(camera(picture), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(PictureTest, XmlIn_FrameCutAnywhere_IsAnsweredWithAStatus)
{
    CByteArray const bytes = pictureFrame(k1, {"AQID", "BAUG"}).bytes();
    for (int size = 0; size < bytes.GetSize(); ++size)
    {
        OKTDbPicture picture;
        fill(picture);
        FilerStatusDb const status = read(picture, cut(bytes, size));
        EXPECT_THAT(status, testing::AnyOf(eFilerOk, eFilerMemberFailed, eFilerClassFailed, eFilerNoMembers)) << size;
        EXPECT_LE(data(picture).GetSize(), 6) << size;
    }
}

// --- Statuses and failures ---------------------------------------------------------------------------------------------------

TEST_F(PictureTest, NullFiler_3)
{
    OKTDbPicture picture;
    EXPECT_EQ(picture.xmlOut(nullptr), eFilerNoFiler);
    EXPECT_EQ(picture.xmlIn(nullptr), eFilerNoFiler);
}

TEST_F(PictureTest, FrameRefused_4AndNothingMore)
{
    OKTDbPicture picture;
    fill(picture);
    ScriptedFiler out;
    out.failAt("beginWriteClass", 1);
    EXPECT_EQ(picture.xmlOut(&out), eFilerClassFailed);
    EXPECT_THAT(out.calls(), ElementsAre("beginWriteClass Object OKTDbPicture 3"));
    ScriptedFiler in;
    in.failAt("beginReadClass", 1);
    EXPECT_EQ(picture.xmlIn(&in), eFilerClassFailed);
    EXPECT_THAT(in.calls(), ElementsAre("beginReadClass Object OKTDbPicture"));
    EXPECT_EQ(data(picture), bytesOf({1, 2, 3}));
}

TEST_F(PictureTest, BaseRefused_ItsStatusAtOnceTheFrameLeftOpenAndTheDataKept)
{
    OKTDbPicture picture;
    fill(picture);
    ScriptedFiler out;
    out.failAt("writeObjectId", 1);
    EXPECT_EQ(picture.xmlOut(&out), eFilerMemberFailed);
    EXPECT_EQ(out.calls().size(), 6u);
    ScriptedFiler in;
    in.failAt("readObjectId", 1);
    EXPECT_EQ(picture.xmlIn(&in), eFilerMemberFailed);
    EXPECT_EQ(in.calls().size(), 6u);
    EXPECT_EQ(data(picture), bytesOf({1, 2, 3}));
}

TEST_F(PictureTest, XmlOut_FilerThrows_ReportOfTheClassAndSuccess_Quirk6)
{
    for (char const *const operation : {"writeString", "writeInt", "writePoint3d"})
    {
        OKTDbPicture picture;
        picture.setPictureData(bytesOf({1, 2, 3}));
        ScriptedFiler filer;
        filer.throwAt(operation, 1);
        EXPECT_EQ(picture.xmlOut(&filer), eFilerOk) << operation;
        ASSERT_EQ(m_reports.count(), 1u) << operation;
        EXPECT_THAT(m_reports.texts()[0], IsReportOf("oktdbpicture")) << operation;
        m_reports.clear();
    }
}

TEST_F(PictureTest, XmlIn_FilerThrows_ReportAndSuccessAndTheDataKept_Quirk6)
{
    for (int const nth : {1, 2, 3})
    {
        OKTDbPicture picture;
        picture.setPictureData(bytesOf({7, 8, 9}));
        RecordingFiler filer;
        filer.loadFiler(pictureFrame(k1, {"AQID", "BAUG", "BwgJ"}).bytes());
        filer.throwAt("readString", nth);
        EXPECT_EQ(picture.xmlIn(&filer), eFilerOk) << nth;
        EXPECT_EQ(m_reports.count(), 1u) << nth;
        m_reports.clear();
        EXPECT_EQ(data(picture), bytesOf({7, 8, 9})) << nth; // they change when all of the text is there
    }
}

TEST_F(PictureTest, XmlFiler_NeverCompletes_1AndTheDataKept_Quirk72)
{
    ScratchFolder const folder;
    OKTDbPicture picture;
    fill(picture);
    {
        OKTXmlFiler filer;
        ASSERT_TRUE(filer.NewFiler(folder.path("out.xml"), true));
        EXPECT_EQ(picture.xmlOut(&filer), eFilerMemberFailed);
        EXPECT_TRUE(filer.CloseFiler());
    }
    CByteArray document;
    for (char const c : std::string("<?xml version='1.0'?><DOCUMENT><Object class='OKTDbPicture' version='3'>"
                                    "<Object class='OKTDbObject' version='1'><Members version='1'/></Object></Object>"
                                    "</DOCUMENT>"))
        document.Add(static_cast<BYTE>(c));
    OKTXmlFiler filer;
    ASSERT_TRUE(filer.NewFiler(folder.put("in.xml", document), false));
    CString className;
    ASSERT_TRUE(filer.getDescriptionForNextReadObject(className));
    EXPECT_EQ(className, u"OKTDbPicture");
    filer.setIsReadingObjectFromRoot(true);
    EXPECT_EQ(picture.xmlIn(&filer), eFilerMemberFailed);
    EXPECT_EQ(data(picture), bytesOf({1, 2, 3}));
}

TEST_F(PictureTest, AllSectionsRefused_5BehindTheEndOfTheFrame_Quirk64)
{
    OKTDbPicture picture;
    fill(picture);
    ScriptedFiler out;
    ScriptedFiler in;
    for (int nth = 2; nth <= 4; ++nth)
    {
        out.failAt("beginWriteMembers", nth);
        in.failAt("beginReadMembers", nth);
    }
    EXPECT_EQ(picture.xmlOut(&out), eFilerNoMembers);
    EXPECT_EQ(out.calls().back(), "endWriteClass");
    EXPECT_EQ(data(picture), bytesOf({1, 2, 3}));
    EXPECT_EQ(picture.xmlIn(&in), eFilerNoMembers);
    EXPECT_EQ(in.calls().back(), "endReadClass");
    EXPECT_EQ(data(picture).GetSize(), 0);
    EXPECT_THAT(camera(picture), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(PictureTest, XmlOut_FirstSectionRefused_CountIsMinusOne_Quirk63)
{
    OKTDbPicture picture;
    picture.setPictureData(bytesOfSize(100000));
    ScriptedFiler filer;
    filer.failAt("beginWriteMembers", 2);
    EXPECT_EQ(picture.xmlOut(&filer), eFilerOk);
    EXPECT_THAT(std::vector<std::string>(filer.calls().begin() + 6, filer.calls().begin() + 10),
                ElementsAre("beginWriteMembers 1", "beginWriteMembers 2", "writeInt (int)arrStrBase64.GetSize() - 1 -1",
                            "endWriteMembers"));
}

TEST_F(PictureTest, XmlOut_MemberFails_1AndTheOthersAreStillWritten)
{
    OKTDbPicture picture;
    picture.setPictureData(bytesOfSize(100000));
    ScriptedFiler whole;
    ASSERT_EQ(picture.xmlOut(&whole), eFilerOk);
    for (auto const &[operation, nth] :
         {std::pair("writeString", 1), std::pair("writeInt", 1), std::pair("writeString", 2), std::pair("writeString", 3),
          std::pair("writePoint3d", 1), std::pair("writePoint3d", 2), std::pair("writePoint3d", 3)})
    {
        ScriptedFiler filer;
        filer.failAt(operation, nth);
        EXPECT_EQ(picture.xmlOut(&filer), eFilerMemberFailed) << operation << nth;
        EXPECT_TRUE(filer.calls() == whole.calls()) << operation << nth;
    }
}

TEST_F(PictureTest, XmlIn_MemberFails_1AndTheOthersAreStillRead)
{
    for (auto const &[operation, nth] : {std::pair("readString", 1), std::pair("readString", 2), std::pair("readString", 3),
                                         std::pair("readPoint3d", 1), std::pair("readPoint3d", 2), std::pair("readPoint3d", 3)})
    {
        ScriptedFiler filer;
        filer.giveString(u"AQID");
        filer.giveInt(2);
        filer.giveString(u"BAUG");
        filer.giveString(u"BwgJ");
        filer.failAt(operation, nth);
        OKTDbPicture picture;
        EXPECT_EQ(picture.xmlIn(&filer), eFilerMemberFailed) << operation << nth;
        EXPECT_EQ(filer.calls().size(), 20u) << operation << nth;
    }
    ScriptedFiler count;
    count.failAt("readInt", 1);
    OKTDbPicture picture;
    EXPECT_EQ(picture.xmlIn(&count), eFilerMemberFailed);
    EXPECT_THAT(count.calls(), testing::Contains("readPoint3d m_vecUp"));
}
} // namespace

namespace
{
/// A client's filer whose base has nothing for every other string: it has the chunks itself.
class HalfFiler : public OKTMemoryFiler
{
public:
    bool readString(CString const &name, CString &value) override
    {
        ++asked;
        if ((asked == 1 || asked % 2 == 0) && OKTMemoryFiler::readString(name, value))
            return true;
        value = u"QUJD"; // ABC
        return true;
    }
    bool readInt(CString const &name, int &value) override
    {
        if (CString(name) != u"nChunckNumber")
            return OKTMemoryFiler::readInt(name, value);
        value = 9;
        return true;
    }
    int asked = 0;
};

/// The same, but it fails along with its base.
class FailingHalfFiler : public HalfFiler
{
public:
    bool readString(CString const &name, CString &value) override
    {
        ++asked;
        if (asked == 1 || asked % 2 == 0)
            return OKTMemoryFiler::readString(name, value); // NOLINT(bugprone-parent-virtual-call): past what HalfFiler does
        value = u"QUJD";
        return asked % 4 == 1;
    }
};
} // namespace

TEST_F(PictureTest, XmlIn_DerivedFilerWhoseBaseHasStalled_EveryChunkIsAskedFor)
{
    CByteArray const image = written(OKTDbPicture());
    for (bool const fails : {false, true})
    {
        HalfFiler patient;
        FailingHalfFiler failing;
        HalfFiler &filer = fails ? failing : patient;
        filer.loadFiler(image);
        OKTDbPicture picture;
        EXPECT_EQ(picture.xmlIn(&filer), fails ? eFilerMemberFailed : eFilerOk);
        EXPECT_EQ(filer.asked, 10);
    }
}
