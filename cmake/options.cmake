# What every target of the project is compiled and linked with.
add_library(keyreap_options INTERFACE)
target_compile_features(keyreap_options INTERFACE cxx_std_20)
target_include_directories(keyreap_options INTERFACE ${PROJECT_SOURCE_DIR})

if(WIN32)
  target_compile_definitions(keyreap_options INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
                                                       _WIN32_WINNT=0x0601 WINVER=0x0601)
endif()

# Off for a compiler that the sources were not tried with.
option(KEYREAP_WARNINGS_AS_ERRORS "Fail on a compiler's warning" ON)

# The program needs no run-time DLL.
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")

if(MSVC)
  # C4458 is about parameters that have the names of members, which they may.
  target_compile_options(keyreap_options INTERFACE /W4 /wd4458 /utf-8 /EHa /permissive-)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    # Stacks are walked along frame pointers there.
    target_compile_options(keyreap_options INTERFACE /Oy-)
  endif()
  if(KEYREAP_WARNINGS_AS_ERRORS)
    target_compile_options(keyreap_options INTERFACE /WX)
  endif()
else()
  # Parameters may have the names of members. Clang accepts that in constructors only.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    set(warnings -Wshadow=local)
  else()
    set(warnings -Wshadow)
  endif()
  if(NOT KEYREAP_DEBUG_INFO)
    set(debugFormat -g0)
  elseif(NOT WIN32)
    # Functions and lines, which reports of sanitizers and profilers name. All of it takes a third of the time to compile.
    set(debugFormat -gdwarf-4 -g1)
  elseif(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # LLVM's linker makes symbol files for Windows of this format.
    set(debugFormat -gcodeview)
  else()
    set(debugFormat -gdwarf-4)
  endif()
  if(WIN32 AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # What Microsoft's compiler also warns of at /W4: extensions of the language, unreachable code, uses before a value, signs that
    # don't match, hidden functions, and statements without an effect.
    list(APPEND warnings -Wpedantic -Wunreachable-code-aggressive -Wconditional-uninitialized -Wsign-compare
         -Woverloaded-virtual -Wcomma -Wextra-semi -Wunused)
  endif()
  if(KEYREAP_WARNINGS_AS_ERRORS)
    list(APPEND warnings -Werror)
  endif()
  target_compile_options(
    keyreap_options INTERFACE -Wall -Wextra -Wconversion ${warnings} ${debugFormat} -fno-omit-frame-pointer
                              -ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
  if(WIN32)
    # The library checks indices and empty containers, in the program as in its tests: a failed check ends the run.
    target_compile_definitions(keyreap_options INTERFACE _GLIBCXX_ASSERTIONS)
    # No time stamp in the images, so that the same source gives the same bytes; static, so that the
    # program needs no run-time DLL.
    target_link_options(keyreap_options INTERFACE -static -Wl,--no-insert-timestamp)
  endif()
endif()

if(KEYREAP_SANITIZE)
  target_compile_options(keyreap_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all)
  target_link_options(keyreap_options INTERFACE -fsanitize=address,undefined)
endif()

# Counts the lines of a target and of everything that links it, since a header's functions may be taken from either. The
# servers that the tests capture stay as they are.
function(keyreap_count_lines target)
  if(NOT KEYREAP_COVERAGE)
    return()
  endif()
  target_compile_options(${target} PUBLIC --coverage -O0)
  target_link_options(${target} PUBLIC --coverage)
  if(WIN32)
    keyreap_keep_counters(${target})
  endif()
endfunction()

# Processes that don't exit write their counters too (tests/support/keptcounters.cpp). An import's symbol contains its
# argument bytes only in 32 bits.
function(keyreap_keep_counters target)
  if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    set(replaced __imp_TerminateProcess __imp_SetUnhandledExceptionFilter)
  else()
    set(replaced _imp__TerminateProcess@8 _imp__SetUnhandledExceptionFilter@4)
  endif()
  list(TRANSFORM replaced PREPEND "-Wl,--wrap=")
  target_link_options(${target} PUBLIC -Wl,--wrap=abort ${replaced})
  target_link_libraries(${target} PUBLIC keyreap_keptcounters)
endfunction()
