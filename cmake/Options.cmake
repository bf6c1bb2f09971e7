# Build options. As part of another project, only the library is built by default.

option(BUILD_SHARED_LIBS "Build shared libraries" ON)
option(VEXA_BUILD_TOOL "Build the command-line tool vexamesh" ${PROJECT_IS_TOP_LEVEL})
option(VEXA_BUILD_REPORT "Build the tool's report command, which needs npm" ON)
option(VEXA_BUILD_EXAMPLES "Build the example programs" ${PROJECT_IS_TOP_LEVEL})
option(VEXA_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(VEXA_TEST_PACKAGE "Also build outside programs against the installed package" OFF)
option(VEXA_TEST_NODE "Also run the tests that need Node.js" OFF)
option(VEXA_TEST_PYTHON "Also build, install and test the Python package" OFF)
option(VEXA_BUILD_BENCH "Build the benchmark" OFF)
option(VEXA_BUILD_FUZZ "Build the fuzz targets, with clang++" OFF)
option(VEXA_BUILD_PYTHON "Build the Python package's extension module" OFF)
option(VEXA_BUILD_NPM "Build the module of the npm package, with Emscripten" OFF)
option(VEXA_AVX2 "Use AVX2 on processors that support it; results do not change" ON)
option(VEXA_INSTALL "Add the install rules and the package files" ${PROJECT_IS_TOP_LEVEL})
option(VEXA_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
option(VEXA_LOGGING "Write log records; the library alone can be built without, and then needs no Boost" ON)
set(VEXA_LOGGING_TARGET "" CACHE STRING
    "CMake target that defines logging::Logger::getBoostLogger; empty builds the default logger")
set(VEXA_SANITIZE "" CACHE STRING "Sanitizers for all targets, for example address,undefined")
set(VEXA_GOOGLETEST_SOURCE "" CACHE STRING "GoogleTest sources to build the tests with; empty uses an installed one")
option(VEXA_COVERAGE "Record code coverage, with clang++" OFF)

if(PROJECT_IS_TOP_LEVEL)
    if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
        set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
    endif()
    set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
    if(VEXA_SANITIZE)
        add_compile_options(-fsanitize=${VEXA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        add_link_options(-fsanitize=${VEXA_SANITIZE})
        if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
            add_compile_options(-fsanitize-ignorelist=${CMAKE_CURRENT_LIST_DIR}/sanitizers.txt)
        endif()
    endif()
    if(VEXA_COVERAGE)
        # Counters are relocated for %c in LLVM_PROFILE_FILE, with which killed processes keep their counts.
        add_compile_options(-fprofile-instr-generate -fcoverage-mapping "SHELL:-mllvm -runtime-counter-relocation")
        add_link_options(-fprofile-instr-generate)
    endif()
endif()

if(NOT VEXA_LOGGING AND (VEXA_BUILD_TOOL OR VEXA_BUILD_BENCH OR VEXA_BUILD_FUZZ OR VEXA_LOGGING_TARGET))
    message(FATAL_ERROR "VEXA_LOGGING=OFF is for the library and its suites alone: configure with "
        "-DVEXA_BUILD_TOOL=OFF and without benchmark, fuzz targets and VEXA_LOGGING_TARGET")
endif()

# Sets C++20, warnings and hidden symbols for a target.
function(vexa_target_defaults target)
    target_compile_features(${target} PUBLIC cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        POSITION_INDEPENDENT_CODE ON)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${VEXA_WARNINGS_AS_ERRORS}>:-Werror>)
endfunction()
