# SPDX-License-Identifier: MIT
# cmake -DFOLDER=... -DMOST=BYTES -P corpussize.cmake: fails where the files in the folder have more bytes together.
file(GLOB_RECURSE files ${FOLDER}/*)
set(sum 0)
foreach(file IN LISTS files)
    file(SIZE ${file} size)
    math(EXPR sum "${sum} + ${size}")
endforeach()
message("${FOLDER}: ${sum} bytes")
if(sum GREATER MOST)
    message(FATAL_ERROR "the corpora may have ${MOST} bytes: make them smaller by scripts/fuzz --merge")
endif()
