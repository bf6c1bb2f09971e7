# The headers of glm and no others of the system, which a compiler for WebAssembly must not see.
find_path(VEXA_GLM_HEADERS glm/glm.hpp PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH REQUIRED)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers)
file(CREATE_LINK ${VEXA_GLM_HEADERS}/glm ${CMAKE_BINARY_DIR}/headers/glm SYMBOLIC)
if(NOT TARGET glm::glm)
    add_library(glm::glm INTERFACE IMPORTED)
    set_target_properties(glm::glm PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${CMAKE_BINARY_DIR}/headers)
endif()
