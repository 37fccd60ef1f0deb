# Defines a library as quillon::NAME_static and quillon::NAME_shared; quillon::NAME is the kind that BUILD_SHARED_LIBS
# selects.
set(quillon_kind static)
set(quillon_other_kind shared)
if(BUILD_SHARED_LIBS)
  set(quillon_kind shared)
  set(quillon_other_kind static)
endif()
set(quillon_kinds ${quillon_kind})
if(QUILLON_STATIC_AND_SHARED)
  list(APPEND quillon_kinds ${quillon_other_kind})
endif()

# Exports only what public headers declare. Visibility options do not hide instances of standard library templates, so
# the linker gets a list of exports.
function(quillon_hide_internals target)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  target_compile_definitions(${target} PRIVATE QUILLON_SHARED_BUILD)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL SHARED_LIBRARY AND CMAKE_SYSTEM_NAME STREQUAL "Linux")
    set(exports ${PROJECT_SOURCE_DIR}/cmake/exports.map)
    target_link_options(${target} PRIVATE LINKER:--version-script=${exports})
    set_target_properties(${target} PROPERTIES LINK_DEPENDS ${exports})
    if(NOT QUILLON_SANITIZE)  # clang resolves the symbols of sanitizers in the program
      target_link_options(${target} PRIVATE LINKER:-z,defs)
    endif()
  endif()
endfunction()

# quillon_objects(NAME SOURCE...) compiles the sources of a library once for both kinds, as quillon_NAME_objects. The
# code is position-independent, which the module itself, built once for each kind, avoids for speed except in short
# builds.
function(quillon_objects name)
  set(target quillon_${name}_objects)
  add_library(${target} OBJECT ${ARGN})
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON CXX_EXTENSIONS OFF)
  target_compile_features(${target} PRIVATE cxx_std_20)
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${target} PRIVATE quillon_flags)
  quillon_hide_internals(${target})
  quillon_short_build(${target} TOGETHER HEADERS quillon_library_headers)
endfunction()

# quillon_headers(NAME) precompiles the headers of the standard library that most sources use, for the targets that name
# it as HEADERS. All must have the same flags, except definitions that the headers do not use.
function(quillon_headers name)
  file(CONFIGURE OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp CONTENT "")
  add_library(${name} OBJECT ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  set_target_properties(${name} PROPERTIES
    POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON CXX_EXTENSIONS OFF)
  target_compile_features(${name} PRIVATE cxx_std_20)
  target_link_libraries(${name} PRIVATE quillon_flags)
  target_precompile_headers(${name} PRIVATE <algorithm> <array> <charconv> <cstdint> <cstring> <functional> <memory>
    <numeric> <optional> <span> <string> <string_view> <utility> <vector>)
endfunction()

# quillon_short_build(TARGET [TOGETHER] [HEADERS NAME]) applies to a target if QUILLON_SHORT_BUILD is on. HEADERS uses
# precompiled headers. TOGETHER compiles several sources at a time, whose names of types and constants must differ;
# sources with SKIP_UNITY_BUILD_INCLUSION are compiled by themselves.
function(quillon_short_build target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "TOGETHER" "HEADERS" "")
  if(QUILLON_SHORT_BUILD AND arg_TOGETHER)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 12)
  endif()
  if(QUILLON_SHORT_BUILD AND arg_HEADERS)
    set_target_properties(${target} PROPERTIES
      POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    target_precompile_headers(${target} REUSE_FROM ${arg_HEADERS})
  endif()
endfunction()
if(QUILLON_SHORT_BUILD)
  quillon_headers(quillon_library_headers)
endif()

function(quillon_library name header)  # quillon_library(NAME HEADER SOURCE...)
  if(QUILLON_SHORT_BUILD AND NOT TARGET quillon_${name}_objects)
    quillon_objects(${name} ${ARGN})
    set(ARGN $<TARGET_OBJECTS:quillon_${name}_objects>)
  endif()
  foreach(kind IN LISTS quillon_kinds)
    set(target quillon_${name}_${kind})
    string(TOUPPER ${kind} type)
    add_library(${target} ${type} ${ARGN})
    add_library(quillon::${name}_${kind} ALIAS ${target})
    set_target_properties(${target} PROPERTIES
      OUTPUT_NAME quillon_${name} EXPORT_NAME ${name}_${kind} CXX_EXTENSIONS OFF)
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:quillon_flags>)
    target_sources(${target} PUBLIC
      FILE_SET HEADERS BASE_DIRS ${PROJECT_SOURCE_DIR} FILES ${header})  # sets the include root
    if(kind STREQUAL shared)
      set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} INSTALL_RPATH $ORIGIN)
      quillon_hide_internals(${target})
    endif()
    if(QUILLON_INSTALL)
      install(TARGETS ${target} EXPORT quillon-${kind}
        LIBRARY COMPONENT quillon_runtime NAMELINK_COMPONENT quillon_development
        ARCHIVE COMPONENT quillon_development
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/quillon COMPONENT quillon_development)
    endif()
  endforeach()
  add_library(quillon::${name} ALIAS quillon_${name}_${quillon_kind})
endfunction()

function(quillon_link name other)  # each kind of NAME links the same kind of OTHER, without embedding it
  foreach(kind IN LISTS quillon_kinds)
    target_link_libraries(quillon_${name}_${kind} PUBLIC quillon_${other}_${kind})
  endforeach()
endfunction()
