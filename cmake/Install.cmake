# Public headers, libraries, the lxfermo command, a CMake package and
# pkg-config files. Only include/ is installed: the private tree stays private.
# Each file belongs to the component of the Debian package it goes in:
# runtime and dev (the core: GLib and libsoup only), ui_runtime and ui_dev
# (the GTK widgets and the GObject API), gir (the typelib) and lxfermo.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(LXHF_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/LXHotelsFermo)
file(RELATIVE_PATH LXHF_PC_TO_PREFIX /p/${CMAKE_INSTALL_LIBDIR}/pkgconfig /p)

# A pkg-config file whose prefix is settled when it is installed: see
# InstallPkgConfig.cmake.
function(lxhf_install_pc name component)
  # Everything but the prefix now; the prefix line stays a placeholder.
  set(LXHF_PC_PREFIX "@LXHF_PC_PREFIX@")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/pc/${name}.pc.in @ONLY)
  install(CODE "
    set(LXHF_PC_TEMPLATE \"${PROJECT_BINARY_DIR}/pc/${name}.pc.in\")
    set(LXHF_PC_SCRATCH \"${PROJECT_BINARY_DIR}/pc/installed/${name}.pc\")
    set(LXHF_PC_DESTINATION \"${CMAKE_INSTALL_LIBDIR}/pkgconfig\")
    set(LXHF_PC_TO_PREFIX \"${LXHF_PC_TO_PREFIX}\")
    include(\"${PROJECT_SOURCE_DIR}/cmake/InstallPkgConfig.cmake\")" COMPONENT ${component})
endfunction()

# In /usr the dynamic loader finds our libraries by itself, and Debian
# forbids a runpath there; anywhere else the runpath keeps the tree movable.
function(lxhf_no_runpath_in_usr target destination component)
  install(CODE "
    if(CMAKE_INSTALL_PREFIX STREQUAL \"/usr\")
      file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}/usr/${destination}/$<TARGET_FILE_NAME:${target}>\")
    endif()" COMPONENT ${component})
endfunction()

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
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ui_runtime NAMELINK_COMPONENT ui_dev
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  lxhf_no_runpath_in_usr(lxhf_ui ${CMAKE_INSTALL_LIBDIR} ui_runtime)
  install(DIRECTORY include/LXHotelsFermo/ui DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/LXHotelsFermo COMPONENT ui_dev)
  install(EXPORT LXHotelsFermoUITargets NAMESPACE LXHotelsFermo:: DESTINATION ${LXHF_CMAKE_DIR} COMPONENT ui_dev)
  lxhf_install_pc(lxhotelsfermo-ui ui_dev)
endif()

if(TARGET lxfermo)
  # The installed command finds the libraries of its own prefix.
  set_target_properties(lxfermo PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS lxfermo RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT lxfermo)
  lxhf_no_runpath_in_usr(lxfermo ${CMAKE_INSTALL_BINDIR} lxfermo)
endif()

configure_package_config_file(cmake/LXHotelsFermoConfig.cmake.in
  ${PROJECT_BINARY_DIR}/LXHotelsFermoConfig.cmake INSTALL_DESTINATION ${LXHF_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/LXHotelsFermoConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/LXHotelsFermoConfig.cmake ${PROJECT_BINARY_DIR}/LXHotelsFermoConfigVersion.cmake
  DESTINATION ${LXHF_CMAKE_DIR} COMPONENT dev)

lxhf_install_pc(lxhotelsfermo dev)

if(TARGET lxhf_gobject)
  include(cmake/InstallGObject.cmake)
endif()
