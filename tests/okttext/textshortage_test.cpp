// SPDX-License-Identifier: MIT
#include "support/allclasses.h"
#include "support/bytetext.h"
#include "support/shortage.h"

#include <okttext/okttextpool.h>

#include <gtest/gtest.h>

#include <new>
#include <sstream>
#include <string>
#include <string_view>

// Memory that runs out while a pool of all classes is turned into text and back: std::bad_alloc, or the text that is written with
// memory, and the whole image. A sound image or text is never called a damaged one.

namespace
{
constexpr std::size_t kMost = 40;

std::string exported(CByteArray const &image)
{
    std::string text;
    OKTTextFault fault;
    EXPECT_TRUE(OktExportText(
        image, [&](std::string_view piece) { text += piece; }, fault))
        << fault.reason;
    return text;
}

/// What came of a call.
enum class Came
{
    Done,
    Refused, ///< by std::bad_alloc
    Damaged
};
} // namespace

TEST(ShortageText, Export_FaultsAllOver_BadAllocOrTheSameText)
{
    AllClassesPool source(PoolSize::Small);
    std::string const whole = exported(source.image());
    std::string text;
    std::string reason;
    Came came = Came::Done;
    forEveryFault({
        .name = "OktExportText",
        .prepare = [&] { std::string().swap(text); },
        .perform =
            [&] {
                OKTTextFault fault;
                try
                {
                    bool const isDone = OktExportText(
                        source.image(), [&](std::string_view piece) { text += piece; }, fault);
                    came = isDone ? Came::Done : Came::Damaged;
                    reason = std::move(fault.reason);
                }
                catch (std::bad_alloc const &)
                {
                    came = Came::Refused;
                }
            },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            if (came == Came::Done && text != whole)
                wrong = "true, and another text";
            else if (came == Came::Damaged)
                wrong = "a sound image is called damaged: " + reason;
            else if (came == Came::Refused && !struck)
                wrong = "refused without cause";
            std::string().swap(text);
            std::string().swap(reason);
            return wrong.empty() && exported(source.image()) != whole ? "with memory back, another text is written" : wrong;
        },
        .most = kMost,
    });
}

TEST(ShortageText, Import_FaultsAllOver_BadAllocOrTheWholeImage)
{
    AllClassesPool source(PoolSize::Small);
    std::string const text = exported(source.image());
    std::istringstream stream(text);
    CByteArray image;
    std::string reason;
    Came came = Came::Done;
    forEveryFault({
        .name = "OktImportText",
        .prepare =
            [&] {
                stream.clear();
                stream.seekg(0);
            },
        .perform =
            [&] {
                OKTTextFault fault;
                try
                {
                    came = OktImportText(stream, image, fault) ? Came::Done : Came::Damaged;
                    reason = std::move(fault.reason);
                }
                catch (std::bad_alloc const &)
                {
                    came = Came::Refused;
                }
            },
        .judge = [&](bool struck) -> std::string {
            std::string wrong;
            if (came == Came::Done && textOf(image) != textOf(source.image()))
                wrong = "true, and the image is not whole";
            else if (came == Came::Damaged)
                wrong = "a sound text is called damaged: " + reason;
            else if (came == Came::Refused && !struck)
                wrong = "refused without cause";
            image = CByteArray();
            std::string().swap(reason);
            return wrong;
        },
        .most = kMost,
    });
}
