# Runs the port with stand-ins for the functions of vcpkg: CMake must know its options, and the files that it moves must
# exist in an installed library.
# usage: cmake -D SOURCE=... -D PREFIX=(an installed library) -D BUILD=... -P vcpkg.cmake

set(CURRENT_PACKAGES_DIR ${BUILD}/packages)
file(REMOVE_RECURSE ${BUILD})
file(MAKE_DIRECTORY ${BUILD})

function(vcpkg_check_features)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "OUT_FEATURE_OPTIONS" "FEATURES")
    file(READ ${SOURCE}/packaging/vcpkg/vexamesh/vcpkg.json manifest)
    set(options)
    while(arg_FEATURES)
        list(POP_FRONT arg_FEATURES feature option)
        string(JSON description GET ${manifest} features ${feature} description)
        list(APPEND options -D${option}=ON)
    endwhile()
    set(${arg_OUT_FEATURE_OPTIONS} ${options} PARENT_SCOPE)
endfunction()

function(vcpkg_cmake_configure)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "SOURCE_PATH" "OPTIONS")
    execute_process(
        COMMAND ${CMAKE_COMMAND} -G Ninja -S ${arg_SOURCE_PATH} -B ${BUILD}/build -D BUILD_SHARED_LIBS=ON ${arg_OPTIONS}
        OUTPUT_QUIET ERROR_VARIABLE messages COMMAND_ERROR_IS_FATAL ANY)
    if(messages)
        message(FATAL_ERROR "configuring with the options of the port says: ${messages}")
    endif()
    list(LENGTH arg_OPTIONS count)
    message("figure: ${count} options")
endfunction()

function(vcpkg_cmake_install)
    file(COPY ${PREFIX}/ DESTINATION ${CURRENT_PACKAGES_DIR})
    file(COPY ${PREFIX}/ DESTINATION ${CURRENT_PACKAGES_DIR}/debug)
endfunction()

function(vcpkg_cmake_config_fixup)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "PACKAGE_NAME;CONFIG_PATH" "")
    if(NOT EXISTS ${CURRENT_PACKAGES_DIR}/${arg_CONFIG_PATH}/${arg_PACKAGE_NAME}Config.cmake)
        message(FATAL_ERROR "no ${arg_PACKAGE_NAME}Config.cmake in ${arg_CONFIG_PATH}")
    endif()
endfunction()

function(vcpkg_fixup_pkgconfig)
    if(NOT EXISTS ${CURRENT_PACKAGES_DIR}/lib/pkgconfig/vexaMesh.pc)
        message(FATAL_ERROR "no pkg-config file")
    endif()
endfunction()

function(vcpkg_install_copyright)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "FILE_LIST")
    file(COPY ${arg_FILE_LIST} DESTINATION ${CURRENT_PACKAGES_DIR}/share/vexamesh)
endfunction()

include(${SOURCE}/packaging/vcpkg/vexamesh/portfile.cmake)
if(EXISTS ${CURRENT_PACKAGES_DIR}/debug/include OR NOT EXISTS ${CURRENT_PACKAGES_DIR}/include/vexa/mesh.h)
    message(FATAL_ERROR "the headers are not those of the release build alone")
endif()

file(READ ${SOURCE}/packaging/vcpkg/vexamesh/vcpkg.json manifest)
string(JSON version GET ${manifest} version)
file(STRINGS ${SOURCE}/CMakeLists.txt project REGEX "^project\\(vexaMesh VERSION ${version} ")
if(NOT project)
    message(FATAL_ERROR "the port has version ${version}, and the project another")
endif()
