// SPDX-License-Identifier: MIT
#include <oktreport/pagevalue.h>

#include <oktreport/html.h>

#include <oktformat/guids.h>
#include <oktformat/text.h>
#include <oktinspect/members.h>
#include <oktinspect/standin.h>
#include <oktrebar/templateplan.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <map>
#include <vector>

namespace okt
{

namespace
{

constexpr int kAllDigits = 12;

/// Decimals of a length that matter on a drawing, by unit: a tenth of a millimetre, a thousandth of an inch.
constexpr std::array<int, kUnitNames.size()> kDecimals = {1, 2, 4, 3, 3};
constexpr int kFigureDecimals = 4;

/// A number smaller than this many units of its last decimal is shown with more digits.
constexpr double kFewSteps = 100;
constexpr int kFewDigits = 3;

constexpr std::size_t kLongestValue = 160;

constexpr char kUnitMember[] = "m_strUnit"; ///< of the index

std::string withDecimals(double value, int decimals)
{
    double const size = std::abs(value);
    bool const isSmall = size != 0 && size < kFewSteps * std::pow(10.0, -decimals);
    if (!std::isfinite(value) || size >= 1e15)
        return rounded(value, kAllDigits);
    if (isSmall)
        return rounded(value, kFewDigits);
    // Halves are rounded up, as readers expect: 95.25 is 95.3.
    double const scale = std::pow(10.0, decimals);
    double const shown = std::round(value * scale) / scale;
    std::array<char, 64> buffer{};
    std::to_chars_result const end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), shown, std::chars_format::fixed, decimals);
    std::string text(buffer.data(), end.ptr);
    if (text.find('.') != std::string::npos)
    {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.')
            text.pop_back();
    }
    return text;
}

/// The words of a text in small letters: letters alone, of ASCII.
std::vector<std::string> wordsOf(std::string const &text)
{
    std::vector<std::string> words(1);
    for (char const c : text)
    {
        char const small = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        if (small >= 'a' && small <= 'z')
            words.back() += small;
        else if (!words.back().empty())
            words.emplace_back();
    }
    if (words.back().empty())
        words.pop_back();
    return words;
}

using UnitWords = std::map<std::string, std::string>;

UnitWords const &lengthWords()
{
    static UnitWords const kWords = {{"mm", "mm"},          {"millimetre", "mm"},  {"millimetres", "mm"}, {"millimeter", "mm"},
                                     {"millimeters", "mm"}, {"cm", "cm"},          {"centimetre", "cm"},  {"centimetres", "cm"},
                                     {"centimeter", "cm"},  {"centimeters", "cm"}, {"metre", "m"},        {"metres", "m"},
                                     {"meter", "m"},        {"meters", "m"},       {"inch", "in"},        {"inches", "in"},
                                     {"foot", "ft"},        {"feet", "ft"},        {"ft", "ft"}};
    return kWords;
}

UnitWords const &otherWords()
{
    static UnitWords const kWords = {
        {"degrees", "\xC2\xB0"}, {"kilograms", "kg"}, {"kg", "kg"}, {"pounds", "lb"}, {"lb", "lb"}};
    return kWords;
}

/// Puts the value of a parameter, as a pool has it under the factor of that unit.
void putValue(PageValue &shown, std::size_t unit, OKTDbParameter const &parameter)
{
    tagVARIANT const value = parameter.Value();
    std::string &text = shown.texts[unit];
    std::string &exact = shown.exact[unit];
    shown.isNumber = value.vt == VT_I2 || value.vt == VT_I4 || value.vt == VT_R4 || value.vt == VT_R8;
    switch (value.vt)
    {
    case VT_EMPTY:
    case VT_NULL: shown.isAbsent = true; break;
    case VT_I2: text = std::to_string(value.iVal); break;
    case VT_I4: text = std::to_string(value.lVal); break;
    case VT_R4: // a file holds a double in this kind too, and reading keeps it as one
    case VT_R8:
        shown.isConverted = parameter.isInDrawingUnits();
        exact = shown.isConverted ? rounded(value.dblVal, kAllDigits) : number(value.dblVal);
        text = shown.isConverted ? lengthText(value.dblVal, unit) : figureText(value.dblVal);
        break;
    case VT_BSTR:
    {
        CString const held(value.bstrVal, static_cast<int>(SysStringLen(value.bstrVal)));
        exact = html(held);
        text = escapedLine(shortened(printable(held), kLongestValue));
        if (text.size() < exact.size())
            shown.folded = unfolding(held);
        break;
    }
    case VT_BOOL: text = value.lVal == 0 ? "no" : value.lVal == -1 ? "yes" : std::to_string(value.lVal); break;
    default: text = "?"; break;
    }
    if (exact.empty())
        exact = text;
    // A text with lengths in it depends on the unit.
    if (unit > 0 && exact != shown.exact[0])
        shown.isConverted = true;

    if (shown.isNumber || value.vt == VT_BSTR)
        shown.units[unit] = kUnitNames[unit];
    // The library does not convert diameters. The description names the unit.
    if (shown.isNumber && !parameter.isInDrawingUnits())
    {
        std::string const description = parameter.Description().ToUtf8();
        bool const isDiameter = parameter.Type() == types::kDiameter;
        shown.ownUnit = isDiameter ? lengthUnitIn(description) : unitIn(description);
        shown.isUnitMissing = isDiameter && shown.ownUnit.empty();
    }
}

/// The drawing unit that the index of a template names, where its class is known; empty: none.
std::string unitOfIndex(OKTDbPool &pool)
{
    OKTDbObject *index = nullptr;
    pool.findObject(pool.indexId(), index);
    if (index == nullptr || dynamic_cast<StandIn const *>(index) != nullptr)
        return "";
    for (Member const &member : membersOf(*index))
        if (member.name.substr(std::min(member.name.find_first_not_of(' '), member.name.size())) == kUnitMember)
        {
            std::vector<std::string> const words = wordsOf(member.value);
            return words.size() == 1 && findUnit(words.front()) != nullptr ? words.front() : lengthUnitIn(member.value);
        }
    return "";
}

} // namespace

std::string lengthText(double value, std::size_t unit) { return withDecimals(value, kDecimals[unit]); }

std::string figureText(double value) { return withDecimals(value, kFigureDecimals); }

std::string lengthUnitIn(std::string const &description)
{
    for (std::string const &word : wordsOf(description))
        if (auto const found = lengthWords().find(word); found != lengthWords().end())
            return found->second;
    return "";
}

std::string unitIn(std::string const &description)
{
    std::vector<std::string> const words = wordsOf(description);
    for (std::size_t i = 0; i < words.size(); ++i)
    {
        if (i > 0 && words[i - 1] != "in")
            continue;
        for (UnitWords const *const known : {&otherWords(), &lengthWords()})
            if (auto const found = known->find(words[i]); found != known->end())
                return found->second;
    }
    return "";
}

void putValues(UnitValues &values, std::size_t unit, OKTDbPool &pool)
{
    IdArray all;
    pool.getAllObjects(all);
    for (OKTDbObjectId const &id : all)
    {
        OKTDbObject *object = nullptr;
        pool.findObject(id, object);
        auto const *const parameter = OKTDbParameter::cast(object);
        if (parameter == nullptr)
            continue;
        putValue(values[id], unit, *parameter);
    }
}

void completeDiameters(UnitValues &values, OKTDbPool &pool)
{
    std::string const unit = unitOfIndex(pool);
    if (unit.empty())
        return;
    for (auto &[id, value] : values)
        if (value.isUnitMissing)
        {
            value.ownUnit = unit;
            value.isUnitMissing = false;
        }
}

std::string const &unitOf(PageValue const &value, std::size_t unit)
{
    return value.isConverted ? value.units[unit] : value.ownUnit;
}

std::string kindWord(VARTYPE kind)
{
    switch (kind)
    {
    case VT_EMPTY:
    case VT_NULL: return "no value";
    case VT_I2:
    case VT_I4: return "whole number";
    case VT_R4:
    case VT_R8: return "number";
    case VT_BSTR: return "text";
    case VT_BOOL: return "yes or no";
    default: return kindName(kind);
    }
}

} // namespace okt
