// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktwholeframe.h>

class OKTDbObject;
class OKTDbParameter;

// Not installed.

/// The frame of a parameter as a whole: the fast path beside OKTDbParameter's own xmlOut and xmlIn, under the conditions of
/// oktwholeframe.h and two more. Its value is a number, and it is no quantity expression that is to be converted.
///
/// The layout of this path stands once, in the source: a section that OKTDbParameter's own xmlOut and xmlIn get is added there, in one
/// place. Names of members for people: oktformat/memberrole.
class OKTWholeParameter : private OKTFramePath
{
public:
    /// True: the frame is written. False: nothing is. A filer that wants its length gets that.
    static bool write(OKTDbParameter const &parameter, OKTFiler &filer);
    /// True: the frame is read, but its value is not converted yet. False: nothing is, and the parameter is as it was.
    static bool read(OKTDbParameter &parameter, OKTFiler &filer);
    /// Asks for the memory of the texts and ids of an object that will be written soon, if it is a parameter. Null is allowed.
    static void fetchTexts(OKTDbObject const *object);

private:
    struct Given;
    struct Taken;

    static Given givenOf(OKTDbParameter const &parameter, tagVARIANT const &value);
    static bool announce(OKTDbParameter const &parameter, OKTFiler &filer);
    template <typename Path, typename Members> static bool walk(Path &path, Members &members);
};
