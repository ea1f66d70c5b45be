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
    CByteArray bytes;                    ///< its stretch of the file; empty when that could not be read
    Frame frame;                         ///< positions count from the start of the stretch
    std::unique_ptr<OKTDbObject> object; ///< null: not read, or of a class that is not known here
    std::string fault;                   ///< the line for the user; empty when all is well
    Module const *module = nullptr;      ///< the one that was found by the search and brings the class
    std::optional<ModuleAnswer> missing; ///< the class needs a module that is not there
};

/// A pool file of which only the first 1024 bytes, the header and the objects asked for are read. Of one thread at a time, as the
/// registry of classes and the presenter of the library's warnings are one each for the process.
class PartialFile
{
public:
    /// Reads the header. Throws Failure. `name` is how messages call the file; its path without it.
    explicit PartialFile(std::filesystem::path const &path, std::string const &name = {});

    /// As messages call the file, and its length in bytes.
    std::string const &name() const { return m_name; }
    std::uintmax_t size() const { return m_size; }
    /// The header's fields, and no objects.
    OKTDbPool const &pool() const { return m_pool; }

    /// The object that the header names by that id, in metres. Whatever stands at the place is told apart from the object meant:
    /// `what` is how the messages call that.
    LoneObject read(OKTDbObjectId const &id, std::string const &what);

private:
    std::string faultAt(int position, std::string const &reason) const;
    void readObject(LoneObject &lone, ReportCollector const &collector);

    std::filesystem::path m_path;
    std::string m_name;
    std::uintmax_t m_size;
    OKTDbPool m_pool;
    InfoMap m_places;
};

} // namespace okt
