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
install(DIRECTORY ${PROJECT_SOURCE_DIR}/vexa DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_SOURCE_DIR}/logging/Logger.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/logging)
install(FILES ${PROJECT_BINARY_DIR}/include/vexa/mesh/Export.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vexa/mesh)
if(TARGET vexamesh)
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

if(BUILD_SHARED_LIBS)
    set(VEXA_PC_CFLAGS "")
    set(VEXA_PC_PRIVATE "Libs.private")
else()
    set(VEXA_PC_CFLAGS "-DVEXA_MESH_STATIC_DEFINE")
    set(VEXA_PC_PRIVATE "Libs")
endif()
configure_file(${PROJECT_SOURCE_DIR}/cmake/vexaMesh.pc.in ${PROJECT_BINARY_DIR}/cmake/vexaMesh.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cmake/vexaMesh.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
