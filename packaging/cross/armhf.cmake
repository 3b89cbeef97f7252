# Debian's armhf: 32 bits, ARMv7 with hardware floating point.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(architecture armhf)
set(triplet arm-linux-gnueabihf)
set(qemu qemu-arm)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
