# Installs the libraries, headers, tool and manual pages, and the two files by which other
# builds find the library. Inside another project nothing is installed. The components are
# the parts that a distribution may put into separate packages.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
include(CMakePackageConfigHelpers)

install(TARGETS nodetree nodetree_static EXPORT nodetreeTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT devel
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT devel)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT devel
  FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")

function(install_man component page)
  string(REGEX REPLACE ".*\\." "${CMAKE_INSTALL_MANDIR}/man" section_dir ${page})
  install(FILES docs/man/${page} DESTINATION ${section_dir} COMPONENT ${component})
endfunction()
install_man(devel nodetree.3)
install_man(devel nodetree-expressions.7)
# The manual pages of the families and functions are generated from the headers. The build
# does that, so that an installation as root leaves no files in the build folder.
find_package(Python3 COMPONENTS Interpreter)
if(Python3_FOUND)
  file(GLOB headers CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/include/nodetree/*.h)
  add_custom_command(OUTPUT man3.made
    COMMAND ${CMAKE_COMMAND} -E rm -rf man3
    COMMAND Python3::Interpreter -B ${PROJECT_SOURCE_DIR}/docs/man/families.py
      ${PROJECT_SOURCE_DIR}/include/nodetree man3
    COMMAND ${CMAKE_COMMAND} -E touch man3.made
    DEPENDS docs/man/families.py docs/man/nodetree.3 ${headers}
    COMMENT "Making manual pages of the headers")
  add_custom_target(nodetree_man ALL DEPENDS man3.made)
  install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/man3 DESTINATION ${CMAKE_INSTALL_MANDIR}
    COMPONENT devel)
endif()
# gdb finds the printers of a shared object here, by the object's full name.
install(FILES tool/gdb/nodetree.py COMPONENT devel
  DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR}
  RENAME libnodetree.so.${PROJECT_VERSION}-gdb.py)

if(TARGET nodetree_tool)
  file(RELATIVE_PATH libdir_from_bindir
    ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
  set_target_properties(nodetree_tool PROPERTIES
    INSTALL_RPATH "$ORIGIN/${libdir_from_bindir}")
  install(TARGETS nodetree_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  install_man(tool nodetree.1)
  # The shells search these folders by default; only zsh has a separate one for packages.
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

# pkg-config: written at installation, because the prefix can be chosen then. The library's
# own dependencies are only for --static, and given as flags, because users of the shared
# object need not have them installed.
get_target_property(NODETREE_PC_PRIVATE nodetree_static INTERFACE_LINK_LIBRARIES)
list(JOIN NODETREE_PC_PRIVATE " " NODETREE_PC_PRIVATE)
foreach(dir IN ITEMS LIBDIR INCLUDEDIR)
  set(NODETREE_PC_${dir} ${CMAKE_INSTALL_${dir}})
  if(NOT IS_ABSOLUTE ${NODETREE_PC_${dir}})
    string(PREPEND NODETREE_PC_${dir} "\${prefix}/")
  endif()
endforeach()
set(NODETREE_PC_PREFIX "@CMAKE_INSTALL_PREFIX@") # the second round's
configure_file(cmake/nodetree.pc.in nodetree.pc.in @ONLY)
install(CODE "
  configure_file(\"${CMAKE_CURRENT_BINARY_DIR}/nodetree.pc.in\"
    \"${CMAKE_CURRENT_BINARY_DIR}/nodetree.pc\" @ONLY)" COMPONENT devel)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/nodetree.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT devel)
