# Debian packages: libquillon (shared libraries), libquillon-dev (headers, static libraries, package files), quillon (the
# tool), python3-quillon if QUILLON_PYTHON is ON, and for each engine that is built its own, which needs libraries that the tool does not. packaging/build.sh
# configures a build for these packages and calls CPack.

if(QUILLON_DEBIAN)
  set(compressed ${PROJECT_BINARY_DIR}/compressed)
  file(MAKE_DIRECTORY ${compressed})
  function(quillon_compress from to)  # without name and time, so that builds are reproducible
    execute_process(COMMAND gzip -9nc ${PROJECT_SOURCE_DIR}/${from} OUTPUT_FILE ${compressed}/${to}
      COMMAND_ERROR_IS_FATAL ANY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/${from})
  endfunction()
  quillon_compress(CHANGELOG.md changelog.gz)
  quillon_compress(packaging/changelog changelog.Debian.gz)

  function(quillon_package_documents package component)
    set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
    install(FILES packaging/copyright ${compressed}/changelog.gz ${compressed}/changelog.Debian.gz
      DESTINATION ${documents} COMPONENT ${component})
    set(overrides "# The package is not uploaded to Debian.\n${package}: initial-upload-closes-no-bugs\n")
    if(EXISTS ${PROJECT_SOURCE_DIR}/packaging/${package}.lintian-overrides)
      file(READ ${PROJECT_SOURCE_DIR}/packaging/${package}.lintian-overrides more)
      string(APPEND overrides "${more}")
    endif()
    file(WRITE ${compressed}/${package}.lintian-overrides "${overrides}")
    install(FILES ${compressed}/${package}.lintian-overrides RENAME ${package}
      DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/lintian/overrides COMPONENT ${component})
  endfunction()
  quillon_package_documents(libquillon quillon_runtime)
  quillon_package_documents(libquillon-dev quillon_development)
  quillon_package_documents(quillon quillon_tool)
  if(QUILLON_PYTHON STREQUAL "ON")
    quillon_package_documents(python3-quillon quillon_python)
  endif()
  foreach(engine IN LISTS quillon_engines)
    quillon_package_documents(quillon-${engine} quillon_${engine})
  endforeach()
  set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/libquillon-dev)
  install(FILES docs/library.md DESTINATION ${documents} COMPONENT quillon_development)
  install(DIRECTORY examples DESTINATION ${documents} COMPONENT quillon_development)
  if(QUILLON_TOOLS)
    add_custom_command(OUTPUT ${compressed}/quillon.1.gz
      COMMAND gzip -9nc ${PROJECT_BINARY_DIR}/documents/quillon.1 > ${compressed}/quillon.1.gz
      DEPENDS quillon_rendered_documents ${PROJECT_BINARY_DIR}/documents/quillon.1 VERBATIM)
    add_custom_target(quillon_compressed_manual ALL DEPENDS ${compressed}/quillon.1.gz)
    install(FILES ${compressed}/quillon.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT quillon_tool)
  endif()
endif()

if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "Quillon maintainers <maintainers@quillon.invalid>")
set(CPACK_COMPONENTS_ALL quillon_runtime quillon_development quillon_tool)
if(QUILLON_PYTHON STREQUAL "ON")
  list(APPEND CPACK_COMPONENTS_ALL quillon_python)
endif()
foreach(engine IN LISTS quillon_engines)
  list(APPEND CPACK_COMPONENTS_ALL quillon_${engine})
endforeach()
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY =)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(this_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

# The first line is the synopsis. CPack wraps the text; an empty line begins a paragraph.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(purpose "Reads, builds, copies, prunes, renumbers, verifies and writes hypergraphs of
cells and nets, for programs that partition netlists, sparse matrices and
networks.")

set(CPACK_DEBIAN_QUILLON_RUNTIME_PACKAGE_NAME libquillon)
set(CPACK_DEBIAN_QUILLON_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_QUILLON_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/triggers)
set(CPACK_DEBIAN_QUILLON_RUNTIME_DESCRIPTION "hypergraph module of a partitioning library
${purpose}

This package contains the shared libraries.")

set(CPACK_DEBIAN_QUILLON_DEVELOPMENT_PACKAGE_NAME libquillon-dev)
set(CPACK_DEBIAN_QUILLON_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_QUILLON_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_QUILLON_DEVELOPMENT_PACKAGE_DEPENDS "libquillon ${this_version}")
set(CPACK_DEBIAN_QUILLON_DEVELOPMENT_PACKAGE_RECOMMENDS "libzstd-dev, zlib1g-dev")  # for static linking with quillon::formats
set(CPACK_DEBIAN_QUILLON_DEVELOPMENT_DESCRIPTION
  "hypergraph module of a partitioning library - development files
${purpose}

This package contains the headers, the static libraries, examples, and files
for CMake and pkg-config.")

set(CPACK_DEBIAN_QUILLON_TOOL_PACKAGE_NAME quillon)
set(CPACK_DEBIAN_QUILLON_TOOL_PACKAGE_SECTION science)
set(CPACK_DEBIAN_QUILLON_TOOL_PACKAGE_DEPENDS "libquillon ${this_version}")
set(CPACK_DEBIAN_QUILLON_TOOL_PACKAGE_SUGGESTS "quillon-ptscotch, quillon-metis")
set(CPACK_DEBIAN_QUILLON_TOOL_DESCRIPTION "command-line tool for hypergraphs
Prints statistics of hypergraphs, checks, prunes and renumbers them, converts
between file formats, evaluates partitions, and writes HTML reports with
charts.")

set(CPACK_DEBIAN_QUILLON_PTSCOTCH_PACKAGE_NAME quillon-ptscotch)
set(CPACK_DEBIAN_QUILLON_PTSCOTCH_PACKAGE_SECTION science)
set(CPACK_DEBIAN_QUILLON_PTSCOTCH_PACKAGE_DEPENDS "quillon ${this_version}, openmpi-bin")
set(CPACK_DEBIAN_QUILLON_PTSCOTCH_DESCRIPTION "partitions hypergraphs with PT-Scotch
The engine of \"quillon partition\" that runs on many processes, on one machine
or on several. Each process reads its own part of the hypergraph.")

set(CPACK_DEBIAN_QUILLON_METIS_PACKAGE_NAME quillon-metis)
set(CPACK_DEBIAN_QUILLON_METIS_PACKAGE_SECTION science)
set(CPACK_DEBIAN_QUILLON_METIS_PACKAGE_DEPENDS "quillon ${this_version}")
set(CPACK_DEBIAN_QUILLON_METIS_DESCRIPTION "partitions hypergraphs with METIS
The engine of \"quillon partition\" that runs in one process, without MPI.")

set(CPACK_DEBIAN_QUILLON_PYTHON_PACKAGE_NAME python3-quillon)
set(CPACK_DEBIAN_QUILLON_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_QUILLON_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11), python3 (<< 3.12), python3-numpy")
set(CPACK_DEBIAN_QUILLON_PYTHON_PACKAGE_SUGGESTS "python3-scipy, python3-networkx, python3-matplotlib")
set(CPACK_DEBIAN_QUILLON_PYTHON_DESCRIPTION "hypergraph module of a partitioning library - Python package
${purpose}

This package contains the module quillon for Python 3, which exchanges data
with scipy and networkx.")

include(CPack)
