# nimbo_add_plugin(NAME SOURCES...) builds NAME.dll on the framework, with the entry points that
# the host looks up, beside the testhost. It may be called from another project's build that has
# this one as a subdirectory.
function(nimbo_add_plugin name)
    add_library(${name} SHARED ${ARGN} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../plugin/Plugin.def)
    set_target_properties(${name} PROPERTIES PREFIX "" OUTPUT_NAME ${name} CXX_EXTENSIONS OFF
                                             RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
    target_link_libraries(${name} PRIVATE framework nimbo_warnings)
    # The entry points take their arguments off the stack, but are exported without the
    # decoration that goes with it.
    target_link_options(${name} PRIVATE -Wl,--enable-stdcall-fixup -Wl,--entry=_LibraryStart@12)
endfunction()
