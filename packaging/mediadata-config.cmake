# find_package(mediadata) gives mediadata::mediadata, the library, mediadata::host, the platform of a workstation, and
# mediadata::workbench, which lets the tool into a program on that platform. A program links the first two, all three, or the
# library and a platform of its own.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/mediadata-targets.cmake)
