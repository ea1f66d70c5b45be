// SPDX-License-Identifier: MIT
#include "support/bytetext.h"

#include <oktformat/imageformat.h>

#include <gtest/gtest.h>

#include <string>

using namespace okt;

namespace
{

using namespace std::string_literals;

std::string zeros(std::size_t count) { return std::string(count, '\0'); }

struct FormatRow
{
    char const *what;
    std::string bytes;
    char const *text;
};

class OktImageFormat : public testing::TestWithParam<FormatRow>
{
};

TEST_P(OktImageFormat, FormatOf_Signature_NameAndSize)
{
    EXPECT_EQ(formatOf(bytesOf(GetParam().bytes)).text(), GetParam().text) << GetParam().what;
}

// However short an image is, nothing behind it is looked at (the sanitizers see to that), and its size is not made up.
TEST_P(OktImageFormat, FormatOf_EveryPrefix_NoSizeThatIsNotThere)
{
    std::string const &whole = GetParam().bytes;
    ImageFormat const full = formatOf(bytesOf(whole));
    for (std::size_t length = 0; length < whole.size(); ++length)
    {
        ImageFormat const format = formatOf(bytesOf(whole.substr(0, length)));
        EXPECT_TRUE(format.width == 0 || format.width == full.width) << length;
        EXPECT_TRUE(format.height == 0 || format.height == full.height) << length;
        EXPECT_TRUE(length >= 2 || format.name.empty()) << length;
    }
}

INSTANTIATE_TEST_SUITE_P(
    Formats, OktImageFormat,
    testing::Values(
        FormatRow{"PNG", "\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\x03\x20\0\0\x02\x58\x08\x02"s, "PNG, 800 x 600 pixels"},
        FormatRow{"PNG without its head", "\x89PNG\r\n\x1A\n\0\0\0\rIDAT\0\0\x03\x20\0\0\x02\x58"s, "PNG"},
        FormatRow{"PNG beyond 31 bits", "\x89PNG\r\n\x1A\n\0\0\0\rIHDR\x80\0\0\0\0\0\0\x01"s, "PNG"},
        FormatRow{"JPEG", "\xFF\xD8\xFF\xE0\0\x04JF\xFF\xFF\xC4\0\x03x\xFF\xC0\0\x11\x08\x01\x02\x03\x04\x03"s,
                  "JPEG, 772 x 258 pixels"},
        FormatRow{"progressive JPEG", "\xFF\xD8\xFF\xC2\0\x11\x08\0\x10\0\x20\x03"s, "JPEG, 32 x 16 pixels"},
        FormatRow{"JPEG with a wrong segment", "\xFF\xD8\xFF\xE0\0\0\xFF\xC0\0\x11\x08\0\x10\0\x20"s, "JPEG, 32 x 16 pixels"},
        FormatRow{"JPEG without a frame", "\xFF\xD8\xFF\xE0\0\x04JF garbage"s, "JPEG"},
        FormatRow{"GIF", "GIF89a\x20\x01\x10\0"s, "GIF, 288 x 16 pixels"},
        FormatRow{"older GIF", "GIF87a\x01\0\x02\0"s, "GIF, 1 x 2 pixels"},
        FormatRow{"BMP", "BM"s + zeros(12) + "\x28\0\0\0\x0A\0\0\0\xFB\xFF\xFF\xFF"s, "BMP, 10 x 5 pixels"},
        FormatRow{"BMP of the first form", "BM"s + zeros(12) + "\x0C\0\0\0\x0A\0\x05\0\x01\0\x18\0"s, "BMP, 10 x 5 pixels"},
        FormatRow{"BMP of no width", "BM"s + zeros(12) + "\x28\0\0\0\0\0\0\0\x05\0\0\0"s, "BMP"},
        FormatRow{"TIFF, low bytes first", "II*\0\x08\0\0\0"s, "TIFF"},
        FormatRow{"TIFF, high bytes first", "MM\0*\0\0\0\x08"s, "TIFF"}, FormatRow{"WebP", "RIFF\x10\0\0\0WEBPVP8 "s, "WebP"},
        FormatRow{"sound", "RIFF\x10\0\0\0WAVEfmt "s, "no known format"}, FormatRow{"ICO", "\0\0\x01\0\x01\0\x10\x10"s, "ICO"},
        FormatRow{"WMF with a head for placing", "\xD7\xCD\xC6\x9A\0\0"s, "WMF"},
        FormatRow{"WMF", "\x01\0\x09\0\0\x03"s, "WMF"}, FormatRow{"WMF of a file", "\x02\0\x09\0\0\x03"s, "WMF"},
        FormatRow{"EMF", "\x01\0\0\0"s + zeros(36) + " EMF"s, "EMF"}, FormatRow{"PDF", "%PDF-1.7\n"s, "PDF"},
        FormatRow{"SVG", "<svg xmlns=\"http://www.w3.org/2000/svg\"/>"s, "SVG"},
        FormatRow{"SVG with all that may stand ahead", "\xEF\xBB\xBF\n <?xml version=\"1.0\"?>\n<!-- x -->\n<svg>"s, "SVG"},
        FormatRow{"other XML", "<?xml version=\"1.0\"?><html/>"s, "no known format"},
        FormatRow{"text", "BMW and the others, in one line"s, "no known format"},
        FormatRow{"zeros", zeros(64), "no known format"}, FormatRow{"nothing", ""s, "no known format"}));

} // namespace
