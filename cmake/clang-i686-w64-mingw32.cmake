# The same with Clang, which takes headers, libraries and linker of mingw-w64's posix-thread variant.

include(${CMAKE_CURRENT_LIST_DIR}/i686-w64-mingw32.cmake)

# Clang looks for a compiler whose folder is named by a number alone.
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=libgcc.a
                OUTPUT_VARIABLE gcc_library OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(gcc_folder ${gcc_library} DIRECTORY)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -dumpversion OUTPUT_VARIABLE gcc_version)
string(REGEX MATCH "^[0-9]+" gcc_version ${gcc_version})
set(CMAKE_SYSROOT ${CMAKE_BINARY_DIR}/mingw-w64)
file(MAKE_DIRECTORY ${CMAKE_SYSROOT}/lib/gcc/${triplet})
file(CREATE_LINK ${gcc_folder} ${CMAKE_SYSROOT}/lib/gcc/${triplet}/${gcc_version} SYMBOLIC)
file(CREATE_LINK /usr/${triplet} ${CMAKE_SYSROOT}/${triplet} SYMBOLIC)

# Those of that compiler, not llvm's: one linker and one format of libraries for both. That linker
# tells of duplicate sections of different sizes, the names of types, which the library's compiler
# fills up to whole words: they are the same.
foreach(tool AR DLLTOOL NM OBJCOPY OBJDUMP RANLIB STRIP)
    string(TOLOWER ${tool} program)
    set(CMAKE_${tool} ${triplet}-${program})
endforeach()
set(CMAKE_LINKER ${triplet}-ld)

foreach(language C CXX)
    set(CMAKE_${language}_COMPILER_TARGET ${triplet})
    # The library keeps what belongs to a thread in the other compiler's way.
    string(APPEND CMAKE_${language}_FLAGS_INIT " -femulated-tls")
endforeach()
# The other compiler defines these for the library's sake.
string(APPEND CMAKE_CXX_FLAGS_INIT
       " -D__GXX_TYPEINFO_EQUALITY_INLINE=0 -D__GXX_MERGED_TYPEINFO_NAMES=0")
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
# libgcc asks for it; the linker takes nothing from it that nobody asks for.
foreach(kind EXE SHARED MODULE)
    string(APPEND CMAKE_${kind}_LINKER_FLAGS_INIT " -pthread")
endforeach()
