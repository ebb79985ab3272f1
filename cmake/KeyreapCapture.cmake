# One capture as a step of a build, run by the rule that keyreap_capture makes:
#   cmake -D COMMAND=... -D SERVER=... -D OUTPUT=... -D MODE=... [-D ALLOW_FILLERS=ON] [-D KEYKIT=... -D PARTS=...
#         [-D WITHOUT=...]] -P KeyreapCapture.cmake
# KEYKIT then checks PARTS of the capture without a rule. OUTPUT gets its name, and the file with what the check says its
# place beside it, only if nothing was found.
cmake_minimum_required(VERSION 3.25)

# A check names its file by the capture's, so the new capture has its name already.
cmake_path(GET OUTPUT FILENAME name)
set(folder ${OUTPUT}.part)
set(part ${folder}/${name})
string(REGEX REPLACE "\\.[Rr][Ee][Gg]$" "" stem ${OUTPUT})
file(REMOVE_RECURSE ${OUTPUT} ${stem}.check.json ${folder})
file(MAKE_DIRECTORY ${folder})

# show(TEXT): in an error message, CMake would break the text into short lines.
function(show text)
  string(STRIP "${text}" text)
  # The new capture is shown by its final name.
  string(REPLACE "${name}.part/${name}" ${name} text "${text}")
  string(REPLACE "${name}.part\\${name}" ${name} text "${text}")
  if(text)
    message("${text}")
  endif()
endfunction()

# refuse(REASON...): the result isn't what the server registered.
function(refuse)
  string(CONCAT reason ${ARGV})
  file(REMOVE_RECURSE ${folder})
  message(FATAL_ERROR "The capture of ${SERVER} ${reason}")
endfunction()

# All captures of a Windows user go through one temporary tree.
if(CMAKE_HOST_WIN32)
  file(LOCK $ENV{TEMP}/keyreap-capture.lock GUARD PROCESS)
endif()

execute_process(COMMAND ${COMMAND} extreg ${SERVER} ${part} ${MODE} RESULT_VARIABLE status ERROR_VARIABLE said)
show("${said}")
if(NOT status EQUAL 0)
  refuse("ended with ${status}")
endif()

# A registration that could not be seen leaves only a few empty keys.
file(STRINGS ${part} values REGEX "^[@\"]" ENCODING UTF-16LE LIMIT_COUNT 1)
if(NOT values)
  refuse("found no value")
endif()

# A trace takes the keys of an account's registry that it doesn't know for the machine's.
file(STRINGS ${part} keys REGEX "^\\[(HKEY_LOCAL_MACHINE\\\\[Ss]-1-|UNKNOWN!!)" ENCODING UTF-16LE LIMIT_COUNT 1)
if(keys)
  refuse("has keys of an account whose registry a trace doesn't know. The mode keyRedir makes no trace.")
endif()

# A trace may name a key at the place where the redirection put it.
file(STRINGS ${part} lines REGEX "[Tt][Ee][Ss][Ss][Ee][Ll][Ii][Nn][Kk]" ENCODING UTF-16LE)
string(TOLOWER "${lines}" lines)
if(lines MATCHES "software\\\\+velmoro\\\\+tesselink\\\\+temporary[]\\\"]")
  refuse("names the temporary tree that the server was redirected to. Another mode may have the server's own names.")
endif()

# A value that was set and could not be read again has the text of ten characters U+5555.
if(NOT ALLOW_FILLERS)
  file(READ ${part} bytes HEX)
  string(REPEAT "5555" 10 filler)
  string(FIND "${bytes}" "3d002200${filler}2200" place) # ="..." in UTF-16
  if(NOT place EQUAL -1)
    refuse("has fillers in the place of values that could not be read again. "
           "Another mode may read them; ALLOW_FILLERS lets them pass.")
  endif()
endif()

if(KEYKIT)
  set(words --parts ${PARTS})
  if(WITHOUT)
    list(APPEND words --without ${WITHOUT})
  endif()
  execute_process(COMMAND ${KEYKIT} check ${SERVER} ${part} ${words} RESULT_VARIABLE status OUTPUT_VARIABLE found
                  ERROR_VARIABLE said)
  show("${said}")
  show("${found}")
  if(status EQUAL 1)
    refuse("isn't right, as keykit check has found. NO_CHECK leaves the check out.")
  elseif(NOT status EQUAL 0)
    refuse("could not be checked: keykit check ended with ${status}")
  endif()
  string(REGEX REPLACE "\\.[Rr][Ee][Gg]$" "" partStem ${part})
  file(RENAME ${partStem}.check.json ${stem}.check.json)
endif()

file(RENAME ${part} ${OUTPUT})
file(REMOVE_RECURSE ${folder})
