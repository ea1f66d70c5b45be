// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktwholeframe.h>

class OKTDbParameter;

// Not installed.

/// The frame of a parameter as a whole: the quick road beside OKTDbParameter's own xmlOut and xmlIn, under the conditions of
/// oktwholeframe.h and two more. Its value is a number, and it is no quantity expression that is to be converted.
///
/// The layout of the frame stands once, in the source: a section that OKTDbParameter gets is added there, in one place.
class OKTWholeParameter : private OKTFrameRoad
{
public:
    /// True: the frame is written. False: nothing is. A filer that wants its length gets that.
    static bool write(OKTDbParameter const &parameter, OKTFiler &filer);
    /// True: the frame is read, but its value is not converted yet. False: nothing is, and the parameter is as it was.
    static bool read(OKTDbParameter &parameter, OKTFiler &filer);

private:
    struct Given;
    struct Taken;

    static Given givenOf(OKTDbParameter const &parameter, tagVARIANT const &value);
    static bool announce(OKTDbParameter const &parameter, OKTFiler &filer);
    template <typename Road, typename Members> static bool walk(Road &road, Members &members);
};
