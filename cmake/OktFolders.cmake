# SPDX-License-Identifier: MIT
# Where what is installed lies, one seen from the other, so that the whole can be moved.

set(okt_modules_dir ${CMAKE_INSTALL_LIBDIR}/oktdatabase/modules) # where okt looks for client modules

cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_BINDIR BASE_DIRECTORY /prefix NORMALIZE OUTPUT_VARIABLE okt_bin)
cmake_path(ABSOLUTE_PATH CMAKE_INSTALL_LIBDIR BASE_DIRECTORY /prefix NORMALIZE OUTPUT_VARIABLE okt_lib)
cmake_path(ABSOLUTE_PATH okt_modules_dir BASE_DIRECTORY /prefix NORMALIZE OUTPUT_VARIABLE okt_modules)
cmake_path(RELATIVE_PATH okt_lib BASE_DIRECTORY ${okt_bin} OUTPUT_VARIABLE okt_bin_to_lib)
cmake_path(RELATIVE_PATH okt_modules BASE_DIRECTORY ${okt_bin} OUTPUT_VARIABLE okt_bin_to_modules)
cmake_path(RELATIVE_PATH okt_lib BASE_DIRECTORY ${okt_modules} OUTPUT_VARIABLE okt_modules_to_lib)
