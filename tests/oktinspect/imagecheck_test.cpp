// SPDX-License-Identifier: MIT
#include "support/bytetext.h"
#include "support/tinypng.h"

#include <oktinspect/imagecheck.h>

#include <gtest/gtest.h>

#include <string>

using namespace okt;

namespace
{

using namespace std::string_literals;

/// State, format, place and fault in one line.
std::string said(std::string const &image)
{
    ImageCheck const check = checkImage(bytesOf(image));
    char const *const states[] = {"whole", "odd", "damaged", "not judged"};
    std::string text = states[static_cast<int>(check.state)];
    if (!check.format.empty())
        text += " " + check.format;
    if (!check.fault.empty())
        text += " at " + std::to_string(check.at) + ": " + check.fault;
    return text;
}

std::string high32(std::uint32_t value)
{
    return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
            static_cast<char>(value)};
}

/// A chunk of a PNG, with its check sum bit by bit.
std::string chunk(std::string const &type, std::string const &data)
{
    std::uint32_t crc = 0xFFFFFFFF;
    for (char const byte : type + data)
    {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320U & (0U - (crc & 1U)));
    }
    return high32(static_cast<std::uint32_t>(data.size())) + type + data + high32(~crc);
}

std::string const kSignature = "\x89PNG\r\n\x1A\n"s;
std::string const kHead = chunk("IHDR", "\0\0\0\x01\0\0\0\x01\x08\x06\0\0\0"s);
std::string const kPixels = chunk("IDAT", "xxxxxxxxxx");
std::string const kEnd = "\0\0\0\0IEND\xAE\x42\x60\x82"s;

std::string replaced(std::string bytes, std::size_t at, char byte)
{
    bytes[at] = byte;
    return bytes;
}

TEST(OktImageCheck, Png_Whole)
{
    EXPECT_EQ(said(kTinyPng), "whole PNG");
    EXPECT_EQ(said(kSignature + kHead + chunk("tEXt", "a") + kPixels + kPixels + chunk("tIME", "b") + kEnd), "whole PNG");
    EXPECT_EQ(said(kSignature + chunk("IHDR", "\0\0\0\x01\0\0\0\x01\x04\x03\0\0\x01"s) + chunk("PLTE", "abc") + kPixels + kEnd),
              "whole PNG");
}

TEST(OktImageCheck, Png_EveryByteChanged_Damaged)
{
    for (std::size_t at = 0; at < kTinyPng.size(); ++at)
        for (int bit = 0; bit < 8; ++bit)
            EXPECT_EQ(said(replaced(kTinyPng, at, static_cast<char>(kTinyPng[at] ^ (1 << bit)))).substr(0, 12), "damaged PNG ")
                << at << ' ' << bit;
}

TEST(OktImageCheck, Png_EveryCut_DamagedAtItsEnd)
{
    for (std::size_t size = 16; size < kTinyPng.size(); ++size)
    {
        std::string const text = said(kTinyPng.substr(0, size));
        EXPECT_TRUE(text.starts_with("damaged PNG at " + std::to_string(size) + ": it ends ")) << text;
    }
}

TEST(OktImageCheck, Png_EveryFault)
{
    EXPECT_EQ(said(replaced(kTinyPng, 1, 'p')), "damaged PNG at 0: its signature is damaged");
    EXPECT_EQ(said(replaced(kTinyPng, 45, 'x')), "damaged PNG at 33: the check sum of its chunk IDAT is not that of its bytes");
    EXPECT_EQ(said(replaced(kTinyPng, 38, '1')), "damaged PNG at 33: the name of a chunk has characters that are no letters");
    EXPECT_EQ(said(replaced(kTinyPng, 35, 1)), "damaged PNG at 70: it ends inside its chunk IDAT");
    EXPECT_EQ(said(kSignature + kHead + kPixels), "damaged PNG at 55: it ends without its last chunk");
    EXPECT_EQ(said(kSignature + kPixels + kEnd), "damaged PNG at 8: its first chunk is no IHDR");
    EXPECT_EQ(said(kSignature + kHead + kHead + kPixels + kEnd), "damaged PNG at 33: a second IHDR");
    EXPECT_EQ(said(kSignature + chunk("IHDR", "\0\0\0\x01"s) + kPixels + kEnd), "damaged PNG at 8: its IHDR has 4 bytes");
    EXPECT_EQ(said(kSignature + chunk("IHDR", "\0\0\0\0\0\0\0\x01\x08\x06\0\0\0"s) + kPixels + kEnd),
              "damaged PNG at 16: its width or height is none");
    EXPECT_EQ(said(kSignature + chunk("IHDR", "\0\0\0\x01\0\0\0\x01\x07\x06\0\0\0"s) + kPixels + kEnd),
              "damaged PNG at 24: its kind of pixels is none");
    EXPECT_EQ(said(kSignature + kHead + kPixels + chunk("tEXt", "a") + kPixels + kEnd),
              "damaged PNG at 68: a chunk stands between its chunks IDAT");
    EXPECT_EQ(said(kSignature + chunk("IHDR", "\0\0\0\x01\0\0\0\x01\x08\x03\0\0\0"s) + kPixels + kEnd),
              "damaged PNG at 33: its palette is missing");
    EXPECT_EQ(said(kSignature + kHead + kEnd), "damaged PNG at 33: it has no IDAT");
    EXPECT_EQ(said(kSignature + kHead + kPixels + chunk("IEND", "a")), "damaged PNG at 55: its IEND has bytes");
    EXPECT_EQ(said(kTinyPng + "x"), "odd PNG at 70: 1 byte behind its end");
    EXPECT_EQ(said(kTinyPng + kTinyPng), "odd PNG at 70: 70 bytes behind its end");
}

// A JPEG in its segments: quantities, head, codes, restart interval, pixels.
std::string const kJfif = "\xFF\xE0\0\x10JFIF\0\x01\x01\0\0\x01\0\x01\0\0"s;
std::string const kTable = "\xFF\xDB\0\x43\0"s + std::string(64, '\x01');
std::string const kFrame = "\xFF\xC0\0\x0B\x08\0\x10\0\x20\x01\x01\x11\0"s;
std::string const kCodes = "\xFF\xC4\0\x14\0\x01"s + std::string(15, '\0') + "\x05"s;
std::string const kScan = "\xFF\xDA\0\x08\x01\x01\0\0\x3F\0"s;

std::string jpeg(std::string const &pixels, std::string const &restarts = "")
{
    return "\xFF\xD8"s + kJfif + kTable + kFrame + kCodes + restarts + kScan + pixels + "\xFF\xD9"s;
}

TEST(OktImageCheck, Jpeg_Whole)
{
    EXPECT_EQ(said(jpeg("abc\xFF\0d"s)), "whole JPEG");
    EXPECT_EQ(said(jpeg("abc\xFF\xD0"s + "d\xFF\xD1"s + "e", "\xFF\xDD\0\x04\0\x01"s)), "whole JPEG");
    EXPECT_EQ(said(jpeg("abc"s + kCodes + kScan + "def")), "whole JPEG"); // of several passes
    EXPECT_EQ(said(jpeg("abc\xFF"s)), "whole JPEG");                      // a filling in front of the end mark
}

TEST(OktImageCheck, Jpeg_EveryFault)
{
    std::string const whole = jpeg("abc");
    std::string const size = std::to_string(whole.size());
    EXPECT_EQ(said(replaced(whole, 0, 'x')), "damaged JPEG at 0: its signature is damaged");
    EXPECT_EQ(said(whole.substr(0, whole.size() - 2)),
              "damaged JPEG at " + std::to_string(whole.size() - 2) + ": it ends without its end mark");
    EXPECT_EQ(said(whole.substr(0, whole.size() - 1)),
              "damaged JPEG at " + std::to_string(whole.size() - 1) + ": it ends without its end mark");
    EXPECT_EQ(said(whole.substr(0, 30)), "damaged JPEG at 30: it ends inside a segment");
    EXPECT_EQ(said("\xFF\xD8"s + kJfif + "\xFF\xD9"s), "damaged JPEG at 20: it has no pixels");
    EXPECT_EQ(said("\xFF\xD8"s + kJfif + kScan + "\xFF\xD9"s), "damaged JPEG at 20: its pixels stand in front of its head");
    EXPECT_EQ(said("\xFF\xD8"s + kJfif + kFrame + kFrame + kScan + "\xFF\xD9"s), "damaged JPEG at 33: a second head");
    EXPECT_EQ(said("\xFF\xD8"s + kJfif + "\xFF\xC0\0\x0B\x08\0\x10\0\0\x01\x01\x11\0"s + kScan + "\xFF\xD9"s),
              "damaged JPEG at 20: its width is none");
    EXPECT_EQ(said("\xFF\xD8"s + kJfif + "x" + kScan), "damaged JPEG at 20: a segment is due where none begins");
    EXPECT_EQ(said("\xFF\xD8"s + kJfif + "\xFF\x02\0\x02"s), "damaged JPEG at 20: a segment has a mark that is none");
    for (std::size_t const part : {kTable.size(), kFrame.size(), kCodes.size(), kScan.size()})
    {
        std::string broken = part == kTable.size()   ? kTable
                             : part == kFrame.size() ? kFrame
                             : part == kCodes.size() ? kCodes
                                                     : kScan;
        broken[3] = static_cast<char>(broken[3] - 1);
        EXPECT_EQ(said("\xFF\xD8"s + kJfif + broken + kFrame + kScan + "abc\xFF\xD9"s),
                  "damaged JPEG at 20: the length of a segment is not that of what is in it");
    }
    EXPECT_EQ(said(jpeg("abc\xFF\xD0"s)), "damaged JPEG at 137: a restart mark that is not due");
    EXPECT_EQ(said(jpeg("abc\xFF\xD1"s, "\xFF\xDD\0\x04\0\x01"s)), "damaged JPEG at 143: a restart mark that is not due");
    EXPECT_EQ(said(whole + "xy"), "odd JPEG at " + size + ": 2 bytes behind its end");
}

std::string const kGifHead = "GIF89a\x01\0\x01\0\x80\0\0\0\0\0\xFF\xFF\xFF"s;
std::string const kGifImage = ",\0\0\0\0\x01\0\x01\0\0\x02\x02\x44\x01\0"s;

TEST(OktImageCheck, Gif_EveryFault)
{
    std::string const whole = kGifHead + "!\xF9\x04\0\0\0\0\0"s + kGifImage + ";";
    EXPECT_EQ(said(whole), "whole GIF");
    EXPECT_EQ(said(whole + ";"), "odd GIF at " + std::to_string(whole.size()) + ": 1 byte behind its end");
    EXPECT_EQ(said(whole.substr(0, whole.size() - 1)), "damaged GIF at 42: it ends without its end mark");
    EXPECT_EQ(said(whole.substr(0, 40)), "damaged GIF at 40: it ends inside a block");
    EXPECT_EQ(said(whole.substr(0, 16)), "damaged GIF at 16: it ends inside its table of colours");
    EXPECT_EQ(said(whole.substr(0, 12)), "damaged GIF at 12: it ends inside its head");
    EXPECT_EQ(said(kGifHead + ";"), "damaged GIF at 19: it has no pixels");
    EXPECT_EQ(said(kGifHead + "x"), "damaged GIF at 19: a block is due where none begins");
    EXPECT_EQ(said(replaced(kGifHead + kGifImage, 29, '\x09')),
              "damaged GIF at 29: its pixels have a size of code that is none");
}

std::string bmp(char size, char pixels, char width = 1)
{
    return "BM"s + size + "\0\0\0\0\0\0\0"s + pixels + "\0\0\0\x28\0\0\0"s + width +
           "\0\0\0\xFF\xFF\xFF\xFF\x01\0\x18\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"s + "abcd";
}

TEST(OktImageCheck, Bmp_EveryFault)
{
    EXPECT_EQ(bmp(58, 54).size(), 58u);
    EXPECT_EQ(said(bmp(58, 54)), "whole BMP");
    EXPECT_EQ(said(bmp(58, 54) + "x"), "odd BMP at 58: 1 byte behind its end");
    EXPECT_EQ(said(bmp(59, 54)), "damaged BMP at 2: it has 58 bytes, by its head 59");
    EXPECT_EQ(said(bmp(57, 54)), "damaged BMP at 2: its head says that it has 57 bytes, its pixels end behind 58 bytes");
    EXPECT_EQ(said(bmp(58, 55)), "damaged BMP at 10: its pixels are not inside of it");
    EXPECT_EQ(said(bmp(58, 12)), "damaged BMP at 10: its pixels are not inside of it");
    EXPECT_EQ(said(bmp(58, 54, 0)), "damaged BMP at 18: its width or height is none");
    EXPECT_EQ(said(bmp(40, 54).substr(0, 40)), "damaged BMP at 40: it ends inside its head");
}

TEST(OktImageCheck, OtherFormats_NothingIsClaimed)
{
    EXPECT_EQ(said(""), "whole");
    EXPECT_EQ(said("any bytes"), "not judged");
    EXPECT_EQ(said("II*\0\x08\0\0\0"s), "not judged TIFF");
    EXPECT_EQ(said("%PDF-1.7\n"), "not judged PDF");
}

/// However an image is cut, nothing behind it is looked at: the sanitizers see to that.
TEST(OktImageCheck, EveryPrefix_NotWhole)
{
    for (std::string const &whole : {kTinyPng, jpeg("abc\xFF\0d"s), kGifHead + kGifImage + ";", bmp(58, 54)})
        for (std::size_t size = 1; size < whole.size(); ++size)
            EXPECT_FALSE(said(whole.substr(0, size)).starts_with("whole")) << size;
}

} // namespace
