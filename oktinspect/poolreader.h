// SPDX-License-Identifier: MIT
#pragma once

#include <oktformat/frames.h>
#include <oktformat/progress.h>
#include <oktinspect/modules.h>

#include <oktdatabase/oktdbpool.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace okt
{

/// An object of a file that is not in the pool, and why.
struct UnreadObject
{
    Frame frame;
    std::string reason;
};

/// A class of objects of the file that no loaded module has. This is not a fault of the file.
struct MissingClass
{
    CString name;
    int objects = 0;
    int first = 0;       ///< offset of the first of them
    ModuleAnswer answer; ///< the result of the search for the class
};

/// A module that the search found, with those of its classes that occur in the file.
struct UsedModule
{
    std::filesystem::path file;
    ModuleOrigin origin = ModuleOrigin::Own;
    std::set<std::string> classes; ///< UTF-8
};

/// Everything that can be read of a pool file.
struct PoolFile
{
    std::string name;
    int size = 0;
    int headerSize = 0;              ///< bytes of the header block
    int objectsStart = 0;            ///< where the objects block begins
    std::optional<double> factor;    ///< the metrics factor in the file
    InfoMap places;                  ///< the header's entries; positions from the start of the objects block
    std::vector<Frame> frames;       ///< every object frame, in the order of the file
    std::unique_ptr<OKTDbPool> pool; ///< the objects that could be read
    std::vector<UnreadObject> unread;
    std::vector<MissingClass> missing; ///< in the order of the file
    std::vector<UsedModule> modules;
    std::string fault; ///< the line for the user about the first fault; empty when all is well
};

/// Reads a pool file with a metrics factor (drawing units per metre). A load of the library stops at the first damaged
/// object; this function reads the whole objects after it too. Classes that are not registered are searched in the client modules
/// (modules.h). If no module has the class, the pool gets stand-ins (standin.h). Throws Failure if the header cannot be
/// read, and Cancelled. `name` is the name of the file in messages; empty: its path.
///
/// The pool and its objects belong to the caller. One call at a time: the process has only one registry of classes and one
/// presenter of warnings.
PoolFile readPool(std::filesystem::path const &path, double metricsFactor, std::string const &name = {},
                  OnProgress const &onProgress = {});

} // namespace okt
