#pragma once

#include <oktformat/valuewalk.h>

#include <string>

namespace okt
{

/// What in a text hardly anybody writes: "has a zero at 3, where a reader ends it"; empty: nothing, or the value is no text of
/// 16-bit units.
std::string textFault(ByteSource &source, StoredValue const &value);

/// A number that is none, or out of all reason.
struct NumberFault
{
    bool isNone; ///< not a number, or infinite
    double number;
};
/// The first such number of a value; false: there is none.
bool findNumberFault(StoredValue const &value, NumberFault &fault);

} // namespace okt
