# SPDX-License-Identifier: MIT
# What a build for Windows needs beside the compiler. Included by the project where the target is Windows.

if(CMAKE_CROSSCOMPILING)
    # What is built here runs under Wine, in a folder of settings of its own and without a display.
    find_program(OKT_WINE NAMES wine64 PATHS /usr/lib/wine NO_CMAKE_FIND_ROOT_PATH)
    if(OKT_WINE AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
        set(CMAKE_CROSSCOMPILING_EMULATOR sh;${PROJECT_SOURCE_DIR}/scripts/wine;${PROJECT_BINARY_DIR}/wine)
    endif()
endif()

# Programs and libraries lie in one folder: there the system looks for the libraries of a program first.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)

# The compiler's runtime is shared by the library and its hosts, since exceptions and memory pass between them.
set(okt_runtime_libraries "")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name} OUTPUT_VARIABLE place OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT EXISTS ${place})
            find_file(OKT_${name} ${name} PATH_SUFFIXES lib bin REQUIRED)
            set(place ${OKT_${name}})
        endif()
        file(REAL_PATH ${place} place)
        list(APPEND okt_runtime_libraries ${place})
        file(COPY ${place} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
    endforeach()
endif()

# A caller must not count on the registers that its own copy of an inline function leaves alone: the linker may take the copy of
# another source, which uses others. The compiler does so there (not so for ELF).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    add_compile_options(-fno-ipa-ra)
endif()

# okt_module_resources(<library>): the string table, the type library, the manifest, and the entry points under their own names.
function(okt_module_resources library)
    enable_language(RC)
    find_program(OKT_WIDL NAMES x86_64-w64-mingw32-widl widl REQUIRED NO_CMAKE_FIND_ROOT_PATH)
    set(sources ${PROJECT_SOURCE_DIR}/oktdatabase/res)
    set(made ${PROJECT_BINARY_DIR}/res)
    file(MAKE_DIRECTORY ${made})
    add_custom_command(OUTPUT ${made}/oktdatabase.tlb DEPENDS ${sources}/oktdatabase.idl VERBATIM
        COMMAND ${OKT_WIDL} --win64 -t -o ${made}/oktdatabase.tlb ${sources}/oktdatabase.idl)
    set(script ${sources}/oktdatabase.rc)
    set_source_files_properties(${script} PROPERTIES LANGUAGE RC
        COMPILE_OPTIONS "-I${made};-I${sources}"
        OBJECT_DEPENDS "${made}/oktdatabase.tlb;${sources}/oktprompts.inc;${sources}/oktdatabase.manifest")
    target_sources(${library} PRIVATE ${script} ${PROJECT_SOURCE_DIR}/cmake/oktdatabase.def)
    # The library is named as its users know it, without the prefix of other systems.
    set_target_properties(${library} PROPERTIES PREFIX "" IMPORT_PREFIX "")
endfunction()
