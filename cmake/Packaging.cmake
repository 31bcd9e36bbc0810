# Debian packages from the install components, by `./dev package`:
#   liblxhotelsfermo1     runtime: the shared libraries
#   liblxhotelsfermo-dev  dev: headers, CMake and pkg-config files, the .gir
#   gir1.2-lxhf-1.0       gir: the typelib, for Python, JavaScript and the like
#   lxfermo               lxfermo: the command and its local test service
# Dependencies are written out rather than computed by dpkg-shlibdeps,
# which cannot see our libraries inside one package needing each other.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lxhotelsfermo)
set(CPACK_PACKAGE_VENDOR "LX Hotels")
set(CPACK_PACKAGE_CONTACT "LXHotelsFermo developers <fermo-sdk@lxhotels.com>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEB_COMPONENT_INSTALL ON)
# Debug information stays in the build tree, as in Debian's own -dbgsym split.
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://www.lxhotels.com/")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Fermo price holds for hotel-booking applications")

set(LXHF_DEB_VERSION "${PROJECT_VERSION}")
set(LXHF_DEB_RUNTIME liblxhotelsfermo1)
set(LXHF_DEB_GIR gir1.2-lxhf-1.0)

set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${LXHF_DEB_RUNTIME})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS
  "libc6 (>= 2.36), libstdc++6 (>= 12), libgcc-s1, libglib2.0-0 (>= 2.74), libsoup-3.0-0 (>= 3.2), glib-networking, libgtk-4-1 (>= 4.8), libwebkitgtk-6.0-4, libjavascriptcoregtk-6.0-1")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "Fermo price holds for hotel-booking applications - libraries
 The LXHotelsFermo client library, its GTK 4 offer button and purchase page,
 and its GObject API.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME liblxhotelsfermo-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS
  "${LXHF_DEB_RUNTIME} (= ${LXHF_DEB_VERSION}), libglib2.0-dev (>= 2.74), libsoup-3.0-dev, libgtk-4-dev (>= 4.8), libwebkitgtk-6.0-dev, pkg-config")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Fermo price holds for hotel-booking applications - development files
 C++20 headers, CMake package and pkg-config files for LXHotelsFermo, the C
 headers of its GObject API and its GObject introspection data (.gir).")

if(TARGET lxfermo)
  list(APPEND CPACK_COMPONENTS_ALL lxfermo)
endif()
set(CPACK_DEBIAN_LXFERMO_PACKAGE_NAME lxfermo)
set(CPACK_DEBIAN_LXFERMO_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_LXFERMO_PACKAGE_DEPENDS "${LXHF_DEB_RUNTIME} (= ${LXHF_DEB_VERSION}), libsoup-3.0-0 (>= 3.2)")
set(CPACK_COMPONENT_LXFERMO_DESCRIPTION "Fermo price holds - command line and local test service
 lxfermo runs the LXHotelsFermo library from any language (lxfermo host), a
 local HTTPS Fermo test service (lxfermo sim) and a demo.")

if(TARGET lxhf_gobject)
  list(APPEND CPACK_COMPONENTS_ALL gir)
  string(APPEND CPACK_DEBIAN_DEV_PACKAGE_DEPENDS ", ${LXHF_DEB_GIR} (= ${LXHF_DEB_VERSION})")
  set(CPACK_DEBIAN_GIR_PACKAGE_NAME ${LXHF_DEB_GIR})
  set(CPACK_DEBIAN_GIR_PACKAGE_SECTION introspection)
  set(CPACK_DEBIAN_GIR_PACKAGE_DEPENDS
    "${LXHF_DEB_RUNTIME} (= ${LXHF_DEB_VERSION}), gir1.2-glib-2.0, gir1.2-gtk-4.0")
  set(CPACK_COMPONENT_GIR_DESCRIPTION "Fermo price holds - GObject introspection data
 The typelib of the Lxhf namespace, through which Python (PyGObject),
 JavaScript (GJS) and other languages load LXHotelsFermo.")
endif()

include(CPack)
