# SPDX-License-Identifier: MIT
#
# What `cmake --install` puts down, in three components: runtime, the shared
# library; development, what a program is built with; tools, qorhex. The CMake
# package finds the rest relative to itself; the pkg-config file names the prefix
# and has --define-prefix for a tree that was moved.

include(CMakePackageConfigHelpers)

install(TARGETS qorutil EXPORT qorutilTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/qorutil
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h")

set(packageDir ${CMAKE_INSTALL_LIBDIR}/cmake/qorutil)
install(EXPORT qorutilTargets NAMESPACE qorutil::
  DESTINATION ${packageDir} COMPONENT development)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/qorutilConfig.cmake.in
  ${PROJECT_BINARY_DIR}/qorutilConfig.cmake
  INSTALL_DESTINATION ${packageDir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/qorutilConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/qorutilConfig.cmake
  ${PROJECT_BINARY_DIR}/qorutilConfigVersion.cmake
  DESTINATION ${packageDir} COMPONENT development)

# The installation alone knows its prefix.
install(CODE "
set(version \"${PROJECT_VERSION}\")
set(description \"${PROJECT_DESCRIPTION}\")
set(homepage \"${PROJECT_HOMEPAGE_URL}\")
set(includeDir \"${CMAKE_INSTALL_INCLUDEDIR}\")
set(libDir \"${CMAKE_INSTALL_LIBDIR}\")
set(definitions \"$<TARGET_PROPERTY:qorutil,INTERFACE_COMPILE_DEFINITIONS>\")
set(template \"${PROJECT_SOURCE_DIR}/cmake/qorutil.pc.in\")"
  SCRIPT ${PROJECT_SOURCE_DIR}/cmake/QorutilInstallPc.cmake
  COMPONENT development)

# Each component can go a way of its own, and takes the licence along.
foreach(component IN ITEMS runtime development tools)
  install(FILES ${PROJECT_SOURCE_DIR}/LICENSE
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT ${component})
endforeach()
