# The kernels over pixels, timed next to what they are measured by.
lumenta_bench(bench_pixels
  SOURCES
    PixelsBench.cpp
    PixelsPlainBlend.cpp
    "${PROJECT_SOURCE_DIR}/tests/Pixels/Pictures.cpp"
    "${PROJECT_SOURCE_DIR}/tests/Pixels/PlainColorQuant.cpp"
  LIBS lumenta_pixels tarsel_sdk Dep::avutil)

# The plain loop as compilers leave it at their usual level.
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  set_source_files_properties(PixelsPlainBlend.cpp PROPERTIES COMPILE_OPTIONS -O2)
endif()
