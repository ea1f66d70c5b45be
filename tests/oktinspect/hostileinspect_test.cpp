// SPDX-License-Identifier: MIT
// Files that are made to cost as much as they can: what the readers of the inspection hold at once is bounded by what they are given.

#include "support/expectedleak.h"
#include "support/heldperbyte.h"
#include "support/streambuilder.h"

#include <oktinspect/dump.h>
#include <oktinspect/info.h>
#include <oktinspect/list.h>
#include <oktinspect/recover.h>
#include <oktinspect/verifier.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

using namespace okt;

namespace
{
std::string numbered(int number)
{
    char text[40];
    std::snprintf(text, sizeof text, "{%08X-1111-1111-1111-111111111111}", static_cast<unsigned int>(number));
    return text;
}

std::string asText(CByteArray const &bytes)
{
    return {reinterpret_cast<char const *>(bytes.GetData()), static_cast<std::size_t>(bytes.GetSize())};
}

std::string smallObjects(int count)
{
    StreamBuilder objects;
    for (int i = 1; i <= count; ++i)
        objects.append(relationFrame(numbered(i)));
    return asText(poolImage({}, objects));
}

std::string nestedFrames(int count, bool isClosed)
{
    StreamBuilder object;
    object.beginClass("OKTDbRelation").objectBase(numbered(1)).beginMembers(2);
    for (int i = 0; i < count; ++i)
        object.beginClass("X").beginMembers(1);
    for (int i = 0; i < count && isClosed; ++i)
        object.endMembers().endClass();
    return asText(poolImage({}, object));
}

/// Ids that lead nowhere, each of which is a finding.
std::string danglingIds(int count)
{
    std::vector<std::string> ids;
    for (int i = 1; i <= count; ++i)
        ids.push_back(numbered(i));
    return asText(poolImage({}, groupCategoryFrame(numbered(0x7FFFFFFF), ids)));
}

/// Bytes that begin as a frame again and again.
std::string brokenFrames(int count)
{
    std::string file = asText(poolImage({}, relationFrame(numbered(1))));
    for (int i = 0; i < count; ++i)
        file += std::string("\x06\x05\x01\x00X\x02\x01\x00\x00\x00", 10);
    return file;
}

template <typename Read> void expectAll(double multiple, Read read)
{
    for (auto const &[what, file] : {std::pair("small objects", smallObjects(10000)),
                                     {"nested frames", nestedFrames(10000, true)},
                                     {"open frames", nestedFrames(10000, false)},
                                     {"dangling ids", danglingIds(10000)},
                                     {"broken frames", brokenFrames(10000)}})
        expectHeld(what, file.size(), multiple, [&bytes = file, &read] {
            ExpectedLeak const lostObject;
            ByteSource source{std::string_view(bytes)};
            read(source);
        });
}

TEST(HostileInspect, Verify_HeldIsAMultipleOfTheInput)
{
    expectAll(16.0, [](ByteSource &source) {
        VerifyOptions options;
        options.onFinding = [](Finding const &) {};
        verify(source, options);
    });
}

TEST(HostileInspect, Recover_HeldIsAMultipleOfTheInput)
{
    expectAll(16.0, [](ByteSource &source) { recover(source, [](std::string_view) {}); });
}

TEST(HostileInspect, ListInfoAndDump_HeldIsAMultipleOfTheInput)
{
    expectAll(24.0, [](ByteSource &source) {
        list(source, {}, {});
        info(source);
        dump(source, {}, [](DumpEntry const &) {});
    });
}
} // namespace
