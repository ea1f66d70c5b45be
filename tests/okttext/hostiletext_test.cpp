// SPDX-License-Identifier: MIT
// Texts and images that are made to cost as much as they can: what the text form holds at once is bounded by what it is given.

#include "support/heldperbyte.h"
#include "support/streambuilder.h"

#include <okttext/okttextpool.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

namespace
{
void expectImport(char const *what, std::string const &text, double multiple)
{
    std::istringstream stream(text);
    expectHeld(what, text.size(), multiple, [&] {
        CByteArray image;
        OKTTextFault fault;
        OktImportText(stream, image, fault);
    });
}

/// The text goes out piece by piece.
void expectExport(char const *what, CByteArray const &image, double multiple)
{
    expectHeld(what, static_cast<std::size_t>(image.GetSize()), multiple, [&] {
        OKTTextFault fault;
        OktExportText(
            image, [](std::string_view) {}, fault);
    });
}

std::string const kHead = R"({"format":"OKTDatabase text","version":1,"content":[)";

std::string repeated(std::string const &text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

TEST(HostileText, Import_HeldIsAMultipleOfTheInput)
{
    expectImport("brackets", repeated("[", 100000), 100.0);
    expectImport("members", repeated("{\"a\":", 100000), 100.0);
    expectImport("frames", kHead + repeated(R"({"class":"A","version":1,"content":[)", 10000), 100.0);
    expectImport("values", kHead + repeated("{\"bool\":true},", 50000), 100.0);
    expectImport("short arrays", kHead + repeated("{\"ids\":[]},", 50000), 100.0);
    expectImport("numbers", kHead + R"({"point":[)" + repeated("1,", 200000), 100.0);
    expectImport("one text", kHead + R"({"string16":")" + repeated("x", 1000000) + "\"}]}", 100.0);
    expectImport("one number", kHead + R"({"long":)" + repeated("1", 1000000) + "}]}", 100.0);
    expectImport("escapes", kHead + R"({"string16-escaped":")" + repeated("\\\\uD800", 50000) + "\"}]}", 100.0);
    expectImport("names", kHead + "{" + repeated("\"long\":1,", 50000), 100.0);
}

TEST(HostileText, Export_HeldIsAMultipleOfTheInput)
{
    StreamBuilder nested;
    nested.beginClass("OKTDbRelation").beginMembers(1);
    for (int i = 0; i < 10000; ++i)
        nested.beginClass("X").beginMembers(1);
    for (int i = 0; i < 10000; ++i)
        nested.endMembers().endClass();
    expectExport("nested frames", poolImage({}, nested.endMembers().endClass()), 128.0);
    StreamBuilder flags;
    flags.beginClass("OKTDbRelation").beginMembers(1);
    for (int i = 0; i < 100000; ++i)
        flags.boolean(1);
    expectExport("bools", poolImage({}, flags.endMembers().endClass()), 128.0);
    StreamBuilder texts;
    texts.beginClass("OKTDbPicture", 3).beginMembers(1);
    for (int i = 0; i < 20; ++i)
        texts.ansiText(std::string(65535, 'A'));
    expectExport("texts", poolImage({}, texts.endMembers().endClass()), 128.0);
}
} // namespace
