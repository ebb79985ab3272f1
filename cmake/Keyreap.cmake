# For the build of a COM server: makes what the server writes to the registry a product of the build.
#
#   find_package(Keyreap REQUIRED)         or: include(.../cmake/Keyreap.cmake)
#   keyreap_capture(<target> [MODE <keyRedir|trace|both>] [OUTPUT <file>] [DEPENDS <file or target>...]
#                   [ALLOW_FILLERS])
#
# <target> is a DLL or a program of the build. The .reg file is OUTPUT, or <target>.reg in the current build folder; the
# target's property KEYREAP_REG_FILE contains its path. The file is recreated whenever the server changes, or something
# named by DEPENDS, such as a type library that the server registers from beside itself. Without MODE it is `both`.
# The target <target>_reg makes it, and is part of a whole build.
#
# A capture that fails, or finds nothing, fails the build with the reason and leaves no file. So does one with fillers, which
# replace values that could not be read again, unless ALLOW_FILLERS is given. On Linux captures run side by side, each
# in a registry of its own. On Windows, where they share the user's, they wait for each other, and the build has
# to run elevated.
#
# KEYKIT_COMMAND is the command that makes a part of an installer from a .reg file, if it is there.

if(CMAKE_HOST_WIN32)
  set(keyreapPlaces ${CMAKE_CURRENT_LIST_DIR}/../bin/x64)
elseif(CMAKE_CURRENT_LIST_DIR MATCHES "/lib/cmake/Keyreap$")
  # The Debian package, installed or unpacked.
  set(keyreapPlaces ${CMAKE_CURRENT_LIST_DIR}/../../../bin)
else()
  set(keyreapPlaces ${CMAKE_CURRENT_LIST_DIR}/..)
endif()
find_program(
  KEYREAP_COMMAND
  NAMES keyreap Keyreap
  PATHS ${keyreapPlaces}
  NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH
  DOC "The command that captures: keyreap on Linux, Keyreap.exe on Windows")
if(NOT KEYREAP_COMMAND)
  set(keyreapReason "there is no command that captures in ${keyreapPlaces}; KEYREAP_COMMAND names another one")
  if(CMAKE_FIND_PACKAGE_NAME STREQUAL "Keyreap")
    set(Keyreap_FOUND FALSE)
    set(Keyreap_NOT_FOUND_MESSAGE ${keyreapReason})
    return()
  endif()
  message(FATAL_ERROR "Keyreap.cmake: ${keyreapReason}")
endif()

find_program(
  KEYKIT_COMMAND
  NAMES keykit KeyKit
  PATHS ${keyreapPlaces}
  NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH
  DOC "The command that makes parts of installers from captures")

function(keyreap_capture target)
  cmake_parse_arguments(PARSE_ARGV 1 CAPTURE "ALLOW_FILLERS" "MODE;OUTPUT" "DEPENDS")
  if(CAPTURE_UNPARSED_ARGUMENTS)
    message(FATAL_ERROR "keyreap_capture(${target}): unknown words ${CAPTURE_UNPARSED_ARGUMENTS}")
  endif()
  if(NOT CAPTURE_MODE)
    set(CAPTURE_MODE both)
  endif()
  if(NOT CAPTURE_MODE MATCHES "^(keyRedir|trace|both)$")
    message(FATAL_ERROR "keyreap_capture(${target}): there is no mode ${CAPTURE_MODE}")
  endif()
  if(NOT CAPTURE_OUTPUT)
    set(CAPTURE_OUTPUT ${target}.reg)
  endif()
  cmake_path(ABSOLUTE_PATH CAPTURE_OUTPUT BASE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})

  set(script ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/KeyreapCapture.cmake)
  add_custom_command(
    OUTPUT ${CAPTURE_OUTPUT}
    COMMAND ${CMAKE_COMMAND} -D COMMAND=${KEYREAP_COMMAND} -D SERVER=$<TARGET_FILE:${target}>
            -D OUTPUT=${CAPTURE_OUTPUT} -D MODE=${CAPTURE_MODE}
            -D ALLOW_FILLERS=${CAPTURE_ALLOW_FILLERS} -P ${script}
    DEPENDS ${target} ${CAPTURE_DEPENDS} ${script}
    COMMENT "Capturing the registration of ${target}"
    VERBATIM)
  add_custom_target(${target}_reg ALL DEPENDS ${CAPTURE_OUTPUT})
  set_target_properties(${target} PROPERTIES KEYREAP_REG_FILE ${CAPTURE_OUTPUT})
endfunction()
