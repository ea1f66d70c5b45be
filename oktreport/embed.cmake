# SPDX-License-Identifier: MIT
# cmake -DSTYLE=report.css "-DSCRIPT=report.js;search.js" -DOUTPUT=pageparts.cpp -P embed.cmake
# Writes the source that holds the style and the script of the page, with their digests. Each is one text, of one or several files.

cmake_minimum_required(VERSION 3.25)

# base64(VARIABLE HEX): bytes as base64, which CMake has not; the digests themselves are CMake's.
function(base64 variable hex)
    set(letters "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/")
    string(LENGTH "${hex}" length)
    set(text "")
    set(at 0)
    while(at LESS length)
        string(SUBSTRING "${hex}" ${at} 6 group) # three bytes, at the end fewer
        string(LENGTH "${group}" digits)
        string(SUBSTRING "${group}00000" 0 6 group)
        math(EXPR number "0x${group}")
        math(EXPR used "${digits} / 2 + 1")
        foreach(place RANGE 0 3)
            if(place LESS used)
                math(EXPR letter "(${number} >> (18 - 6 * ${place})) & 63")
                string(SUBSTRING "${letters}" ${letter} 1 letter)
            else()
                set(letter "=")
            endif()
            string(APPEND text "${letter}")
        endforeach()
        math(EXPR at "${at} + 6")
    endwhile()
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

set(source "// Made of the style and the script of the page.\n\n#include <oktreport/pageparts.h>\n\nnamespace okt\n{\n")
foreach(part Style Script)
    string(TOUPPER ${part} path)
    set(text "")
    foreach(file IN LISTS ${path})
        file(READ ${file} piece)
        # The line that names the licence is the source's, not the page's.
        string(REGEX REPLACE "^(//|/\\*) SPDX-License-Identifier:[^\n]*\n" "" piece "${piece}")
        string(APPEND text "${piece}")
    endforeach()
    string(REPLACE "\r\n" "\n" text "${text}")
    string(FIND "${text}" ")okt\"" end)
    if(NOT end EQUAL -1)
        message(FATAL_ERROR "${${path}} holds the end mark of its literal")
    endif()
    string(SHA256 hex "${text}")
    base64(digest "${hex}")
    string(APPEND source "\nstd::string_view const kPage${part} = R\"okt(${text})okt\";\n"
                         "std::string_view const kPage${part}Digest = \"${digest}\";\n")
endforeach()
string(APPEND source "\n} // namespace okt\n")
file(WRITE ${OUTPUT} "${source}")
