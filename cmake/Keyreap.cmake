# For the build of a COM server: makes what the server writes to the registry a product of the build.
#
#   find_package(Keyreap REQUIRED)         or: include(.../cmake/Keyreap.cmake)
#   keyreap_capture(<target> [MODE <keyRedir|trace|both>] [OUTPUT <file>] [DEPENDS <file or target>...]
#                   [ALLOW_FILLERS] [CHECK full | NO_CHECK]
#                   [EMIT <kind>... PRODUCT <GUID> [SCOPE <machine|user>] [DIRECTORY <kind>=<name>...]
#                    [REPLACE <kind>=<path>=<name>...] [NOISE <keep|drop>]] [MANIFEST] [LINT])
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
# keykit, if it is there, checks each capture: whether it has what the server registers and nothing else, and whether the
# registration succeeded. A finding fails the build like a failing capture. `CHECK full` does all that `keykit check` does,
# which takes several sessions, and also looks for noise: what a library of the system wrote. NO_CHECK checks nothing. What
# the check says is in server.check.json beside server.reg.
#
# keykit makes more of the .reg file, each time that it changes, in files beside it: for the file server.reg
#
#   EMIT       parts of installers of these kinds: server.wxs (wix), .wix3.wxs (wix3), .wxi (wixl), .nsh (nsis), .iss
#              (inno), .installer.reg (reg), .json (json). PRODUCT is the product's own GUID. DIRECTORY is the name that
#              an installer has for the servers' folder, REPLACE that for another folder of this machine. An entry that
#              isn't carried fails the build with its name. NOISE keeps or drops noise, which otherwise is a finding of
#              `CHECK full`.
#   MANIFEST   server.classes.manifest, to use the server without registration. What a manifest can't carry is shown.
#   LINT       server.lint, what is wrong with the registration, which is also shown.
#
# The target <target>_kit makes them, and the target's property KEYREAP_KIT_FILES contains their paths. KEYKIT_COMMAND is the
# command, if it is there.

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
  cmake_parse_arguments(PARSE_ARGV 1 CAPTURE "ALLOW_FILLERS;NO_CHECK;MANIFEST;LINT"
                        "MODE;OUTPUT;CHECK;PRODUCT;SCOPE;NOISE" "DEPENDS;EMIT;DIRECTORY;REPLACE")
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

  keyreap_check_words(${target} ${CAPTURE_OUTPUT})
  set(script ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/KeyreapCapture.cmake)
  add_custom_command(
    OUTPUT ${CAPTURE_OUTPUT} ${byproducts}
    COMMAND ${CMAKE_COMMAND} -D COMMAND=${KEYREAP_COMMAND} -D SERVER=$<TARGET_FILE:${target}>
            -D OUTPUT=${CAPTURE_OUTPUT} -D MODE=${CAPTURE_MODE}
            -D ALLOW_FILLERS=${CAPTURE_ALLOW_FILLERS} ${checkWords} -P ${script}
    DEPENDS ${target} ${CAPTURE_DEPENDS} ${script} ${checker}
    COMMENT "Capturing the registration of ${target}"
    VERBATIM)
  add_custom_target(${target}_reg ALL DEPENDS ${CAPTURE_OUTPUT})
  set_target_properties(${target} PROPERTIES KEYREAP_REG_FILE ${CAPTURE_OUTPUT})

  set(ofEmit ${CAPTURE_PRODUCT} ${CAPTURE_SCOPE} ${CAPTURE_DIRECTORY} ${CAPTURE_REPLACE} ${CAPTURE_NOISE})
  if(CAPTURE_EMIT OR ofEmit OR CAPTURE_MANIFEST OR CAPTURE_LINT)
    keyreap_kit(${target} ${CAPTURE_OUTPUT})
  endif()
endfunction()

# keyreap_check_words(target reg): if there is to be a check, sets the caller's `checkWords` for the step that captures,
# `checker` for what it depends on and `byproducts` for what else it makes. Takes the words of keyreap_capture.
function(keyreap_check_words target reg)
  set(checkWords "" PARENT_SCOPE)
  set(checker "" PARENT_SCOPE)
  set(byproducts "" PARENT_SCOPE)
  if("CHECK" IN_LIST CAPTURE_KEYWORDS_MISSING_VALUES OR (CAPTURE_CHECK AND NOT CAPTURE_CHECK STREQUAL "full"))
    message(FATAL_ERROR "keyreap_capture(${target}): CHECK is full, and not '${CAPTURE_CHECK}'")
  endif()
  if(CAPTURE_CHECK AND CAPTURE_NO_CHECK)
    message(FATAL_ERROR "keyreap_capture(${target}): CHECK and NO_CHECK exclude each other")
  endif()
  if(CAPTURE_NOISE AND NOT CAPTURE_NOISE MATCHES "^(keep|drop)$")
    message(FATAL_ERROR "keyreap_capture(${target}): NOISE is keep or drop, and not ${CAPTURE_NOISE}")
  endif()
  if(CAPTURE_NOISE AND NOT CAPTURE_CHECK)
    message(FATAL_ERROR "keyreap_capture(${target}): NOISE needs CHECK full, which looks for noise")
  endif()
  if(CAPTURE_CHECK AND NOT KEYKIT_COMMAND)
    message(FATAL_ERROR "keyreap_capture(${target}): there is no keykit; KEYKIT_COMMAND names one")
  endif()
  if(CAPTURE_NO_CHECK OR NOT KEYKIT_COMMAND)
    return()
  endif()
  set(parts whole result fillers)
  if(CAPTURE_CHECK)
    set(parts whole result works clean noise same fillers)
  endif()
  if(CAPTURE_ALLOW_FILLERS)
    list(REMOVE_ITEM parts fillers)
  endif()
  list(JOIN parts "," parts)
  set(words -D KEYKIT=${KEYKIT_COMMAND} -D PARTS=${parts})
  if(CAPTURE_NOISE)
    # It is decided about, and so no finding.
    list(APPEND words -D WITHOUT=C501)
  endif()
  set(checkWords ${words} PARENT_SCOPE)
  set(checker ${KEYKIT_COMMAND} PARENT_SCOPE)
  string(REGEX REPLACE "\\.[Rr][Ee][Gg]$" "" stem ${reg})
  set(byproducts BYPRODUCTS ${stem}.check.json PARENT_SCOPE)
endfunction()

# keyreap_kit(target reg): the rules for what keykit makes of a .reg file. Takes the words of keyreap_capture.
function(keyreap_kit target reg)
  if(NOT KEYKIT_COMMAND)
    message(FATAL_ERROR "keyreap_capture(${target}): there is no keykit; KEYKIT_COMMAND names one")
  endif()
  if(CAPTURE_EMIT AND NOT CAPTURE_PRODUCT)
    message(FATAL_ERROR "keyreap_capture(${target}): EMIT needs PRODUCT, the product's own GUID")
  endif()
  if(NOT CAPTURE_EMIT AND ofEmit)
    message(FATAL_ERROR "keyreap_capture(${target}): PRODUCT, SCOPE, DIRECTORY, REPLACE and NOISE are for EMIT")
  endif()
  set(ending_wix wxs)
  set(ending_wix3 wix3.wxs)
  set(ending_wixl wxi)
  set(ending_nsis nsh)
  set(ending_inno iss)
  set(ending_reg installer.reg)
  set(ending_json json)
  string(REGEX REPLACE "\\.reg$" "" stem ${reg})
  set(files "")
  foreach(kind ${CAPTURE_EMIT})
    if(NOT DEFINED ending_${kind})
      message(FATAL_ERROR "keyreap_capture(${target}): there is no kind ${kind}")
    endif()
    set(words emit ${kind} ${reg} --product ${CAPTURE_PRODUCT} --server $<TARGET_FILE:${target}>)
    foreach(option SCOPE NOISE)
      if(CAPTURE_${option})
        string(TOLOWER ${option} word)
        list(APPEND words --${word} ${CAPTURE_${option}})
      endif()
    endforeach()
    foreach(option DIRECTORY REPLACE)
      string(TOLOWER ${option} word)
      foreach(text ${CAPTURE_${option}})
        if(text MATCHES "^${kind}=(.*)$")
          list(APPEND words --${word} ${CMAKE_MATCH_1})
        endif()
      endforeach()
    endforeach()
    keyreap_kit_file(${target} ${reg} ${stem}.${ending_${kind}} 1 OFF ${words})
  endforeach()
  if(CAPTURE_MANIFEST)
    keyreap_kit_file(${target} ${reg} ${stem}.classes.manifest 2 OFF manifest ${reg} --server $<TARGET_FILE:${target}>)
  endif()
  if(CAPTURE_LINT)
    keyreap_kit_file(${target} ${reg} ${stem}.lint 2 ON lint ${reg} --server $<TARGET_FILE:${target}>)
  endif()
  add_custom_target(${target}_kit ALL DEPENDS ${files})
  set_target_properties(${target} PROPERTIES KEYREAP_KIT_FILES "${files}")
endfunction()

# keyreap_kit_file(target reg file failsFrom text words...): the rule for one file, which is added to the caller's `files`.
function(keyreap_kit_file target reg file failsFrom text)
  set(script ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/KeyreapKit.cmake)
  cmake_path(GET file FILENAME name)
  add_custom_command(
    OUTPUT ${file}
    COMMAND ${CMAKE_COMMAND} -D COMMAND=${KEYKIT_COMMAND} -D "WORDS=${ARGN}" -D OUTPUT=${file}
            -D FAILS_FROM=${failsFrom} -D TEXT=${text} -P ${script}
    DEPENDS ${target} ${reg} ${script} ${KEYKIT_COMMAND}
    COMMENT "Making ${name}"
    VERBATIM)
  set(files ${files} ${file} PARENT_SCOPE)
endfunction()
