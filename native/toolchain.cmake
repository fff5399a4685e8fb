# Clang for 32-bit Linux, with the sanitizers and what the fuzzer watches.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(sanitizers "-fsanitize=address,undefined,fuzzer-no-link -fno-sanitize-recover=undefined")
set(CMAKE_C_FLAGS_INIT "-m32 -msse2 -fshort-wchar ${sanitizers}")
set(CMAKE_CXX_FLAGS_INIT "${CMAKE_C_FLAGS_INIT}")
set(CMAKE_C_FLAGS_DEBUG_INIT "-O1 -g1 -fno-omit-frame-pointer")
set(CMAKE_CXX_FLAGS_DEBUG_INIT "${CMAKE_C_FLAGS_DEBUG_INIT}")
# Code that is written by hand holds addresses of variables.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-no-pie")
set(CMAKE_POSITION_INDEPENDENT_CODE OFF)
set(NIMBO_LINKER_EMULATION -m elf_i386)
