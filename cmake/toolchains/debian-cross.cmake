# SPDX-License-Identifier: MIT
#
# What Debian's cross compilers have in common; `target` and `emulator` name the
# one. What they build runs under qemu-user, with the target's own libraries where
# scripts/test.sh has put them beside the build, else with those of the compiler.

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${target}-gcc)
set(CMAKE_CXX_COMPILER ${target}-g++)
set(libraries /usr/${target})
if(EXISTS ${CMAKE_BINARY_DIR}/libc)
  set(libraries ${CMAKE_BINARY_DIR}/libc)
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L ${libraries})

# Nothing is taken from this machine but programs; what a prefix given holds is
# for the target.
list(APPEND CMAKE_FIND_ROOT_PATH /usr/${target} ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
