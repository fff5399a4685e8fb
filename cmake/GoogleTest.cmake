# gtest, gtest_main, gmock and gmock_main as static libraries, from the distribution's sources.

set(NIMBO_GOOGLETEST_DIR /usr/src/googletest CACHE PATH "The sources of GoogleTest")
if(NOT EXISTS ${NIMBO_GOOGLETEST_DIR}/CMakeLists.txt)
    message(FATAL_ERROR "The sources of GoogleTest are missing; run scripts/setup")
endif()

set(BUILD_GMOCK ON CACHE INTERNAL "")
set(INSTALL_GTEST OFF CACHE INTERNAL "")
add_subdirectory(${NIMBO_GOOGLETEST_DIR} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
foreach(library gtest gtest_main gmock gmock_main)
    target_compile_options(${library} PRIVATE -w)
endforeach()

include(GoogleTest)
