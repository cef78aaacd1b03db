# One place for language level, warnings and sanitizers. Every target of ours links dravo_compiler.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(DRAVO_CCACHE ccache)
if(DRAVO_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${DRAVO_CCACHE})
endif()

add_library(dravo_compiler INTERFACE)
target_compile_options(dravo_compiler INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
  -Woverloaded-virtual -Wold-style-cast -Wimplicit-fallthrough
  # The same floats on every processor: no fused multiply-add the source does not ask for.
  -ffp-contract=off
  # No path of the machine that built it; a compiler cache then serves every checkout.
  -fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 warns of its own std::string (its bug 105651), at every `"text" + string` in an optimised build.
  target_compile_options(dravo_compiler INTERFACE -Wno-restrict)
endif()
if(DRAVO_WARNINGS_AS_ERRORS)
  target_compile_options(dravo_compiler INTERFACE -Werror)
endif()
if(DRAVO_SANITIZE)
  target_compile_options(dravo_compiler INTERFACE
    -fsanitize=${DRAVO_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(dravo_compiler INTERFACE -fsanitize=${DRAVO_SANITIZE})
endif()
if(DRAVO_FUZZ)
  # Lets the fuzzers see which lines of the modules an input reaches.
  target_compile_options(dravo_compiler INTERFACE -fsanitize=fuzzer-no-link)
endif()
