# SPDX-License-Identifier: MIT
# The parts of the project, and what each needs. The database needs a compiler, CMake and libxml2. A part whose packages are missing is
# left out, and the table at the end of configuring names them; with OKT_STRICT a missing package ends the configuring.

option(OKT_STRICT "Fail where a package for a part that is asked for is missing" OFF)

# okt_find_package(VARIABLE NAME DEBIAN): VARIABLE is empty where the CMake package is there, else the name of Debian's package.
function(okt_find_package variable name debian)
    set(missing "")
    find_package(${name} QUIET GLOBAL)
    if(NOT ${name}_FOUND)
        set(missing ${debian})
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
