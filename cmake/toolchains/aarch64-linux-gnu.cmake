# SPDX-License-Identifier: MIT

set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(target aarch64-linux-gnu)
set(emulator qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
