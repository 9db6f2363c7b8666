# zo_version: the header "version.h" with the version of project(), for resource scripts and code.

configure_file(${PROJECT_SOURCE_DIR}/src/resources/version.h.in ${CMAKE_BINARY_DIR}/version/version.h
  @ONLY)
add_library(zo_version INTERFACE)
target_include_directories(zo_version INTERFACE ${CMAKE_BINARY_DIR}/version)

# zo_version_info(PROGRAM SCRIPT): what Windows shows of a program's file.
function(zo_version_info program script)
  target_sources(${program} PRIVATE ${script})
  set_source_files_properties(${script} PROPERTIES
    INCLUDE_DIRECTORIES "${PROJECT_SOURCE_DIR}/src/resources;${CMAKE_BINARY_DIR}/version"
    OBJECT_DEPENDS "${PROJECT_SOURCE_DIR}/src/resources/version.rc;${CMAKE_BINARY_DIR}/version/version.h")
endfunction()
