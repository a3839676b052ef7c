# The flags of every target of this repository: warnings, hardening, and the instrumentation
# of the sanitizer and coverage builds.
add_library(nodetree_build_flags INTERFACE)

target_compile_options(nodetree_build_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wformat=2
  -Wcast-align -Wcast-qual -Wundef -Wpointer-arith -Wwrite-strings
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wextra-semi -Wnon-virtual-dtor>
  $<$<BOOL:${NODETREE_WERROR}>:-Werror>)

# Files beyond 2 GiB and 64-bit inodes and times, also on 32-bit machines. The public
# interface contains none of these types.
target_compile_definitions(nodetree_build_flags INTERFACE _FILE_OFFSET_BITS=64 _TIME_BITS=64)

# Hardening, as in Debian's packages. The checks of _FORTIFY_SOURCE need an optimising
# build; sanitizers have better checks of their own.
if(NODETREE_HARDEN AND NOT NODETREE_SANITIZE AND NOT NODETREE_SANITIZE_THREADS)
  include(CheckCXXCompilerFlag)
  target_compile_options(nodetree_build_flags INTERFACE -fstack-protector-strong
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
  foreach(flag IN ITEMS -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "have${flag}" have)
    check_cxx_compiler_flag(${flag} ${have})
    if(${have})
      target_compile_options(nodetree_build_flags INTERFACE ${flag})
    endif()
  endforeach()
  target_link_options(nodetree_build_flags INTERFACE -Wl,-z,relro,-z,now)
endif()
if(NODETREE_SANITIZE)
  target_compile_options(nodetree_build_flags INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  # Clang's check of calls through pointers needs a runtime that C programs are linked without,
  # and clang lacks the macro by which GCC tells that AddressSanitizer is on.
  if(CMAKE_CXX_COMPILER_ID STREQUAL Clang)
    target_compile_options(nodetree_build_flags INTERFACE
      -fno-sanitize=function -D__SANITIZE_ADDRESS__)
  endif()
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
