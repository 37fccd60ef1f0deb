# Adds a source that causes a warning to the library. The call is deferred to the end of the project, when this file is
# no longer the current one.
set(planted_source ${CMAKE_CURRENT_LIST_DIR}/planted.cpp)
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL
  target_sources quillon_util_static PRIVATE ${planted_source})
