# lumenta_test(<program> SOURCES <file>... LIBS <target>... [TIMEOUT <seconds>])
#
# A GoogleTest program; each of its tests becomes a test of ctest, labeled with the program's name without
# "test_" ("ctest -L core"). Sources may include from src/ and from tests/ ("Support/Frames.h").
include_guard(GLOBAL)
find_package(GTest REQUIRED)
include(GoogleTest)

set(LUMENTA_TEST_TIMEOUT 120 CACHE STRING "Seconds after which a single test counts as hanging")

# Tests are compiled quickly rather than well: what they test is not compiled here.
function(lumenta_test_settings target)
  target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O1>)
endfunction()

# The kernel cannot start programs of another machine; scripts hand to the emulator those that tests start: the tool,
# and the other machine's own ffmpeg and ffprobe, which tests look up in PATH.
set(LUMENTA_EMULATED "${PROJECT_BINARY_DIR}/emulated")
function(lumenta_emulate name file)
  list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "' '" emulator)
  file(GENERATE OUTPUT "${LUMENTA_EMULATED}/${name}" CONTENT "#!/bin/sh\nexec '${emulator}' '${file}' \"$@\"\n"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endfunction()
if(CMAKE_CROSSCOMPILING_EMULATOR)
  foreach(program ffmpeg ffprobe)
    lumenta_emulate(${program} "${CMAKE_SYSROOT}/usr/bin/${program}")
  endforeach()
endif()

# lumenta_tool(<variable>): what tests start as the tool.
function(lumenta_tool variable)
  set(file "$<TARGET_FILE:tarsel_cli>")
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    lumenta_emulate(tarsel "${file}")
    set(file "${LUMENTA_EMULATED}/tarsel")
  endif()
  set(${variable} "${file}" PARENT_SCOPE)
endfunction()

function(lumenta_test program)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "TIMEOUT" "SOURCES;LIBS")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_SOURCES)
    message(FATAL_ERROR "lumenta_test(${program}): wanted SOURCES and LIBS, got \"${ARGN}\"")
  endif()
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT ${LUMENTA_TEST_TIMEOUT})
  endif()

  add_executable(${program} ${arg_SOURCES})
  target_include_directories(${program} PRIVATE "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${program} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest_main lumenta_warnings)

  lumenta_test_settings(${program})

  string(REGEX REPLACE "^test_" "" label "${program}")
  set(properties LABELS "${label}" TIMEOUT ${arg_TIMEOUT})
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    list(APPEND properties ENVIRONMENT "TEST_MINUTES=10" ENVIRONMENT_MODIFICATION "PATH=path_list_prepend:${LUMENTA_EMULATED}")
  endif()
  gtest_discover_tests(${program}
    DISCOVERY_TIMEOUT ${LUMENTA_TEST_TIMEOUT}
    NO_PRETTY_VALUES
    PROPERTIES ${properties})
endfunction()

# lumenta_test_vectors(<program> <filter>)
#
# These tests of the program again, once for each length of vectors that arm64 machines have, where an emulator can
# pretend to be such a machine. Without being told it has vectors of 64 bytes.
function(lumenta_test_vectors program filter)
  if(NOT CMAKE_CROSSCOMPILING_EMULATOR MATCHES qemu-aarch64)
    return()
  endif()
  string(REGEX REPLACE "^test_" "" label "${program}")
  foreach(bytes 16 32 128 256)
    set(emulator ${CMAKE_CROSSCOMPILING_EMULATOR})
    list(INSERT emulator 1 -cpu max,sve-default-vector-length=${bytes})
    add_test(NAME ${label}.VectorsOf${bytes}Bytes
      COMMAND ${emulator} "$<TARGET_FILE:${program}>" --gtest_brief=1 "--gtest_filter=${filter}")
    set_tests_properties(${label}.VectorsOf${bytes}Bytes PROPERTIES LABELS "${label}" TIMEOUT ${LUMENTA_TEST_TIMEOUT})
  endforeach()
endfunction()
