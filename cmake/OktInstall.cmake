# SPDX-License-Identifier: MIT
# `cmake --install`: the library, its headers, the CMake package, the pkg-config file. Nothing installed tells an absolute
# path, so that the whole can be moved.

include(CMakePackageConfigHelpers)

set(okt_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/OKTDatabase)

install(TARGETS OKTDatabase EXPORT OKTDatabaseTargets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
        FILE_SET okt_built DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT OKTDatabaseTargets NAMESPACE OKTDatabase:: DESTINATION ${okt_package_dir})

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
configure_file(${CMAKE_CURRENT_LIST_DIR}/oktdatabase.pc.in ${PROJECT_BINARY_DIR}/cmake/oktdatabase.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cmake/oktdatabase.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
if(TARGET oktc)
    configure_file(${CMAKE_CURRENT_LIST_DIR}/oktc.pc.in ${PROJECT_BINARY_DIR}/cmake/oktc.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/cmake/oktc.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()

# The licence asks to stand beside every copy.
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
