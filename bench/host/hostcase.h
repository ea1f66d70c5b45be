// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

/// What one process has measured of a case. A figure that does not belong to the case is 0.
struct HostFigures
{
    double first = 0.0;  ///< seconds of the first time in this process
    double later = 0.0;  ///< seconds of the times after it, the median
    double faults = 0.0; ///< page faults of the first time
    double peak = 0.0;   ///< bytes that the process held at most in it beyond what it held after it
    double bytes = 0.0;  ///< of the image or file
};

/// A case that a host of the library meets, measured in a process of its own.
struct HostCase
{
    char const *name;
    /// `path` names the image of a pool of `count` objects as a file.
    HostFigures (*measure)(int count, std::string const &path);
};

/// This library; and what nobody can do quicker.
std::vector<HostCase> ourHostCases();
std::vector<HostCase> floorHostCases();
/// Reading from a file by each of the peers, after `writePeerFiles` for that path.
std::vector<HostCase> peerHostCases();
void writePeerFiles(std::string const &path);
