# Public headers, libraries, the lxfermo command, a CMake package and
# pkg-config files. Only include/ is installed: the private tree stays private.
# Each file belongs to the component of the Debian package it goes in:
# runtime (the shared libraries), dev, gir (the typelib) and lxfermo.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(LXHF_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/LXHotelsFermo)
# pkg-config files find the prefix relative to themselves, so an installed
# tree can be moved.
file(RELATIVE_PATH LXHF_PC_TO_PREFIX /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)

set_target_properties(lxhf_core PROPERTIES EXPORT_NAME core)
install(TARGETS lxhf_core EXPORT LXHotelsFermoTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/LXHotelsFermo DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev
  PATTERN "ui" EXCLUDE)
install(EXPORT LXHotelsFermoTargets NAMESPACE LXHotelsFermo:: DESTINATION ${LXHF_CMAKE_DIR} COMPONENT dev)

if(TARGET lxhf_ui)
  # It finds the core beside itself, wherever the prefix is.
  set_target_properties(lxhf_ui PROPERTIES EXPORT_NAME ui INSTALL_RPATH "$ORIGIN")
  install(TARGETS lxhf_ui EXPORT LXHotelsFermoUITargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(DIRECTORY include/LXHotelsFermo/ui DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/LXHotelsFermo COMPONENT dev)
  install(EXPORT LXHotelsFermoUITargets NAMESPACE LXHotelsFermo:: DESTINATION ${LXHF_CMAKE_DIR} COMPONENT dev)
  configure_file(cmake/lxhotelsfermo-ui.pc.in lxhotelsfermo-ui.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/lxhotelsfermo-ui.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endif()

if(TARGET lxfermo)
  # The installed command finds the libraries of its own prefix.
  set_target_properties(lxfermo PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS lxfermo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT lxfermo)
endif()

configure_package_config_file(cmake/LXHotelsFermoConfig.cmake.in
  ${PROJECT_BINARY_DIR}/LXHotelsFermoConfig.cmake INSTALL_DESTINATION ${LXHF_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LXHotelsFermoConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LXHotelsFermoConfig.cmake ${PROJECT_BINARY_DIR}/LXHotelsFermoConfigVersion.cmake
  DESTINATION ${LXHF_CMAKE_DIR} COMPONENT dev)

configure_file(cmake/lxhotelsfermo.pc.in lxhotelsfermo.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/lxhotelsfermo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

if(TARGET lxhf_gobject)
  include(cmake/InstallGObject.cmake)
endif()
