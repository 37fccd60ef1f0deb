# quillon::hypergraph, quillon::util, quillon::formats and quillon::measures, static or shared.
#
#   find_package(quillon COMPONENTS shared)   or static: that kind; an error if it is not installed
#   find_package(quillon)                     the kind that BUILD_SHARED_LIBS selects, or the only one installed
#
# quillon::hypergraph_static, quillon::hypergraph_shared and those of the other libraries are defined for every
# installed kind.

# For programs that link quillon::formats_static.
list(PREPEND CMAKE_MODULE_PATH ${CMAKE_CURRENT_LIST_DIR})
find_package(Threads QUIET)
find_package(ZLIB QUIET)
find_package(Zstd QUIET)
list(POP_FRONT CMAKE_MODULE_PATH)

set(quillon_installed_kinds "")
foreach(kind IN ITEMS static shared)
  include(${CMAKE_CURRENT_LIST_DIR}/quillon-${kind}.cmake OPTIONAL RESULT_VARIABLE quillon_${kind}_FOUND)
  if(quillon_${kind}_FOUND)
    list(APPEND quillon_installed_kinds ${kind})
  endif()
endforeach()

set(quillon_chosen_kind static)
if(quillon_FIND_COMPONENTS)
  list(GET quillon_FIND_COMPONENTS 0 quillon_chosen_kind)
elseif(BUILD_SHARED_LIBS)
  set(quillon_chosen_kind shared)
endif()
if(NOT quillon_FIND_COMPONENTS AND NOT quillon_chosen_kind IN_LIST quillon_installed_kinds)
  list(GET quillon_installed_kinds 0 quillon_chosen_kind)
endif()

foreach(component IN LISTS quillon_FIND_COMPONENTS)
  if(quillon_FIND_REQUIRED_${component} AND NOT component IN_LIST quillon_installed_kinds)
    set(quillon_FOUND FALSE)
    set(quillon_NOT_FOUND_MESSAGE "There is no component ${component} in this installation, which has:"
      ${quillon_installed_kinds})
    list(JOIN quillon_NOT_FOUND_MESSAGE " " quillon_NOT_FOUND_MESSAGE)
    return()
  endif()
endforeach()

foreach(name IN ITEMS util hypergraph formats measures)
  if(NOT TARGET quillon::${name}_${quillon_chosen_kind})
    continue()
  endif()
  if(NOT TARGET quillon::${name})
    add_library(quillon::${name} ALIAS quillon::${name}_${quillon_chosen_kind})
    continue()
  endif()
  get_target_property(quillon_aliased quillon::${name} ALIASED_TARGET)
  if(quillon_FIND_COMPONENTS AND NOT quillon_aliased STREQUAL quillon::${name}_${quillon_chosen_kind})
    set(quillon_FOUND FALSE)
    set(quillon_NOT_FOUND_MESSAGE
      "quillon::${name} is ${quillon_aliased} already; name quillon::${name}_${quillon_chosen_kind} itself.")
    return()
  endif()
endforeach()
