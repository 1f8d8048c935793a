# SPDX-License-Identifier: MIT

set(CMAKE_SYSTEM_PROCESSOR riscv64)
set(target riscv64-linux-gnu)
set(emulator qemu-riscv64)
include(${CMAKE_CURRENT_LIST_DIR}/debian-cross.cmake)
