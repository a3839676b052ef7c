# Where <mpack.h> comes from: our own layer, or an MPack whose folder the builder names (a
# source tree, an amalgamation or an installation). Another library installs a header of the
# same name, so the declarations are checked.
set(NODETREE_MPACK_DIR "" CACHE PATH
  "Folder of an MPack source or installation to use instead of codec/mpack")

if(NOT NODETREE_MPACK_DIR)
  target_sources(nodetree PRIVATE mpack/reader.cpp mpack/writer.cpp)
  target_include_directories(nodetree PRIVATE mpack)
  return()
endif()

find_path(mpack_include mpack.h
  PATHS ${NODETREE_MPACK_DIR} PATH_SUFFIXES src/mpack include/mpack include src
  NO_DEFAULT_PATH NO_CACHE)
if(NOT mpack_include)
  message(FATAL_ERROR "NODETREE_MPACK_DIR: no mpack.h in ${NODETREE_MPACK_DIR}")
endif()

# The codec handles extensions like other values; without this MPack refuses them.
set(mpack_definitions MPACK_EXTENSIONS=1)

include(CheckCSourceCompiles)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_REQUIRED_INCLUDES ${mpack_include})
set(CMAKE_REQUIRED_DEFINITIONS -DMPACK_EXTENSIONS=1)
unset(mpack_has_stream_reader CACHE)
check_c_source_compiles("
#include <mpack.h>
void try_parse(mpack_tree_t *tree, mpack_tree_read_t read, void *context);
void try_parse(mpack_tree_t *tree, mpack_tree_read_t read, void *context) {
  mpack_tree_init_stream(tree, read, context, 1, 1);
  mpack_tree_try_parse(tree);
}" mpack_has_stream_reader)
unset(CMAKE_TRY_COMPILE_TARGET_TYPE)
unset(CMAKE_REQUIRED_INCLUDES)
unset(CMAKE_REQUIRED_DEFINITIONS)
if(NOT mpack_has_stream_reader)
  message(FATAL_ERROR "NODETREE_MPACK_DIR: ${mpack_include}/mpack.h is not MPack's, or of "
    "an MPack without the node reader")
endif()

file(GLOB mpack_sources ${mpack_include}/mpack*.c)
if(mpack_sources)
  # Built without our warning options, and with hidden symbols.
  add_library(nodetree_mpack OBJECT ${mpack_sources})
  set_target_properties(nodetree_mpack PROPERTIES
    POSITION_INDEPENDENT_CODE ON C_VISIBILITY_PRESET hidden)
  target_include_directories(nodetree_mpack PRIVATE ${mpack_include})
  target_compile_definitions(nodetree_mpack PRIVATE ${mpack_definitions})
  foreach(library IN ITEMS nodetree nodetree_static)
    target_sources(${library} PRIVATE $<TARGET_OBJECTS:nodetree_mpack>)
  endforeach()
else()
  find_library(mpack_library mpack
    PATHS ${NODETREE_MPACK_DIR} PATH_SUFFIXES lib NO_DEFAULT_PATH NO_CACHE REQUIRED)
  target_link_libraries(nodetree PRIVATE ${mpack_library} -Wl,--exclude-libs,ALL)
  target_link_libraries(nodetree_static INTERFACE ${mpack_library})
endif()
target_sources(nodetree PRIVATE mpack_chunks.cpp)
target_include_directories(nodetree SYSTEM PRIVATE ${mpack_include})
target_compile_definitions(nodetree PRIVATE ${mpack_definitions})
