# lumenta_exports(<library> <map>)
#
# Only what the version script lets through is visible from outside; nothing is left for the loader to find
# by luck.
function(lumenta_exports library map)
  cmake_path(ABSOLUTE_PATH map BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}")
  target_link_options(${library} PRIVATE "-Wl,--version-script=${map}")
  set_property(TARGET ${library} APPEND PROPERTY LINK_DEPENDS "${map}")
  # clang leaves the sanitizers' symbols to the program.
  if(NOT (LUMENTA_SANITIZE AND CMAKE_CXX_COMPILER_ID MATCHES Clang))
    target_link_options(${library} PRIVATE -Wl,-z,defs)
  endif()
endfunction()
