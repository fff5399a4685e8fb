# nimbo_warnings: link it privately to every target of our own; warnings are errors.

add_library(nimbo_warnings INTERFACE)
target_compile_options(
    nimbo_warnings
    INTERFACE -Wall
              -Wextra
              -Wpedantic
              -Werror
              -Wshadow
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
