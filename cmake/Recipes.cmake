# nimbo_add_recipes(PAGE.md) builds the examples in a page's code blocks into plug-ins in the folder
# recipes, and adds a test recipe.NAME.VERSION for each of them and each host on which its session is
# played. tests/extract-recipes tells what such a page looks like.
function(nimbo_add_recipes page)
    set(page ${PROJECT_SOURCE_DIR}/${page})
    set(extract ${PROJECT_SOURCE_DIR}/tests/extract-recipes)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${page} ${extract})
    set(folder ${CMAKE_BINARY_DIR}/recipes)
    set(extracted ${folder}/extracted)
    file(MAKE_DIRECTORY ${extracted})
    execute_process(COMMAND ${extract} -v out=${extracted} ${page}
                    OUTPUT_VARIABLE recipes OUTPUT_STRIP_TRAILING_WHITESPACE
                    ERROR_VARIABLE problems RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${problems}")
    endif()
    # Files that are as they were keep their time: what is made of them is not made again.
    file(GLOB files RELATIVE ${extracted} ${extracted}/*)
    foreach(file ${files})
        file(COPY_FILE ${extracted}/${file} ${folder}/${file} ONLY_IF_DIFFERENT)
    endforeach()
    file(REMOVE_RECURSE ${extracted})
    string(REPLACE "\n" ";" recipes "${recipes}")
    foreach(recipe ${recipes})
        string(REPLACE " " ";" recipe "${recipe}")
        nimbo_add_recipe(${folder} ${recipe})
    endforeach()
endfunction()

# One of the lines that the extraction prints.
function(nimbo_add_recipe folder name resources outcome)
    set(plugin recipe.${name})
    nimbo_add_plugin(${plugin} ${folder}/${name}.cpp VERSION 1.0.0 PRODUCT ${name}
                     DESCRIPTION "A recipe")
    target_link_libraries(${plugin} PRIVATE nimbo_warnings)
    set_target_properties(${plugin} PROPERTIES OUTPUT_NAME ${name}
                                               RUNTIME_OUTPUT_DIRECTORY ${folder})
    if(resources STREQUAL "resources")
        nimbo_add_resources(${plugin} ${folder}/${name}.resources.txt OUT ${name}.rsrc)
    endif()
    if(NOT TARGET recipes)
        add_custom_target(recipes)
    endif()
    add_dependencies(recipes ${plugin})

    set(play ${NIMBO_TESTHOST} run $<TARGET_FILE:${plugin}> ${folder}/${name}.session --quiet
             --strict)
    if(outcome STREQUAL "refused")
        list(PREPEND play ${PROJECT_SOURCE_DIR}/tests/check-complaint ${folder}/${name}.complaint)
    endif()
    foreach(version ${ARGN})
        add_test(NAME recipe.${name}.${version} COMMAND ${play} --version ${version})
        set_tests_properties(recipe.${name}.${version} PROPERTIES TIMEOUT 60)
    endforeach()
endfunction()
