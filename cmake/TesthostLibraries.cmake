# What the stand-in host has from the distribution: `cli11` and `nlohmann_json`, header-only libraries
# that read command lines, and read and write JSON; and to make pictures of windows `stb`, such
# libraries that write PNG files and rasterise letters, and NIMBO_FONT_OBJECT, an object file with the
# bytes of a font, so that the program needs no file when it runs. No plug-in has any of them.

find_path(NIMBO_CLI11_DIR CLI.hpp PATHS /usr/include/CLI NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
find_path(NIMBO_JSON_DIR json.hpp PATHS /usr/include/nlohmann NO_DEFAULT_PATH
          NO_CMAKE_FIND_ROOT_PATH)
find_path(NIMBO_STB_DIR stb_truetype.h PATHS /usr/include/stb NO_DEFAULT_PATH
          NO_CMAKE_FIND_ROOT_PATH)
find_path(NIMBO_FONT_DIR DejaVuSans.ttf PATHS /usr/share/fonts/truetype/dejavu NO_DEFAULT_PATH
          NO_CMAKE_FIND_ROOT_PATH)
if(NOT NIMBO_CLI11_DIR OR NOT NIMBO_JSON_DIR OR NOT NIMBO_STB_DIR OR NOT NIMBO_FONT_DIR)
    message(FATAL_ERROR "CLI11, nlohmann-json, the stb libraries or the DejaVu fonts are missing; "
                        "run scripts/setup")
endif()

add_library(cli11 INTERFACE)
target_include_directories(cli11 SYSTEM INTERFACE ${NIMBO_CLI11_DIR})
add_library(nlohmann_json INTERFACE)
# Its headers are found by the name of their folder, beside which lie headers for another system.
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/include)
file(CREATE_LINK ${NIMBO_JSON_DIR} ${CMAKE_BINARY_DIR}/include/nlohmann SYMBOLIC)
target_include_directories(nlohmann_json SYSTEM INTERFACE ${CMAKE_BINARY_DIR}/include)
add_library(stb INTERFACE)
target_include_directories(stb SYSTEM INTERFACE ${NIMBO_STB_DIR})

# The linker names the symbols after the file: binary_DejaVuSans_ttf_start.
set(NIMBO_FONT_OBJECT ${CMAKE_BINARY_DIR}/DejaVuSans${CMAKE_CXX_OUTPUT_EXTENSION})
add_custom_command(
    OUTPUT ${NIMBO_FONT_OBJECT}
    COMMAND ${CMAKE_LINKER} ${NIMBO_LINKER_EMULATION} -r -b binary -o ${NIMBO_FONT_OBJECT}
            DejaVuSans.ttf
    WORKING_DIRECTORY ${NIMBO_FONT_DIR}
    DEPENDS ${NIMBO_FONT_DIR}/DejaVuSans.ttf
    COMMENT "Putting the font into an object file"
    VERBATIM)
