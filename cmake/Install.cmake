# What cmake --install lays down: tool, libraries and plug-in that find each other wherever the folder is
# moved, the public headers, and packages for CMake and pkg-config.
include(CMakePackageConfigHelpers)

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/Tarsel")
file(RELATIVE_PATH bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
set_target_properties(tarsel_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${bin_to_lib}")
set_target_properties(tarsel_media PROPERTIES INSTALL_RPATH "$ORIGIN")
set_target_properties(lumenta PROPERTIES INSTALL_RPATH "$ORIGIN/.." EXPORT_NAME Lumenta)

install(TARGETS tarsel_sdk tarsel_media EXPORT Tarsel
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" NAMELINK_COMPONENT Development)
install(TARGETS tarsel_audioalg EXPORT Tarsel
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT Development)
# Where Host::Plugin looks, and no loader does: programs that link it are told where it lies.
target_link_options(lumenta INTERFACE
  "$<INSTALL_INTERFACE:LINKER:-rpath,$<INSTALL_PREFIX>/${CMAKE_INSTALL_LIBDIR}/tarsel>")
install(TARGETS lumenta EXPORT Tarsel DESTINATION "${CMAKE_INSTALL_LIBDIR}/tarsel")
install(TARGETS tarsel_cli)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/Tools/Tarsel/Schemas/"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/tarsel/schemas" FILES_MATCHING PATTERN "*.json")
# Manual pages, which the program writes itself.
string(TIMESTAMP man_date "%Y-%m-%d" UTC)
list(JOIN CMAKE_CROSSCOMPILING_EMULATOR "\" \"" emulator)
if(emulator)
  set(emulator "\"${emulator}\"")
endif()
install(CODE "execute_process(COMMAND ${emulator} \"$<TARGET_FILE:tarsel_cli>\" man --date ${man_date}
  \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_MANDIR}/man1\" COMMAND_ERROR_IS_FATAL ANY)")
# What shells load by themselves; all they know they ask the program.
install(FILES "${PROJECT_SOURCE_DIR}/src/Tools/Tarsel/Completions/tarsel.bash" RENAME tarsel
  DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions")
install(FILES "${PROJECT_SOURCE_DIR}/src/Tools/Tarsel/Completions/_tarsel"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions")
install(FILES "${PROJECT_SOURCE_DIR}/src/Tools/Tarsel/Completions/tarsel.fish"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d")

# Of the SDK every header but those for its own sources, which lie in folders of Host, or are named; of the others what
# they export.
foreach(room Core Conf Proc/Interfaces Proc/Settings Proc/Data Proc/Wrappers Host)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/src/${room}/" COMPONENT Development
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tarsel/${room}"
    FILES_MATCHING PATTERN "*.h"
    PATTERN "Chain" EXCLUDE PATTERN "Watch" EXCLUDE
    PATTERN "CastData.h" EXCLUDE PATTERN "ColorMatrix.h" EXCLUDE PATTERN "FieldRead.h" EXCLUDE)
endforeach()
file(GLOB media_headers RELATIVE "${PROJECT_SOURCE_DIR}/src" CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/Media/*.h")
foreach(header IN ITEMS
    ${media_headers}
    Proc/Algorithms/Api.h Proc/Algorithms/AudioAlg/AudioAlg.h Proc/Algorithms/AudioAlg/AudioLevels.h
    Proc/Algorithms/AudioAlg/AudioRef.h Proc/Algorithms/AudioAlg/DataAudioRef.h
    Proc/Effects/Lumenta/Api.h Proc/Effects/Lumenta/EffectFFMPEG.h
    Proc/Effects/Lumenta/EffectFFMPEGAudio.h Proc/Effects/Lumenta/EffectFFMPEGAudioGenerator.h
    Proc/Effects/Lumenta/EffectFFMPEGTwoInputAudio.h
    Proc/Effects/Lumenta/EffectFFMPEGTwoInputVideo.h Proc/Effects/Lumenta/EffectFFMPEGVideo.h
    Proc/Effects/Lumenta/OptionText.h Proc/Effects/Lumenta/Registrator.h
    Proc/Effects/Lumenta/Graph/OutputConversion.h
    Proc/Effects/Lumenta/Pixels/AlphaBlend.h Proc/Effects/Lumenta/Pixels/ColorQuant.h)
  cmake_path(GET header PARENT_PATH room)
  install(FILES "${PROJECT_SOURCE_DIR}/src/${header}" COMPONENT Development
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/tarsel/${room}")
endforeach()

install(EXPORT Tarsel NAMESPACE Tarsel:: FILE TarselTargets.cmake DESTINATION "${package_dir}"
  COMPONENT Development)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/TarselConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/TarselConfig.cmake" INSTALL_DESTINATION "${package_dir}")
# Below 1.0 every minor version may break.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/TarselConfigVersion.cmake"
  COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/TarselConfig.cmake" "${PROJECT_BINARY_DIR}/TarselConfigVersion.cmake"
  DESTINATION "${package_dir}" COMPONENT Development)

file(RELATIVE_PATH pc_to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
foreach(package tarsel tarsel-audioalg tarsel-lumenta tarsel-media)
  configure_file("${CMAKE_CURRENT_LIST_DIR}/${package}.pc.in" "${PROJECT_BINARY_DIR}/${package}.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/${package}.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
    COMPONENT Development)
endforeach()
