# Libraries the project stands on, each as one imported target.
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(Boost 1.74 REQUIRED)
find_package(CLI11 2.1 REQUIRED)
find_package(nlohmann_json 3.11 REQUIRED)

# A pkg-config module as the target Dep::<name>, its headers treated as system headers. With OPTIONAL there may be no
# such target.
function(lumenta_pkg name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "OPTIONAL" "" "")
  set(required REQUIRED)
  if(arg_OPTIONAL)
    set(required)
  endif()
  pkg_check_modules(${name} ${required} IMPORTED_TARGET GLOBAL ${arg_UNPARSED_ARGUMENTS})
  if(TARGET PkgConfig::${name})
    add_library(Dep::${name} ALIAS PkgConfig::${name})
  endif()
endfunction()

# FFmpeg 5.1 and later.
lumenta_pkg(avutil libavutil>=57.28)
lumenta_pkg(swscale libswscale>=6.7)
lumenta_pkg(swresample libswresample>=4.7)
lumenta_pkg(avfilter libavfilter>=8.44)
lumenta_pkg(avformat libavformat>=59.27)
lumenta_pkg(avcodec libavcodec>=59.37)

lumenta_pkg(glog libglog>=0.6)
lumenta_pkg(fmt fmt>=9)
lumenta_pkg(unwind libunwind)

# SIMD for the instruction sets of the machine that the plug-in finds itself on.
lumenta_pkg(hwy libhwy>=1.0)

# Loudness, in the tool alone, which does without.
lumenta_pkg(ebur128 OPTIONAL libebur128>=1.2)

# HTTP for the tool's verb "try", which says so where it lacks.
lumenta_pkg(httplib OPTIONAL cpp-httplib>=0.11)
