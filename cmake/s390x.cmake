# SPDX-License-Identifier: MIT
# s390x, a big-endian machine, by Debian's cross compiler (package g++-s390x-linux-gnu). What is built runs under QEMU (package
# qemu-user-static): `ctest` starts it so.

set(CMAKE_SYSTEM_PROCESSOR s390x)
set(okt_machine s390x)
set(okt_compiler s390x-linux-gnu)
set(okt_libraries s390x-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debiancross.cmake)

find_program(OKT_QEMU NAMES qemu-s390x qemu-s390x-static)
if(OKT_QEMU)
    set(CMAKE_CROSSCOMPILING_EMULATOR ${OKT_QEMU} -L /usr/${okt_compiler})
endif()
