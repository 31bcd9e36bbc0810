# The GObject library, its C headers, the introspection data where
# gobject-introspection looks for it, and its pkg-config file.
set_target_properties(lxhf_gobject PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS lxhf_gobject
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ui_runtime NAMELINK_COMPONENT ui_dev)
lxhf_no_runpath_in_usr(lxhf_gobject ${CMAKE_INSTALL_LIBDIR} ui_runtime)
install(DIRECTORY include/lxhf DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT ui_dev PATTERN "*.in" EXCLUDE)
install(FILES ${PROJECT_BINARY_DIR}/include/lxhf/lxhf-version.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/lxhf COMPONENT ui_dev)
if(TARGET lxhf_typelib)
  install(FILES ${PROJECT_BINARY_DIR}/src/gobject/Lxhf-1.0.gir
    DESTINATION ${CMAKE_INSTALL_DATADIR}/gir-1.0 COMPONENT ui_dev)
  install(FILES ${PROJECT_BINARY_DIR}/src/gobject/Lxhf-1.0.typelib
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/girepository-1.0 COMPONENT gir)
endif()
lxhf_install_pc(lxhotelsfermo-gobject ui_dev)
# valac asks pkg-config for a package by the vapi's name.
if(TARGET lxhf_vapi)
  install(FILES ${PROJECT_BINARY_DIR}/src/gobject/lxhf-1.vapi ${PROJECT_BINARY_DIR}/src/gobject/lxhf-1.deps
    DESTINATION ${CMAKE_INSTALL_DATADIR}/vala/vapi COMPONENT ui_dev)
  lxhf_install_pc(lxhf-1 ui_dev)
endif()
