# Libraries that are headers only, as interface targets: zo_cli11 (command lines) and zo_json.
#
# Debian has them in /usr/include, among the headers of the system that builds; a cross compiler
# must see nothing else of that folder.
function(zo_headers target folder package)
  add_library(${target} INTERFACE)
  if(EXISTS "/usr/include/${folder}" AND CMAKE_CROSSCOMPILING)
    file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/headers")
    file(CREATE_LINK "/usr/include/${folder}" "${CMAKE_BINARY_DIR}/headers/${folder}" SYMBOLIC)
    target_include_directories(${target} SYSTEM INTERFACE "${CMAKE_BINARY_DIR}/headers")
  else()
    find_package(${package} REQUIRED)
    target_link_libraries(${target} INTERFACE ${ARGN})
  endif()
endfunction()

zo_headers(zo_cli11 CLI CLI11 CLI11::CLI11)
zo_headers(zo_json nlohmann nlohmann_json nlohmann_json::nlohmann_json)
