# Debian packages from the install components, by `./dev package`:
#   liblxhotelsfermo1         runtime: the core library (GLib and libsoup only)
#   liblxhotelsfermo-dev      dev: its headers, CMake and pkg-config files
#   liblxhotelsfermo-ui1      ui_runtime: the GTK 4 widgets and the GObject API
#   liblxhotelsfermo-ui-dev   ui_dev: their headers, CMake and pkg-config files, the .gir
#   gir1.2-lxhf-1.0           gir: the typelib, for Python, JavaScript and the like
#   lxfermo                   lxfermo: the command and its local test service
# So a host without GTK installs the first two alone. Dependencies are
# written out rather than computed by dpkg-shlibdeps, which cannot see our
# libraries in one package needing those of another; the package test
# checks each library a packaged file needs against them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lxhotelsfermo)
set(CPACK_PACKAGE_VENDOR "LX Hotels")
set(CPACK_PACKAGE_CONTACT "LXHotelsFermo developers <fermo-sdk@lxhotels.com>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# The install then sees its real prefix, /usr, and writes pkg-config files
# and runpaths for it (see Install.cmake).
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
# Debug information stays in the build tree, as in Debian's own -dbgsym split.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://www.lxhotels.com/")
# Control files get the permissions Debian's tools give them.
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Fermo price holds for hotel-booking applications")

set(LXHF_DEB_VERSION "${PROJECT_VERSION}")
set(LXHF_DEB_C "libc6 (>= 2.36), libstdc++6 (>= 12), libgcc-s1, libglib2.0-0 (>= 2.74)")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME liblxhotelsfermo1)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME liblxhotelsfermo-dev)
set(CPACK_DEBIAN_UI_RUNTIME_PACKAGE_NAME liblxhotelsfermo-ui1)
set(CPACK_DEBIAN_UI_DEV_PACKAGE_NAME liblxhotelsfermo-ui-dev)
set(CPACK_DEBIAN_GIR_PACKAGE_NAME gir1.2-lxhf-1.0)
set(CPACK_DEBIAN_LXFERMO_PACKAGE_NAME lxfermo)
# A library package's shlibs file, so packages built against it depend on
# it, and the ldconfig trigger (CPack's own shlibs come with postinst
# scripts that call ldconfig, which Debian replaced by the trigger).
function(lxhf_library_control component)
  set(dir ${PROJECT_BINARY_DIR}/debian/${component})
  set(lines "")
  foreach(library IN LISTS ARGN)
    string(APPEND lines "${library} ${PROJECT_VERSION_MAJOR} ${CPACK_DEBIAN_${component}_PACKAGE_NAME} (>= ${PROJECT_VERSION})\n")
  endforeach()
  file(WRITE ${dir}/shlibs "${lines}")
  file(WRITE ${dir}/triggers "activate-noawait ldconfig\n")
  set(CPACK_DEBIAN_${component}_PACKAGE_CONTROL_EXTRA "${dir}/shlibs;${dir}/triggers" PARENT_SCOPE)
endfunction()

# LXHF_NEEDS_<COMPONENT>: "<its package> (= <this version>)".
foreach(component RUNTIME DEV UI_RUNTIME UI_DEV GIR)
  set(LXHF_NEEDS_${component} "${CPACK_DEBIAN_${component}_PACKAGE_NAME} (= ${LXHF_DEB_VERSION})")
endforeach()

set(CPACK_COMPONENTS_ALL runtime dev)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
  "${LXHF_DEB_C}, libsoup-3.0-0 (>= 3.2), glib-networking")
lxhf_library_control(RUNTIME libLXHotelsFermo)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Fermo price holds for hotel-booking applications - library
 The LXHotelsFermo client library: it fetches signed Fermo offers, keeps the
 session file and reports events. It needs GLib and libsoup only; the GTK 4
 widgets are in liblxhotelsfermo-ui1.")

set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${LXHF_NEEDS_RUNTIME}, libglib2.0-dev (>= 2.74), libsoup-3.0-dev, pkg-config")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Fermo price holds for hotel-booking applications - development files
 C++20 headers, CMake package and pkg-config file (lxhotelsfermo) of the
 LXHotelsFermo core library. The widgets' files are in
 liblxhotelsfermo-ui-dev.")

if(TARGET lxhf_ui)
  list(APPEND CPACK_COMPONENTS_ALL ui_runtime ui_dev)
  set(CPACK_DEBIAN_UI_RUNTIME_PACKAGE_DEPENDS
    "${LXHF_NEEDS_RUNTIME}, ${LXHF_DEB_C}, libgtk-4-1 (>= 4.8), libwebkitgtk-6.0-4, libjavascriptcoregtk-6.0-1")
  set(lxhf_ui_libraries libLXHotelsFermoUI)
  if(TARGET lxhf_gobject)
    list(APPEND lxhf_ui_libraries libLXHotelsFermoGObject)
  endif()
  lxhf_library_control(UI_RUNTIME ${lxhf_ui_libraries})
  set(CPACK_COMPONENT_UI_RUNTIME_DESCRIPTION "Fermo price holds - GTK 4 widgets and GObject API
 The offer button and the purchase page of LXHotelsFermo for GTK 4 and
 WebKitGTK, and the library as GObject types (namespace Lxhf).")

  set(CPACK_DEBIAN_UI_DEV_PACKAGE_SECTION libdevel)
  set(CPACK_DEBIAN_UI_DEV_PACKAGE_DEPENDS "${LXHF_NEEDS_DEV}, ${LXHF_NEEDS_UI_RUNTIME}, libgtk-4-dev (>= 4.8), libwebkitgtk-6.0-dev")
  set(CPACK_COMPONENT_UI_DEV_DESCRIPTION "Fermo price holds - GTK 4 widgets and GObject API, development files
 C++20 headers, CMake component and pkg-config file (lxhotelsfermo-ui) of
 the LXHotelsFermo widgets, and the C headers, pkg-config file
 (lxhotelsfermo-gobject) and introspection data (.gir) of its GObject API.")
endif()

if(TARGET lxhf_gobject)
  list(APPEND CPACK_COMPONENTS_ALL gir)
  string(APPEND CPACK_DEBIAN_UI_DEV_PACKAGE_DEPENDS ", ${LXHF_NEEDS_GIR}")
  set(CPACK_DEBIAN_GIR_PACKAGE_SECTION introspection)
  set(CPACK_DEBIAN_GIR_PACKAGE_DEPENDS "${LXHF_NEEDS_UI_RUNTIME}, gir1.2-glib-2.0, gir1.2-gtk-4.0")
  set(CPACK_COMPONENT_GIR_DESCRIPTION "Fermo price holds - GObject introspection data
 The typelib of the Lxhf namespace, through which Python (PyGObject),
 JavaScript (GJS) and other languages load LXHotelsFermo.")
endif()

if(TARGET lxfermo)
  list(APPEND CPACK_COMPONENTS_ALL lxfermo)
  set(CPACK_DEBIAN_LXFERMO_PACKAGE_SECTION devel)
  # The test service makes its certificates with the openssl command.
  set(CPACK_DEBIAN_LXFERMO_PACKAGE_DEPENDS "${LXHF_NEEDS_RUNTIME}, ${LXHF_DEB_C}, libsoup-3.0-0 (>= 3.2), openssl")
  # The demo window, when it was built with GTK.
  get_target_property(lxhf_lxfermo_definitions lxfermo COMPILE_DEFINITIONS)
  if("LXFERMO_HAS_GTK" IN_LIST lxhf_lxfermo_definitions)
    string(APPEND CPACK_DEBIAN_LXFERMO_PACKAGE_DEPENDS ", libgtk-4-1 (>= 4.8)")
  endif()
  if("LXFERMO_HAS_UI" IN_LIST lxhf_lxfermo_definitions)
    string(APPEND CPACK_DEBIAN_LXFERMO_PACKAGE_DEPENDS ", ${LXHF_NEEDS_UI_RUNTIME}")
  endif()
  set(CPACK_COMPONENT_LXFERMO_DESCRIPTION "Fermo price holds - command line and local test service
 lxfermo runs the LXHotelsFermo library from any language (lxfermo host), a
 local HTTPS Fermo test service (lxfermo sim) and a demo.")
endif()

# Each package carries the machine-readable copyright file and the
# changelog where Debian looks for them. The changelog is compressed as
# Debian's tools do it: -n, so the file is the same from build to build.
configure_file(cmake/debian/changelog ${PROJECT_BINARY_DIR}/debian/changelog @ONLY)
execute_process(COMMAND gzip -9nc ${PROJECT_BINARY_DIR}/debian/changelog
  OUTPUT_FILE ${PROJECT_BINARY_DIR}/debian/changelog.gz COMMAND_ERROR_IS_FATAL ANY)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${PROJECT_BINARY_DIR}/debian/changelog.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME} COMPONENT ${component})
endforeach()

include(CPack)
