// SPDX-License-Identifier: MIT
#include "okttext/texthelpers.h"

#include "support/clientclasses.h"
#include "support/poolmaker.h"
#include "support/printers.h"
#include "support/reportcatcher.h"
#include "support/scratchfolder.h"
#include "support/streambuilder.h"

#include <oktdatabase/oktdatabase.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <map>
#include <random>

namespace
{

namespace fs = std::filesystem;

constexpr char kIdA[] = "{0A000000-0000-0000-0000-000000000000}";
constexpr char kIdB[] = "{0B000000-0000-0000-0000-000000000000}";

void expectSameAgain(CByteArray const &image)
{
    std::string const text = textOfImage(image);
    std::string fault;
    CByteArray const again = imageOfText(text, fault);
    EXPECT_EQ(fault, "");
    EXPECT_TRUE(again == image) << text.substr(0, 2000);
    EXPECT_EQ(textOfImage(again), text);
}

/// An image of one object with these members in section 1, of a class that nobody knows.
CByteArray imageWith(StreamBuilder const &members)
{
    StreamBuilder object;
    object.beginClass("Nobody", 3).objectBase(kIdA).beginMembers(1).append(members).endMembers().endClass();
    return poolImage(HeaderFields(), object);
}

/// The lines of those members, without indentation.
std::string memberLines(CByteArray const &image)
{
    std::string const text = textOfImage(image);
    std::string const ahead = "        ]}\n      ]},\n      {\"section\": 1, \"content\": [\n";
    std::size_t const begin = text.find(ahead);
    std::size_t const end = text.rfind("\n      ]}\n    ]}\n  ]\n}\n");
    if (begin == std::string::npos || end == std::string::npos || begin + ahead.size() > end)
        return "no members: " + text;
    std::string lines = text.substr(begin + ahead.size(), end - begin - ahead.size());
    for (std::size_t at = 0; (at = lines.find("        ", at)) != std::string::npos; ++at)
        if (at == 0 || lines[at - 1] == '\n')
            lines.erase(at, 8);
    return lines;
}

void expectMembers(StreamBuilder const &members, std::string const &lines)
{
    CByteArray const image = imageWith(members);
    EXPECT_EQ(memberLines(image), lines);
    expectSameAgain(image);
}

TEST(OktTextPool, Export_SmallPool_ThisText)
{
    HeaderFields fields;
    fields.constructId = kIdA;
    fields.construct = {0, relationFrame(kIdA).size()};
    fields.name = u"Ø";
    fields.sections = 2;
    CByteArray const image = poolImage(fields, relationFrame(kIdA));
    EXPECT_EQ(textOfImage(image), R"({
  "format": "OKTDatabase text",
  "version": 1,
  "header": {"name": "Pool", "class": "OKTDbPool", "version": 6, "content": [
    {"section": 1, "content": [
      {"name": "m_objectId", "id": "{11111111-2222-3333-4444-555555555555}"},
      {"name": "m_constructId", "id": "{0A000000-0000-0000-0000-000000000000}"},
      {"name": "nObjectPosition", "long": "position"},
      {"name": "nObjectSize", "long": "size"},
      {"name": "idDummy", "id": "{00000000-0000-0000-0000-000000000000}"},
      {"name": "nObjectPosition", "long": "position"},
      {"name": "nObjectSize", "long": "size"},
      {"name": "m_indexId", "id": "{00000000-0000-0000-0000-000000000000}"},
      {"name": "nObjectPosition", "long": "position"},
      {"name": "nObjectSize", "long": "size"},
      {"name": "m_strPoolName", "string16": "Ø"}
    ]},
    {"section": 2, "content": [
      {"name": "dfMetricsFactor", "double": 1}
    ]}
  ]},
  "objects": [
    {"name": "Object", "class": "OKTDbRelation", "version": 1, "content": [
      {"name": "Object", "class": "OKTDbObject", "version": 1, "content": [
        {"section": 1, "content": [
          {"name": "m_objectId", "id": "{0A000000-0000-0000-0000-000000000000}"}
        ]}
      ]},
      {"section": 1, "content": []}
    ]}
  ]
}
)");
    expectSameAgain(image);
}

TEST(OktTextPool, Export_PlacesThatAreNotThoseOfTheObjects_StayNumbers)
{
    HeaderFields fields;
    fields.constructId = kIdA;
    fields.construct = {1, relationFrame(kIdA).size()};
    fields.indexId = kIdB;
    fields.index = {0, 0};
    CByteArray const image = poolImage(fields, relationFrame(kIdA));
    std::string const text = textOfImage(image);
    EXPECT_THAT(text,
                testing::HasSubstr(
                    "{\"name\": \"nObjectPosition\", \"long\": 1},\n      {\"name\": \"nObjectSize\", \"long\": \"size\"},"));
    EXPECT_THAT(text, testing::HasSubstr(
                          "{\"name\": \"nObjectPosition\", \"long\": 0},\n      {\"name\": \"nObjectSize\", \"long\": 0},"));
    expectSameAgain(image);
}

TEST(OktTextPool, Import_EditedText_PlacesFollowTheObjects)
{
    HeaderFields fields;
    fields.indexId = kIdB;
    fields.index = {relationFrame(kIdA).size(), relationFrame(kIdB).size()};
    CByteArray const image = poolImage(fields, relationFrame(kIdA).append(relationFrame(kIdB)));
    std::string text = textOfImage(image);
    // An object ahead of the index becomes longer by a record of 7 bytes.
    std::string const empty = "{\"section\": 1, \"content\": []}";
    text.replace(text.find(empty), empty.size(), "{\"section\": 1, \"content\": [{\"string16\": \"ab\"}]}");
    std::string fault;
    CByteArray const edited = imageOfText(text, fault);
    EXPECT_EQ(fault, "");
    fields.index.position += 7;
    StreamBuilder longer;
    longer.beginClass("OKTDbRelation").objectBase(kIdA).beginMembers(1).wideText(u"ab").endMembers().endClass();
    EXPECT_TRUE(edited == poolImage(fields, longer.append(relationFrame(kIdB))));
}

TEST(OktTextPool, Export_UnknownClass_EveryRecordByItsKind)
{
    expectMembers(StreamBuilder()
                      .boolean(0)
                      .boolean(1)
                      .boolean(2)
                      .boolean(255)
                      .shortInteger(-2)
                      .integer(7)
                      .real(0.1)
                      .wideText(u"Ω")
                      .ansiText("\x80 a\\")
                      .byteArray({7, 6, 5}),
                  "{\"bool\": false},\n{\"bool\": true},\n{\"bool\": 2},\n{\"bool\": 255},\n{\"short\": -2},\n{\"long\": 7},\n"
                  "{\"double\": 0.1},\n{\"string16\": \"Ω\"},\n{\"string8\": \"€ a\\\\\"},\n{\"bytes\": \"BwYF\"}");
}

TEST(OktTextPool, Export_UnknownClass_FramesOfValuesInOneLine)
{
    expectMembers(StreamBuilder().id(kIdB).point(1, 2, -0.0).variantReal(3).variantInteger(-1).variantText(u"x"),
                  "{\"id\": \"{0B000000-0000-0000-0000-000000000000}\"},\n{\"point\": [1, 2, \"-0\"]},\n"
                  "{\"variant\": \"VT_R8\", \"double\": 3},\n{\"variant\": \"VT_I4\", \"long\": -1},\n"
                  "{\"variant\": \"VT_BSTR\", \"string16\": \"x\"}");
}

TEST(OktTextPool, Export_VariantOfAnyKindWithAnyValue_KeepsBoth)
{
    StreamBuilder const none;
    StreamBuilder const real = StreamBuilder().real(1);
    expectMembers(
        StreamBuilder()
            .variant(7, none)
            .variant(10, StreamBuilder().integer(5))
            .variant(11, StreamBuilder().integer(17))
            .variant(11, StreamBuilder().boolean(3))
            .variant(15, real)
            .variant(8209, StreamBuilder().byteArray({1}))
            .variant(-1, StreamBuilder().ansiText("t"))
            .variant(65541, real),
        "{\"variant\": \"VT_DATE\"},\n{\"variant\": \"VT_ERROR\", \"long\": 5},\n{\"variant\": \"VT_BOOL\", \"long\": 17},\n"
        "{\"variant\": \"VT_BOOL\", \"bool\": 3},\n{\"variant\": 15, \"double\": 1},\n{\"variant\": 8209, \"bytes\": "
        "\"AQ==\"},\n"
        "{\"variant\": -1, \"string8\": \"t\"},\n{\"variant\": 65541, \"double\": 1}");
}

TEST(OktTextPool, Export_ValueFrameThatIsNotTheUsualOne_AsAFrame)
{
    StreamBuilder newer;
    newer.beginClass("OKTGeXYZ")
        .beginMembers(1)
        .real(1)
        .real(2)
        .real(3)
        .endMembers()
        .beginMembers(2)
        .real(4)
        .endMembers()
        .endClass();
    expectMembers(newer,
                  "{\"class\": \"OKTGeXYZ\", \"version\": 1, \"content\": [\n"
                  "  {\"section\": 1, \"content\": [\n    {\"double\": 1},\n    {\"double\": 2},\n    {\"double\": 3}\n  ]},\n"
                  "  {\"section\": 2, \"content\": [\n    {\"double\": 4}\n  ]}\n]}");
    expectMembers(StreamBuilder().beginClass("OKTVariant", 2).beginMembers(1).integer(5).real(1).endMembers().endClass(),
                  "{\"class\": \"OKTVariant\", \"version\": 2, \"content\": [\n"
                  "  {\"section\": 1, \"content\": [\n    {\"long\": 5},\n    {\"double\": 1}\n  ]}\n]}");
    expectMembers(StreamBuilder().beginClass("OKTVariant").beginMembers(1).real(1).integer(5).endMembers().endClass(),
                  "{\"class\": \"OKTVariant\", \"version\": 1, \"content\": [\n"
                  "  {\"section\": 1, \"content\": [\n    {\"double\": 1},\n    {\"long\": 5}\n  ]}\n]}");
    expectMembers(
        StreamBuilder().beginClass("OKTObjectId").beginMembers(1).integer(1).integer(2).integer(3).endMembers().endClass(),
        "{\"class\": \"OKTObjectId\", \"version\": 1, \"content\": [\n"
        "  {\"section\": 1, \"content\": [\n    {\"long\": 1},\n    {\"long\": 2},\n    {\"long\": 3}\n  ]}\n]}");
}

TEST(OktTextPool, Export_OddStructure_RecordByRecord)
{
    StreamBuilder object;
    // Values outside of sections, sections in sections, frames behind sections, sections out of order.
    object.beginClass("A\xFF", -1).integer(1).beginMembers(5).beginMembers(-2).real(1).endMembers().endMembers();
    object.beginMembers(1).endMembers().beginMembers(1).endMembers().beginClass("").endClass().boolean(1).endClass();
    CByteArray const image = poolImage(HeaderFields(), object);
    EXPECT_THAT(textOfImage(image), testing::HasSubstr(R"(  "objects": [
    {"class": "Aÿ", "version": -1, "content": [
      {"long": 1},
      {"section": 5, "content": [
        {"section": -2, "content": [
          {"double": 1}
        ]}
      ]},
      {"section": 1, "content": []},
      {"section": 1, "content": []},
      {"class": "", "version": 1, "content": []},
      {"bool": true}
    ]}
  ])"));
    expectSameAgain(image);
}

TEST(OktTextPool, Export_NewerSectionOfAKnownClass_MembersWithoutNames)
{
    StreamBuilder object;
    object.beginClass("OKTDbRelation", 2)
        .objectBase(kIdA)
        .beginMembers(1)
        .endMembers()
        .beginMembers(2)
        .integer(4)
        .endMembers()
        .endClass();
    CByteArray const image = poolImage(HeaderFields(), object);
    EXPECT_THAT(textOfImage(image),
                testing::HasSubstr("      {\"section\": 2, \"content\": [\n        {\"long\": 4}\n      ]}\n"));
    expectSameAgain(image);
}

TEST(OktTextPool, Export_MembersOfAnotherKindThanTheClassHas_NoWrongNames)
{
    StreamBuilder object;
    object.beginClass("OKTDbCategory")
        .objectBase(kIdA)
        .beginMembers(1)
        .real(4)
        .id(kIdB)
        .integer(0)
        .wideText(u"n")
        .endMembers()
        .endClass();
    CByteArray const image = poolImage(HeaderFields(), object);
    EXPECT_THAT(textOfImage(image),
                testing::HasSubstr("{\"double\": 4},\n        {\"id\": \"{0B000000-0000-0000-0000-000000000000}\"},\n"
                                   "        {\"long\": 0},\n        {\"string16\": \"n\"}\n"));
    expectSameAgain(image);
}

TEST(OktTextPool, Export_HeaderSizeThatIsNotThatOfTheHeader_IsTold)
{
    CByteArray image = poolImage(HeaderFields(), relationFrame(kIdA));
    EXPECT_THAT(textOfImage(image), testing::Not(testing::HasSubstr("headerSize")));
    for (int const size : {0, -1, 0x7FFFFFFF, image.GetData()[1] + 1})
    {
        for (int i = 0; i < 4; ++i)
            image.SetAt(1 + i, static_cast<BYTE>(static_cast<unsigned int>(size) >> (8 * i)));
        EXPECT_THAT(textOfImage(image), testing::HasSubstr("  \"headerSize\": " + std::to_string(size) + ",\n"));
        expectSameAgain(image);
    }
}

TEST(OktTextPool, Export_BytesBetweenAndBehindObjects_RawAtTheirPlace)
{
    StreamBuilder block;
    block.raw({1, 2, 3}).append(relationFrame(kIdA)).raw({9, 9}).raw({7}).append(relationFrame(kIdB)).raw({0});
    CByteArray const image = poolImage(HeaderFields(), block);
    // Without a byte 7 ahead of it, a frame is not found by any reader.
    std::string const text = textOfImage(image);
    EXPECT_THAT(text, testing::HasSubstr("\"objects\": [\n    {\"raw\": \"AQIDB"));
    expectSameAgain(image);

    StreamBuilder found;
    found.raw({1, 2, 3, 7}).append(relationFrame(kIdA)).raw({9, 9, 7}).append(relationFrame(kIdB)).raw({0});
    CByteArray const other = poolImage(HeaderFields(), found);
    std::string const otherText = textOfImage(other);
    EXPECT_THAT(otherText,
                testing::HasSubstr("\"objects\": [\n    {\"raw\": \"AQIDBw==\"},\n    {\"name\": \"Object\", \"class\""));
    EXPECT_THAT(otherText, testing::HasSubstr("    ]},\n    {\"raw\": \"CQkH\"},\n    {\"name\""));
    EXPECT_THAT(otherText, testing::HasSubstr("    ]},\n    {\"raw\": \"AA==\"}\n  ]"));
    expectSameAgain(other);
}

TEST(OktTextPool, Export_FramesDeeperThanTheLimit_RawFromThereOn)
{
    for (int const depth : {62, 63, 64, 65, 200, 100000})
    {
        StreamBuilder members;
        for (int i = 0; i < depth; ++i)
            members.beginClass("D");
        members.integer(1);
        for (int i = 0; i < depth; ++i)
            members.endClass();
        CByteArray const image = imageWith(members);
        // The frame of the object and its section stand around them.
        EXPECT_EQ(textOfImage(image).find("{\"raw\"") != std::string::npos, depth > 62) << depth;
        expectSameAgain(image);
    }
}

TEST(OktTextPool, Export_LongTexts_ComeBack)
{
    std::u16string const longest(65535, u'x');
    std::string const narrow(65535, '\xFF');
    expectSameAgain(imageWith(StreamBuilder().wideText(longest).ansiText(narrow)));
}

// --- Pictures ---

TEST(OktTextPool, Export_Pictures_ImageOrWhatElseStandsThere)
{
    struct Row
    {
        std::vector<std::string> chunks;
        char const *line; ///< null: not the text of an image
    };
    std::string const long64(65535, 'A');
    Row const rows[] = {{{}, "{\"picture\": \"\"}"},
                        {{"AQIDBA"}, "{\"picture\": \"AQIDBA==\"}"},
                        {{"AQIDBA=="}, nullptr},
                        {{"AQIDBB"}, nullptr}, // bits that no byte takes
                        {{"AQ", "ID"}, nullptr},
                        {{"AQI DBA"}, nullptr},
                        {{long64, "AAAAA"}, "{\"picture\": \"AAAA"},
                        {{long64, ""}, nullptr}};
    for (Row const &row : rows)
    {
        CByteArray const image = poolImage(HeaderFields(), pictureFrame(kIdA, row.chunks));
        std::string const text = textOfImage(image);
        EXPECT_EQ(text.find("\"picture\"") != std::string::npos, row.line != nullptr);
        EXPECT_THAT(text, testing::HasSubstr(row.line != nullptr ? row.line : "{\"name\": \"arrStrBase64[0]\", \"string8\": "));
        expectSameAgain(image);
    }
}

class OktTextPoolFiles : public testing::Test
{
protected:
    std::string put(std::string const &stem, CByteArray const &bytes)
    {
        std::string const name = stem + "-" + std::to_string(m_files.size());
        m_files[name] = bytes;
        return name;
    }
    OKTTextPutFile putter()
    {
        return [this](std::string const &stem, CByteArray const &bytes) { return put(stem, bytes); };
    }
    OKTTextGetFile getter()
    {
        return [this](std::string const &name) { return m_files.at(name); };
    }

    std::map<std::string, CByteArray> m_files;
};

TEST_F(OktTextPoolFiles, Export_PicturesAndLongByteArrays_GoIntoFilesAndComeBack)
{
    CByteArray bytes;
    bytes.SetSize(256);
    StreamBuilder members;
    members.byteArray({1, 2, 3}).raw({10, 0, 1, 0, 0});
    for (int i = 0; i < 256; ++i)
        members.raw({i});
    StreamBuilder client;
    client.beginClass("Nobody").objectBase(kIdB).beginMembers(1).append(members).endMembers().endClass();
    StreamBuilder block = pictureFrame(kIdA, {"AQIDBA"});
    CByteArray const image = poolImage(HeaderFields(), block.append(client));
    std::string const text = textOfImage(image, putter());
    EXPECT_THAT(text, testing::HasSubstr("{\"picture-file\": \"0A000000-0000-0000-0000-000000000000-0\"}"));
    EXPECT_THAT(text, testing::HasSubstr(
                          "{\"bytes\": \"AQID\"},\n        {\"bytes-file\": \"0B000000-0000-0000-0000-000000000000-1\"}"));
    ASSERT_EQ(m_files.size(), 2u);
    EXPECT_TRUE(m_files.begin()->second == bytesOf({1, 2, 3, 4}));
    std::string fault;
    EXPECT_TRUE(imageOfText(text, fault, getter()) == image) << fault;
    EXPECT_TRUE(imageOfText(text, fault).IsEmpty());
    EXPECT_THAT(fault, testing::EndsWith("\"picture-file\": no files are read here"));
}

TEST_F(OktTextPoolFiles, Import_NameOfAFileThatLeavesTheFolder_IsRefused)
{
    std::string text = textOfImage(poolImage(HeaderFields(), pictureFrame(kIdA, {"AQIDBA"})), putter());
    std::string const name = "0A000000-0000-0000-0000-000000000000-0";
    for (char const *const wrong : {"", ".", "..", "../x", "/etc/passwd", "a/b", "a\\\\b", "C:x", "a\\u0000b"})
    {
        std::string changed = text;
        changed.replace(changed.find(name), name.size(), wrong);
        std::string fault;
        bool asked = false;
        EXPECT_TRUE(imageOfText(changed, fault, [&asked](std::string const &) {
                        asked = true;
                        return CByteArray();
                    }).IsEmpty());
        EXPECT_FALSE(asked) << wrong;
        EXPECT_THAT(fault, testing::EndsWith(": \"picture-file\" is no name of a file; folders do not belong into it"))
            << wrong;
    }
}

// --- Golden files ---

std::vector<std::string> goldenNames()
{
    std::vector<std::string> names;
    for (auto const &entry : fs::directory_iterator(OKT_TEST_DATA_DIR "/golden"))
        if (entry.path().extension() == ".okt")
            names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

class OktTextGolden : public testing::TestWithParam<std::string>
{
protected:
    static CByteArray bytes() { return contentsOf(CString::FromUtf8(OKT_TEST_DATA_DIR "/golden/" + GetParam() + ".okt")); }

    ReportCatcher m_reports;
};

TEST_P(OktTextGolden, ExportImport_WithAndWithoutTheClientClasses_SameBytes)
{
    if (GetParam() == "truncated")
    {
        EXPECT_EQ(textOfImage(bytes()), "byte 1595: the file ends inside an OKTDbParameter that begins at byte 1358");
        return;
    }
    expectSameAgain(bytes());
    std::string const without = textOfImage(bytes());
    ClientClasses const classes;
    expectSameAgain(bytes());
    std::string fault;
    EXPECT_TRUE(imageOfText(without, fault) == bytes()) << fault;
}

std::string testName(testing::TestParamInfo<std::string> const &file)
{
    std::string name = file.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(EveryFile, OktTextGolden, testing::ValuesIn(goldenNames()), testName);

// --- Random pools and records ---

class OktTextRandom : public testing::TestWithParam<unsigned int>
{
};

TEST_P(OktTextRandom, ExportImport_PoolOfKnownClasses_SameBytesAndEveryMemberHasItsName)
{
    ClientClasses const classes;
    for (double const factor : {1.0, 1000.0})
    {
        OKTDbPool pool;
        fillRandomly(pool, GetParam(), factor);
        CByteArray image;
        IdMap translated;
        ASSERT_TRUE(pool.saveFiler(image, translated));
        std::string const text = textOfImage(image);
        std::string fault;
        EXPECT_TRUE(imageOfText(text, fault) == image) << fault;
        // Every line of a value begins with its name.
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);)
        {
            line.erase(0, line.find_first_not_of(' '));
            bool const isNameless = line.starts_with("{\"section\"") || line.starts_with("{\"picture\"");
            EXPECT_TRUE(!line.starts_with('{') || line == "{" || isNameless || line.starts_with("{\"name\": "))
                << line.substr(0, 100);
        }
    }
}

/// Any records in any order, nested at will.
class RecordMaker
{
public:
    explicit RecordMaker(unsigned int seed) : m_random(seed) {}

    StreamBuilder object()
    {
        StreamBuilder made;
        made.beginClass(className(), number());
        if (below(4) > 0)
            made.objectBase(below(3) == 0 ? kIdA : kIdB);
        records(made, 0);
        return made.endClass();
    }

    int below(int limit) { return static_cast<int>(m_random() % static_cast<unsigned int>(limit)); }

private:
    int number() { return below(3) == 0 ? static_cast<int>(m_random()) : below(9) - 1; }

    std::string className()
    {
        static constexpr char const *kNames[] = {"OKTDbParameter", "OKTDbPicture",  "OKTObjectId", "OKTVariant",
                                                 "OKTGeXYZ",       "OKTDbRelation", "New"};
        return below(8) == 0 ? ansi() : kNames[below(7)];
    }

    std::string ansi()
    {
        std::string text;
        for (int i = below(12); i > 0; --i)
            text += static_cast<char>(static_cast<unsigned char>(m_random()));
        return text;
    }

    std::u16string wide()
    {
        std::u16string text;
        int const kind = below(3);
        for (int i = below(12); i > 0; --i)
            text += kind == 0   ? static_cast<char16_t>(m_random())
                    : kind == 1 ? static_cast<char16_t>(0xD780 + below(0x900))
                                : static_cast<char16_t>(' ' + below(95));
        return text;
    }

    double real()
    {
        std::uint64_t const bits = static_cast<std::uint64_t>(m_random()) << 32 | m_random();
        return below(2) == 0 ? std::bit_cast<double>(bits) : std::bit_cast<double>(bits | 0x7FF0000000000000);
    }

    void records(StreamBuilder &out, int depth)
    {
        for (int i = below(7); i > 0; --i)
            record(out, depth);
    }

    void record(StreamBuilder &out, int depth)
    {
        switch (below(depth > 8 ? 11 : 16))
        {
        case 0: out.boolean(below(3) == 0 ? below(256) : below(2)); break;
        case 1: out.shortInteger(static_cast<std::int16_t>(m_random())); break;
        case 2:
        case 3: out.integer(number()); break;
        case 4: out.real(real()); break;
        case 5: out.wideText(wide()); break;
        case 6: out.ansiText(ansi()); break;
        case 7: out.byteArray({below(256), 7, 6, 5}); break;
        case 8: out.id(below(2) == 0 ? kIdA : kIdB); break;
        case 9: out.point(real(), 0, real()); break;
        case 10: out.variant(number(), below(3) == 0 ? StreamBuilder() : StreamBuilder().real(real())); break;
        case 11:
        case 12:
            out.beginClass(className(), below(3));
            records(out, depth + 1);
            out.endClass();
            break;
        default:
            out.beginMembers(below(4));
            records(out, depth + 1);
            out.endMembers();
            break;
        }
    }

    std::mt19937 m_random;
};

TEST_P(OktTextRandom, ExportImport_AnyRecords_SameBytes)
{
    ReportCatcher const reports;
    RecordMaker maker(GetParam());
    for (int round = 0; round < 40; ++round)
    {
        StreamBuilder block;
        for (int i = maker.below(4); i >= 0; --i)
            block.append(maker.object());
        HeaderFields fields;
        fields.constructId = maker.below(2) == 0 ? kIdA : "";
        fields.construct = {maker.below(2) - 1, maker.below(3) - 1};
        fields.pictures.push_back({kIdB, {maker.below(2) - 1, block.size()}});
        fields.behind = maker.below(2) == 0 ? StreamBuilder() : maker.object();
        expectSameAgain(poolImage(fields, block));
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, OktTextRandom, testing::Range(1u, 31u));

// --- Damaged images ---

TEST(OktTextDamage, Export_NoPool_TellsTheByteAndWritesNothing)
{
    struct Row
    {
        CByteArray image;
        char const *fault;
    };
    CByteArray const good = poolImage(HeaderFields(), StreamBuilder());
    Row const rows[] = {
        {CByteArray(), "byte 0: this is no pool file: it does not begin with the size of a header"},
        {fromHex("02 05 00"), "byte 0: this is no pool file: it does not begin with the size of a header"},
        {fromHex("03 05 00 00 00 06"), "byte 0: this is no pool file: it does not begin with the size of a header"},
        {fromHex("02 05 00 00 00"), "byte 5: this is no pool file: no header stands here"},
        {fromHex("02 05 00 00 00 08"), "byte 5: this is no pool file: no header stands here"},
        {fromHex("02 05 00 00 00 06 05 01 00 41 02 01 00 00 00 07"),
         "byte 5: this is no pool file: the header is a frame of the class \"A\""},
        {cut(good, 40), "byte 40: the file ends inside an OKTDbPool that begins at byte 5"}};
    for (Row const &row : rows)
    {
        OKTTextFault fault;
        EXPECT_FALSE(OktExportText(
            row.image, [](std::string_view) { FAIL(); }, fault));
        EXPECT_EQ(fault.place() + ": " + fault.reason, row.fault);
    }
}

TEST(OktTextDamage, Export_CutAtEveryLength_IsRefusedOrComesBack)
{
    StreamBuilder block = pictureFrame(kIdA, {"AQID"});
    CByteArray const image = poolImage(HeaderFields(), block.append(relationFrame(kIdB)));
    int taken = 0;
    for (int length = 0; length < image.GetSize(); ++length)
    {
        CByteArray const part = cut(image, length);
        std::string const text = textOfImage(part);
        if (!text.starts_with('{'))
            continue;
        ++taken;
        std::string fault;
        EXPECT_TRUE(imageOfText(text, fault) == part) << length;
    }
    // Behind the header, behind the first object, and with one byte more, which is not a frame yet.
    EXPECT_EQ(taken, 4);
}

TEST(OktTextDamage, Export_EveryByteFlipped_IsRefusedOrComesBack)
{
    ReportCatcher const reports;
    StreamBuilder block = pictureFrame(kIdA, {"AQID"});
    ParameterFields parameter;
    parameter.id = kIdB;
    parameter.userName = u"name";
    CByteArray const good = poolImage(HeaderFields(), block.append(parameterFrame(parameter)));
    for (int i = 0; i < good.GetSize(); ++i)
        for (int const flip : {1, 4, 0x80, 0xFF})
        {
            CByteArray image = good;
            image.SetAt(i, static_cast<BYTE>(image.GetAt(i) ^ flip));
            std::string const text = textOfImage(image);
            std::string fault;
            if (text.starts_with('{'))
            {
                EXPECT_TRUE(imageOfText(text, fault) == image) << i;
            }
            else
            {
                EXPECT_TRUE(text.starts_with("byte ")) << text;
            }
        }
}

// --- Hostile texts ---

struct Refused
{
    char const *text;
    char const *fault;
};

constexpr char kHead[] =
    "{\"format\":\"OKTDatabase text\",\"version\":1,\"header\":{\"class\":\"OKTDbPool\",\"version\":6,\"content\":[]},"
    "\n\"objects\":[\n";

TEST(OktTextHostile, Import_WrongDocument_TellsWhere)
{
    Refused const rows[] = {
        {"", ": the text is empty"},
        {"{", "1:2: no JSON: while parsing object key - unexpected end of input; expected string literal"},
        {"[]", "1:1: no list belongs here"},
        {"1", "1:1: the text is no object"},
        {"null", "1:4: the text is no object"},
        {"{}", "1:1: this is no text of a pool: \"format\" is not \"OKTDatabase text\""},
        {"{\"format\":1}", "1:1: this is no text of a pool: \"format\" is not \"OKTDatabase text\""},
        {"\n {\"format\":\"OKTDatabase text\"}", "2:2: this text is of a version that is not known: \"version\" is not 1"},
        {"{\"format\":\"OKTDatabase text\",\"version\":2}",
         "1:1: this text is of a version that is not known: \"version\" is not 1"},
        {"{\"format\":\"OKTDatabase text\",\"version\":1}",
         "1:1: this is no text of a pool: it has not both \"header\" and \"objects\""},
        {"{\"format\":\"OKTDatabase text\",\"version\":1,\"content\":[]}",
         "1:1: this is no text of a pool: it has no \"header\""},
        {"{\"format\":\"OKTDatabase text\",\"version\":1,\"objects\":[]}",
         "1:1: this is no text of a pool: it has not both \"header\" and \"objects\""},
        {"{\"header\":1}", "1:11: \"header\": an object is wanted here"},
        {"{\"header\":[]}", "1:11: no list belongs here"},
        {"{\"header\":{}}", "1:11: \"header\" is no frame: it has no \"class\""},
        {"{\"header\":{\"section\":1,\"content\":[]}}", "1:11: \"header\" is no frame: it has no \"class\""},
        {"{\"header\":{\"class\":\"A\",\"version\":1,\"content\":[]},\n\"header\":", "2:8: \"header\" stands here twice"},
        {"{\"format\":\"\",\"format\":", "1:21: \"format\" stands here twice"},
        {"{\"objects\":[],\"objects\":", "1:23: \"objects\" stands here twice"},
        {"{\"objects\":{}}", "1:12: no object belongs here"},
        {"{\"objects\":1}", "1:12: \"objects\": a list is wanted here"},
        {"{\"Format\":1}", "1:9: \"Format\" is not known here"},
        {"{\"long\":1}", "1:7: \"long\" is not known here"},
        {"{\"headerSize\":[]}", "1:15: no list belongs here"},
        {"{\"format\":{}}", "1:11: no object belongs here"},
        {"{\"version\":1e999}", "1:16: no JSON: number overflow parsing '1e999'"},
        {"{\"format\":\"\\uD800\"}",
         "1:18: no JSON: while parsing value - invalid string: surrogate U+D800..U+DBFF must be followed by "
         "U+DC00..U+DFFF; last read: '\"\\uD800\"'"},
        {"{\"format\":\"\xFF\"}",
         "1:12: no JSON: while parsing value - invalid string: ill-formed UTF-8 byte; last read: '\"?'"},
        {"{\"format\":01}", "1:12: no JSON: while parsing object - unexpected number literal; expected '}'"},
        {"{\"format\":\"OKTDatabase "
         "text\",\"version\":1,\"headerSize\":2147483648,\"header\":{\"class\":\"A\",\"version\":1,\"content\":[]},"
         "\"objects\":[]}",
         "1:1: \"headerSize\" is no whole number from -2147483648 to 2147483647"},
        {"{\"format\":\"OKTDatabase "
         "text\",\"version\":1,\"header\":{\"class\":\"A\",\"version\":1,\"content\":[]},\"objects\":[]}",
         ": the text gives no pool file, at byte 5 of which: this is no pool file: the header is a frame of the class \"A\""},
    };
    for (Refused const &row : rows)
    {
        std::string fault;
        EXPECT_TRUE(imageOfText(row.text, fault).IsEmpty()) << row.text;
        EXPECT_EQ(fault, row.fault) << row.text;
    }
}

TEST(OktTextHostile, Import_WrongRecord_TellsWhere)
{
    Refused const rows[] = {
        {"1", "3:1: only objects belong into this list"},
        {"[]", "3:1: no list belongs here"},
        {"{}", "3:1: this entry has no value"},
        {"{\"name\":\"n\"}", "3:1: this entry has no value"},
        {"{\"name\":1,\"long\":1}", "3:1: \"name\" is no text"},
        {"{\"long\":1,\"long\":2}", "3:16: \"long\" stands here twice"},
        {"{\"long\":1,\"short\":2}", "3:1: \"short\" does not belong here"},
        {"{\"long\":1,\"content\":[]}", "3:1: \"content\" without \"class\" or \"section\""},
        {"{\"header\":1}", "3:9: \"header\" is not known here"},
        {"{\"class\":\"A\",\"version\":1}", "3:1: \"content\" is missing"},
        {"{\"class\":\"A\",\"content\":[]}", "3:1: \"version\" is missing"},
        {"{\"class\":1,\"version\":1,\"content\":[]}", "3:1: \"class\" is no text"},
        {"{\"class\":\"ł\",\"version\":1,\"content\":[]}", "3:1: \"class\" has a character that Windows-1252 lacks"},
        {"{\"class\":\"A\",\"version\":1,\"content\":[],\"section\":1}", "3:1: \"section\" does not belong here"},
        {"{\"class\":\"A\",\"version\":1,\"content\":1}", "3:36: \"content\": a list is wanted here"},
        {"{\"class\":\"A\",\"version\":1,\"content\":{}}", "3:1: \"content\": no object belongs here"},
        {"{\"class\":\"A\",\"version\":1,\"content\":[],\"content\":[]}", "3:47: \"content\" stands here twice"},
        {"{\"section\":1}", "3:1: \"content\" is missing"},
        {"{\"section\":\"1\",\"content\":[]}", "3:1: \"section\" is no whole number from -2147483648 to 2147483647"},
        {"{\"bool\":null}", "3:1: \"bool\" is neither true nor false nor a number from 0 to 255"},
        {"{\"bool\":256}", "3:1: \"bool\" is neither true nor false nor a number from 0 to 255"},
        {"{\"short\":32768}", "3:1: \"short\" is no whole number from -32768 to 32767"},
        {"{\"short\":-32769}", "3:1: \"short\" is no whole number from -32768 to 32767"},
        {"{\"long\":1.5}", "3:1: \"long\" is no whole number from -2147483648 to 2147483647"},
        {"{\"long\":1e300}", "3:1: \"long\" is no whole number from -2147483648 to 2147483647"},
        {"{\"long\":99999999999999999999999}", "3:1: \"long\" is no whole number from -2147483648 to 2147483647"},
        {"{\"long\":18446744073709551615}", "3:1: \"long\" is no whole number from -2147483648 to 2147483647"},
        {"{\"long\":\"position\"}", "3:1: \"long\" is no whole number from -2147483648 to 2147483647"},
        {"{\"long\":[1]}", "3:1: \"long\": no list belongs here"},
        {"{\"long\":{}}", "3:1: \"long\": no object belongs here"},
        {"{\"double\":true}",
         "3:1: \"double\" is no number, and neither \"infinity\", \"-infinity\", \"-0\" nor \"nan:\" with 16 digits"},
        {"{\"double\":\"1\"}",
         "3:1: \"double\" is no number, and neither \"infinity\", \"-infinity\", \"-0\" nor \"nan:\" with 16 digits"},
        {"{\"string16\":1}", "3:1: \"string16\" is no text"},
        {"{\"string16-escaped\":\"\\\\x\"}",
         "3:1: \"string16-escaped\" has a backslash that is followed neither by u and four digits nor by another one"},
        {"{\"string8\":\"ł\"}", "3:1: \"string8\" has a character that Windows-1252 lacks"},
        {"{\"bytes\":\"A\"}", "3:1: \"bytes\" is no base64"},
        {"{\"bytes\":[1]}", "3:1: \"bytes\": no list belongs here"},
        {"{\"picture\":\"AA\"}", "3:1: \"picture\" is no base64"},
        {"{\"raw\":7}", "3:1: \"raw\" is no base64"},
        {"{\"id\":\"{}\"}", "3:1: \"id\" is no id such as \"{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}\""},
        {"{\"id\":null}", "3:1: \"id\" is no id such as \"{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}\""},
        {"{\"ids\":\"x\"}", "3:1: \"ids\" is no list"},
        {"{\"ids\":[1]}", "3:1: \"ids\" is no id such as \"{56069AD3-841A-4FC4-B6D9-6A2ABEC4A0D8}\""},
        {"{\"ids\":[[]]}", "3:1: \"ids\": no list belongs here"},
        {"{\"ids\":[{}]}", "3:1: \"ids\": no object belongs here"},
        {"{\"point\":[1,2]}", "3:1: \"point\" is no list of three numbers"},
        {"{\"point\":[1,2,3,4]}", "3:1: \"point\" is no list of three numbers"},
        {"{\"point\":1}", "3:1: \"point\" is no list of three numbers"},
        {"{\"point\":[1,2,\"x\"]}",
         "3:1: \"point\" is no number, and neither \"infinity\", \"-infinity\", \"-0\" nor \"nan:\" with 16 digits"},
        {"{\"variant\":\"VT_I5\"}", "3:1: \"variant\": \"VT_I5\" is no kind that has a name"},
        {"{\"variant\":\"\"}", "3:1: \"variant\": \"\" is no kind that has a name"},
        {"{\"variant\":true}", "3:1: \"variant\" is no whole number from -2147483648 to 2147483647"},
        {"{\"variant\":3,\"long\":1,\"short\":1}", "3:1: \"short\" does not belong here"},
        {"{\"variant\":3,\"id\":\"\"}", "3:1: \"id\" is no value of a variant"},
        {"{\"variant\":3,\"content\":[]}", "3:1: \"content\" without \"class\" or \"section\""},
        {"{\"raw\":\"BwYF\"}",
         ": the text gives no pool file, at byte 27 of which: the file ends inside an object that begins at byte 25"},
        {"{\"long\":1},", "3:14: no JSON: while parsing value - unexpected ']'; expected '[', '{', or a literal"},
    };
    for (Refused const &row : rows)
    {
        std::string fault;
        EXPECT_TRUE(imageOfText(std::string(kHead) + row.text + "\n]}", fault).IsEmpty()) << row.text;
        // The end of the list is a line further.
        EXPECT_EQ(fault, std::string(row.text) == "{\"long\":1}," ? "4:1" + std::string(row.fault).substr(4) : row.fault)
            << row.text;
    }
}

TEST(OktTextHostile, Import_CutAtEveryLength_IsRefused)
{
    std::string const text = textOfImage(contentsOf(CString(OKT_TEST_DATA_DIR "/golden/every-class.okt")));
    for (std::size_t length = 0; length + 2 < text.size(); length += 7)
    {
        std::string fault;
        EXPECT_TRUE(imageOfText(text.substr(0, length), fault).IsEmpty());
        EXPECT_NE(fault, "") << length;
    }
}

TEST(OktTextHostile, Import_Nesting_EndsAtTheLimit)
{
    for (char const *const opening : {"{\"class\":\"A\",\"version\":1,\"content\":[", "{\"section\":1,\"content\":["})
    {
        std::string text = kHead;
        for (int i = 0; i < 1000000; ++i)
            text += opening;
        std::string fault;
        EXPECT_TRUE(imageOfText(text, fault).IsEmpty());
        EXPECT_THAT(fault, testing::EndsWith("frames and sections stand deeper than 64 in each other"));
    }
    for (char const *const opening : {"[", "{\"ids\":[[", "{\"x\":"})
    {
        std::string text = kHead;
        for (int i = 0; i < 1000000; ++i)
            text += opening;
        std::string fault;
        EXPECT_TRUE(imageOfText(text, fault).IsEmpty());
        EXPECT_NE(fault, "");
    }
}

TEST(OktTextHostile, Import_TextsThatAreTooLong_AreRefused)
{
    std::string const longText(65536, 'x');
    for (char const *const key : {"string16", "string16-escaped", "string8"})
    {
        std::string fault;
        EXPECT_TRUE(imageOfText(kHead + ("{\"" + std::string(key)) + "\":\"" + longText + "\"}]}", fault).IsEmpty());
        EXPECT_EQ(fault, "3:1: \"" + std::string(key) + "\" is longer than 65535 units");
    }
}

TEST(OktTextHostile, Import_OtherNotationOfTheSame_IsTaken)
{
    // Without names, in one line, keys in the order of the alphabet, objects ahead of the header, a byte order mark.
    std::string const text =
        "\xEF\xBB\xBF{\"format\":\"OKTDatabase text\",\"objects\":[{\"class\":\"OKTDbRelation\",\"content\":[{\"class\":"
        "\"OKTDbObject\",\"content\":[{\"content\":[{\"id\":\"{0a000000-0000-0000-0000-000000000000}\"}],\"section\":1}],"
        "\"version\":1},{\"content\":[],\"section\":1}],\"version\":1e0}],\"header\":{\"class\":\"OKTDbPool\",\"content\":"
        "[{\"content\":[{\"id\":\"{0A000000-0000-0000-0000-000000000000}\"},{\"long\":\"position\"},{\"variant\":3,"
        "\"long\":\"size\"}],\"section\":1}],\"version\":6.0},\"version\":1}";
    std::string fault;
    CByteArray const image = imageOfText(text, fault);
    EXPECT_EQ(fault, "");
    StreamBuilder header;
    header.beginClass("OKTDbPool", 6)
        .beginMembers(1)
        .id(kIdA)
        .integer(0)
        .variantInteger(relationFrame(kIdA).size())
        .endMembers()
        .endClass();
    StreamBuilder expected;
    expected.integer(header.size()).append(header).append(relationFrame(kIdA));
    EXPECT_TRUE(image == expected.bytes());
}

} // namespace
