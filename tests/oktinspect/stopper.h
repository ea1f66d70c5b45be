// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/progress.h>

#include <gtest/gtest.h>

/// Ends the operation at its call of that number, from 1; 0: never.
struct Stopper
{
    int at = 0;
    int calls = 0;

    okt::OnProgress listener()
    {
        return [this](okt::Progress const &progress) {
            calls += progress.event == okt::Progress::Event::At ? 1 : 0;
            return at == 0 || calls < at;
        };
    }
};

/// The operation, which is given its listener, ends with Cancelled at each of its calls and asks no further; gives their number.
int cancelledAtEachCall(auto operation)
{
    Stopper all;
    operation(all.listener());
    for (int at = 1; at <= all.calls; ++at)
    {
        Stopper stopper{at};
        EXPECT_THROW(operation(stopper.listener()), okt::Cancelled) << at;
        EXPECT_EQ(stopper.calls, at);
    }
    return all.calls;
}
