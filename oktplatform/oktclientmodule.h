// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktstring.h>

/// Loads a client module: a shared library with stored classes of its own. Its static objects are constructed, and the class
/// descriptors among them register themselves. A path without a folder is a file of the current folder: the system's search path
/// is not used. The module stays loaded until the process ends, because the registry points into it.
///
/// A file that is already loaded, by this function or as a part of the program, gives true, and `isNew`, if given, gets false.
/// False: the module was not loaded, and `reason` is the message of the system. Built on the standard library alone, the library
/// loads no modules.
OKT_API bool OktLoadModule(CString const &path, CString &reason, bool *isNew = nullptr);
