// SPDX-License-Identifier: MIT
#include <oktinspect/classname.h>

#include <algorithm>
#include <cstddef>

namespace okt
{

namespace
{

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isLetter(char c) { return (lower(c) >= 'a' && lower(c) <= 'z') || c == '_'; }

} // namespace

bool isClassName(std::string_view name)
{
    return !name.empty() && isLetter(name.front()) &&
           std::all_of(name.begin(), name.end(), [](char c) { return isLetter(c) || (c >= '0' && c <= '9') || c == ':'; });
}

bool isNearlyName(std::string_view name, std::string_view known)
{
    if (name.size() != known.size())
        return false;
    int others = 0;
    for (std::size_t i = 0; i < name.size(); ++i)
        others += lower(name[i]) != lower(known[i]) ? 1 : 0;
    return others <= 1;
}

} // namespace okt
