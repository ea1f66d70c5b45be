#pragma once

#include <oktdatabase/oktdbobject.h>
#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktplatform.h>

#include <memory>
#include <string>

namespace okt
{

/// The class is registered, by the library or a client module; stand-ins do not count.
bool isRegistered(CString const &className);

/// An object that the library has read alone.
struct ReadObject
{
    std::unique_ptr<OKTDbPool> pool; ///< that of its ids
    std::unique_ptr<OKTDbObject> object;
    std::string fault;   ///< what keeps it from being read, or a load from going on behind it; empty: nothing
    std::string inShort; ///< the fault in a list of objects
};

/// Reads the bytes of a frame as an object of a class that is registered, under a metrics factor (drawing units per metre).
ReadObject readAlone(CByteArray const &frame, CString const &className, double metricsFactor = 1);

} // namespace okt
