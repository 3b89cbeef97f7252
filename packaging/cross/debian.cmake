# What the cross builds for Debian's architectures share: the cross compiler of `triplet`, the libraries that
# packaging/cross/sysroot laid below build/sysroot/`architecture`, and the emulator `qemu` for what was built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../../build/sysroot/${architecture})
file(REAL_PATH ${CMAKE_SYSROOT} CMAKE_SYSROOT)

set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(CMAKE_STRIP ${triplet}-strip)
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR} ${CMAKE_SYSROOT}/usr/lib/${triplet}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

find_program(MEDIADATA_EMULATOR ${qemu} REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${MEDIADATA_EMULATOR} -L ${CMAKE_SYSROOT})
