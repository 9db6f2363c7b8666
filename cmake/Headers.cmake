# Libraries of headers only, as interface targets: zo_cli11 parses command lines, zo_json writes
# JSON. CLI11 throws, so its users link zo_flags, not zo_program_flags.

# zo_headers(TARGET FOLDER HEADER PACKAGE IMPORTED): the headers in FOLDER. The folder that it is
# installed in holds this system's own headers, too, which a program for Windows must not find: a
# link leads to the one that is wanted.
function(zo_headers target folder header package imported)
  add_library(${target} INTERFACE)
  if(CMAKE_HOST_WIN32)
    find_package(${package} REQUIRED)
    target_link_libraries(${target} INTERFACE ${imported})
    return()
  endif()
  find_path(${target}_DIR ${folder}/${header} NO_CMAKE_FIND_ROOT_PATH PATHS /usr/include REQUIRED
    DOC "The folder that holds the folder ${folder}")
  file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/headers")
  file(CREATE_LINK "${${target}_DIR}/${folder}" "${CMAKE_BINARY_DIR}/headers/${folder}" SYMBOLIC)
  target_include_directories(${target} SYSTEM INTERFACE "${CMAKE_BINARY_DIR}/headers")
endfunction()

zo_headers(zo_cli11 CLI CLI.hpp CLI11 CLI11::CLI11)
zo_headers(zo_json nlohmann json.hpp nlohmann_json nlohmann_json::nlohmann_json)
