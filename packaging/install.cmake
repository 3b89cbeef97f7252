# What `cmake --install` lays where, in four components: library (what runs), development (what a client is built with:
# headers, CMake package, pkg-config files), tool (the program, its man page and its completions), web (what serves the
# page). All of it may be moved.
include(CMakePackageConfigHelpers)
set(zsh_completions ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Where zsh looks for completions")

# The libraries, with the names that clients know them by: mediadata::mediadata, mediadata::host and mediadata::workbench.
set_target_properties(mediadata_library PROPERTIES EXPORT_NAME mediadata)
set_target_properties(mediadata_host_platform PROPERTIES EXPORT_NAME host)
set_target_properties(mediadata_workbench PROPERTIES EXPORT_NAME workbench)
set(headers ${CMAKE_INSTALL_INCLUDEDIR})
foreach(target mediadata_library mediadata_host_platform)
    target_compile_features(${target} INTERFACE cxx_std_20)
    target_include_directories(${target} INTERFACE $<INSTALL_INTERFACE:${headers}/mediadata>
        $<INSTALL_INTERFACE:${headers}/mediadata-platform>)
endforeach()
target_include_directories(mediadata_host_platform INTERFACE $<INSTALL_INTERFACE:${headers}/mediadata-host>)
target_include_directories(mediadata_workbench INTERFACE $<INSTALL_INTERFACE:${headers}/mediadata-workbench>)
install(TARGETS mediadata_library mediadata_host_platform mediadata_workbench EXPORT mediadata
    LIBRARY COMPONENT library NAMELINK_COMPONENT development)

# The headers. Of the host platform those that start and drive it; the rest is its own affair.
install(DIRECTORY include/ DESTINATION ${headers}/mediadata COMPONENT development)
install(DIRECTORY platform/include/ DESTINATION ${headers}/mediadata-platform COMPONENT development)
set(host_headers seam/Author.h seam/DeviceProfile.h seam/FailedWrite.h seam/HostLog.h seam/HostPlatform.h seam/LockMark.h service/JournalEntry.h
    service/ManagementService.h)
list(TRANSFORM host_headers PREPEND platform/host/)
list(APPEND host_headers platform/common/AnnotatedMutex.h)
install(FILES ${host_headers} DESTINATION ${headers}/mediadata-host COMPONENT development)
install(DIRECTORY tool/include/ DESTINATION ${headers}/mediadata-workbench COMPONENT development)

# find_package(mediadata)
set(cmake_directory ${CMAKE_INSTALL_LIBDIR}/cmake/mediadata)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/mediadata-config-version.cmake COMPATIBILITY SameMajorVersion)
install(EXPORT mediadata NAMESPACE mediadata:: FILE mediadata-targets.cmake DESTINATION ${cmake_directory}
    COMPONENT development)
install(FILES packaging/mediadata-config.cmake ${PROJECT_BINARY_DIR}/mediadata-config-version.cmake
    DESTINATION ${cmake_directory} COMPONENT development)

# pkg-config mediadata, mediadata-host with it, and mediadata-workbench with both. Their prefix is found from where they lie.
set(pc_directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pc /${pc_directory} /)
foreach(name mediadata mediadata-host mediadata-workbench)
    configure_file(packaging/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${pc_directory} COMPONENT development)
endforeach()

# The tool.
set(completions tool/cli/completions)
install(TARGETS mediadata_program RUNTIME COMPONENT tool)
install(TARGETS mediadata_web_program RUNTIME DESTINATION ${CMAKE_INSTALL_LIBEXECDIR} COMPONENT web)
install(FILES docs/mediadata.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
install(FILES ${completions}/mediadata.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME mediadata
    COMPONENT tool)
install(FILES ${completions}/_mediadata DESTINATION ${zsh_completions} COMPONENT tool)
install(FILES ${completions}/mediadata.fish DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
