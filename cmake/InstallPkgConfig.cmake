# Run at install time (see lxhf_install_pc in Install.cmake): writes one
# pkg-config file with the prefix the install goes to. In /usr, pkg-config
# then prints plain -I/usr/include, which it filters as a system folder;
# anywhere else the prefix is found from the file's own folder, so an
# installed tree can be moved.
# In: LXHF_PC_TEMPLATE, LXHF_PC_SCRATCH, LXHF_PC_DESTINATION, LXHF_PC_TO_PREFIX.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(LXHF_PC_PREFIX /usr)
else()
  set(LXHF_PC_PREFIX "\${pcfiledir}/${LXHF_PC_TO_PREFIX}")
endif()
configure_file("${LXHF_PC_TEMPLATE}" "${LXHF_PC_SCRATCH}" @ONLY)
file(INSTALL DESTINATION "${CMAKE_INSTALL_PREFIX}/${LXHF_PC_DESTINATION}" TYPE FILE FILES "${LXHF_PC_SCRATCH}")
