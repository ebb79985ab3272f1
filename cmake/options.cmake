# What every target of the project is compiled and linked with.
add_library(keyreap_options INTERFACE)
target_compile_features(keyreap_options INTERFACE cxx_std_20)
target_include_directories(keyreap_options INTERFACE ${PROJECT_SOURCE_DIR})

if(WIN32)
  target_compile_definitions(keyreap_options INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN
                                                       _WIN32_WINNT=0x0601 WINVER=0x0601)
endif()

if(MSVC)
  target_compile_options(keyreap_options INTERFACE /W4 /WX /utf-8 /EHa /permissive-)
else()
  target_compile_options(
    keyreap_options
    INTERFACE -Wall -Wextra -Wconversion -Wshadow -Werror -gdwarf-4 -fno-omit-frame-pointer
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
