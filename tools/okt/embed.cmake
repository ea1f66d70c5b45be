# SPDX-License-Identifier: MIT
# cmake "-DPAGES=build.md;set.md" -DOUTPUT=manualpages.cpp -P embed.cmake
# Writes the source that holds the pages of the manual. What stands in them between the marks is okt's own and not read back.

cmake_minimum_required(VERSION 3.25)

set(source "// Made of the pages of the manual.\n\n#include <tools/okt/commands/manual.h>\n\nnamespace okt\n{\n\n"
           "std::vector<ManualPage> const &manualPages()\n{\n    static std::vector<ManualPage> const pages = {\n")
foreach(file IN LISTS PAGES)
    file(READ ${file} text)
    string(REPLACE "\r\n" "\n" text "${text}")
    string(FIND "${text}" ")okt\"" end)
    if(NOT end EQUAL -1)
        message(FATAL_ERROR "${file} holds the end mark of its literal")
    endif()
    get_filename_component(name ${file} NAME_WE)
    string(APPEND source "        {\"${name}\", R\"okt(${text})okt\"},\n")
endforeach()
string(APPEND source "    };\n    return pages;\n}\n\n} // namespace okt\n")
file(WRITE ${OUTPUT} "${source}")
