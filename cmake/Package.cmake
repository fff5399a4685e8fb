# What `cmake --install` puts into a folder, and `cpack` into archives. The developer's package has the
# layout of a checkout as far as both have the same, so that whoever builds a plug-in needs not know
# which it is; include/, lib/ and bin/ are its own. The other archive has Nimbo.dll alone.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)

foreach(room platform shell host data ui)
    install(DIRECTORY ${room} DESTINATION include FILES_MATCHING PATTERN "*.h")
endforeach()
install(TARGETS framework ARCHIVE DESTINATION lib)
get_target_property(toolbox_library toolbox_import INTERFACE_LINK_LIBRARIES)
install(FILES ${toolbox_library} DESTINATION lib)
foreach(binary testhost toolbox Nimbo Recorder)
    install(PROGRAMS $<TARGET_FILE:${binary}> DESTINATION bin)
endforeach()
install(FILES cmake/NimboConfig.cmake cmake/Plugin.cmake cmake/PluginVersion.h.in
              cmake/Testhost.cmake cmake/VersionInformation.cmake cmake/VersionInformation.rc.in
              cmake/i686-w64-mingw32.cmake
        DESTINATION cmake)
include(CMakePackageConfigHelpers)
write_basic_package_version_file(
    ${CMAKE_CURRENT_BINARY_DIR}/NimboConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/NimboConfigVersion.cmake DESTINATION cmake)
install(FILES plugin/Plugin.def DESTINATION plugin)
install(PROGRAMS scripts/new-plugin scripts/run-exe scripts/setup scripts/testhost scripts/wine-stop
        DESTINATION scripts)
install(FILES scripts/wine-env DESTINATION scripts)
install(DIRECTORY scripts/starter DESTINATION scripts PATTERN build EXCLUDE)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION .)
install(FILES fuzz/README.md DESTINATION fuzz)
install(DIRECTORY docs DESTINATION . PATTERN reference EXCLUDE)
install(DIRECTORY examples DESTINATION . PATTERN build EXCLUDE)
install(PROGRAMS $<TARGET_FILE:Nimbo> DESTINATION . COMPONENT plugin EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR ZIP)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL development plugin)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
set(CPACK_PACKAGE_FILE_NAME nimbo-${PROJECT_VERSION})
set(CPACK_ARCHIVE_DEVELOPMENT_FILE_NAME nimbo-${PROJECT_VERSION}-development)
set(CPACK_ARCHIVE_PLUGIN_FILE_NAME nimbo-${PROJECT_VERSION}-plugin)
include(CPack)
