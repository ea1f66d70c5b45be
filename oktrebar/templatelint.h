// SPDX-License-Identifier: MIT
#pragma once

#include <oktrebar/storedtemplate.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace okt
{

// What is wrong with a template by the rules of the trade, in a file that is sound otherwise.

struct LintFinding
{
    enum class Severity
    {
        Info,    ///< it cannot be told whether something is wrong
        Warning, ///< probably not meant
        Error    ///< cannot be so
    };

    /// The numbers may change, the words of codeName do not.
    enum class Code
    {
        ExpressionUnreadable, ///< an expression cannot be read
        ExpressionName,       ///< an expression names what is not there, or what several are called
        ExpressionCycle,      ///< expressions go round in a circle
        ExpressionValue,      ///< a value is not what its expression gives
        NameTwice,            ///< two parameters of a category have one name
        WrongKind,            ///< a type that is a number has another kind of value
        Impossible,           ///< a number that its type cannot have: negative, above half a turn, not finite
        QuantityUnreadable,   ///< a quantity expression that is none
        CoverBelowDiameter,   ///< the cover is less than the bar is thick
        HookTooShort,         ///< a hook ends inside its bend
        PictureMissing,       ///< there is no picture
        PictureOutOfDate      ///< the picture is not the one that is drawn for these values
    };

    Code code = Code::ExpressionUnreadable;
    std::int64_t offset = 0; ///< of the object, in bytes from the start of the file
    _GUID id = {};           ///< of the object
    std::string name;        ///< of the parameter; empty: it is no parameter
    std::string detail;      ///< what the code is about: the name, the circle, the value
    std::string other;       ///< and what that is held against

    /// That of its code.
    Severity severity() const;
};

/// "expression-name".
std::string_view codeName(LintFinding::Code code);
std::string_view severityName(LintFinding::Severity severity);
/// What is wrong, and how it is mended. Texts of the file stand in them as they are.
std::string explanation(LintFinding const &finding);
std::string mend(LintFinding const &finding);

/// How pictures are held against the values.
enum class PictureCheck
{
    None,
    Shape,  ///< whether they show the shape of the values, as their camera tells
    Drawing ///< by drawing them once more, which takes longer than all else
};

struct LintOptions
{
    PictureCheck pictures = PictureCheck::Shape;
};

/// The bytes of a picture's frame, for which the file is asked only where one has to be compared.
using FrameOf = std::function<std::string(std::int64_t begin, std::int64_t end)>;

/// In the order in which people see the parameters, of one parameter in the order of the codes; then what is about pictures.
std::vector<LintFinding> lint(StoredTemplate const &pool, FrameOf const &frameOf, LintOptions const &options = {});

} // namespace okt
