# find_package(mediadata) gives mediadata::mediadata, the library, and mediadata::host, the platform of a workstation. A
# program links both, or the library and a platform of its own.
include(CMakeFindDependencyMacro)
find_dependency(Threads)
include(${CMAKE_CURRENT_LIST_DIR}/mediadata-targets.cmake)
