# What runs the testhost: the resource compiler, and sessions as tests. It runs in the emulator that
# the toolchain names, or else through scripts/run-exe; on Windows as it is.
set(NIMBO_TESTHOST $<TARGET_FILE:Nimbo::testhost>)
if(CMAKE_CROSSCOMPILING)
    set(NIMBO_TESTHOST ${CMAKE_CROSSCOMPILING_EMULATOR} ${NIMBO_TESTHOST})
    if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
        list(PREPEND NIMBO_TESTHOST ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-exe)
    endif()
endif()
set(NIMBO_TESTHOST ${NIMBO_TESTHOST} CACHE INTERNAL "How to call it")

# nimbo_add_resources(TARGET IN.txt [OUT NAME]) compiles a resource text into NAME, or
# TARGET.rsrc, beside the plug-in TARGET, whenever TARGET is built.
function(nimbo_add_resources target text)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "OUT" "")
    if(NOT arg_OUT)
        set(arg_OUT ${target}.rsrc)
    endif()
    set(text ${CMAKE_CURRENT_SOURCE_DIR}/${text})
    get_target_property(folder ${target} RUNTIME_OUTPUT_DIRECTORY)
    set(resources ${folder}/${arg_OUT})
    add_custom_command(
        OUTPUT ${resources}
        COMMAND ${NIMBO_TESTHOST} resources ${text} -o ${resources}
        DEPENDS Nimbo::testhost ${text}
        COMMENT "Compiling resources ${arg_OUT}"
        VERBATIM)
    add_custom_target(${target}_resources ALL DEPENDS ${resources})
    add_dependencies(${target} ${target}_resources)
endfunction()

# nimbo_add_session_test(PLUGIN SESSION [NAME name] [VERSIONS v...] [OPTIONS option...]) plays the
# session with the plug-in PLUGIN in hosts of these versions, with options of `testhost run`: the tests
# session.NAME.VERSION, or one session.NAME. NAME is the session file's name without its ending. The
# default target builds what they need.
function(nimbo_add_session_test plugin session)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "NAME" "VERSIONS;OPTIONS")
    if(NOT arg_NAME)
        get_filename_component(arg_NAME ${session} NAME_WE)
    endif()
    get_filename_component(session ${session} ABSOLUTE)
    set(play ${NIMBO_TESTHOST} run $<TARGET_FILE:${plugin}> ${session} --quiet ${arg_OPTIONS})
    set(tests session.${arg_NAME})
    if(arg_VERSIONS)
        set(tests ${arg_VERSIONS})
        list(TRANSFORM tests PREPEND session.${arg_NAME}.)
        foreach(version ${arg_VERSIONS})
            add_test(NAME session.${arg_NAME}.${version} COMMAND ${play} --version ${version})
        endforeach()
    else()
        add_test(NAME ${tests} COMMAND ${play})
    endif()
    set_tests_properties(${tests} PROPERTIES TIMEOUT 60)

    if(NOT TARGET nimbo_sessions)
        add_custom_target(nimbo_sessions ALL)
    endif()
    add_dependencies(nimbo_sessions ${plugin} Nimbo::testhost)
endfunction()
