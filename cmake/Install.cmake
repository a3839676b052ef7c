# What `cmake --install` puts where: the libraries, headers, tool and manual pages, and the two
# files by which other builds find the library. Inside another project nothing of ours is
# installed. The components are the Debian packages that cmake/Package.cmake makes of them.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
include(CMakePackageConfigHelpers)

install(TARGETS nodetree nodetree_static EXPORT nodetreeTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT devel
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT devel)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT devel
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

# Manual pages as they are, or compressed, as distributions have them in their packages.
option(NODETREE_COMPRESS_MAN "Install manual pages compressed" OFF)
function(install_compressed component file name destination)
  set(compressed ${CMAKE_CURRENT_BINARY_DIR}/compressed/${component}/${name}.gz)
  file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/compressed/${component})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
  execute_process(COMMAND gzip -9 -n -c ${CMAKE_CURRENT_SOURCE_DIR}/${file}
    OUTPUT_FILE ${compressed} COMMAND_ERROR_IS_FATAL ANY)
  install(FILES ${compressed} DESTINATION ${destination} COMPONENT ${component})
endfunction()
function(install_man component page)
  string(REGEX REPLACE ".*\\." "${CMAKE_INSTALL_MANDIR}/man" section_dir ${page})
  if(NODETREE_COMPRESS_MAN)
    install_compressed(${component} docs/man/${page} ${page} ${section_dir})
  else()
    install(FILES docs/man/${page} DESTINATION ${section_dir} COMPONENT ${component})
  endif()
endfunction()
install_man(devel nodetree.3)
install(FILES tool/gdb/nodetree.py DESTINATION ${CMAKE_INSTALL_DATADIR}/nodetree/gdb
  COMPONENT devel)
install_man(tool nodetree-expressions.7)

if(TARGET nodetree_tool)
  file(RELATIVE_PATH libdir_from_bindir
    ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(nodetree_tool PROPERTIES
    INSTALL_RPATH "$ORIGIN/${libdir_from_bindir}")
  install(TARGETS nodetree_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  install_man(tool nodetree.1)
  # Where the shells look without being told; only zsh has a folder of its own for packages.
  set(NODETREE_ZSH_DIR ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
    "Where the completion for zsh is installed")
  install(FILES tool/completion/nodetree
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT tool)
  install(FILES tool/completion/_nodetree DESTINATION ${NODETREE_ZSH_DIR} COMPONENT tool)
endif()

# CMake: find_package(nodetree), targets nodetree::nodetree and nodetree::nodetree_static.
set(NODETREE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/nodetree)
install(EXPORT nodetreeTargets NAMESPACE nodetree:: DESTINATION ${NODETREE_CMAKE_DIR}
  COMPONENT devel)
configure_package_config_file(cmake/nodetreeConfig.cmake.in nodetreeConfig.cmake
  INSTALL_DESTINATION ${NODETREE_CMAKE_DIR})
write_basic_package_version_file(nodetreeConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/nodetreeConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/nodetreeConfigVersion.cmake
  DESTINATION ${NODETREE_CMAKE_DIR} COMPONENT devel)

# pkg-config: the directories are told relative to the file, so that an installed tree may be
# moved and a prefix chosen at install time. What the library itself needs is told for
# --static only, and by flags: users of the shared object need not have it installed.
set(NODETREE_PC_DIR ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
foreach(dir IN ITEMS PREFIX LIBDIR INCLUDEDIR)
  set(full ${CMAKE_INSTALL_FULL_${dir}})
  if(dir STREQUAL "PREFIX")
    set(full ${CMAKE_INSTALL_PREFIX})
  endif()
  file(RELATIVE_PATH relative ${NODETREE_PC_DIR} ${full})
  set(NODETREE_PC_${dir} "\${pcfiledir}/${relative}")
endforeach()
get_target_property(NODETREE_PC_PRIVATE nodetree_static INTERFACE_LINK_LIBRARIES)
list(JOIN NODETREE_PC_PRIVATE " " NODETREE_PC_PRIVATE)
configure_file(cmake/nodetree.pc.in nodetree.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/nodetree.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT devel)
