# SPDX-License-Identifier: MIT
# Packages for a build that cannot use the machine's own: for another system, or with another standard library. Debian has the
# libraries of headers for its own system only, and GoogleTest also as source. Both are used here, under the names that find_package
# knows. Packages that the user names (nlohmann_json_DIR and so on) are taken instead.

set(okt_packages ${PROJECT_BINARY_DIR}/packages)

# okt_header_package(<package> <target> <header>): a folder with the headers of one library and of no other, because the headers of
# the machine's runtime library must not be found.
function(okt_header_package package target header)
    if(${package}_DIR)
        return()
    endif()
    find_path(OKT_${package}_HOST ${header} PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    cmake_path(GET header PARENT_PATH folder)
    file(MAKE_DIRECTORY ${okt_packages}/${package}/include)
    file(CREATE_LINK ${OKT_${package}_HOST}/${folder} ${okt_packages}/${package}/include/${folder} SYMBOLIC)
    file(CONFIGURE OUTPUT ${okt_packages}/${package}/${package}Config.cmake @ONLY CONTENT
"if(NOT TARGET ${target})
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES \"\${CMAKE_CURRENT_LIST_DIR}/include\")
endif()
")
    set(${package}_DIR ${okt_packages}/${package} CACHE PATH "The CMake package of ${package}")
endfunction()

# okt_googletest_package(): GoogleTest, built from its source as a part of this build.
function(okt_googletest_package)
    if(GTest_DIR)
        return()
    endif()
    find_path(OKT_GTEST_SOURCE googletest/CMakeLists.txt PATHS /usr/src/googletest NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
    file(CONFIGURE OUTPUT ${okt_packages}/GTest/GTestConfig.cmake @ONLY CONTENT
"if(NOT TARGET GTest::gtest)
    set(INSTALL_GTEST OFF)
    set(BUILD_SHARED_LIBS OFF)
    add_subdirectory(\"${OKT_GTEST_SOURCE}\" \"${PROJECT_BINARY_DIR}/googletest\" EXCLUDE_FROM_ALL SYSTEM)
endif()
")
    set(GTest_DIR ${okt_packages}/GTest CACHE PATH "The CMake package of GoogleTest")
endfunction()

if(CMAKE_CROSSCOMPILING)
    okt_header_package(nlohmann_json nlohmann_json::nlohmann_json nlohmann/json.hpp)
    okt_header_package(fmt fmt::fmt fmt/core.h)
    if(OKT_TOOLS)
        okt_header_package(CLI11 CLI11::CLI11 CLI/CLI.hpp)
    endif()
endif()
if(CMAKE_CROSSCOMPILING OR OKT_BUILD_GOOGLETEST)
    okt_googletest_package()
endif()
