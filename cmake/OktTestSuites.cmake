# SPDX-License-Identifier: MIT
# okt_add_test_suites(<executable> [TIMEOUT seconds] [ENVIRONMENT name=value...] [EXCEPT Suite.Test...])
#
# One ctest entry for each GoogleTest suite of the executable, named after the suite. The suites are asked from the program
# when it has been built, so that none can be forgotten; one process for each is much quicker than one for each test.

# As a script, after each build of the executable: writes the file that ctest includes.
if(CMAKE_SCRIPT_MODE_FILE)
    execute_process(COMMAND ${CMAKE_COMMAND} -E env ${TEST_ENVIRONMENT} ${TEST_LAUNCHER} ${TEST_EXECUTABLE} --gtest_list_tests
                    OUTPUT_VARIABLE listing RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${TEST_EXECUTABLE} does not list its tests: ${result}")
    endif()
    string(REPLACE "\r" "" listing "${listing}")
    # Suites stand at the start of a line and end with a point, "Prefix/Suite/0.  # TypeParam = ..." included.
    string(REGEX MATCHALL "(^|\n)[A-Za-z0-9_/]+\\." suites "${listing}")
    list(TRANSFORM suites STRIP)
    list(TRANSFORM suites REPLACE "\\.$" "")
    list(REMOVE_DUPLICATES suites)
    if(NOT suites)
        message(FATAL_ERROR "${TEST_EXECUTABLE} has no tests")
    endif()
    set(script "")
    set(launcher "")
    foreach(word IN LISTS TEST_LAUNCHER)
        string(APPEND launcher "[==[${word}]==] ")
    endforeach()
    # Where starting a process is slow, some suites share one; the entry is named after the first and tells how many follow.
    list(LENGTH suites count)
    math(EXPR last "${count} - 1")
    foreach(first RANGE 0 ${last} ${TEST_GROUP})
        list(SUBLIST suites ${first} ${TEST_GROUP} group)
        list(GET group 0 name)
        list(LENGTH group size)
        if(size GREATER 1)
            math(EXPR others "${size} - 1")
            string(APPEND name "_and_${others}_more")
        endif()
        list(TRANSFORM group APPEND ".*")
        list(JOIN group ":" filter)
        if(TEST_EXCEPT)
            string(APPEND filter ":-${TEST_EXCEPT}")
        endif()
        string(APPEND script
            "add_test([==[${name}]==] ${launcher}[==[${TEST_EXECUTABLE}]==] [==[--gtest_filter=${filter}]==] --gtest_brief=1)\n"
            "set_tests_properties([==[${name}]==] PROPERTIES TIMEOUT ${TEST_TIMEOUT} ENVIRONMENT [==[${TEST_ENVIRONMENT}]==])\n")
    endforeach()
    file(WRITE ${TEST_LIST} "${script}")
    return()
endif()

set(okt_test_suites_script ${CMAKE_CURRENT_LIST_FILE})

function(okt_add_test_suites executable)
    cmake_parse_arguments(arg "" "TIMEOUT" "ENVIRONMENT;EXCEPT" ${ARGN})
    list(JOIN arg_EXCEPT ":" except)
    set(list ${CMAKE_CURRENT_BINARY_DIR}/${executable}_suites.cmake)
    set(group 1)
    if(CMAKE_CROSSCOMPILING)
        set(group 20)
    endif()
    set(guard ${CMAKE_CURRENT_BINARY_DIR}/${executable}_include.cmake)
    add_custom_command(TARGET ${executable} POST_BUILD BYPRODUCTS ${list} VERBATIM
        COMMAND ${CMAKE_COMMAND} -D TEST_EXECUTABLE=$<TARGET_FILE:${executable}> -D TEST_LIST=${list}
                -D TEST_TIMEOUT=${arg_TIMEOUT} -D TEST_GROUP=${group} -D "TEST_LAUNCHER=${CMAKE_CROSSCOMPILING_EMULATOR}"
                -D "TEST_ENVIRONMENT=${arg_ENVIRONMENT}" -D "TEST_EXCEPT=${except}" -P ${okt_test_suites_script})
    file(WRITE ${guard}
        "if(EXISTS \"${list}\")\n  include(\"${list}\")\nelse()\n  add_test(${executable}_NOT_BUILT ${executable}_NOT_BUILT)\nendif()\n")
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${guard})
endfunction()
