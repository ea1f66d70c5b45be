# SPDX-License-Identifier: MIT
# The archive of the sources is the one of this release, beside the port or where OKT_ARCHIVE says.
if(DEFINED ENV{OKT_ARCHIVE})
    set(archive "$ENV{OKT_ARCHIVE}")
    file(SHA512 "${archive}" sum)
    if(NOT sum STREQUAL "@SHA512@")
        message(FATAL_ERROR "${archive} is another archive than the one of release @VERSION@")
    endif()
else()
    vcpkg_download_distfile(archive
        URLS "https://example.invalid/oktdatabase10/oktdatabase10-@VERSION@.tar.gz"
        FILENAME "oktdatabase10-@VERSION@.tar.gz"
        SHA512 @SHA512@)
endif()
vcpkg_extract_source_archive(source ARCHIVE "${archive}")

vcpkg_check_features(OUT_FEATURE_OPTIONS options FEATURES text OKT_TEXT)
vcpkg_cmake_configure(SOURCE_PATH "${source}"
    OPTIONS ${options} -DOKT_TOOLS=OFF -DOKT_EXAMPLES=OFF -DOKT_STRICT=ON)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME OKTDatabase CONFIG_PATH lib/cmake/OKTDatabase)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share" "${CURRENT_PACKAGES_DIR}/share/doc")
vcpkg_install_copyright(FILE_LIST "${source}/LICENSE")
