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

/// A class of which the file has objects, and which no module that was loaded brings or reads. That is nothing wrong with the file.
struct MissingClass
{
    CString name;
    int objects = 0;
    int first = 0;       ///< where the first of them begins
    ModuleAnswer answer; ///< what the search came to
};

/// A module that was found by the search, and the classes of it that the file has.
struct UsedModule
{
    std::filesystem::path file;
    ModuleOrigin origin = ModuleOrigin::Own;
    std::set<std::string> classes; ///< UTF-8
};

/// All that can be had of a pool file.
struct PoolFile
{
    std::string name;
    int size = 0;
    int headerSize = 0;              ///< bytes of the header block
    int objectsStart = 0;            ///< where the objects block begins
    std::optional<double> factor;    ///< the metrics factor that the file states
    InfoMap places;                  ///< the header's entries; positions from the start of the objects block
    std::vector<Frame> frames;       ///< every object frame of the file, in its order
    std::unique_ptr<OKTDbPool> pool; ///< the objects that could be read
    std::vector<UnreadObject> unread;
    std::vector<MissingClass> missing; ///< in the order of the file
    std::vector<UsedModule> modules;
    std::string fault; ///< the line for the user about the first fault; empty when all is well
};

/// Reads a pool file under a metrics factor (drawing units per metre). A load of the library stops at the first object at
/// fault; here the whole objects behind it are read too. Classes that are not registered are looked for in the client modules
/// that are found (modules.h); the objects of those that are in none are stand-ins. Throws Failure when not even a header can be
/// read, and Cancelled by `onProgress`. `name` is how messages call the file; its path without it.
///
/// The pool and its objects are the caller's. One call at a time: the registry of classes and the presenter of the library's
/// warnings are one each for the process.
PoolFile readPool(std::filesystem::path const &path, double metricsFactor, std::string const &name = {},
                  OnProgress const &onProgress = {});

} // namespace okt
