# Cross builds with Clang and LLVM's linker for the same targets as mingw.cmake. Windows' headers, import libraries and C run
# time are those of MinGW-w64, the C++ library and the unwinder those of GCC for MinGW-w64.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KEYREAP_TARGET)
if(NOT KEYREAP_TARGET)
  set(KEYREAP_TARGET x86_64)
endif()
set(CMAKE_SYSTEM_PROCESSOR ${KEYREAP_TARGET})
foreach(language C CXX)
  set(CMAKE_${language}_COMPILER_TARGET ${KEYREAP_TARGET}-w64-mingw32)
endforeach()
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_RC_COMPILER ${KEYREAP_TARGET}-w64-mingw32-windres)
set(KEYREAP_WIDL ${KEYREAP_TARGET}-w64-mingw32-widl)

# Clang finds neither GCC's headers of C++ nor its libraries.
execute_process(COMMAND ${KEYREAP_TARGET}-w64-mingw32-g++-posix -print-libgcc-file-name OUTPUT_VARIABLE keyreapGcc
                COMMAND_ERROR_IS_FATAL ANY)
cmake_path(GET keyreapGcc PARENT_PATH keyreapGcc)
set(keyreapHeaders ${keyreapGcc}/include/c++)
# GCC's library has its thread-local variables in its own way, and the threads of a library of MinGW-w64.
string(JOIN " " CMAKE_CXX_FLAGS_INIT -femulated-tls -nostdinc++ -isystem ${keyreapHeaders} -isystem
       ${keyreapHeaders}/${KEYREAP_TARGET}-w64-mingw32)
# Some inline functions of GCC's C++ library are also in its objects; GNU's linker takes the first of each.
foreach(kind EXE SHARED MODULE)
  set(CMAKE_${kind}_LINKER_FLAGS_INIT "-Qunused-arguments -fuse-ld=lld -B${keyreapGcc} -L${keyreapGcc} -pthread -Wl,--allow-multiple-definition")
endforeach()

set(CMAKE_FIND_ROOT_PATH /usr/${KEYREAP_TARGET}-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
