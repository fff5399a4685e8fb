# What find_package(Nimbo) includes: the functions nimbo_add_plugin, nimbo_add_resources and
# nimbo_add_session_test, and the targets Nimbo::framework, which plug-ins link, Nimbo::toolbox_import,
# which has the host's toolbox calls alone, and the program Nimbo::testhost.
#
# In an installed package the targets are the files in lib/ and bin/. In a checkout, which has none of
# them, they are made as a part of the build, once.
get_filename_component(Nimbo_root ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)
if(TARGET Nimbo::framework)
    return()
endif()
if(EXISTS ${Nimbo_root}/CMakeLists.txt)
    add_subdirectory(${Nimbo_root} ${CMAKE_BINARY_DIR}/nimbo EXCLUDE_FROM_ALL)
    return()
endif()

include(${CMAKE_CURRENT_LIST_DIR}/Plugin.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/Testhost.cmake)

# The linker sorts imports by the paths of their libraries: from within the build, whose paths are
# relative, this one gives the same plug-in wherever the package lies.
file(COPY ${Nimbo_root}/lib/libtoolbox_import.a DESTINATION ${CMAKE_BINARY_DIR}/nimbo)
add_library(Nimbo::toolbox_import STATIC IMPORTED GLOBAL)
set_target_properties(
    Nimbo::toolbox_import PROPERTIES IMPORTED_LOCATION ${CMAKE_BINARY_DIR}/nimbo/libtoolbox_import.a
                                     INTERFACE_INCLUDE_DIRECTORIES ${Nimbo_root}/include)
add_library(Nimbo::framework STATIC IMPORTED GLOBAL)
set_target_properties(
    Nimbo::framework
    PROPERTIES IMPORTED_LOCATION ${Nimbo_root}/lib/libframework.a
               INTERFACE_COMPILE_FEATURES cxx_std_20
               INTERFACE_LINK_LIBRARIES Nimbo::toolbox_import)
add_executable(Nimbo::testhost IMPORTED GLOBAL)
set_target_properties(Nimbo::testhost PROPERTIES IMPORTED_LOCATION ${Nimbo_root}/bin/testhost.exe)
