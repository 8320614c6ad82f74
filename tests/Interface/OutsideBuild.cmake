# Installs the build tree into a new folder, moves that folder, builds the examples against it as a stranger
# would, and runs them.
#
#   cmake -DBUILD=<build tree> -DLIBDIR=<lib> -DEXAMPLES=<examples/> -DSCRATCH=<new folder>
#     [-DTOOLCHAIN=<file> -DROOT=<its ARM64_ROOT> -DEMULATOR=<command>] -P OutsideBuild.cmake
#
# CXX in the environment chooses the compiler of the examples; a toolchain file brings its own.
function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE result COMMAND_ECHO STDOUT)
  if(NOT result EQUAL 0)
    message(FATAL_ERROR "failed (${result}): ${ARGN}")
  endif()
endfunction()

# What was built, on the machine that it was built for.
function(run_built)
  run(${EMULATOR} ${ARGN})
endfunction()

set(compiler "$ENV{CXX}")
if(NOT compiler)
  set(compiler c++)
endif()
set(by_pkg_config host audio levels)
set(toolchain)
if(TOOLCHAIN)
  # The package lies outside the root in which everything else is searched; pkg-config would move it into that.
  set(by_pkg_config)
  set(toolchain "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" "-DARM64_ROOT=${ROOT}"
    "-DTarsel_DIR=${SCRATCH}/tarsel/${LIBDIR}/cmake/Tarsel")
  set(compiler aarch64-linux-gnu-g++ "--sysroot=${ROOT}")
endif()

file(REMOVE_RECURSE "${SCRATCH}")
run("${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${SCRATCH}/first")
file(RENAME "${SCRATCH}/first" "${SCRATCH}/tarsel")

foreach(example host plugin audio levels media)
  run("${CMAKE_COMMAND}" -S "${EXAMPLES}/${example}" -B "${SCRATCH}/${example}"
    -DCMAKE_BUILD_TYPE=Debug ${toolchain} "-DCMAKE_PREFIX_PATH=${SCRATCH}/tarsel" "-DCMAKE_CXX_FLAGS=-Wall -Wextra -Werror")
  run("${CMAKE_COMMAND}" --build "${SCRATCH}/${example}")
endforeach()

# The same program once with the library's own plug-in, found by where it was installed, once with the other.
unset(ENV{TARSEL_PLUGIN_PATH})
run_built("${SCRATCH}/host/host" lumenta)
set(ENV{TARSEL_PLUGIN_PATH} "${SCRATCH}/nowhere:${SCRATCH}/plugin")
run_built("${SCRATCH}/host/host" example)

# The plug-in as a linked library.
run_built("${SCRATCH}/audio/audio")
run_built("${SCRATCH}/levels/levels")
file(WRITE "${SCRATCH}/in.ppm" "P6\n2 2\n255\nabcdefghijkl")
run_built("${SCRATCH}/media/media" "${SCRATCH}/in.ppm" "${SCRATCH}/out.png" "flip vertical=1")

# The tool that was installed finds its libraries and the plug-in too.
unset(ENV{TARSEL_PLUGIN_PATH})
run_built("${SCRATCH}/tarsel/bin/tarsel" list)
# What we tell others to copy keeps the contract.
set(ENV{TARSEL_PLUGIN_PATH} "${SCRATCH}/plugin")
run_built("${SCRATCH}/tarsel/bin/tarsel" check example --level 4)
unset(ENV{TARSEL_PLUGIN_PATH})

# A build that knows only pkg-config.
set(ENV{PKG_CONFIG_PATH} "${SCRATCH}/tarsel/${LIBDIR}/pkgconfig")
# Without FFmpeg's headers.
foreach(library avutil avfilter avcodec avformat swscale swresample)
  foreach(header avutil frame avfilter avcodec avformat swscale swresample pixfmt samplefmt version)
    file(WRITE "${SCRATCH}/no/lib${library}/${header}.h" "#error FFmpeg's headers are not for hosts\n")
  endforeach()
endforeach()
foreach(example IN LISTS by_pkg_config)
  set(package_host tarsel-media)
  set(package_audio tarsel-lumenta)
  set(package_levels tarsel-audioalg)
  execute_process(COMMAND pkg-config --cflags --libs ${package_${example}}
    OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run(${compiler} -std=c++20 "-I${SCRATCH}/no" "${EXAMPLES}/${example}/main.cpp" ${flags}
    "-Wl,-rpath,${SCRATCH}/tarsel/${LIBDIR}" -o "${SCRATCH}/${example}-by-pkg-config")
  run("${SCRATCH}/${example}-by-pkg-config")
endforeach()

# No header that was installed needs one that was not.
set(include_dir "${SCRATCH}/tarsel/include/tarsel")
file(GLOB_RECURSE headers RELATIVE "${include_dir}" "${include_dir}/*.h")
list(TRANSFORM headers REPLACE "(.+)" "#include \"\\1\"")
list(JOIN headers "\n" includes)
file(WRITE "${SCRATCH}/all.cpp" "${includes}\n")
run(${compiler} -std=c++20 -Wall -Wextra -Werror -c "${SCRATCH}/all.cpp" "-I${include_dir}"
  -o "${SCRATCH}/all.o")

file(REMOVE_RECURSE "${SCRATCH}")
