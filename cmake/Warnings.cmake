# nimbo_warnings: link it privately to every target of our own. Warnings are errors, unless this is a
# part of somebody else's build.

add_library(nimbo_warnings INTERFACE)
target_compile_options(
    nimbo_warnings
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              $<$<BOOL:${PROJECT_IS_TOP_LEVEL}>:-Werror>
              -Wshadow
              -Wconversion
              -Wno-sign-conversion # sizes of the toolbox are signed, those of the library are not
              -Wold-style-cast
              -Wnon-virtual-dtor
              -Woverloaded-virtual
              -Wdeprecated-copy-dtor
              -Wnull-dereference
              -Wformat=2
              -Wundef
              -Wextra-semi)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    target_compile_options(nimbo_warnings INTERFACE -Wunused-const-variable=1 -Wduplicated-cond
                                                    -Wduplicated-branches -Wlogical-op)
endif()
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # Published signatures have a short in front of "...", which is taken as it was passed.
    target_compile_options(nimbo_warnings INTERFACE -Wno-varargs)
endif()
