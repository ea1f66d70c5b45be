# SPDX-License-Identifier: MIT
# What a build was made of: provenance.json (compiler, flags, options, inputs with their sums) and sbom.spdx.json (SPDX 2.3: the product,
# and the libraries of others that it links or has compiled in). The build writes both, and they are installed beside the licence.
# Nothing in them tells a folder of the machine. SOURCE_DATE_EPOCH gives the time of the second.

# okt_inputs(VARIABLE SOURCE [CONFIGURE_DEPENDS]): what a build reads of this tree.
function(okt_inputs variable source)
    set(patterns cmake/* okt*/* tools/* docs/manual/* python/*.cpp python/*.h python/*.py python/*.pyi)
    list(TRANSFORM patterns PREPEND ${source}/)
    file(GLOB_RECURSE files LIST_DIRECTORIES OFF ${ARGN} ${patterns})
    list(FILTER files EXCLUDE REGEX "__pycache__")
    set(${variable} ${files} ${source}/CMakeLists.txt ${source}/LICENSE PARENT_SCOPE)
endfunction()

# As a script, in the build: -D SOURCE, FACTS (a JSON text in a file), OUT.
if(CMAKE_SCRIPT_MODE_FILE)
    file(READ ${FACTS} facts)
    okt_inputs(files ${SOURCE})
    list(TRANSFORM files REPLACE "^${SOURCE}/" "")
    list(SORT files)
    set(inputs "")
    set(separator "")
    set(lines "")
    foreach(file IN LISTS files)
        file(SHA256 ${SOURCE}/${file} sum)
        string(APPEND inputs "${separator}\n    {\"path\": \"${file}\", \"sha256\": \"${sum}\"}")
        string(APPEND lines "${sum}  ${file}\n")
        set(separator ",")
    endforeach()
    string(SHA256 sum "${lines}")

    string(JSON build GET "${facts}" build)
    string(JSON members LENGTH "${build}")
    math(EXPR last "${members} - 1")
    set(text "{\n")
    foreach(index RANGE 0 ${last})
        string(JSON key MEMBER "${build}" ${index})
        string(JSON value GET "${build}" ${key})
        string(JSON type TYPE "${build}" ${key})
        if(type STREQUAL "STRING")
            string(REPLACE "\\" "\\\\" value "${value}")
            string(REPLACE "\"" "\\\"" value "${value}")
            set(value "\"${value}\"")
        endif()
        string(APPEND text "  \"${key}\": ${value},\n")
    endforeach()
    string(APPEND text "  \"inputsSha256\": \"${sum}\",\n  \"inputs\": [${inputs}\n  ]\n}\n")
    file(WRITE ${OUT}/provenance.json "${text}")

    string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC)
    string(JSON version GET "${facts}" build version)
    set(packages "")
    set(relations "    {\"spdxElementId\": \"SPDXRef-DOCUMENT\", \"relationshipType\": \"DESCRIBES\", \"relatedSpdxElement\": \"SPDXRef-OKTDatabase\"}")
    string(JSON count LENGTH "${facts}" parts)
    math(EXPR last "${count} - 1")
    foreach(index RANGE 0 ${last})
        foreach(key IN ITEMS name version licence relation)
            string(JSON ${key} GET "${facts}" parts ${index} ${key})
        endforeach()
        set(told "")
        if(version)
            set(told " \"versionInfo\": \"${version}\",")
        endif()
        string(APPEND packages ",\n    {\"SPDXID\": \"SPDXRef-${name}\", \"name\": \"${name}\",${told} \"downloadLocation\": \"NOASSERTION\", "
            "\"filesAnalyzed\": false, \"licenseConcluded\": \"NOASSERTION\", \"licenseDeclared\": \"${licence}\", \"copyrightText\": \"NOASSERTION\"}")
        string(APPEND relations ",\n    {\"spdxElementId\": \"SPDXRef-OKTDatabase\", \"relationshipType\": \"${relation}\", \"relatedSpdxElement\": \"SPDXRef-${name}\"}")
    endforeach()
    string(JSON version GET "${facts}" build version)
    file(WRITE ${OUT}/sbom.spdx.json "{
  \"spdxVersion\": \"SPDX-2.3\",
  \"dataLicense\": \"CC0-1.0\",
  \"SPDXID\": \"SPDXRef-DOCUMENT\",
  \"name\": \"OKTDatabase10-${version}\",
  \"documentNamespace\": \"https://example.invalid/spdx/OKTDatabase10-${version}-${sum}\",
  \"creationInfo\": {\"created\": \"${created}\", \"creators\": [\"Organization: The OKTDatabase10 authors\", \"Tool: cmake/OktProvenance.cmake\"]},
  \"packages\": [
    {\"SPDXID\": \"SPDXRef-OKTDatabase\", \"name\": \"OKTDatabase10\", \"versionInfo\": \"${version}\", \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false, \"primaryPackagePurpose\": \"LIBRARY\", \"supplier\": \"Organization: The OKTDatabase10 authors\", \"licenseConcluded\": \"MIT\", \"licenseDeclared\": \"MIT\", \"copyrightText\": \"Copyright (c) 2026 The OKTDatabase10 authors\", \"comment\": \"sum of the inputs, by SHA-256: ${sum}\"}${packages}
  ],
  \"relationships\": [
${relations}
  ]
}
")
    return()
endif()

set(okt_provenance_script ${CMAKE_CURRENT_LIST_FILE})

# okt_version_in(VARIABLE HEADER PATTERN...): what stands in a header of another library, numbers joined by points; empty where it is not there.
function(okt_version_in variable header)
    set(numbers "")
    if(EXISTS "${header}")
        foreach(pattern IN LISTS ARGN)
            file(STRINGS "${header}" line REGEX "^# *define +${pattern}[ \t]" LIMIT_COUNT 1)
            string(REGEX REPLACE "^# *define +${pattern}[ \t]+\"?([0-9.]+).*" "\\1" number "${line}")
            list(APPEND numbers ${number})
        endforeach()
    endif()
    list(JOIN numbers "." numbers)
    set(${variable} "${numbers}" PARENT_SCOPE)
endfunction()

# okt_write_provenance(): a part of every build that installs.
function(okt_write_provenance)
    set(parts "")
    # part(TARGET NAME VERSION LICENCE RELATION): of whatever the target, if it is built, takes.
    macro(part target name version licence relation)
        if(TARGET ${target})
            string(APPEND parts ",{\"name\":\"${name}\",\"version\":\"${version}\",\"licence\":\"${licence}\",\"relation\":\"${relation}\"}")
        endif()
    endmacro()
    foreach(package IN ITEMS fmt nlohmann_json CLI11)
        get_property(version_${package} GLOBAL PROPERTY OKT_VERSION_${package})
    endforeach()
    if(NOT WIN32)
        part(OKTDatabase libxml2 "${LIBXML2_VERSION_STRING}" MIT DYNAMIC_LINK)
        okt_version_in(version "${OKT_CAIRO_INCLUDE_DIR}/cairo-version.h" CAIRO_VERSION_MAJOR CAIRO_VERSION_MINOR CAIRO_VERSION_MICRO)
        part(oktrebar cairo "${version}" "LGPL-2.1-only OR MPL-1.1" DYNAMIC_LINK)
    endif()
    part(oktformat fmt "${version_fmt}" MIT STATIC_LINK)
    part(okttext nlohmann-json "${version_nlohmann_json}" MIT STATIC_LINK)
    if(okt_has_store AND OKT_SQLITE_SOURCE)
        okt_version_in(version "${OKT_SQLITE_SOURCE}/sqlite3.h" SQLITE_VERSION)
        part(oktcatalog sqlite "${version}" blessing STATIC_LINK)
    elseif(okt_has_store)
        okt_version_in(version "${OKT_SQLITE_INCLUDE_DIR}/sqlite3.h" SQLITE_VERSION)
        part(oktcatalog sqlite "${version}" blessing DYNAMIC_LINK)
    endif()
    part(okt CLI11 "${version_CLI11}" BSD-3-Clause STATIC_LINK)
    set(linked DYNAMIC_LINK)
    if(WIN32)
        set(linked STATIC_LINK)
    endif()
    okt_version_in(version "${OKT_GCRYPT_INCLUDE_DIR}/gcrypt.h" GCRYPT_VERSION)
    part(okt libgcrypt "${version}" LGPL-2.1-or-later ${linked})
    okt_version_in(version "${OKT_PYBIND11_INCLUDE_DIR}/pybind11/detail/common.h" PYBIND11_VERSION_MAJOR PYBIND11_VERSION_MINOR
                   PYBIND11_VERSION_PATCH)
    part(okt_python pybind11 "${version}" BSD-3-Clause STATIC_LINK)
    part(OKTDatabase libstdcxx "${CMAKE_CXX_COMPILER_VERSION}" "GPL-3.0-or-later WITH GCC-exception-3.1" DYNAMIC_LINK)
    string(SUBSTRING "${parts}" 1 -1 parts)

    string(TOUPPER "${CMAKE_BUILD_TYPE}" type)
    set(flags "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${type}}")
    set(linker "${CMAKE_SHARED_LINKER_FLAGS}")
    set(options "")
    foreach(option IN ITEMS OKT_TOOLS OKT_TEXT OKT_PYTHON OKT_BACK_END OKT_SANITIZE OKT_QUICK_TOOL)
        string(APPEND options " ${option}=${${option}}")
    endforeach()
    set(facts "{\"build\":{}}")
    foreach(pair IN ITEMS "name=OKTDatabase10" "version=${PROJECT_VERSION}" "compiler=${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}"
            "cmake=${CMAKE_VERSION}" "system=${CMAKE_SYSTEM_NAME} ${CMAKE_SYSTEM_PROCESSOR}" "buildType=${CMAKE_BUILD_TYPE}" "libraries=${okt_kind}"
            "flags=${flags}" "linkerFlags=${linker}" "options=${options}")
        string(REGEX MATCH "^([a-zA-Z]+)=(.*)$" matched "${pair}")
        set(key ${CMAKE_MATCH_1})
        set(value "${CMAKE_MATCH_2}")
        string(REPLACE "${PROJECT_BINARY_DIR}" "build" value "${value}")
        string(REPLACE "${PROJECT_SOURCE_DIR}" "source" value "${value}")
        string(STRIP "${value}" value)
        string(REPLACE "\\" "\\\\" value "${value}")
        string(REPLACE "\"" "\\\"" value "${value}")
        string(JSON facts SET "${facts}" build ${key} "\"${value}\"")
    endforeach()
    string(JSON facts SET "${facts}" parts "[${parts}]")
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/provenance/facts.json CONTENT "${facts}\n" @ONLY)

    get_property(libraries GLOBAL PROPERTY OKT_LIBRARIES)
    set(objects "")
    foreach(each IN ITEMS OKTDatabase ${libraries} okt okt_python)
        if(TARGET ${each})
            list(APPEND objects $<TARGET_FILE:${each}>)
        endif()
    endforeach()
    set(made ${PROJECT_BINARY_DIR}/provenance)
    okt_inputs(inputs ${PROJECT_SOURCE_DIR} CONFIGURE_DEPENDS)
    add_custom_command(OUTPUT ${made}/provenance.json ${made}/sbom.spdx.json VERBATIM
        COMMAND ${CMAKE_COMMAND} -D SOURCE=${PROJECT_SOURCE_DIR} -D FACTS=${made}/facts.json -D OUT=${made} -P ${okt_provenance_script}
        DEPENDS ${objects} ${inputs} ${made}/facts.json ${okt_provenance_script})
    add_custom_target(okt_provenance ALL DEPENDS ${made}/provenance.json ${made}/sbom.spdx.json)
    install(FILES ${made}/provenance.json ${made}/sbom.spdx.json DESTINATION ${CMAKE_INSTALL_DOCDIR})
endfunction()
