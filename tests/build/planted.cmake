# Adds a source that draws a warning to the library, from outside.
cmake_language(DEFER DIRECTORY ${CMAKE_SOURCE_DIR} CALL
  target_sources quillon_util PRIVATE ${CMAKE_CURRENT_LIST_DIR}/planted.cpp)
