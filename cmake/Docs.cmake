# API reference pages: `cmake --build build --target docs` writes the C++
# reference (Doxygen, from include/LXHotelsFermo/) to build/docs/cpp/ and the
# Lxhf GObject reference (gi-docgen, from the GIR) to build/docs/lxhf/.
# Not part of ALL: hosts building the library need neither tool.
find_program(LXHF_DOXYGEN doxygen)
find_program(LXHF_GI_DOCGEN gi-docgen)
if(NOT LXHF_DOXYGEN OR NOT LXHF_GI_DOCGEN)
  message(STATUS "API reference: no docs target, doxygen or gi-docgen is missing (./dev docs installs them)")
  return()
endif()

option(LXHF_DOCS_STRICT "Fail the docs target when gi-docgen check finds an undocumented Lxhf symbol" ON)

set(LXHF_DOCS_DIR ${CMAKE_BINARY_DIR}/docs)
set(LXHF_DOCS_CONFIG_DIR ${CMAKE_BINARY_DIR}/CMakeFiles/lxhf-docs)
configure_file(${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${LXHF_DOCS_CONFIG_DIR}/Doxyfile @ONLY)

# Doxygen never removes pages, so a renamed class would leave its old page behind.
set(LXHF_DOCS_COMMANDS
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${LXHF_DOCS_DIR}/cpp
  COMMAND ${LXHF_DOXYGEN} ${LXHF_DOCS_CONFIG_DIR}/Doxyfile)

if(TARGET lxhf_typelib)
  configure_file(${PROJECT_SOURCE_DIR}/docs/lxhf.toml.in ${LXHF_DOCS_CONFIG_DIR}/lxhf.toml @ONLY)
  set(LXHF_DOCS_GIR ${CMAKE_BINARY_DIR}/src/gobject/Lxhf-1.0.gir)
  find_package(PkgConfig REQUIRED)
  pkg_get_variable(LXHF_SYSTEM_GIR_DIR gobject-introspection-1.0 girdir)
  if(NOT LXHF_SYSTEM_GIR_DIR)
    set(LXHF_SYSTEM_GIR_DIR /usr/share/gir-1.0)
  endif()
  set(LXHF_GIR_DIRS ${LXHF_SYSTEM_GIR_DIR} ${CMAKE_BINARY_DIR}/src/gobject)
  set(LXHF_GI_DOCGEN_ARGS --config ${LXHF_DOCS_CONFIG_DIR}/lxhf.toml)
  foreach(dir IN LISTS LXHF_GIR_DIRS)
    list(APPEND LXHF_GI_DOCGEN_ARGS --add-include-path ${dir})
  endforeach()
  # A list would be split into separate arguments on the way to the script.
  list(JOIN LXHF_GI_DOCGEN_ARGS "|" LXHF_GI_DOCGEN_ARGS_JOINED)
  list(APPEND LXHF_DOCS_COMMANDS
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${LXHF_DOCS_DIR}/lxhf
    COMMAND ${LXHF_GI_DOCGEN} generate --quiet --fatal-warnings --no-namespace-dir
      --output-dir ${LXHF_DOCS_DIR}/lxhf ${LXHF_GI_DOCGEN_ARGS} ${LXHF_DOCS_GIR}
    COMMAND ${CMAKE_COMMAND} -DGI_DOCGEN=${LXHF_GI_DOCGEN} -DGIR=${LXHF_DOCS_GIR}
      "-DARGS=${LXHF_GI_DOCGEN_ARGS_JOINED}" -DSTRICT=${LXHF_DOCS_STRICT}
      -P ${PROJECT_SOURCE_DIR}/cmake/GiDocgenCheck.cmake)
else()
  message(STATUS "API reference: the Lxhf GObject layer is not built, so the docs target makes the C++ reference only")
endif()

add_custom_target(docs ${LXHF_DOCS_COMMANDS}
  WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
  COMMENT "API reference in ${LXHF_DOCS_DIR}"
  VERBATIM)
if(TARGET lxhf_typelib)
  add_dependencies(docs lxhf_typelib)
endif()
