# SPDX-License-Identifier: MIT

set(CMAKE_SYSTEM_PROCESSOR arm)
set(target arm-linux-gnueabihf)
set(emulator qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
