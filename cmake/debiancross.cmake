# SPDX-License-Identifier: MIT
# Another machine by Debian's cross compiler. Included by the toolchain file of that machine, which says
#   okt_machine    Debian's name of it
#   okt_compiler   the prefix of its compiler, and the folder of its C library
#   okt_libraries  the folder of a library for it, below lib
# libxml2 and libgcrypt for that machine are fetched into the build folder.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_CXX_COMPILER ${okt_compiler}-g++)
set(CMAKE_C_COMPILER ${okt_compiler}-gcc)
set(CMAKE_LIBRARY_ARCHITECTURE ${okt_libraries})

cmake_path(SET okt_sysroot NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot/${okt_machine})
file(GLOB okt_sysroot_digest ${okt_sysroot}/usr/lib/${okt_libraries}/libgcrypt.so) # what came last to that list of packages
if(NOT okt_sysroot_digest)
    file(REMOVE_RECURSE ${okt_sysroot})
    execute_process(COMMAND sh ${CMAKE_CURRENT_LIST_DIR}/../scripts/sysroot ${okt_machine} ${okt_sysroot} COMMAND_ERROR_IS_FATAL ANY)
endif()

set(CMAKE_FIND_ROOT_PATH ${okt_sysroot} /usr/${okt_compiler})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The programs find the libraries where they are built, and these find theirs in the same folders.
set(okt_sysroot_libraries ${okt_sysroot}/usr/lib/${okt_libraries})
set(okt_sysroot_base_libraries ${okt_sysroot}/lib/${okt_libraries})
set(CMAKE_BUILD_RPATH ${okt_sysroot_libraries} ${okt_sysroot_base_libraries})
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--disable-new-dtags -Wl,-rpath-link,${okt_sysroot_libraries}:${okt_sysroot_base_libraries}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,--disable-new-dtags -Wl,-rpath-link,${okt_sysroot_libraries}:${okt_sysroot_base_libraries}")
