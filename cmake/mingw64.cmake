# SPDX-License-Identifier: MIT
# 64-bit Windows, by Debian's MinGW-w64 (packages g++-mingw-w64-x86-64-posix and mingw-w64-tools). What is built runs under Wine,
# if it is there: `ctest` starts it so.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(okt_triple x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER ${okt_triple}-g++-posix)
set(CMAKE_C_COMPILER ${okt_triple}-gcc-posix)
set(CMAKE_RC_COMPILER ${okt_triple}-windres)
set(OKT_WIDL ${okt_triple}-widl CACHE STRING "The compiler of type libraries")

# The compiler's own libraries become part of what is built: nothing but the system is needed where it runs. Those that may be
# shared stay so for a reason: an exception crosses from the library to its host only when both use one runtime.
set(CMAKE_FIND_ROOT_PATH /usr/${okt_triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
