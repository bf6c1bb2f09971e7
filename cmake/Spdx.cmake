# Lists what the installed package consists of and depends on, as an SPDX 2.3 document: the library with the packages of
# dependencies.txt that it needs to be built and used, and the tool's if the tool is installed as well.

set(parts library)
if(TARGET vexamesh)
    list(APPEND parts tool)
endif()

# SOURCE_DATE_EPOCH, if it is set.
string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC)
string(UUID uuid NAMESPACE 6ba7b811-9dad-11d1-80b4-00c04fd430c8 NAME "vexaMesh ${PROJECT_VERSION} ${parts} ${created}" TYPE SHA1)
set(spdx [[{"spdxVersion": "SPDX-2.3", "dataLicense": "CC0-1.0", "SPDXID": "SPDXRef-DOCUMENT",
    "creationInfo": {"creators": ["Tool: CMake"]}, "packages": [], "relationships": []}]])

# Appends a JSON object, given as a text, to an array of the document.
macro(vexa_append_json array object)
    string(JSON length LENGTH "${spdx}" ${array})
    string(JSON spdx SET "${spdx}" ${array} ${length} "${object}")
endmacro()

macro(vexa_add_spdx_package id name version license comment)
    vexa_append_json(packages "{\"SPDXID\": \"SPDXRef-${id}\", \"name\": \"${name}\", \"versionInfo\": \"${version}\",
        \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false, \"licenseConcluded\": \"${license}\",
        \"licenseDeclared\": \"${license}\", \"copyrightText\": \"NOASSERTION\", \"comment\": \"${comment}\"}")
endmacro()

string(JSON spdx SET "${spdx}" name "\"vexaMesh-${PROJECT_VERSION}\"")
string(JSON spdx SET "${spdx}" documentNamespace "\"https://spdx.org/spdxdocs/vexaMesh-${PROJECT_VERSION}-${uuid}\"")
string(JSON spdx SET "${spdx}" creationInfo created "\"${created}\"")
vexa_add_spdx_package(vexaMesh vexaMesh ${PROJECT_VERSION} MIT "${PROJECT_DESCRIPTION}")
vexa_append_json(relationships "{\"spdxElementId\": \"SPDXRef-DOCUMENT\", \"relationshipType\": \"DESCRIBES\",
    \"relatedSpdxElement\": \"SPDXRef-vexaMesh\"}")

file(STRINGS ${PROJECT_SOURCE_DIR}/cmake/dependencies.txt lines REGEX "^[^#|]+[|]")
set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS cmake/dependencies.txt)
find_program(VEXA_DPKG_QUERY dpkg-query)
foreach(line ${lines})
    string(REGEX MATCH "^([^| ]+) *[|]([^|]*)[|] *(.*)$" matched "${line}")
    set(name ${CMAKE_MATCH_1})
    set(reason "${CMAKE_MATCH_3}")
    string(REGEX MATCHALL "[a-z]+" needed_by "${CMAKE_MATCH_2}")
    foreach(part ${parts})
        if(NOT part IN_LIST needed_by)
            continue()
        endif()
        set(version "")
        if(VEXA_DPKG_QUERY AND NOT name MATCHES "^npm:")
            execute_process(COMMAND ${VEXA_DPKG_QUERY} -W -f "\${Version}" ${name} OUTPUT_VARIABLE version ERROR_QUIET)
        endif()
        if(version STREQUAL "")
            set(version NOASSERTION)
        endif()
        # An identifier has letters, digits, dots and hyphens.
        string(REGEX REPLACE "[^A-Za-z0-9.-]" "-" id ${name})
        vexa_add_spdx_package(${id} ${name} ${version} NOASSERTION "${reason}")
        vexa_append_json(relationships "{\"spdxElementId\": \"SPDXRef-vexaMesh\", \"relationshipType\": \"DEPENDS_ON\",
            \"relatedSpdxElement\": \"SPDXRef-${id}\"}")
        break()
    endforeach()
endforeach()

file(WRITE ${PROJECT_BINARY_DIR}/cmake/vexaMesh.spdx.json "${spdx}\n")
install(FILES ${PROJECT_BINARY_DIR}/cmake/vexaMesh.spdx.json DESTINATION ${CMAKE_INSTALL_DATADIR}/vexaMesh)
