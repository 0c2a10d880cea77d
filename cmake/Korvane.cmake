# What every target of the project is built with.

find_package(Threads REQUIRED)
find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${CCACHE_PROGRAM})
endif()

add_library(korvane_flags INTERFACE)
# For includes in quotes only: our sys/types.h must not be found in place of the system's <sys/types.h>.
target_compile_options(korvane_flags INTERFACE "SHELL:-iquote ${CMAKE_SOURCE_DIR}")
target_compile_options(
  korvane_flags
  INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
            -Wcast-align -Wformat=2 -Wimplicit-fallthrough -Werror -fno-strict-aliasing)
target_link_libraries(korvane_flags INTERFACE Threads::Threads ${CMAKE_DL_LIBS})
if(KORVANE_SANITIZE)
  # With its checks in between the compiler misjudges the bounds of inlined strings; the plain builds
  # keep these warnings.
  target_compile_options(
    korvane_flags
    INTERFACE -fsanitize=${KORVANE_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer
              -Wno-array-bounds -Wno-stringop-overflow -Wno-maybe-uninitialized -Wno-restrict)
  target_link_options(korvane_flags INTERFACE -fsanitize=${KORVANE_SANITIZE})
endif()

# korvane_library(<target> SOURCES <file>... USES <target>...)
function(korvane_library target)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES" ${ARGN})
  add_library(${target} STATIC ${ARG_SOURCES})
  target_link_libraries(${target} PUBLIC korvane_flags ${ARG_USES})
endfunction()

# korvane_test(<target> SOURCES <file>... USES <target>... [LABELS <label>...])
#
# One program a folder of tests, registered with CTest as a whole: the runner's own output names the
# failing case. The library's header is precompiled once and shared.
function(korvane_test target)
  cmake_parse_arguments(ARG "" "" "SOURCES;USES;LABELS" ${ARGN})
  add_executable(${target} ${ARG_SOURCES})
  target_link_libraries(${target} PRIVATE korvane_flags ${ARG_USES} GTest::gtest)
  if(KORVANE_PCH)
    target_precompile_headers(${target} REUSE_FROM korvane_test_main)
  endif()
  target_link_libraries(${target} PRIVATE korvane_test_main)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
  add_test(NAME ${target} COMMAND ${target})
  set_tests_properties(${target} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT 900)
endfunction()
