# nimbo_add_resources(TARGET IN.txt [OUT NAME]) compiles a resource text into NAME, or
# TARGET.rsrc, beside the plug-in TARGET, whenever TARGET is built. The compiler is the testhost
# that this build makes; it runs in the emulator that the toolchain names, or else through
# scripts/run-exe.
function(nimbo_add_resources target text)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "OUT" "")
    if(NOT arg_OUT)
        set(arg_OUT ${target}.rsrc)
    endif()
    set(text ${CMAKE_CURRENT_SOURCE_DIR}/${text})
    get_target_property(folder ${target} RUNTIME_OUTPUT_DIRECTORY)
    set(resources ${folder}/${arg_OUT})
    set(compiler testhost)
    if(CMAKE_CROSSCOMPILING AND NOT CMAKE_CROSSCOMPILING_EMULATOR)
        set(compiler ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../scripts/run-exe $<TARGET_FILE:testhost>)
    endif()
    add_custom_command(
        OUTPUT ${resources}
        COMMAND ${compiler} resources ${text} -o ${resources}
        DEPENDS testhost toolbox ${text}
        COMMENT "Compiling resources ${arg_OUT}"
        VERBATIM)
    add_custom_target(${target}_resources ALL DEPENDS ${resources})
    add_dependencies(${target} ${target}_resources)
endfunction()
