# Debian packages by `cpack`: libnodetree1, libnodetree-dev and nodetree, from a build whose
# prefix is /usr (the preset "package").
if(NOT PROJECT_IS_TOP_LEVEL OR NOT TARGET nodetree_tool)
  return()
endif()

set(NODETREE_MAINTAINER "The nodetree authors" CACHE STRING "Maintainer of the packages")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME nodetree)
set(CPACK_PACKAGE_CONTACT ${NODETREE_MAINTAINER})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_COMPONENTS_ALL library devel tool)
set(CPACK_COMPONENTS_GROUPING IGNORE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Where the tool's dependencies are looked up; that on our own library is named below.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})
set(library_package libnodetree${PROJECT_VERSION_MAJOR})

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "${PROJECT_DESCRIPTION}
Trees of typed values addressed by paths, JSON and MessagePack, and what services
need around them. This package holds the shared library.")

set(CPACK_DEBIAN_DEVEL_PACKAGE_NAME libnodetree-dev)
set(CPACK_DEBIAN_DEVEL_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVEL_PACKAGE_DEPENDS
  "${library_package} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
# Only programs that link the archive need these.
set(CPACK_DEBIAN_DEVEL_PACKAGE_RECOMMENDS "libyajl-dev, libpcre2-dev")
set(CPACK_DEBIAN_DEVEL_PACKAGE_SUGGESTS nodetree)
set(CPACK_COMPONENT_DEVEL_DESCRIPTION "${PROJECT_DESCRIPTION} (development)
Headers, static library, manual page, and the files by which CMake and pkg-config find
the library.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME nodetree)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library_package} (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOL_DESCRIPTION "Look into JSON and MessagePack from the command line
Values by path or pattern, conversion, rules, merging, filtering and differences.")

if(NODETREE_COMPRESS_MAN) # a build that is for packages
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    install(FILES LICENSE DESTINATION ${doc_dir} RENAME copyright COMPONENT ${component})
    install_compressed(${component} CHANGELOG.md changelog ${doc_dir})
  endforeach()
endif()

include(CPack)
