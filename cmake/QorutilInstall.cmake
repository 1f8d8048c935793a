# SPDX-License-Identifier: MIT
#
# What `cmake --install` puts down: the library, its headers, the CMake package
# and the pkg-config file. The package finds the rest relative to itself; the file
# names the prefix and has --define-prefix for a tree that was moved.

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

# The installation alone knows its prefix.
install(CODE "
set(version \"${PROJECT_VERSION}\")
set(description \"${PROJECT_DESCRIPTION}\")
set(homepage \"${PROJECT_HOMEPAGE_URL}\")
set(includeDir \"${CMAKE_INSTALL_INCLUDEDIR}\")
set(libDir \"${CMAKE_INSTALL_LIBDIR}\")
set(definitions \"$<TARGET_PROPERTY:qorutil,INTERFACE_COMPILE_DEFINITIONS>\")
set(template \"${PROJECT_SOURCE_DIR}/cmake/qorutil.pc.in\")"
  SCRIPT ${PROJECT_SOURCE_DIR}/cmake/QorutilInstallPc.cmake)
