# Compiler settings, as interface targets:
#   zo_flags          language, warnings and hardening of everything that we compile
#   zo_program_flags  zo_flags for the program itself: neither exceptions nor RTTI
#   zo_sanitize       AddressSanitizer and UBSan, empty unless ZO_SANITIZE is on

add_library(zo_flags INTERFACE)
add_library(zo_program_flags INTERFACE)
add_library(zo_sanitize INTERFACE)
target_link_libraries(zo_program_flags INTERFACE zo_flags)

if(MSVC)
  set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")
  target_compile_options(zo_flags INTERFACE /W4 $<$<BOOL:${ZO_WERROR}>:/WX> /permissive- /utf-8 /guard:cf)
  target_link_options(zo_flags INTERFACE /guard:cf /CETCOMPAT /DEPENDENTLOADFLAG:0x800 /TSAWARE
    /HIGHENTROPYVA) # the subsystem's version is 6.0 by default
  target_compile_definitions(zo_flags INTERFACE _CRT_SECURE_NO_WARNINGS)
  target_compile_options(zo_program_flags INTERFACE /EHs-c- /GR-)
  target_compile_definitions(zo_program_flags INTERFACE _HAS_EXCEPTIONS=0)
else()
  target_compile_options(zo_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wformat=2 -Wcast-qual -Wundef
    -Wnon-virtual-dtor $<$<BOOL:${ZO_WERROR}>:-Werror> -fstack-protector-strong)
  target_compile_options(zo_program_flags INTERFACE
    $<$<COMPILE_LANGUAGE:CXX>:-fno-exceptions -fno-rtti>)
endif()

if(WIN32)
  target_compile_definitions(zo_flags INTERFACE
    WIN32_LEAN_AND_MEAN NOMINMAX STRICT WINVER=0x0A00 _WIN32_WINNT=0x0A00 _WIN32_IE=0x0A00)
  if(NOT MSVC)
    # One self-contained file: the runtime is linked in. Unused code goes, symbols go.
    target_compile_options(zo_flags INTERFACE -ffunction-sections -fdata-sections -fcf-protection)
    target_compile_options(zo_flags INTERFACE $<$<CONFIG:Debug>:-gdwarf-4>) # what winedbg can read
    # The same sources give the same file: no time goes in.
    target_link_options(zo_flags INTERFACE
      -static -Wl,--gc-sections -Wl,--dynamicbase -Wl,--nxcompat -Wl,--high-entropy-va
      -Wl,--tsaware -Wl,--major-os-version,6 -Wl,--minor-os-version,0
      -Wl,--major-subsystem-version,6 -Wl,--minor-subsystem-version,0 -Wl,--no-insert-timestamp)
    target_link_options(zo_flags INTERFACE $<$<CONFIG:MinSizeRel,Release>:-s>)
    # The checks' own guard, so that the compiler's runtime library is not asked for its.
    add_library(zo_stack_guard STATIC ${PROJECT_SOURCE_DIR}/src/base/StackGuard.cpp)
    target_compile_options(zo_stack_guard PRIVATE
      $<TARGET_PROPERTY:zo_flags,INTERFACE_COMPILE_OPTIONS>)
    target_compile_definitions(zo_stack_guard PRIVATE
      $<TARGET_PROPERTY:zo_flags,INTERFACE_COMPILE_DEFINITIONS>)
    target_link_libraries(zo_flags INTERFACE zo_stack_guard)
  endif()
endif()

if(ZO_TRAP AND NOT MSVC)
  # No runtime is linked in: what is undefined ends the program at once.
  target_compile_options(zo_flags INTERFACE
    -fsanitize=undefined -fno-sanitize=vptr -fsanitize-undefined-trap-on-error)
endif()

if(ZO_FUZZ)
  target_compile_options(zo_sanitize INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(ZO_SANITIZE)
  target_compile_options(zo_sanitize INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(zo_sanitize INTERFACE -fsanitize=address,undefined)
endif()
