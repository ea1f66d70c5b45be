# SPDX-License-Identifier: MIT
# s390x, a big-endian machine, by Debian's cross compiler (package g++-s390x-linux-gnu). What is built runs under QEMU (package
# qemu-user-static): `ctest` starts it so. libxml2 and libgcrypt for that machine are fetched into the build folder.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR s390x)

set(okt_triple s390x-linux-gnu)
set(CMAKE_CXX_COMPILER ${okt_triple}-g++)
set(CMAKE_C_COMPILER ${okt_triple}-gcc)
set(CMAKE_LIBRARY_ARCHITECTURE ${okt_triple})

cmake_path(SET okt_sysroot NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot/s390x)
file(GLOB okt_sysroot_digest ${okt_sysroot}/usr/lib/${okt_triple}/libgcrypt.so) # what came last to that list of packages
if(NOT okt_sysroot_digest)
    file(REMOVE_RECURSE ${okt_sysroot})
    execute_process(COMMAND sh ${CMAKE_CURRENT_LIST_DIR}/../scripts/sysroot s390x ${okt_sysroot} COMMAND_ERROR_IS_FATAL ANY)
endif()

set(CMAKE_FIND_ROOT_PATH ${okt_sysroot} /usr/${okt_triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The programs find the libraries where they are built, and these find theirs in the same folders.
set(okt_sysroot_libraries ${okt_sysroot}/usr/lib/${okt_triple})
set(okt_sysroot_base_libraries ${okt_sysroot}/lib/${okt_triple})
set(CMAKE_BUILD_RPATH ${okt_sysroot_libraries} ${okt_sysroot_base_libraries})
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--disable-new-dtags -Wl,-rpath-link,${okt_sysroot_libraries}:${okt_sysroot_base_libraries}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,--disable-new-dtags -Wl,-rpath-link,${okt_sysroot_libraries}:${okt_sysroot_base_libraries}")

find_program(OKT_QEMU NAMES qemu-s390x qemu-s390x-static)
if(OKT_QEMU)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${OKT_QEMU} -L /usr/${okt_triple})
endif()
