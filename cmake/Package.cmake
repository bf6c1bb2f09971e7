# Install rules, the CMake package and the pkg-config file.

include(CMakePackageConfigHelpers)

set(VEXA_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vexaMesh)
set(VEXA_LIBRARIES vexaMesh)
if(TARGET vexaLogging)
    list(APPEND VEXA_LIBRARIES vexaLogging)
endif()

install(TARGETS ${VEXA_LIBRARIES} EXPORT vexaMeshTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# The only implementation headers to install are those of classes that callers may name or derive from.
file(GLOB VEXA_DETAIL_HEADERS CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/vexa/mesh/detail/*BufferData.h
    ${PROJECT_SOURCE_DIR}/vexa/mesh/detail/Default*.h)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/vexa DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h" PATTERN detail EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/include/vexa/mesh/Export.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vexa/mesh)
install(FILES ${VEXA_DETAIL_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vexa/mesh/detail)
if(TARGET vexaLogging)
    install(FILES ${PROJECT_SOURCE_DIR}/logging/Logger.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/logging)
endif()
# Relative, so that the installation still works after the prefix is moved.
set_target_properties(${VEXA_LIBRARIES} PROPERTIES INSTALL_RPATH "$ORIGIN")
if(TARGET vexamesh)
    file(RELATIVE_PATH VEXA_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(vexamesh PROPERTIES INSTALL_RPATH "$ORIGIN/${VEXA_BIN_TO_LIB}")
    install(TARGETS vexamesh RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vexaMeshConfig.cmake.in
    ${PROJECT_BINARY_DIR}/cmake/vexaMeshConfig.cmake INSTALL_DESTINATION ${VEXA_PACKAGE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/cmake/vexaMeshConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(EXPORT vexaMeshTargets NAMESPACE vexa:: DESTINATION ${VEXA_PACKAGE_DIR})
install(FILES
    ${PROJECT_BINARY_DIR}/cmake/vexaMeshConfig.cmake
    ${PROJECT_BINARY_DIR}/cmake/vexaMeshConfigVersion.cmake
    DESTINATION ${VEXA_PACKAGE_DIR})

set(VEXA_PC_CFLAGS "")
set(VEXA_PC_LIBS "-pthread")
if(VEXA_LOGGING)
    string(APPEND VEXA_PC_CFLAGS " -DBOOST_LOG_DYN_LINK")
    string(PREPEND VEXA_PC_LIBS "-lboost_log -lboost_thread -lboost_system ")
endif()
if(TARGET vexaLogging)
    string(PREPEND VEXA_PC_LIBS "-lvexaLogging ")
endif()
if(NOT BUILD_SHARED_LIBS)
    string(APPEND VEXA_PC_CFLAGS " -DVEXA_MESH_STATIC_DEFINE")
endif()
file(RELATIVE_PATH VEXA_PC_TO_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" VEXA_PC_TO_PREFIX ${VEXA_PC_TO_PREFIX})
configure_file(${PROJECT_SOURCE_DIR}/cmake/vexaMesh.pc.in ${PROJECT_BINARY_DIR}/cmake/vexaMesh.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cmake/vexaMesh.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

include(${PROJECT_SOURCE_DIR}/cmake/Spdx.cmake)
