# SPDX-License-Identifier: MIT
# okt_add_library(NAME [LINKS TARGET...] [USES TARGET...] [SOURCES FILE...] [EXCLUDE REGEX...]): one of the libraries beside the database, made of every source in the
# current folder but those that match an EXCLUDE, and of further SOURCES. Its headers are installed with it, but for those that say
# "Not installed." in a comment. LINKS are the libraries that its users link too, USES what only its sources need. The objects,
# NAME_objects, also go into the tests, which reach what the shared library hides.
function(okt_add_library name)
    cmake_parse_arguments(arg "" "" "LINKS;USES;SOURCES;EXCLUDE" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS *.cpp)
    file(GLOB headers CONFIGURE_DEPENDS *.h)
    foreach(pattern IN LISTS arg_EXCLUDE)
        list(FILTER sources EXCLUDE REGEX "${pattern}")
    endforeach()
    set(public "")
    foreach(header IN LISTS headers)
        file(STRINGS ${header} internal REGEX "Not installed\\." LIMIT_COUNT 1)
        if(NOT internal)
            list(APPEND public ${header})
        endif()
    endforeach()

    add_library(${name}_objects OBJECT ${sources} ${arg_SOURCES})
    if(WIN32)
        target_compile_definitions(${name}_objects PRIVATE OKT_BUILDING_LIBRARY) # linked to the database's own objects in the tests
    endif()
    set_target_properties(${name}_objects PROPERTIES POSITION_INDEPENDENT_CODE ON)
    target_include_directories(${name}_objects PUBLIC ${PROJECT_SOURCE_DIR})
    target_link_libraries(${name}_objects PRIVATE okt_compiler ${arg_USES})

    add_library(${name} STATIC)
    add_library(OKTDatabase::${name} ALIAS ${name})
    target_sources(${name} PRIVATE $<TARGET_OBJECTS:${name}_objects>
                   PUBLIC FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${public})
    target_link_libraries(${name} PUBLIC ${arg_LINKS} OKTDatabase::OKTDatabase)
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX)

    if(OKT_INSTALL)
        install(TARGETS ${name} EXPORT OKTDatabaseTargets
                ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
                FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
    endif()
    set_property(GLOBAL APPEND PROPERTY OKT_LIBRARIES ${name})
    set(links ${arg_LINKS} OKTDatabase::OKTDatabase)
    set_target_properties(${name} PROPERTIES OKT_LINKS "${links}")
endfunction()
