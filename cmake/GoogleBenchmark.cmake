# benchmark and benchmark_main as static libraries, from the sources scripts/setup bench fetched.

if(DEFINED ENV{NIMBO_CACHE})
    set(nimbo_cache $ENV{NIMBO_CACHE})
else()
    set(nimbo_cache ${CMAKE_CURRENT_LIST_DIR}/../.cache)
endif()
set(NIMBO_BENCHMARK_DIR ${nimbo_cache}/benchmark CACHE PATH "The sources of Google Benchmark")
if(NOT EXISTS ${NIMBO_BENCHMARK_DIR}/CMakeLists.txt)
    message(FATAL_ERROR "The sources of Google Benchmark are missing; run scripts/setup bench")
endif()

foreach(option TESTING GTEST_TESTS WERROR INSTALL INSTALL_DOCS)
    set(BENCHMARK_ENABLE_${option} OFF CACHE INTERNAL "")
endforeach()
# Both are run at configure time otherwise, which it does not expect when cross-building.
set(HAVE_STD_REGEX ON CACHE INTERNAL "")
set(HAVE_STEADY_CLOCK ON CACHE INTERNAL "")
add_subdirectory(${NIMBO_BENCHMARK_DIR} ${CMAKE_BINARY_DIR}/benchmark EXCLUDE_FROM_ALL SYSTEM)
foreach(library benchmark benchmark_main)
    target_compile_options(${library} PRIVATE -w)
    target_compile_definitions(${library} PUBLIC BENCHMARK_STATIC_DEFINE)
endforeach()
