# SPDX-License-Identifier: MIT
# Compiler settings of this project's own targets: they link okt_compiler. Sanitizers and the mapping of paths concern
# every object of the build.

if(OKT_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    find_program(OKT_CCACHE_PROGRAM ccache)
    if(OKT_CCACHE_PROGRAM)
        set(CMAKE_CXX_COMPILER_LAUNCHER ${OKT_CCACHE_PROGRAM})
    endif()
endif()

add_library(okt_compiler INTERFACE)

# GCC, Clang, and what takes their options.
set(okt_takes_gnu_options OFF)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang" AND NOT MSVC)
    set(okt_takes_gnu_options ON)
endif()

if(okt_takes_gnu_options)
    target_compile_options(okt_compiler INTERFACE -Wall -Wextra -Wpedantic -Wconversion)
    # The headers of Windows have names such as `byte` in the global scope.
    if(WIN32)
        target_compile_options(okt_compiler INTERFACE -Wshadow=local)
    else()
        target_compile_options(okt_compiler INTERFACE -Wshadow)
    endif()
    # GCC 12 sees overlapping copies inside std::string where there are none (its bug 105651).
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        target_compile_options(okt_compiler INTERFACE -Wno-restrict)
    endif()
    if(OKT_WERROR)
        target_compile_options(okt_compiler INTERFACE -Werror)
    endif()
elseif(MSVC)
    target_compile_options(okt_compiler INTERFACE /W4 /permissive- /utf-8 /Zc:__cplusplus)
    if(OKT_WERROR)
        target_compile_options(okt_compiler INTERFACE /WX)
    endif()
endif()

# No folder of the machine that built it stands in a binary. Coverage needs the real places of the sources, but in __FILE__.
set(okt_prefix_map -ffile-prefix-map)
if(OKT_COVERAGE)
    set(okt_prefix_map -fmacro-prefix-map)
endif()
if(okt_takes_gnu_options)
    add_compile_options(${okt_prefix_map}=${PROJECT_BINARY_DIR}=build ${okt_prefix_map}=${PROJECT_SOURCE_DIR}/=)
endif()

# Files of more than two gigabytes, where a machine of 32 bits has to be told.
if(UNIX AND CMAKE_SIZEOF_VOID_P EQUAL 4)
    add_compile_definitions(_FILE_OFFSET_BITS=64)
endif()

if(OKT_SANITIZE)
    add_compile_options(-fsanitize=${OKT_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${OKT_SANITIZE})
endif()

# libFuzzer learns from the branches that its input takes, so the library's objects count them.
if(OKT_FUZZ AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    add_compile_options(-fsanitize=fuzzer-no-link)
endif()

if(OKT_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()

# okt_precompile(TARGET HEADER...): the large headers of others that most of its sources include, compiled once where
# OKT_PRECOMPILE says so. A build without it finds the source that lacks an include. It is off where GCC optimises: from a
# precompiled header that compiler warns of what it passes over in a header of the system.
function(okt_precompile target)
    if(OKT_PRECOMPILE)
        target_precompile_headers(${target} PRIVATE ${ARGN})
        if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
            target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp") # so that ccache knows one from its contents
        endif()
    endif()
endfunction()
