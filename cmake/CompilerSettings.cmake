# One place for what every target of the project is compiled and linked with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

# More costs time and gains nothing, but in loops over samples and pixels, which ask for it themselves.
if(CMAKE_CXX_FLAGS_RELEASE MATCHES "^-O3 -DNDEBUG$")
  set(CMAKE_CXX_FLAGS_RELEASE "-O2 -DNDEBUG")
endif()

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Paths below the tree count as relative ones, so that one clone finds what another has compiled.
  set(CMAKE_CXX_COMPILER_LAUNCHER
    "${CMAKE_COMMAND}" -E env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}" CCACHE_NOHASHDIR=1 "${CCACHE_PROGRAM}")
endif()

# Warnings are for our own targets; headers of libraries come in as system headers. They are errors to those
# who work on the tree; a compiler that came later must not keep anybody from building.
option(LUMENTA_WARNINGS_AS_ERRORS "Stop at warnings" OFF)
add_library(lumenta_warnings INTERFACE)
target_compile_options(lumenta_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wswitch-enum -Wimplicit-fallthrough
  $<$<BOOL:${LUMENTA_WARNINGS_AS_ERRORS}>:-Werror>)
# What g++ 12 guesses about addresses after inlining is wrong for std::sort of short arrays, for "text" + string
# and for calls through interfaces; the address sanitizer knows.
target_compile_options(lumenta_warnings INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-Wno-array-bounds -Wno-restrict -Wno-stringop-overflow>)

# The same arithmetic on every machine: nothing is fused that the code does not fuse.
add_compile_options(-ffp-contract=off)

set(LUMENTA_SANITIZE "" CACHE STRING "Sanitizers of the whole build, as for -fsanitize")
if(LUMENTA_SANITIZE)
  add_compile_options(-fsanitize=${LUMENTA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${LUMENTA_SANITIZE})
  # g++ takes what the sanitizers put in between for paths without initialization.
  target_compile_options(lumenta_warnings INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
endif()

# lumenta_build_quickly(TARGET...): for rooms without loops worth more than the wait for the compiler.
function(lumenta_build_quickly)
  foreach(target IN LISTS ARGN)
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
  endforeach()
endfunction()
