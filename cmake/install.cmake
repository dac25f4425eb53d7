# What `cmake --install` lays down: headers, libraries, program, CMake package and pkg-config files. All of it may be
# moved to another folder afterwards.
include(CMakePackageConfigHelpers)

install(TARGETS qx_idp QX_FaceSDK EXPORT qx_idp INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES include/qx_idp.h engine/include/qx_face_sdk.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(QX_BUILD_HOST)
  install(TARGETS idphoto)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/qx_idp)
install(EXPORT qx_idp NAMESPACE qx_idp:: FILE qx_idp-targets.cmake DESTINATION ${package_dir})
configure_package_config_file(cmake/qx_idp-config.cmake.in ${PROJECT_BINARY_DIR}/package/qx_idp-config.cmake
                              INSTALL_DESTINATION ${package_dir} NO_SET_AND_CHECK_MACRO)
# Before 1.0 a new minor version may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/qx_idp-config-version.cmake
                                 COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/package/qx_idp-config.cmake
              ${PROJECT_BINARY_DIR}/package/qx_idp-config-version.cmake DESTINATION ${package_dir})

# pkg-config expands pcfiledir to the folder of the .pc file.
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${pkgconfig_dir}
           OUTPUT_VARIABLE pkgconfig_to_prefix)
foreach(package qx_idp qx_face_sdk)
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/package/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/package/${package}.pc DESTINATION ${pkgconfig_dir})
endforeach()
