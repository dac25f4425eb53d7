# Debian packages of what install.cmake lays down: `cpack -G DEB --config build/release/CPackConfig.cmake`. One package
# for each component: libqx-idp0 (runtime), libqx-idp-dev (development), idphoto (program).
find_program(QX_DPKG_SHLIBDEPS dpkg-shlibdeps DOC "Finds the packages that binaries need; in Debian's dpkg-dev")
if(NOT QX_DPKG_SHLIBDEPS OR WIN32)
  return()
endif()

set(package_runtime libqx-idp0)
set(package_development libqx-idp-dev)
set(package_program idphoto)

set(components runtime development)
if(programs)
  list(APPEND components program)
endif()
set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGE_NAME qx-idp)
set(CPACK_PACKAGE_VENDOR "The qx_idp authors")
set(CPACK_PACKAGE_CONTACT "The qx_idp authors <maintainers@qx-idp.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/tidy.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${package_runtime})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "identification photographs from ordinary photographs
Finds the faces in a photograph and cuts each of them out upright, framed and
at a known scale; scores, retouches and fits the crops to documents. The face
engine with its networks is inside: no service, no network, no other file.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME ${package_development})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${package_runtime} ${same_version}")
if(photograph_libraries)
  # What the static libraries are linked with. libvips brings very much along, for those alone who read image files.
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
         ", libxnnpack-dev (>= 0.0~git20220216), libpthreadpool-dev (>= 0.0~git20210507)")
  set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_RECOMMENDS "libvips-dev (>= 8.14)")
endif()
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "identification photographs from ordinary photographs, headers
What a program needs to be built with the library: headers, a CMake package
and pkg-config files; besides static C++ libraries that make finished
photographs, read and write image files (with libvips-dev) and work on many
photographs at once.")

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME ${package_program})
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_DEPENDS "${package_runtime} ${same_version}")
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION "identification photographs from ordinary photographs, program
Makes passport, visa and identity photographs with the background, size,
resolution and file size that a document asks for, measures finished ones,
retouches faces and lays out sheets for the printer: as a command, as a page
in the browser, and by HTTP. A systemd service comes along, not enabled.")
if(QX_BUILD_SERVER)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_SUGGESTS xdg-utils) # opens the browser
  set(scripts ${PROJECT_SOURCE_DIR}/cmake/debian/program)
  set(CPACK_DEBIAN_PROGRAM_PACKAGE_CONTROL_EXTRA ${scripts}/postinst ${scripts}/prerm ${scripts}/postrm)
endif()

# What Debian wants in each package and nobody else; installed only when a component is asked for by name. The time can
# be set by SOURCE_DATE_EPOCH.
string(TIMESTAMP package_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(cmake/debian/changelog.in ${PROJECT_BINARY_DIR}/package/changelog.Debian @ONLY)
foreach(component ${components})
  install(FILES cmake/debian/copyright ${PROJECT_BINARY_DIR}/package/changelog.Debian
          DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package_${component}} COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()

include(CPack)
