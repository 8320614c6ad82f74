# lumenta_bench(<program> SOURCES <file>... LIBS <target>... [SMOKE <regular expression>])
#
# A Google Benchmark program. `./dev bench` runs them all; ctest runs each for a moment, so that none rots: of
# a program that takes long, the benchmarks that SMOKE names.
include_guard(GLOBAL)
find_package(benchmark REQUIRED)

function(lumenta_bench program)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "SMOKE" "SOURCES;LIBS")
  if(arg_UNPARSED_ARGUMENTS OR NOT arg_SOURCES)
    message(FATAL_ERROR "lumenta_bench(${program}): wanted SOURCES and LIBS, got \"${ARGN}\"")
  endif()

  add_executable(${program} ${arg_SOURCES})
  target_include_directories(${program} PRIVATE "${PROJECT_SOURCE_DIR}/src" "${PROJECT_SOURCE_DIR}/tests")
  target_link_libraries(${program} PRIVATE ${arg_LIBS} benchmark::benchmark_main lumenta_warnings)

  add_test(NAME ${program}.Runs COMMAND ${program} --benchmark_min_time=0.001 --benchmark_filter=${arg_SMOKE})
  set_tests_properties(${program}.Runs PROPERTIES LABELS bench TIMEOUT 120)
endfunction()
