# Adds a program of the guide or an example, named after its source and built as users build
# theirs: plain C11 or C++17 with the public headers.
function(nodetree_lesson target source)
  add_executable(${target} ${source} ${ARGN})
  get_filename_component(name ${source} NAME_WE)
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${name}
    C_STANDARD 11
    C_STANDARD_REQUIRED ON
    C_EXTENSIONS OFF
    CXX_STANDARD 17
    CXX_EXTENSIONS OFF)
  target_compile_definitions(${target} PRIVATE $<$<COMPILE_LANGUAGE:C>:_POSIX_C_SOURCE=200809L>)
  target_link_libraries(${target} PRIVATE nodetree nodetree_build_flags)
endfunction()
