// SPDX-License-Identifier: MIT
#pragma once
// Not installed.
#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktplatform.h>

#include <memory>
#include <optional>
#include <string>

namespace okt
{

/// The class is registered, by the library or a client module; stand-ins do not count.
bool isRegistered(CString const &className);

/// Why the library cannot read an object, or why a load stops after it.
struct ReadFault
{
    enum class Kind
    {
        None,
        Members, ///< its members are not those of its class
        Inner    ///< another object stands behind its members, still inside of it
    };

    Kind kind = Kind::None;
    CString inner; ///< the class of the object inside; empty: its name goes on behind this object

    bool isNone() const { return kind == Kind::None; }
};

/// An object that the library has read alone.
struct ReadObject
{
    std::unique_ptr<OKTDbPool> pool; ///< the pool to which its ids refer
    std::unique_ptr<OKTDbObject> object;
    ReadFault fault;
};

/// The class of the object that a load finds next in the bytes that a filer reads; an empty name where it goes on behind the bytes,
/// which are followed by others in a file. Empty: a load finds none.
std::optional<CString> nextObjectIn(OKTMemoryFiler &filer, CByteArray const &bytes);

/// Reads the bytes of a frame as an object of a class that is registered, under a metrics factor (drawing units per metre).
/// What it answers is true of the bytes: std::bad_alloc where memory was short.
ReadObject readAlone(CByteArray const &frame, CString const &className, double metricsFactor = 1);

} // namespace okt
