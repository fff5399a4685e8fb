# Which versions find_package(Nimbo VERSION) takes: those of the same major version, up to this one,
# which a checkout tells in its CMakeLists.txt.
include(CMakePackageConfigHelpers)
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/../CMakeLists.txt project REGEX "^project\\(Nimbo VERSION ")
string(REGEX MATCH "[0-9]+[.][0-9]+[.][0-9]+" version "${project}")
set(version_file ${CMAKE_BINARY_DIR}/CMakeFiles/NimboConfigVersion.cmake)
write_basic_package_version_file(${version_file} VERSION ${version}
                                 COMPATIBILITY SameMajorVersion)
include(${version_file})
