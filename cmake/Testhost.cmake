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

# nimbo_check_call(FUNCTION TARGET FILE) refuses what the caller's cmake_parse_arguments did not
# understand, a plug-in that there is not, and a file that there is not.
function(nimbo_check_call function target file)
    if(arg_UNPARSED_ARGUMENTS)
        nimbo_refuse(${function} "it takes no \"${arg_UNPARSED_ARGUMENTS}\"")
    elseif(arg_KEYWORDS_MISSING_VALUES)
        nimbo_refuse(${function} "nothing stands behind ${arg_KEYWORDS_MISSING_VALUES}")
    elseif(NOT TARGET ${target})
        nimbo_refuse(${function} "there is no plug-in \"${target}\" yet")
    elseif(NOT EXISTS ${file})
        nimbo_refuse(${function} "there is no file ${file}")
    endif()
endfunction()

# nimbo_add_resources(TARGET IN.txt [OUT NAME]) compiles a resource text into NAME, or
# TARGET.rsrc, beside the plug-in TARGET, whenever TARGET is built.
function(nimbo_add_resources target text)
    cmake_parse_arguments(PARSE_ARGV 2 arg "" "OUT" "")
    get_filename_component(text ${text} ABSOLUTE)
    nimbo_check_call(nimbo_add_resources "${target}" "${text}")
    if("${arg_OUT}" STREQUAL "")
        set(arg_OUT ${target}.rsrc)
    endif()
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
    get_filename_component(session ${session} ABSOLUTE)
    nimbo_check_call(nimbo_add_session_test "${plugin}" "${session}")
    if("${arg_NAME}" STREQUAL "")
        get_filename_component(arg_NAME ${session} NAME_WLE)
    endif()
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
