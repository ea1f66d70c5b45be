// SPDX-License-Identifier: MIT
// Inputs that claim more than they hold, or are made to cost as much as they can: what the readers of pools, of their parts and of XML
// documents hold at once is bounded by what they are given.

#include "support/expectedleak.h"
#include "support/heldperbyte.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace
{
constexpr int kTwoThousandMillion = 2000000000;

std::string numbered(int number)
{
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-1111-1111-1111-111111111111}", static_cast<unsigned int>(number));
    return text;
}

/// Objects whose lists claim two thousand million ids.
CByteArray claimingLists(int count)
{
    StreamBuilder objects;
    for (int i = 1; i <= count; ++i)
    {
        ParameterFields fields;
        fields.id = numbered(i);
        fields.paramCount = kTwoThousandMillion;
        objects.append(parameterFrame(fields));
    }
    return poolImage({}, objects);
}

CByteArray smallObjects(int count)
{
    StreamBuilder objects;
    for (int i = 1; i <= count; ++i)
        objects.append(relationFrame(numbered(i)));
    return poolImage({}, objects);
}

CByteArray emptyParameters(int count)
{
    StreamBuilder objects;
    for (int i = 1; i <= count; ++i)
    {
        ParameterFields fields;
        fields.id = numbered(i);
        objects.append(parameterFrame(fields));
    }
    return poolImage({}, objects);
}

CByteArray longList(int count)
{
    std::vector<std::string> ids;
    for (int i = 1; i <= count; ++i)
        ids.push_back(numbered(i));
    return poolImage({}, groupCategoryFrame(numbered(0x7FFFFFFF), ids));
}

CByteArray nestedFrames(int count)
{
    StreamBuilder object;
    object.beginClass("OKTDbRelation").objectBase(numbered(1)).beginMembers(2);
    for (int i = 0; i < count; ++i)
        object.beginClass("X").beginMembers(1);
    for (int i = 0; i < count; ++i)
        object.endMembers().endClass();
    return poolImage({}, object.endMembers().endClass());
}

/// A picture of a gigabyte, by the number of its chunks, of which two are there.
CByteArray claimingPicture()
{
    std::string const chunk(65535, 'A');
    StreamBuilder picture;
    picture.beginClass("OKTDbPicture", 3).objectBase(numbered(1)).beginMembers(1).ansiText(chunk).endMembers();
    picture.beginMembers(2).integer(16384).ansiText(chunk).endMembers().endClass();
    return poolImage({}, picture);
}

CByteArray claimingBytes()
{
    StreamBuilder object;
    object.beginClass("OKTDbRelation").objectBase(numbered(1)).beginMembers(2);
    object.raw({10, 0, 0, 0, 0x40}); // a gigabyte
    return poolImage({}, object.append(StreamBuilder().wideText(std::u16string(40000, u'x'))));
}

/// A header whose pictures all lie outside of the file.
CByteArray placesOutside(int count)
{
    HeaderFields fields;
    for (int i = 1; i <= count; ++i)
        fields.pictures.push_back({numbered(i), {2147483647 - i, 2147483647}});
    fields.indexId = numbered(count + 1);
    fields.index = {-5, 2147483647};
    return poolImage(fields, relationFrame(numbered(1)));
}

/// The same, with a list that claims two thousand million pictures.
CByteArray claimingPictureList()
{
    HeaderFields fields;
    fields.pictureCount = kTwoThousandMillion;
    fields.pictures.push_back({numbered(1), {0, 10}});
    return poolImage(fields, StreamBuilder().wideText(std::u16string(4000, u'x')));
}

class HostileSizes : public ::testing::Test
{
protected:
    static void expectLoad(char const *what, CByteArray const &image, double multiple)
    {
        expectHeld(what, static_cast<std::size_t>(image.GetSize()), multiple, [&] {
            ExpectedLeak const lostObject;
            OKTDbPool pool;
            pool.loadFiler(image);
        });
    }

    void expectFile(char const *what, CByteArray const &image, double multiple)
    {
        CString const path = m_folder.put("hostile.okt", image);
        expectHeld(what, static_cast<std::size_t>(image.GetSize()), multiple, [&] {
            ExpectedLeak const lostObject;
            OKTDbPool pool;
            pool.readFile(path);
        });
    }

    void expectParts(char const *what, CByteArray const &image, double multiple)
    {
        CString const path = m_folder.put("hostile.okt", image);
        expectHeld(what, static_cast<std::size_t>(image.GetSize()), multiple, [&] {
            ExpectedLeak const lostObject;
            OKTDbPool header;
            InfoMap info;
            header.readFileHeader(path, info);
            OKTDbPool().readIndex(path);
            OKTDbPool().readFilePicture(path);
        });
    }

    void expectDocument(char const *what, std::string const &document, double multiple)
    {
        CString const path = m_folder.put("hostile.xml", bytesOfText(document));
        expectHeld(what, document.size(), multiple, [&] {
            OKTXmlFiler filer;
            filer.NewFiler(path, false);
            CString text;
            filer.readString(u"s", text);
        });
        expectHeld(what, document.size(), multiple, [&] {
            ExpectedLeak const lostObject;
            OKTDbPool().readXMLFile(path);
        });
    }

    static CByteArray bytesOfText(std::string const &text)
    {
        CByteArray bytes;
        bytes.SetSize(static_cast<int>(text.size()));
        std::copy(text.begin(), text.end(), bytes.GetData());
        return bytes;
    }

    ReportCatcher m_reports;
    ScratchFolder m_folder;
};

TEST_F(HostileSizes, LoadFiler_HeldIsAMultipleOfTheInput)
{
    expectLoad("claiming lists", claimingLists(1000), 8.0);
    expectLoad("small objects", smallObjects(10000), 8.0);
    expectLoad("empty parameters", emptyParameters(3000), 8.0);
    expectLoad("long list", longList(20000), 8.0);
    expectLoad("nested frames", nestedFrames(10000), 8.0);
    expectLoad("claiming picture", claimingPicture(), 8.0);
    expectLoad("claiming bytes", claimingBytes(), 8.0);
    expectLoad("places outside", placesOutside(5000), 8.0);
    expectLoad("claiming pictures", claimingPictureList(), 8.0);
}

TEST_F(HostileSizes, ReadFile_HeldIsAMultipleOfTheInput)
{
    expectFile("small objects", smallObjects(10000), 8.0);
    expectFile("long list", longList(20000), 8.0);
    expectFile("nested frames", nestedFrames(10000), 8.0);
    expectFile("claiming picture", claimingPicture(), 8.0);
}

TEST_F(HostileSizes, PartialReaders_HeldIsAMultipleOfTheInput)
{
    expectParts("places outside", placesOutside(5000), 12.0);
    expectParts("claiming pictures", claimingPictureList(), 12.0);
    expectParts("claiming picture", claimingPicture(), 12.0);
    expectParts("small objects", smallObjects(10000), 12.0);
}

TEST_F(HostileSizes, Documents_HeldIsAMultipleOfTheInput)
{
    std::string elements = "<Document>";
    for (int i = 0; i < 50000; ++i)
        elements += "<a/>";
    expectDocument("elements", elements + "</Document>", 60.0);
    std::string attributes = "<Document><s";
    for (int i = 0; i < 20000; ++i)
        attributes += " a" + std::to_string(i) + "=''";
    expectDocument("attributes", attributes + "/></Document>", 60.0);
    std::string levels;
    for (int i = 0; i < 20000; ++i)
        levels += "<a>";
    expectDocument("levels", levels, 60.0);
    expectDocument("text", "<Document><s string='" + std::string(1000000, 'x') + "'/></Document>", 60.0);
}

// What the entities stand for is 20 million million bytes.
TEST_F(HostileSizes, EntityBombs_HeldIsBounded)
{
    std::string document = "<!DOCTYPE d [<!ENTITY e0 'lollollollollollollol'>";
    for (int i = 1; i < 12; ++i)
    {
        document += "<!ENTITY e" + std::to_string(i) + " '";
        for (int n = 0; n < 10; ++n)
            document += "&e" + std::to_string(i - 1) + ";";
        document += "'>";
    }
    for (char const *const root : {"]><Document><s string='&e11;'/></Document>", "]><Document>&e11;</Document>"})
    {
        CString const path = m_folder.put("bomb.xml", bytesOfText(document + root));
        PeakMemory const peak;
        OKTXmlFiler filer;
        filer.NewFiler(path, false);
        CString text;
        filer.readString(u"s", text);
        EXPECT_LE(peak.bytes(), 4'000'000u) << root;
        RecordProperty("entities", std::to_string(peak.bytes()));
    }
}
} // namespace
