# One capture as a step of a build, run by the rule that keyreap_capture makes:
#   cmake -D COMMAND=... -D SERVER=... -D OUTPUT=... -D MODE=... [-D ALLOW_FILLERS=ON] -P KeyreapCapture.cmake
cmake_minimum_required(VERSION 3.25)

file(REMOVE ${OUTPUT})

# All captures of a Windows user go through one temporary tree.
if(CMAKE_HOST_WIN32)
  file(LOCK $ENV{TEMP}/keyreap-capture.lock GUARD PROCESS)
endif()

execute_process(COMMAND ${COMMAND} extreg ${SERVER} ${OUTPUT}.part ${MODE} RESULT_VARIABLE status
                ERROR_VARIABLE said)
string(STRIP "${said}" said)
# In an error message, CMake would break the text into short lines.
if(said)
  message("${said}")
endif()
if(NOT status EQUAL 0)
  file(REMOVE ${OUTPUT}.part)
  message(FATAL_ERROR "The capture of ${SERVER} ended with ${status}")
endif()

# refuse(REASON...): the result isn't what the server registered.
function(refuse)
  string(CONCAT reason ${ARGV})
  file(REMOVE ${OUTPUT}.part)
  message(FATAL_ERROR "The capture of ${SERVER} ${reason}")
endfunction()

# A registration that could not be seen leaves only a few empty keys.
file(STRINGS ${OUTPUT}.part values REGEX "^[@\"]" ENCODING UTF-16LE LIMIT_COUNT 1)
if(NOT values)
  refuse("found no value")
endif()

# A trace takes the keys of an account's registry that it doesn't know for the machine's.
file(STRINGS ${OUTPUT}.part keys REGEX "^\\[(HKEY_LOCAL_MACHINE\\\\[Ss]-1-|UNKNOWN!!)" ENCODING UTF-16LE LIMIT_COUNT 1)
if(keys)
  refuse("has keys of an account whose registry a trace doesn't know. The mode keyRedir makes no trace.")
endif()

# A trace may name a key at the place where the redirection put it.
file(STRINGS ${OUTPUT}.part lines REGEX "[Tt][Ee][Ss][Ss][Ee][Ll][Ii][Nn][Kk]" ENCODING UTF-16LE)
string(TOLOWER "${lines}" lines)
if(lines MATCHES "software\\\\+velmoro\\\\+tesselink\\\\+temporary[]\\\"]")
  refuse("names the temporary tree that the server was redirected to. Another mode may have the server's own names.")
endif()

# A value that was set and could not be read again has the text of ten characters U+5555.
if(NOT ALLOW_FILLERS)
  file(READ ${OUTPUT}.part bytes HEX)
  string(REPEAT "5555" 10 filler)
  string(FIND "${bytes}" "3d002200${filler}2200" place) # ="..." in UTF-16
  if(NOT place EQUAL -1)
    refuse("has fillers in the place of values that could not be read again. "
           "Another mode may read them; ALLOW_FILLERS lets them pass.")
  endif()
endif()

file(RENAME ${OUTPUT}.part ${OUTPUT})
