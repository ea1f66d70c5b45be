// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktexport.h>
#include <oktplatform/oktstring.h>

// What a program asks about itself and its surroundings.

/// The path of the file of this program. Empty where the system does not tell it.
OKT_API CString OktProgramFile();
/// The value of an environment variable. Empty where it is not set.
OKT_API CString OktEnvironmentVariable(CString const &name);
/// The character between the folders that such a variable lists: a colon, on Windows a semicolon.
OKT_API char OktListSeparator();
/// The file name extension of a shared library, with its dot.
OKT_API CString OktLibraryEnding();
/// Whether every user of the machine may change the file, or what is in the folder. False where the system does not tell.
OKT_API bool OktIsWritableByAll(CString const &path);
/// Whether a system error (CFileException::m_lOsError) says that another program holds the file.
OKT_API bool OktIsFileInUse(int systemError);
