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
              -Wunused-const-variable=1
              -Wconversion
              -Wno-sign-conversion # sizes of the toolbox are signed, those of the library are not
              -Wold-style-cast
              -Wnon-virtual-dtor
              -Woverloaded-virtual
              -Wdeprecated-copy-dtor
              -Wduplicated-cond
              -Wduplicated-branches
              -Wlogical-op
              -Wnull-dereference
              -Wformat=2
              -Wundef
              -Wextra-semi)
