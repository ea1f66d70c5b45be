# SPDX-License-Identifier: MIT
# `cmake --install`: the libraries, their headers, the CMake package, the pkg-config files. Nothing installed tells an absolute
# path, so that the whole can be moved.

include(CMakePackageConfigHelpers)

set(okt_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/OKTDatabase)
get_property(okt_libraries GLOBAL PROPERTY OKT_LIBRARIES)

install(TARGETS OKTDatabase EXPORT OKTDatabaseTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILE_SET okt_built DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT OKTDatabaseTargets NAMESPACE OKTDatabase:: DESTINATION ${okt_package_dir})

# A static database needs its XML parser found by whoever links it.
set(okt_dependencies "")
if(okt_kind STREQUAL "STATIC" AND NOT WIN32)
    set(okt_dependencies "include(CMakeFindDependencyMacro)\nfind_dependency(LibXml2)\n")
endif()
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/OKTDatabaseConfig.cmake.in
    ${PROJECT_BINARY_DIR}/cmake/OKTDatabaseConfig.cmake INSTALL_DESTINATION ${okt_package_dir}
    NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/cmake/OKTDatabaseConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/cmake/OKTDatabaseConfig.cmake ${PROJECT_BINARY_DIR}/cmake/OKTDatabaseConfigVersion.cmake
        DESTINATION ${okt_package_dir})

# pkg-config finds the prefix from the place of its own file.
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY /prefix NORMALIZE OUTPUT_VARIABLE okt_lib_dir)
cmake_path(RELATIVE_PATH okt_lib_dir BASE_DIRECTORY /prefix OUTPUT_VARIABLE okt_pc_lib_dir)
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_INCLUDEDIR BASE_DIRECTORY /prefix NORMALIZE OUTPUT_VARIABLE okt_include_dir)
cmake_path(RELATIVE_PATH okt_include_dir BASE_DIRECTORY /prefix OUTPUT_VARIABLE okt_pc_include_dir)
set(okt_pc_up /prefix)
cmake_path(RELATIVE_PATH okt_pc_up BASE_DIRECTORY ${okt_lib_dir}/pkgconfig)

# okt_pkgconfig(MODULE FILE LANGUAGE [REQUIRES text...] [LIBS word...]): one file for one library.
function(okt_pkgconfig module file language)
    cmake_parse_arguments(arg "" "" "REQUIRES;LIBS" ${ARGN})
    list(JOIN arg_REQUIRES ", " okt_pc_requires)
    list(JOIN arg_LIBS " " okt_pc_libs)
    set(okt_pc_name ${module})
    set(okt_pc_language ${language})
    configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/library.pc.in ${PROJECT_BINARY_DIR}/cmake/${file}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/cmake/${file}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()

set(okt_pc_database -lOKTDatabase${PROJECT_VERSION_MAJOR})
set(okt_pc_database_requires "")
if(okt_kind STREQUAL "STATIC")
    list(TRANSFORM CMAKE_DL_LIBS PREPEND -l OUTPUT_VARIABLE okt_pc_dl)
    list(APPEND okt_pc_database ${okt_pc_dl})
    set(okt_pc_database_requires libxml-2.0)
endif()
okt_pkgconfig(OKTDatabase oktdatabase C++20 LIBS ${okt_pc_database} REQUIRES ${okt_pc_database_requires})
foreach(library IN LISTS okt_libraries)
    if(library STREQUAL "oktc")
        continue()
    endif()
    get_target_property(links ${library} OKT_LINKS)
    set(requires "")
    set(libs -l${library})
    foreach(link IN LISTS links)
        if(link STREQUAL "OKTDatabase::OKTDatabase")
            list(APPEND requires "oktdatabase >= ${PROJECT_VERSION}")
        elseif(link MATCHES "^OKTDatabase::(.*)$")
            list(APPEND requires "${CMAKE_MATCH_1} = ${PROJECT_VERSION}")
        else()
            list(APPEND libs -l${link})
        endif()
    endforeach()
    okt_pkgconfig(${library} ${library} C++20 LIBS ${libs} REQUIRES ${requires})
endforeach()
if(TARGET oktc AND okt_kind STREQUAL "SHARED")
    okt_pkgconfig(oktc oktc C LIBS -loktc${PROJECT_VERSION_MAJOR})
elseif(TARGET oktc)
    okt_pkgconfig(oktc oktc C LIBS -loktc${PROJECT_VERSION_MAJOR} -lstdc++ REQUIRES "oktinspect = ${PROJECT_VERSION}")
endif()

# The licence asks to stand beside every copy.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
