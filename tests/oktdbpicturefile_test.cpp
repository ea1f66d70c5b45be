// SPDX-License-Identifier: MIT
// Pictures in files: their text against an independent coder, and large ones with the memory that they take.

#include "support/alloccount.h"
#include "support/printers.h"
#include "support/scratchfolder.h"
#include "support/units.h"

#include <oktdatabase/oktdatabase.h>
#include <oktdatabase/oktsmartansistring.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <random>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <wincrypt.h>
#endif

namespace
{
constexpr int kLarge = 20'000'000;

CByteArray bytesOfSize(int size)
{
    CByteArray bytes;
    bytes.SetSize(size);
    unsigned int state = 12345;
    for (int i = 0; i < size; ++i)
    {
        state = state * 1664525u + 1013904223u;
        bytes[i] = static_cast<BYTE>(state >> 24);
    }
    return bytes;
}

#if defined(_WIN32)

/// The text of a file in base64, as the system makes it.
std::string base64OfFile(CString const &path)
{
    CByteArray const bytes = contentsOf(path);
    constexpr DWORD kForm = CRYPT_STRING_BASE64 | CRYPT_STRING_NOCRLF;
    auto const size = static_cast<DWORD>(bytes.GetSize());
    DWORD length = 0;
    if (size == 0 || !CryptBinaryToStringA(bytes.GetData(), size, kForm, nullptr, &length))
        return {};
    std::string text(length, '\0');
    EXPECT_TRUE(CryptBinaryToStringA(bytes.GetData(), size, kForm, text.data(), &length));
    text.resize(length);
    return text;
}

#else

/// What a program prints.
std::string outputOf(std::string const &command)
{
    std::FILE *const pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
    {
        ADD_FAILURE() << command << " cannot be started";
        return {};
    }
    std::string text;
    char buffer[65536];
    for (std::size_t count = 0; (count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        text.append(buffer, count);
    EXPECT_EQ(pclose(pipe), 0) << command;
    return text;
}

std::string base64OfFile(CString const &path) { return outputOf("base64 -w0 '" + path.ToUtf8() + "'"); }

#endif

class PictureFile : public testing::Test
{
protected:
    OKTDbObjectId write(CByteArray const &image) const
    {
        OKTDbPool pool;
        auto *const picture = new OKTDbPicture;
        picture->setPictureData(image);
        EXPECT_TRUE(pool.appendObject(picture));
        EXPECT_TRUE(pool.writeFile(m_folder.path("pool.okt")));
        return picture->objectId();
    }

    /// The chunks of the picture's text as they stand in the file, which holds nothing else.
    std::vector<std::string> storedChunks() const
    {
        CByteArray const file = contentsOf(m_folder.path("pool.okt"));
        OKTMemoryFiler filer;
        filer.loadFiler(file);
        int headerSize = 0;
        EXPECT_TRUE(filer.readInt(CString(), headerSize));
        OKTDbPool header;
        InfoMap places;
        EXPECT_EQ(header.xmlIn(&filer, places), eFilerOk);
        CString className;
        EXPECT_TRUE(filer.readNextObjectClass(className));
        EXPECT_EQ(className, u"OKTDbPicture");
        EXPECT_TRUE(filer.beginReadClass(u"Object", u"OKTDbPicture"));
        EXPECT_TRUE(filer.beginReadClass(u"Object", u"OKTDbObject"));
        EXPECT_TRUE(filer.endReadClass());
        OKTSmartAnsiString const ansi(&filer, true);
        std::vector<std::string> chunks(1);
        CString text;
        EXPECT_TRUE(filer.beginReadMembers(1));
        EXPECT_TRUE(filer.readString(CString(), text));
        EXPECT_TRUE(filer.endReadMembers());
        chunks[0] = text.ToUtf8();
        EXPECT_TRUE(filer.beginReadMembers(2));
        int count = 0;
        EXPECT_TRUE(filer.readInt(CString(), count));
        for (int i = 0; i < count; ++i)
        {
            EXPECT_TRUE(filer.readString(CString(), text));
            chunks.push_back(text.ToUtf8());
        }
        EXPECT_TRUE(filer.endReadMembers());
        return chunks;
    }

    ScratchFolder m_folder;
};

// Sizes around multiples of 3, and around those where the text fills its chunks of 65535 characters.
TEST_F(PictureFile, WriteFile_AnySize_TextIsThatOfAnotherCoderWithoutPadding)
{
    for (int const size :
         {0, 1, 2, 3, 4, 5, 6, 7, 57, 58, 1000, 49150, 49151, 49152, 49153, 98301, 98302, 98303, 98304, 147453, 147454, 300000})
    {
        SCOPED_TRACE(size);
        CByteArray const image = bytesOfSize(size);
        write(image);
        std::vector<std::string> const chunks = storedChunks();
        std::string text;
        for (std::size_t i = 0; i < chunks.size(); ++i)
        {
            EXPECT_TRUE(i + 1 == chunks.size() ? chunks[i].size() <= 65535 : chunks[i].size() == 65535);
            text += chunks[i];
        }
        std::string expected = base64OfFile(m_folder.put("image", image));
        expected.erase(expected.find_last_not_of('=') + 1);
        EXPECT_EQ(text, expected);
        EXPECT_EQ(chunks.size(), std::max<std::size_t>((expected.size() + 65534) / 65535, 1));

        OKTDbPool pool;
        ASSERT_TRUE(pool.readFile(m_folder.path("pool.okt")));
        CByteArray read;
        OKTDbPicture::cast(pool.picturesId().at(0))->getPictureData(read);
        EXPECT_EQ(read, image);
    }
}

TEST_F(PictureFile, WriteAndReadFile_20Megabytes_SameBytes)
{
    CByteArray const image = bytesOfSize(kLarge);
    write(image);
    for (bool const partial : {false, true})
    {
        OKTDbPool pool;
        ASSERT_TRUE(partial ? pool.readFilePicture(m_folder.path("pool.okt")) : pool.readFile(m_folder.path("pool.okt")));
        CByteArray read;
        OKTDbPicture::cast(pool.picturesId().at(0))->getPictureData(read);
        EXPECT_EQ(read, image);
    }
}

// Beside the picture itself, all that is held at any moment: the image of the file and what the text is made in.
TEST_F(PictureFile, WriteFile_20Megabytes_LessThanFourTimesThatInMemory)
{
    OKTDbPool pool;
    auto *const picture = new OKTDbPicture;
    picture->setPictureData(bytesOfSize(kLarge));
    ASSERT_TRUE(pool.appendObject(picture));
    CString const path = m_folder.path("pool.okt");
    PeakMemory const peak;
    bool const written = pool.writeFile(path);
    std::size_t const bytes = peak.bytes();
    ASSERT_TRUE(written);
    EXPECT_GT(bytes, 1'000'000u);
    EXPECT_LT(bytes, 80'000'000u);
    RecordProperty("peak", std::to_string(bytes));
}

// The picture that is read included.
TEST_F(PictureFile, ReadFile_20Megabytes_LessThanFourTimesThatInMemory)
{
    write(bytesOfSize(kLarge));
    CString const path = m_folder.path("pool.okt");
    for (bool const partial : {false, true})
    {
        OKTDbPool pool;
        PeakMemory const peak;
        bool const read = partial ? pool.readFilePicture(path) : pool.readFile(path);
        std::size_t const bytes = peak.bytes();
        ASSERT_TRUE(read);
        EXPECT_GT(bytes, 20'000'000u);
        EXPECT_LT(bytes, 80'000'000u);
        RecordProperty(partial ? "peak_partial" : "peak_whole", std::to_string(bytes));
    }
}

// A foreign character keeps the rest of the text in memory; the limit holds all the same.
TEST_F(PictureFile, ReadFile_20MegabytesWithAForeignCharacterInFront_LessThanFourTimesThatInMemory)
{
    write(bytesOfSize(kLarge));
    CByteArray file = contentsOf(m_folder.path("pool.okt"));
    std::vector<std::string> const chunks = storedChunks();
    char const *const text = reinterpret_cast<char const *>(file.GetData());
    auto const at = std::search(text, text + file.GetSize(), chunks[0].begin(), chunks[0].end());
    ASSERT_NE(at, text + file.GetSize());
    file[static_cast<int>(at - text)] = '!';
    CString const path = m_folder.put("damaged.okt", file);
    file = CByteArray();
    OKTDbPool pool;
    PeakMemory const peak;
    bool const read = pool.readFile(path);
    std::size_t const bytes = peak.bytes();
    ASSERT_TRUE(read);
    EXPECT_LT(bytes, 80'000'000u);
    CByteArray image;
    OKTDbPicture::cast(pool.picturesId().at(0))->getPictureData(image);
    EXPECT_EQ(image.GetSize(), kLarge - 1);
}

/// A stream of a picture that answers with these texts, zeros included, which no stored text has.
class ChunkFiler : public OKTMemoryFiler
{
public:
    explicit ChunkFiler(std::vector<std::string> const &chunks) : m_chunks(chunks)
    {
        OKTMemoryFiler writer;
        writer.beginWriteClass(u"Object", u"OKTDbPicture", 3);
        OKTDbRelation().OKTDbObject::xmlOut(&writer);
        for (int section = 1; section <= 2; ++section)
        {
            writer.beginWriteMembers(section);
            if (section == 2)
                writer.writeInt(CString(), static_cast<int>(chunks.size()) - 1);
            writer.endWriteMembers();
        }
        writer.endWriteClass();
        loadFiler(writer.takeBytes());
    }

    bool readString(CString const &, CString &value) override
    {
        std::string const &chunk = m_chunks.at(m_next++);
        std::u16string const units(chunk.begin(), chunk.end());
        value = CString(viewOf(units));
        return true;
    }

private:
    std::vector<std::string> m_chunks;
    std::size_t m_next = 0;
};

// The text is decoded chunk by chunk, and must come out as if it were one.
TEST(PictureChunks, XmlIn_RandomTextsCutAnywhere_DataOfTheJoinedText)
{
    std::mt19937 random(4711);
    auto const below = [&random](std::size_t limit) { return random() % limit; };
    for (int turn = 0; turn < 20000; ++turn)
    {
        // From a clean text to one of foreign characters and zeros alone.
        static constexpr char kCharacters[] = "Az09+/AQID!\0=\n";
        std::size_t const variety = turn % 3 == 0 ? 11 : sizeof kCharacters - 1;
        std::string text(below(40), 'x');
        for (char &character : text)
            character = kCharacters[below(turn % 5 == 0 ? 8 : variety)];
        if (turn % 7 == 0 && !text.empty())
            text[below(text.size())] = '\0';
        std::vector<std::string> chunks(1);
        for (char const character : text)
        {
            if (below(4) == 0)
                chunks.emplace_back();
            chunks.back() += character;
        }
        ChunkFiler reader(chunks);
        OKTDbPicture picture;
        ASSERT_EQ(picture.xmlIn(&reader), eFilerOk);
        CByteArray data;
        picture.getPictureData(data);
        int size = static_cast<int>(text.size());
        CByteArray expected;
        expected.SetSize(size);
        base64Decode(text.data(), size, expected.GetData(), &size);
        expected.SetSize(size);
        ASSERT_EQ(data, expected) << testing::PrintToString(chunks);
    }
}

// What is asked for in one thread, by operator new or the C allocator. A block whose address nobody could see may be left out by
// the compiler, hence the volatile pointers.
TEST(PeakMemoryCount, Bytes_BlocksHeldTogether_TheirSum)
{
    PeakMemory const peak;
    {
        std::vector<char> const first(1'000'000), second(500'000);
        char const *const volatile seen[] = {first.data(), second.data()};
        EXPECT_NE(seen[0], seen[1]);
    }
    {
        std::vector<char> const third(1'200'000);
        char const *const volatile seen = third.data();
        EXPECT_NE(seen, nullptr);
    }
    EXPECT_GE(peak.bytes(), 1'500'000u);
    EXPECT_LT(peak.bytes(), 1'600'000u);
    PeakMemory const later;
    EXPECT_LT(later.bytes(), 1000u);
}
} // namespace
