# SPDX-License-Identifier: MIT
#
# Run by the installation: writes qorutil.pc, with the prefix of that installation.
# DESTDIR is where the tree stands for now, and no part of it.

foreach(folder IN ITEMS includeDir libDir)
  set(${folder}InPc "${${folder}}")
  if(NOT IS_ABSOLUTE "${${folder}}")
    set(${folder} "${CMAKE_INSTALL_PREFIX}/${${folder}}")
    set(${folder}InPc "\${prefix}/${${folder}InPc}")
  endif()
endforeach()
list(TRANSFORM definitions PREPEND " -D")
list(JOIN definitions "" definitions)

set(file "${libDir}/pkgconfig/qorutil.pc")
message(STATUS "Installing: $ENV{DESTDIR}${file}")
configure_file("${template}" "$ENV{DESTDIR}${file}" @ONLY NO_SOURCE_PERMISSIONS)
list(APPEND CMAKE_INSTALL_MANIFEST_FILES "${file}")
