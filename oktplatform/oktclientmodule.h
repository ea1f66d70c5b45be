#pragma once

#include <oktplatform/oktstring.h>

/// Loads a client module, a shared library that brings stored classes of its own: its static objects are made, among them the
/// class descriptors, which enter themselves in the registry. A path without a folder is a file of the current folder, whatever
/// the system's search path says. The module stays loaded until the process ends, since the registry keeps pointing into it.
///
/// A file that is loaded already, by this function or as part of the program, is left as it is: true, and `isNew`, if given,
/// gets false. False: the system refuses, and `reason` tells why in its words, in English or in the language of the process.
OKT_API bool OktLoadModule(CString const &path, CString &reason, bool *isNew = nullptr);
