# What `cmake --install` puts where: the library, its headers and tool, and the two files by
# which other builds find it. Inside another project nothing of ours is installed.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
include(CMakePackageConfigHelpers)

install(TARGETS nodetree EXPORT nodetreeTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES include/nodetree.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/nodetree DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

if(TARGET nodetree_tool)
  file(RELATIVE_PATH libdir_from_bindir
    ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(nodetree_tool PROPERTIES
    INSTALL_RPATH "$ORIGIN/${libdir_from_bindir}")
  install(TARGETS nodetree_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()

# CMake: find_package(nodetree), target nodetree::nodetree.
set(NODETREE_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/nodetree)
install(EXPORT nodetreeTargets NAMESPACE nodetree:: DESTINATION ${NODETREE_CMAKE_DIR})
configure_package_config_file(cmake/nodetreeConfig.cmake.in nodetreeConfig.cmake
  INSTALL_DESTINATION ${NODETREE_CMAKE_DIR})
write_basic_package_version_file(nodetreeConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/nodetreeConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/nodetreeConfigVersion.cmake
  DESTINATION ${NODETREE_CMAKE_DIR})

# pkg-config: the directories are told relative to the file, so that an installed tree may be
# moved and a prefix chosen at install time. yajl does not appear: it is a dependency of the
# shared object, not of its users.
set(NODETREE_PC_DIR ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig)
foreach(dir IN ITEMS PREFIX LIBDIR INCLUDEDIR)
  set(full ${CMAKE_INSTALL_FULL_${dir}})
  if(dir STREQUAL "PREFIX")
    set(full ${CMAKE_INSTALL_PREFIX})
  endif()
  file(RELATIVE_PATH relative ${NODETREE_PC_DIR} ${full})
  set(NODETREE_PC_${dir} "\${pcfiledir}/${relative}")
endforeach()
configure_file(cmake/nodetree.pc.in nodetree.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/nodetree.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
