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

# nimbo_add_test_runs(TARGET SOURCE... [EXCEPT TEST...]): one run for each source, so that one that
# hangs is ended and named: starting the program anew for each test takes longer than most tests.
function(nimbo_add_test_runs target)
    cmake_parse_arguments(PARSE_ARGV 1 args "" "" "EXCEPT")
    list(JOIN args_EXCEPT ":" except)
    foreach(source ${args_UNPARSED_ARGUMENTS})
        file(STRINGS ${source} heads REGEX "^TEST(_F|_P)?\\(")
        set(filter)
        foreach(head ${heads})
            string(REGEX REPLACE "^[A-Z_]+\\(([A-Za-z0-9]+).*" "\\1.*:*/\\1.*" pattern ${head})
            list(APPEND filter ${pattern})
        endforeach()
        list(REMOVE_DUPLICATES filter)
        list(JOIN filter ":" filter)
        get_filename_component(name ${source} NAME_WE)
        add_test(NAME ${name} COMMAND ${target} --gtest_brief=1 --gtest_filter=${filter}-${except})
        set_tests_properties(${name} PROPERTIES FAIL_REGULAR_EXPRESSION " 0 tests from")
    endforeach()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${args_UNPARSED_ARGUMENTS})
endfunction()
