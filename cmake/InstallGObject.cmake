# The GObject library, its C headers, the introspection data where
# gobject-introspection looks for it, and its pkg-config file.
set_target_properties(lxhf_gobject PROPERTIES INSTALL_RPATH "$ORIGIN")
install(TARGETS lxhf_gobject
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev)
install(DIRECTORY include/lxhf DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/src/gobject/Lxhf-1.0.gir
  DESTINATION ${CMAKE_INSTALL_DATADIR}/gir-1.0 COMPONENT dev)
install(FILES ${PROJECT_BINARY_DIR}/src/gobject/Lxhf-1.0.typelib
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/girepository-1.0 COMPONENT gir)
configure_file(cmake/lxhotelsfermo-gobject.pc.in lxhotelsfermo-gobject.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/lxhotelsfermo-gobject.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
