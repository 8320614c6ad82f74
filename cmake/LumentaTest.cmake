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
  gtest_discover_tests(${program}
    DISCOVERY_TIMEOUT 60
    NO_PRETTY_VALUES
    PROPERTIES LABELS "${label}" TIMEOUT ${arg_TIMEOUT})
endfunction()
