// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbobjectid.h>
#include <oktplatform/oktarrays.h>
#include <oktplatform/oktguid.h>
#include <oktplatform/oktstring.h>

#include <iomanip>
#include <ostream>

// How GoogleTest shows the values of the library. Every test source that compares them includes this header.

/// The registry form, made here and not by the code under test.
inline void PrintTo(_GUID const &guid, std::ostream *out)
{
    auto const flags = out->flags();
    auto const fill = out->fill('0');
    *out << std::hex << std::uppercase << '{' << std::setw(8) << guid.Data1 << '-' << std::setw(4) << guid.Data2 << '-'
         << std::setw(4) << guid.Data3 << '-';
    for (int i = 0; i < 8; ++i)
        *out << std::setw(2) << static_cast<unsigned int>(guid.Data4[i]) << (i == 1 ? "-" : "");
    *out << '}';
    out->flags(flags);
    out->fill(fill);
}

inline void PrintTo(CString const &text, std::ostream *out) { *out << '"' << text.ToUtf8() << '"'; }

inline void PrintTo(OKTDbObjectId const &id, std::ostream *out) { PrintTo(id.getGuid(), out); }

inline void PrintTo(CByteArray const &bytes, std::ostream *out)
{
    auto const flags = out->flags();
    auto const fill = out->fill('0');
    *out << bytes.GetSize() << " bytes:" << std::hex;
    for (int i = 0; i < bytes.GetSize() && i < 256; ++i)
        *out << ' ' << std::setw(2) << static_cast<unsigned int>(bytes.GetData()[i]);
    if (bytes.GetSize() > 256)
        *out << " ...";
    out->flags(flags);
    out->fill(fill);
}

#if !defined(_WIN32) // where the system has one
inline bool operator==(_GUID const &left, _GUID const &right) { return std::memcmp(&left, &right, sizeof left) == 0; }
#endif

inline bool operator==(CByteArray const &left, CByteArray const &right)
{
    return left.GetSize() == right.GetSize() &&
           (left.GetSize() == 0 || std::memcmp(left.GetData(), right.GetData(), static_cast<std::size_t>(left.GetSize())) == 0);
}
