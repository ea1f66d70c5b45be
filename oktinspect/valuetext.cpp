// SPDX-License-Identifier: MIT
#include <oktinspect/valuetext.h>

#include <oktformat/sentence.h>
#include <oktformat/text.h>
#include <oktinspect/members.h>

#include <algorithm>

namespace okt
{

namespace
{

// Enough for every number of a drawing, and few enough to hide rounding errors of the conversion between units.
constexpr int kLengthDigits = 12;

} // namespace

DisplayUnit const *findUnit(std::string const &name)
{
    static constexpr std::array<double, kUnitNames.size()> kFactors = {1000.0, 100.0, 1.0, 1.0 / 0.0254, 1.0 / 0.3048};
    static std::vector<DisplayUnit> const kUnits = [] {
        std::vector<DisplayUnit> units;
        for (std::size_t i = 0; i < kUnitNames.size(); ++i)
            units.push_back({kUnitNames[i], kFactors[i]});
        return units;
    }();
    auto const found =
        std::find_if(kUnits.begin(), kUnits.end(), [&name](DisplayUnit const &unit) { return unit.name == name; });
    return found == kUnits.end() ? nullptr : &*found;
}

std::string valueText(tagVARIANT const &value, bool isLength, DisplayUnit const &unit)
{
    bool const isReal = value.vt == VT_R4 || value.vt == VT_R8;
    return isLength && isReal ? sentence("{} {}", rounded(value.dblVal, kLengthDigits), unit.name) : variantText(value);
}

std::string kindName(VARTYPE kind)
{
    switch (kind)
    {
    case VT_EMPTY: return "VT_EMPTY";
    case VT_NULL: return "VT_NULL";
    case VT_I2: return "VT_I2";
    case VT_I4: return "VT_I4";
    case VT_R4: return "VT_R4";
    case VT_R8: return "VT_R8";
    case VT_BSTR: return "VT_BSTR";
    case VT_BOOL: return "VT_BOOL";
    default: return sentence("kind {}", kind);
    }
}

} // namespace okt
