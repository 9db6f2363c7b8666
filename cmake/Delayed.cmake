# Libraries of the system that are loaded with the first call of one of their functions, so that
# the program starts without them. What is called of NAME is in src/delayed/NAME.def. To be
# linked in place of the library: delayed_NAME.

find_program(ZO_DLLTOOL NAMES x86_64-w64-mingw32-dlltool dlltool)

function(zo_delayed name)
  add_library(delayed_${name} INTERFACE)
  if(MSVC)
    target_link_libraries(delayed_${name} INTERFACE ${name} delayimp)
    target_link_options(delayed_${name} INTERFACE /DELAYLOAD:${name}.dll)
    return()
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Its linker makes the table of the functions read-only, which the first call would write to.
    target_link_libraries(delayed_${name} INTERFACE ${name})
    return()
  endif()
  set(definition ${PROJECT_SOURCE_DIR}/src/delayed/${name}.def)
  set(library ${CMAKE_BINARY_DIR}/delayed/lib${name}.a)
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/delayed)
  add_custom_command(
    OUTPUT ${library}
    COMMAND ${ZO_DLLTOOL} --input-def ${definition} --output-delaylib ${library}
    DEPENDS ${definition})
  add_custom_target(make_delayed_${name} DEPENDS ${library})
  add_dependencies(delayed_${name} make_delayed_${name})
  target_link_libraries(delayed_${name} INTERFACE ${library})
endfunction()

foreach(name comdlg32 shell32)
  zo_delayed(${name})
endforeach()
