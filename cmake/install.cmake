# Installed files other than the libraries, their headers and the tool.
include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/quillon)
write_basic_package_version_file(quillonConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES cmake/quillonConfig.cmake cmake/FindZstd.cmake ${PROJECT_BINARY_DIR}/quillonConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT quillon_development)
foreach(kind IN LISTS quillon_kinds)
  install(EXPORT quillon-${kind} NAMESPACE quillon:: FILE quillon-${kind}.cmake
    DESTINATION ${package_dir} COMPONENT quillon_development)
endforeach()

# Files for pkg-config find the prefix relative to themselves, so that an installation can be moved.
file(RELATIVE_PATH to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" to_prefix "${to_prefix}")
function(quillon_pkg_config pc_name pc_description pc_requires pc_libs pc_private)
  configure_file(cmake/quillon.pc.in ${pc_name}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${pc_name}.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT quillon_development)
endfunction()
quillon_pkg_config(quillon "${PROJECT_DESCRIPTION}" "" "-lquillon_hypergraph -lquillon_util" "")
quillon_pkg_config(quillon-measures "Measures of hypergraphs and partitions" quillon -lquillon_measures "")
if(QUILLON_FORMATS)
  quillon_pkg_config(quillon-formats "Reads and writes hypergraph files" quillon -lquillon_formats "-lz -lzstd")
endif()

# For Debian, packaging/debian.cmake installs the page compressed.
if(QUILLON_TOOLS AND NOT QUILLON_DEBIAN)
  install(FILES ${PROJECT_BINARY_DIR}/documents/quillon.1
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT quillon_tool)
endif()

if(QUILLON_TOOLS)
  install(FILES ${PROJECT_BINARY_DIR}/documents/quillon.bash RENAME quillon
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT quillon_tool)
endif()

# Default for install rules in other folders.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME quillon_tool)
if(BUILD_SHARED_LIBS AND PROJECT_IS_TOP_LEVEL AND NOT CMAKE_INSTALL_RPATH)
  file(RELATIVE_PATH to_libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set(CMAKE_INSTALL_RPATH $ORIGIN/${to_libraries})
endif()
