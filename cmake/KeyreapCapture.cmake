# One capture as a step of a build, run by the rule that keyreap_capture makes:
#   cmake -D COMMAND=... -D SERVER=... -D OUTPUT=... -D MODE=... -P KeyreapCapture.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE ${OUTPUT})

# All captures of a Windows user go through one temporary tree.
if(CMAKE_HOST_WIN32)
  file(LOCK $ENV{TEMP}/keyreap-capture.lock GUARD PROCESS)
endif()

execute_process(COMMAND ${COMMAND} extreg ${SERVER} ${OUTPUT}.part ${MODE} RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  file(REMOVE ${OUTPUT}.part)
  message(FATAL_ERROR "The capture of ${SERVER} ended with ${status}")
endif()

# A registration that could not be seen leaves no more than a few empty keys.
file(STRINGS ${OUTPUT}.part values REGEX "^[@\"]" ENCODING UTF-16LE LIMIT_COUNT 1)
if(NOT values)
  file(REMOVE ${OUTPUT}.part)
  message(FATAL_ERROR "The capture of ${SERVER} found no value")
endif()

file(RENAME ${OUTPUT}.part ${OUTPUT})
