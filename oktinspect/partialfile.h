// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/frames.h>
#include <oktinspect/modules.h>

#include <oktdatabase/oktdbpool.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

class OKTDbObject;

namespace okt
{

class ReportCollector;

/// One object of a file, read alone.
struct LoneObject
{
    int position = -1; ///< in the file; -1: the header names no place
    int size = -1;
    CByteArray bytes;                    ///< the bytes of the object; empty: they could not be read
    Frame frame;                         ///< positions count from the start of the stretch
    std::unique_ptr<OKTDbObject> object; ///< null: not read, or of a class that is not known here
    std::string fault;                   ///< the line for the user; empty when all is well
    Module const *module = nullptr;      ///< the module with its class that the search found
    std::optional<ModuleAnswer> missing; ///< the class needs a module that is not there
};

/// A pool file of which only the first 1024 bytes, the header and the requested objects are read. One thread at a time, since the
/// process has only one registry of classes and one presenter of warnings.
class PartialFile
{
public:
    /// Reads the header. Throws Failure. `name` is the name of the file in messages; empty: its path.
    explicit PartialFile(std::filesystem::path const &path, std::string const &name = {});

    /// As messages call the file, and its length in bytes.
    std::string const &name() const { return m_name; }
    std::uintmax_t size() const { return m_size; }
    /// The header's fields, and no objects.
    OKTDbPool const &pool() const { return m_pool; }

    /// Reads the object with that id at the position that the header gives, in metres. If another object is there, that is a fault.
    /// `what` is the role of the object in messages.
    LoneObject read(OKTDbObjectId const &id, std::string const &what);

private:
    std::string faultAt(int position, std::string const &reason) const;
    LoneObject readWhole(OKTDbObjectId const &id, std::string const &what);
    void readObject(LoneObject &lone, ReportCollector const &collector);

    std::filesystem::path m_path;
    std::string m_name;
    std::uintmax_t m_size;
    OKTDbPool m_pool;
    InfoMap m_places;
};

} // namespace okt
