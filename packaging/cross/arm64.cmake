# Debian's arm64: 64 bits, ARMv8.
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(architecture arm64)
set(triplet aarch64-linux-gnu)
set(qemu qemu-aarch64)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
