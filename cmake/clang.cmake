# Toolchain of the preset "clang": a second compiler for Windows, with the headers and libraries of
# mingw-w64.
include(${CMAKE_CURRENT_LIST_DIR}/windows.cmake)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)

# clang finds neither this system's C++ headers nor its runtime libraries by itself.
execute_process(COMMAND x86_64-w64-mingw32-g++-posix -print-libgcc-file-name
  OUTPUT_VARIABLE libgcc OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(gcc_folder ${libgcc} DIRECTORY)
set(CMAKE_CXX_FLAGS_INIT "--start-no-unused-arguments -nostdinc++")
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${gcc_folder}/include/c++")
string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${gcc_folder}/include/c++/x86_64-w64-mingw32")
string(APPEND CMAKE_CXX_FLAGS_INIT " --end-no-unused-arguments")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld -L${gcc_folder} -lpthread")
