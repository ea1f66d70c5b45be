# SPDX-License-Identifier: MIT
# i386, a machine of 32 bits, by Debian's cross compiler (package g++-i686-linux-gnu). An amd64 kernel runs what is built; the program
# that loads the libraries comes with the compiler.

set(CMAKE_SYSTEM_PROCESSOR i686)
set(okt_machine i386)
set(okt_compiler i686-linux-gnu)
set(okt_libraries i386-linux-gnu)
include(${CMAKE_CURRENT_LIST_DIR}/debiancross.cmake)

# Numbers are rounded as everywhere: the older unit keeps more digits than a double has.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_C_FLAGS_INIT "-msse2 -mfpmath=sse")
set(CMAKE_CROSSCOMPILING_EMULATOR /usr/${okt_compiler}/lib/ld-linux.so.2 --library-path /usr/${okt_compiler}/lib)
