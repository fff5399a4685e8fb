# nimbo_add_plugin(NAME SOURCES... [VERSION 1.2.3] [PRODUCT "name"] [DESCRIPTION "..."]
# [COMPANY "..."] [COPYRIGHT "..."]) builds NAME.dll on the framework, with the entry points that
# the host looks up.
#
# VERSION is the project's when not given, or 1.0.0; PRODUCT is NAME; DESCRIPTION is the project's.
# All of them are the library's version information; its sources find the first two, for the PlugInfo,
# in "PluginVersion.h".
#
# A plug-in is linked with the libraries of the compiler's other thread variant, whose objects are the
# same otherwise: those of the POSIX one call functions of the system that Windows 2000 and XP lack.
include(${CMAKE_CURRENT_LIST_DIR}/VersionInformation.cmake)

find_program(NIMBO_WIN32_THREADS_COMPILER i686-w64-mingw32-g++-win32)
if(NIMBO_WIN32_THREADS_COMPILER)
    execute_process(COMMAND ${NIMBO_WIN32_THREADS_COMPILER} -print-file-name=libstdc++.a
                    OUTPUT_VARIABLE win32_threads_library OUTPUT_STRIP_TRAILING_WHITESPACE)
    get_filename_component(folder ${win32_threads_library} DIRECTORY)
    set(NIMBO_WIN32_THREADS_FOLDER ${folder} CACHE INTERNAL "Linked before the compiler's own")
else()
    message(STATUS "No i686-w64-mingw32-g++-win32: plug-ins will need Windows Vista or later")
endif()

# nimbo_pack_version(OUT 1.2.3): the toolbox's packed version, 0x01238000, which has room for two
# digits and then for one each.
function(nimbo_pack_version out version)
    if(NOT version MATCHES "^([0-9]?[0-9])(\\.([0-9]))?(\\.([0-9]))?$")
        message(FATAL_ERROR "\"${version}\" is no version for a plug-in: it is 99.9.9 at most, such as "
                            "1.2 or 12.0.3, for which the host's toolbox has room")
    endif()
    string(REGEX REPLACE "^.*(..),.*(.),.*(.)$" "0x\\1\\2\\38000" packed
                         "0${CMAKE_MATCH_1},0${CMAKE_MATCH_3},0${CMAKE_MATCH_5}")
    set(${out} ${packed} PARENT_SCOPE)
endfunction()

# nimbo_refuse(FUNCTION TEXT) stops the configuration with what is wrong in a call of the function.
function(nimbo_refuse function text)
    message(FATAL_ERROR "${function}: ${text}")
endfunction()

function(nimbo_add_plugin name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "VERSION;PRODUCT;DESCRIPTION;COMPANY;COPYRIGHT" "")
    if(NOT name MATCHES "^[A-Za-z0-9_.+-]+$")
        nimbo_refuse(nimbo_add_plugin "\"${name}\" is no name for a plug-in's file")
    endif()
    if(NOT arg_UNPARSED_ARGUMENTS)
        nimbo_refuse(nimbo_add_plugin "${name} has no sources")
    endif()
    if(arg_KEYWORDS_MISSING_VALUES)
        nimbo_refuse(nimbo_add_plugin "nothing stands behind ${arg_KEYWORDS_MISSING_VALUES}")
    endif()
    foreach(default "VERSION|${PROJECT_VERSION}" "VERSION|1.0.0" "PRODUCT|${name}"
                    "DESCRIPTION|${PROJECT_DESCRIPTION}")
        string(REGEX MATCH "^([A-Z]+)\\|(.*)$" default "${default}")
        if("${arg_${CMAKE_MATCH_1}}" STREQUAL "")
            set(arg_${CMAKE_MATCH_1} "${CMAKE_MATCH_2}")
        endif()
    endforeach()
    # The host's toolbox and the names of files have it in various character sets.
    if(arg_PRODUCT MATCHES "[^ -~]|[\"\\]")
        message(FATAL_ERROR "\"${arg_PRODUCT}\" is no product name for a plug-in: it is made of ASCII "
                            "characters other than \" and \\")
    endif()
    nimbo_pack_version(packed "${arg_VERSION}")
    set(generated ${CMAKE_CURRENT_BINARY_DIR}/${name}.version)
    configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/PluginVersion.h.in
                   ${generated}/PluginVersion.h @ONLY)

    add_library(${name} SHARED ${arg_UNPARSED_ARGUMENTS}
                               ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../plugin/Plugin.def)
    set_target_properties(${name} PROPERTIES PREFIX "" OUTPUT_NAME ${name} CXX_EXTENSIONS OFF
                                             RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR})
    target_include_directories(${name} PRIVATE ${generated})
    nimbo_add_version_information(
        ${name} VERSION "${arg_VERSION}" PRODUCT "${arg_PRODUCT}" DESCRIPTION "${arg_DESCRIPTION}"
        COMPANY "${arg_COMPANY}" COPYRIGHT "${arg_COPYRIGHT}")
    target_link_libraries(${name} PRIVATE Nimbo::framework)
    target_link_directories(${name} BEFORE PRIVATE ${NIMBO_WIN32_THREADS_FOLDER})
    # The same sources give the same bytes, wherever and whenever they are built.
    target_compile_options(
        ${name} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${CMAKE_SOURCE_DIR}=.
                        -ffile-prefix-map=${CMAKE_BINARY_DIR}=build>)
    target_link_options(${name} PRIVATE -Wl,--no-insert-timestamp)
    if(NOT CMAKE_CROSSCOMPILING) # on Windows itself, where no toolchain file says it
        target_compile_options(${name} PRIVATE -march=pentium4 -mfpmath=sse)
        target_link_options(${name} PRIVATE -static $<$<CONFIG:Release>:-s>)
    endif()
    # The entry points take their arguments off the stack, but are exported without the
    # decoration that goes with it.
    target_link_options(${name} PRIVATE -Wl,--enable-stdcall-fixup -Wl,--entry=_LibraryStart@12)
endfunction()
