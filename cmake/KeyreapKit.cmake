# One file that keykit makes of a capture as a step of a build, run by a rule of keyreap_capture:
#   cmake -D COMMAND=... -D WORDS=... -D OUTPUT=... -D FAILS_FROM=... [-D TEXT=ON] -P KeyreapKit.cmake
# keykit writes OUTPUT, or with TEXT prints what it contains. What keykit reports is shown. The step fails, and leaves no
# file, if the status is FAILS_FROM or more.
cmake_minimum_required(VERSION 3.25)

# A manifest is named by its file, so the new file has the name already.
cmake_path(GET OUTPUT FILENAME name)
set(part ${OUTPUT}.part/${name})
file(REMOVE_RECURSE ${OUTPUT} ${OUTPUT}.part)
file(MAKE_DIRECTORY ${OUTPUT}.part)
if(TEXT)
  execute_process(COMMAND ${COMMAND} ${WORDS} RESULT_VARIABLE status OUTPUT_FILE ${part} ERROR_VARIABLE said)
  if(EXISTS ${part})
    file(READ ${part} printed)
    string(PREPEND said "${printed}")
  endif()
else()
  execute_process(COMMAND ${COMMAND} ${WORDS} -o ${part} RESULT_VARIABLE status ERROR_VARIABLE said)
endif()
string(STRIP "${said}" said)
# In an error message, CMake would break the text into short lines.
if(said)
  message("${said}")
endif()
if(NOT status MATCHES "^[0-9]+$" OR NOT status LESS FAILS_FROM)
  file(REMOVE_RECURSE ${OUTPUT}.part)
  list(GET WORDS 0 verb)
  message(FATAL_ERROR "keykit ${verb} ended with ${status}, so there is no ${OUTPUT}")
endif()
file(RENAME ${part} ${OUTPUT})
file(REMOVE_RECURSE ${OUTPUT}.part)
