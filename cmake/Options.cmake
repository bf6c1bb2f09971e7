# What can be chosen when configuring. As a part of another project only the library is built.

option(BUILD_SHARED_LIBS "Build shared libraries" ON)
option(VEXA_BUILD_TOOL "Build the command-line tool vexamesh" ${PROJECT_IS_TOP_LEVEL})
option(VEXA_BUILD_REPORT "Give the tool its report, whose script npm fetches a library for" ON)
option(VEXA_BUILD_EXAMPLES "Build the example programs" ${PROJECT_IS_TOP_LEVEL})
option(VEXA_BUILD_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(VEXA_TEST_PACKAGE "Test the installed package with outside programs too" OFF)
option(VEXA_TEST_NODE "Run the tests that need Node.js too" OFF)
option(VEXA_BUILD_BENCH "Build the benchmark" OFF)
option(VEXA_BUILD_FUZZ "Build the fuzz targets, with clang++" OFF)
option(VEXA_AVX2 "Use AVX2 on processors that have it; the results are the same" ON)
option(VEXA_INSTALL "Add the install rules and the package files" ${PROJECT_IS_TOP_LEVEL})
option(VEXA_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
set(VEXA_LOGGING_TARGET "" CACHE STRING
    "CMake target that defines logging::Logger::getBoostLogger; empty builds the default logger")
set(VEXA_SANITIZE "" CACHE STRING "Sanitizers for everything that is built, for example address,undefined")
set(VEXA_GOOGLETEST_SOURCE "" CACHE STRING "Sources of GoogleTest to build the tests with; empty finds an installed one")
option(VEXA_COVERAGE "Record code coverage" OFF)

if(PROJECT_IS_TOP_LEVEL)
    if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
        set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
    endif()
    set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
    if(VEXA_SANITIZE)
        add_compile_options(-fsanitize=${VEXA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        add_link_options(-fsanitize=${VEXA_SANITIZE})
    endif()
    if(VEXA_COVERAGE)
        add_compile_options(--coverage)
        add_link_options(--coverage)
    endif()
endif()

# C++20, the warnings that this project is kept free of, and hidden symbols, for one target.
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
