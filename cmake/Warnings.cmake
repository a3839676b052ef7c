# What every target of this repository is compiled with: warnings, and the
# instrumentation of the sanitizer and coverage builds.
add_library(nodetree_build_flags INTERFACE)

target_compile_options(nodetree_build_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2
  -Wcast-align -Wcast-qual -Wundef -Wpointer-arith -Wwrite-strings
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wextra-semi -Wnon-virtual-dtor>
  $<$<BOOL:${NODETREE_WERROR}>:-Werror>)

if(NODETREE_SANITIZE)
  target_compile_options(nodetree_build_flags INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(nodetree_build_flags INTERFACE -fsanitize=address,undefined)
endif()
if(NODETREE_SANITIZE_THREADS)
  target_compile_options(nodetree_build_flags INTERFACE
    -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(nodetree_build_flags INTERFACE -fsanitize=thread)
endif()
if(NODETREE_COVERAGE)
  target_compile_options(nodetree_build_flags INTERFACE --coverage)
  target_link_options(nodetree_build_flags INTERFACE --coverage)
endif()
if(NODETREE_FUZZ)
  target_compile_options(nodetree_build_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
