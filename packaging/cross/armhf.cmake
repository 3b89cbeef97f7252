# Debian's armhf: 32 bits, ARMv7 with hardware floating point.
set(CMAKE_SYSTEM_PROCESSOR arm)
set(architecture armhf)
set(triplet arm-linux-gnueabihf)
set(qemu qemu-arm)
# GCC's remark on how it passed some arguments before its version 7.
set(CMAKE_CXX_FLAGS_INIT -Wno-psabi)
include(${CMAKE_CURRENT_LIST_DIR}/debian.cmake)
