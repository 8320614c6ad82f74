# Every header compiles on its own: one source for each, part of every build that asks for it.
option(LUMENTA_HEADER_CHECKS "Compile each header on its own" OFF)
if(NOT LUMENTA_HEADER_CHECKS)
  return()
endif()

file(GLOB_RECURSE headers RELATIVE "${PROJECT_SOURCE_DIR}/src" CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/*.h")
add_library(header_checks OBJECT)
foreach(header IN LISTS headers)
  set(source "${PROJECT_BINARY_DIR}/header_checks/${header}.cpp")
  file(CONFIGURE OUTPUT "${source}" CONTENT "#include \"@header@\"\n#include \"@header@\"\n" @ONLY)
  target_sources(header_checks PRIVATE "${source}")
endforeach()
target_include_directories(header_checks PRIVATE "${PROJECT_SOURCE_DIR}/src")
target_link_libraries(header_checks PRIVATE
  lumenta_warnings Boost::headers Dep::avutil Dep::avfilter Dep::avformat Dep::avcodec Dep::swscale
  Dep::swresample Dep::glog Dep::fmt)
