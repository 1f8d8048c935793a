# SPDX-License-Identifier: MIT

set(CMAKE_SYSTEM_PROCESSOR ppc)
set(target powerpc-linux-gnu)
set(emulator qemu-ppc)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
