# SPDX-License-Identifier: MIT
# The parts of the project, and what each needs. The database needs a compiler, CMake and libxml2. A part whose packages are missing is
# left out, and the table at the end of configuring names them; with OKT_STRICT a missing package ends the configuring.

option(OKT_STRICT "Fail where a package for a part that is asked for is missing" OFF)

# okt_find_package(VARIABLE NAME DEBIAN): VARIABLE is empty where the CMake package is there, else the name of Debian's package.
function(okt_find_package variable name debian)
    set(missing "")
    find_package(${name} QUIET)
    if(NOT ${name}_FOUND)
        set(missing ${debian})
    endif()
    set(${variable} "${missing}" PARENT_SCOPE)
endfunction()

# okt_find_fmt(VARIABLE): the same for fmt. The target okt_fmt brings its headers alone: one source compiles what is in them
# (oktformat/sentence.cpp), and its library is not linked.
function(okt_find_fmt variable)
    okt_find_package(missing fmt libfmt-dev)
    if(TARGET fmt::fmt)
        add_library(okt_fmt INTERFACE)
        target_include_directories(okt_fmt SYSTEM INTERFACE $<TARGET_PROPERTY:fmt::fmt,INTERFACE_INCLUDE_DIRECTORIES>)
    endif()
    set(${variable} "${missing}" PARENT_SCOPE)
endfunction()

# okt_find_gcrypt(VARIABLE): the same for libgcrypt, as the target okt_gcrypt. It has no CMake package. For Windows it is linked whole,
# so that no further DLL has to lie beside the program.
function(okt_find_gcrypt variable)
    find_path(OKT_GCRYPT_INCLUDE_DIR gcrypt.h)
    find_path(OKT_GPG_ERROR_INCLUDE_DIR gpg-error.h) # which that includes, from a folder of the architecture's own
    if(WIN32)
        find_library(OKT_GCRYPT_LIBRARY NAMES libgcrypt.a gcrypt)
        find_library(OKT_GPG_ERROR_LIBRARY NAMES libgpg-error.a gpg-error)
        set(libraries ${OKT_GCRYPT_LIBRARY} ${OKT_GPG_ERROR_LIBRARY} ws2_32)
        set(missing "libgcrypt-mingw-w64-dev")
    else()
        find_library(OKT_GCRYPT_LIBRARY gcrypt)
        set(libraries ${OKT_GCRYPT_LIBRARY})
        set(missing "libgcrypt20-dev")
    endif()
    if(OKT_GCRYPT_INCLUDE_DIR AND OKT_GPG_ERROR_INCLUDE_DIR AND OKT_GCRYPT_LIBRARY)
        set(missing "")
        add_library(okt_gcrypt INTERFACE)
        target_include_directories(okt_gcrypt SYSTEM INTERFACE ${OKT_GCRYPT_INCLUDE_DIR} ${OKT_GPG_ERROR_INCLUDE_DIR})
        target_link_libraries(okt_gcrypt INTERFACE ${libraries})
    endif()
    set(${variable} "${missing}" PARENT_SCOPE)
endfunction()

# okt_find_tool(VARIABLE PROGRAM DEBIAN): VARIABLE is the program, to be checked by okt_part.
function(okt_find_tool variable program debian)
    find_program(${variable} ${program} NO_CMAKE_FIND_ROOT_PATH)
    if(NOT ${variable})
        set(${variable}_missing ${debian} PARENT_SCOPE)
    else()
        set(${variable}_missing "" PARENT_SCOPE)
    endif()
endfunction()

# okt_part(VARIABLE NAME ASKED [MISSING package...] [NEEDS part-variable...]): VARIABLE tells whether the part is built, and the table
# gets a row. ASKED is the option that asks for it.
function(okt_part variable name asked)
    cmake_parse_arguments(arg "" "" "MISSING;NEEDS" ${ARGN})
    set(needed "")
    foreach(part IN LISTS arg_NEEDS)
        if(NOT ${part})
            list(APPEND needed ${${part}_why})
        endif()
    endforeach()
    list(APPEND needed ${arg_MISSING})
    list(REMOVE_DUPLICATES needed)
    list(JOIN needed " " why)
    set(isBuilt OFF)
    if(NOT asked)
        set(row "not asked for")
    elseif(needed)
        set(row "no: ${why}")
        if(OKT_STRICT)
            message(FATAL_ERROR "${name} cannot be built. Missing: ${why}")
        endif()
    else()
        set(isBuilt ON)
        set(row "yes")
    endif()
    set(${variable} ${isBuilt} PARENT_SCOPE)
    set(${variable}_why "${needed}" PARENT_SCOPE)
    string(LENGTH "${name}" length)
    math(EXPR blanks "36 - ${length}")
    string(REPEAT " " ${blanks} padding)
    set_property(GLOBAL APPEND PROPERTY OKT_PARTS "  ${name}${padding}${row}")
endfunction()

function(okt_print_parts)
    get_property(rows GLOBAL PROPERTY OKT_PARTS)
    list(JOIN rows "\n" table)
    message(STATUS "What is built, and which packages (of Debian) bring what is not:\n${table}")
endfunction()
