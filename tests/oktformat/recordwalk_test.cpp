// SPDX-License-Identifier: MIT
#include <oktformat/recordwalk.h>

#include "support/hexbytes.h"

#include <gtest/gtest.h>

using namespace okt;

namespace
{

struct Walked
{
    int records = 0;
    RecordWalk::State state = RecordWalk::State::Going;
    std::int64_t position = 0;
};

Walked walked(char const *text, RecordWalk::Start start)
{
    CByteArray const bytes = hex(text);
    ByteSource source(bytes);
    RecordWalk walk(source, 0, start);
    Walked result;
    while (walk.next())
        ++result.records;
    result.state = walk.state();
    result.position = walk.position();
    return result;
}

TEST(OktRecordWalk, Next_AnyRecord_EndsBehindTheFirstWithWhatItHolds)
{
    struct Row
    {
        char const *bytes;
        int records;
        int end;
    };
    Row const rows[] = {{"02 01 00 00 00 02", 1, 5},
                        {"0A 02 00 00 00 07 07 00", 1, 7},
                        {"08 02 01 00 00 00 00 01 09 00", 3, 9},
                        {"06 05 01 00 'X' 02 01 00 00 00 08 02 01 00 00 00 09 07 07", 4, 18}};
    for (Row const &row : rows)
    {
        Walked const found = walked(row.bytes, RecordWalk::Start::AnyRecord);
        EXPECT_EQ(found.state, RecordWalk::State::Whole) << row.bytes;
        EXPECT_EQ(found.records, row.records) << row.bytes;
        EXPECT_EQ(found.position, row.end) << row.bytes;
    }
}

TEST(OktRecordWalk, Next_WhatNothingCanBeginWith_Damaged)
{
    for (char const *const bytes : {"07", "09", "0B", "FF"})
        EXPECT_EQ(walked(bytes, RecordWalk::Start::AnyRecord).state, RecordWalk::State::Damaged) << bytes;
    for (char const *const bytes : {"00 01", "02 01 00 00 00", "08 02 01 00 00 00 09"})
        EXPECT_EQ(walked(bytes, RecordWalk::Start::Frame).state, RecordWalk::State::Damaged) << bytes;
}

TEST(OktRecordWalk, Next_ValueOrSectionThatIsCut_Cut)
{
    for (char const *const bytes : {"", "02 01 00", "04 02 00 41 00 42", "08 02 01 00 00 00 00 01", "08 02 01"})
        EXPECT_EQ(walked(bytes, RecordWalk::Start::AnyRecord).state, RecordWalk::State::Cut) << bytes;
}

} // namespace
