# nimbo_add_version_information(TARGET VERSION 1.2.3 PRODUCT "name" DESCRIPTION "..." [COMPANY "..."]
# [COPYRIGHT "..."]) gives a program or library what the system shows of it. The texts may hold any
# character; what would break a line becomes a space.
function(nimbo_add_version_information target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "VERSION;PRODUCT;DESCRIPTION;COMPANY;COPYRIGHT" "")
    if("${arg_DESCRIPTION}" STREQUAL "")
        set(arg_DESCRIPTION "${arg_PRODUCT}")
    endif()
    get_target_property(type ${target} TYPE)
    set(kind 2) # a library
    set(suffix .dll)
    if(type STREQUAL "EXECUTABLE")
        set(kind 1)
        set(suffix .exe)
    endif()
    get_target_property(name ${target} OUTPUT_NAME)
    if(NOT name)
        set(name ${target})
    endif()

    string(REGEX MATCHALL "[0-9]+" numbers "${arg_VERSION}.0.0.0")
    list(SUBLIST numbers 0 4 numbers)
    list(JOIN numbers "," numbers)
    set(values "")
    foreach(pair "CompanyName|${arg_COMPANY}" "FileDescription|${arg_DESCRIPTION}"
                 "FileVersion|${arg_VERSION}" "InternalName|${name}"
                 "LegalCopyright|${arg_COPYRIGHT}" "OriginalFilename|${name}${suffix}"
                 "ProductName|${arg_PRODUCT}" "ProductVersion|${arg_VERSION}")
        string(REGEX REPLACE "[\t\r\n ]+" " " pair "${pair}")
        string(REPLACE "\\" "\\\\" pair "${pair}")
        string(REPLACE "\"" "\"\"" pair "${pair}")
        if(pair MATCHES "^([A-Za-z]+)\\|(.+)$")
            string(APPEND values "      VALUE \"${CMAKE_MATCH_1}\", \"${CMAKE_MATCH_2}\"\n")
        endif()
    endforeach()
    set(source ${CMAKE_CURRENT_BINARY_DIR}/${target}.version.rc)
    configure_file(${CMAKE_CURRENT_FUNCTION_LIST_DIR}/VersionInformation.rc.in ${source} @ONLY)
    target_sources(${target} PRIVATE ${source})
endfunction()
