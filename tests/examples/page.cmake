# SPDX-License-Identifier: MIT
# cmake -DPAGE=FILE -DSOURCE=FILE -P page.cmake: the page shows the program as it is compiled.
file(READ ${PAGE} page)
file(READ ${SOURCE} source)
string(FIND "${page}" "```c\n${source}```" place)
if(place LESS 0)
    message(FATAL_ERROR "${PAGE} shows another program than ${SOURCE}")
endif()
