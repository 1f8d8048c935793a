# SPDX-License-Identifier: MIT
#
# What `cmake --install` puts down: the library, its headers, the CMake package
# and the pkg-config file. Both find the rest relative to themselves, so an
# installed tree can be moved.

include(CMakePackageConfigHelpers)

install(TARGETS qorutil EXPORT qorutilTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qorutil
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/qorutil)
install(EXPORT qorutilTargets NAMESPACE qorutil:: DESTINATION ${packageDir})
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/qorutilConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qorutilConfig.cmake
  INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorutilConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/qorutilConfig.cmake
  ${PROJECT_BINARY_DIR}/qorutilConfigVersion.cmake
  DESTINATION ${packageDir})

# The prefix as seen from the folder of the .pc file.
set(pcDir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH pcPrefix /prefix/${pcDir} /prefix)
string(REGEX REPLACE "/$" "" pcPrefix "${pcPrefix}")
configure_file(${PROJECT_SOURCE_DIR}/cmake/qorutil.pc.in
  ${PROJECT_BINARY_DIR}/qorutil.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/qorutil.pc DESTINATION ${pcDir})
