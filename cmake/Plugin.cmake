# nimbo_add_plugin(NAME SOURCES...) builds NAME.dll on the framework, with the entry points that
# the host looks up, beside the testhost. It may be called from another project's build that has
# this one as a subdirectory.
#
# A plug-in is linked with the libraries of the compiler's other thread variant, whose objects are the
# same otherwise: those of the POSIX one call functions of the system that Windows 2000 and XP lack.
find_program(NIMBO_WIN32_THREADS_COMPILER i686-w64-mingw32-g++-win32)
if(NIMBO_WIN32_THREADS_COMPILER)
    execute_process(COMMAND ${NIMBO_WIN32_THREADS_COMPILER} -print-file-name=libstdc++.a
                    OUTPUT_VARIABLE win32_threads_library OUTPUT_STRIP_TRAILING_WHITESPACE)
    get_filename_component(folder ${win32_threads_library} DIRECTORY)
    set(NIMBO_WIN32_THREADS_FOLDER ${folder} CACHE INTERNAL "Linked before the compiler's own")
else()
    message(STATUS "No i686-w64-mingw32-g++-win32: plug-ins will need Windows Vista or later")
endif()

function(nimbo_add_plugin name)
    add_library(${name} SHARED ${ARGN} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../plugin/Plugin.def)
    set_target_properties(${name} PROPERTIES PREFIX "" OUTPUT_NAME ${name} CXX_EXTENSIONS OFF
                                             RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
    target_link_libraries(${name} PRIVATE framework nimbo_warnings)
    target_link_directories(${name} BEFORE PRIVATE ${NIMBO_WIN32_THREADS_FOLDER})
    # The entry points take their arguments off the stack, but are exported without the
    # decoration that goes with it.
    target_link_options(${name} PRIVATE -Wl,--enable-stdcall-fixup -Wl,--entry=_LibraryStart@12)
endfunction()
