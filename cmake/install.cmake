# What `cmake --install` lays down: headers, libraries, program, CMake package, pkg-config files and papers. All of it
# may be moved to another folder afterwards. Each component becomes a Debian package, see package.cmake.
include(CMakePackageConfigHelpers)

set(libraries qx_idp QX_FaceSDK)
set(headers include/qx_idp.h engine/include/qx_face_sdk.h)
set(pkgconfig_packages qx_idp qx_face_sdk)
set(photograph_libraries)
set(programs)
if(QX_BUILD_PROGRAM)
  set(photograph_libraries photo codec jobs)
  list(APPEND pkgconfig_packages qx_photo qx_codec qx_jobs)
  list(APPEND programs idphoto)
endif()

install(TARGETS ${libraries} EXPORT qx_idp
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${headers} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
if(programs)
  install(TARGETS ${programs} RUNTIME COMPONENT program)
  install(DIRECTORY docs/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT program)
  install(DIRECTORY docs/schema/ DESTINATION ${CMAKE_INSTALL_DATADIR}/idphoto/schema COMPONENT program)
  install(FILES completions/idphoto.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
          RENAME idphoto COMPONENT program)
  if(QX_BUILD_SERVER)
    # Where systemd looks below /usr and /usr/local; nothing is enabled.
    install(FILES packaging/idphoto.service DESTINATION lib/systemd/system COMPONENT program)
    install(FILES docs/deploy.md DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/idphoto COMPONENT program)
  endif()
  install(FILES completions/_idphoto DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/site-functions COMPONENT program)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qx_idp)
install(EXPORT qx_idp NAMESPACE qx_idp:: FILE qx_idp-targets.cmake DESTINATION ${package_dir} COMPONENT development)
# The photograph libraries are static, each a component of the CMake package. Their headers include each other as
# "photo/studio.h" and stand in a folder of their own, so that these names meet no others.
foreach(name ${photograph_libraries})
  install(TARGETS qx_${name} EXPORT qx_idp-${name}
          ARCHIVE COMPONENT development
          FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/qx_photo COMPONENT development
          INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
  install(EXPORT qx_idp-${name} NAMESPACE qx_idp:: FILE qx_idp-${name}-targets.cmake
          DESTINATION ${package_dir} COMPONENT development)
endforeach()
configure_package_config_file(cmake/qx_idp-config.cmake.in ${PROJECT_BINARY_DIR}/package/qx_idp-config.cmake
                              INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
# Before 1.0 a new minor version may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/qx_idp-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/qx_idp-config.cmake
              ${PROJECT_BINARY_DIR}/package/qx_idp-config-version.cmake
        DESTINATION ${package_dir} COMPONENT development)

# pkg-config expands pcfiledir to the folder of the .pc file.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir}
           OUTPUT_VARIABLE pkgconfig_to_prefix)
foreach(package ${pkgconfig_packages})
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/package/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/${package}.pc DESTINATION ${pkgconfig_dir} COMPONENT development)
endforeach()

# The papers go wherever the libraries go.
install(FILES CHANGELOG.md LICENSE NOTICE THIRD_PARTY.md
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/qx_idp COMPONENT runtime)
