# Text files as parts of a program. In script mode (-DHEADER -DOUTPUT -DPARTS=FUNCTION=FILE+FILE,...) writes the
# source; included, defines the function that has it written.
if(CMAKE_SCRIPT_MODE_FILE)
  set(source "#include \"${HEADER}\"\n\nnamespace keyreap {\n")
  string(REPLACE "," ";" parts "${PARTS}")
  foreach(part ${parts})
    string(REGEX MATCH "^([^=]+)=(.+)$" found "${part}")
    set(name ${CMAKE_MATCH_1})
    string(REPLACE "+" ";" files "${CMAKE_MATCH_2}")
    set(whole "")
    foreach(file ${files})
      file(READ "${file}" text)
      string(APPEND whole "${text}")
    endforeach()
    # A browser takes a line end of Windows for one character, and compares the digest with what it has read.
    string(REPLACE "\r\n" "\n" whole "${whole}")
    string(HEX "${whole}" bytes)
    string(SHA256 digest "${whole}")
    foreach(list bytes digest)
      string(REGEX REPLACE "(..)" "0x\\1," ${list} "${${list}}")
      # 16 bytes a line.
      string(REGEX REPLACE "(0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,0x..,)" "\\1\n" ${list} "${${list}}")
    endforeach()
    string(APPEND source "
static const unsigned char textOf${name}[] = {
${bytes}};

PagePart ${name}() {
    return {{reinterpret_cast<const char*>(textOf${name}), sizeof textOf${name}},
            {${digest}}};
}
")
  endforeach()
  file(WRITE "${OUTPUT}" "${source}\n} // namespace keyreap\n")
  return()
endif()

set(KEYREAP_EMBEDDED_SCRIPT ${CMAKE_CURRENT_LIST_FILE})

# keyreap_embedded(SOURCE HEADER FUNCTION=FILE+FILE...): SOURCE is made in the build folder. It implements the functions
# that HEADER declares: each returns a PagePart with the contents of its files, one after another.
function(keyreap_embedded source header)
  set(parts "")
  set(inputs "")
  foreach(part ${ARGN})
    string(REGEX MATCH "^([^=]+)=(.+)$" found "${part}")
    string(REPLACE "+" ";" files "${CMAKE_MATCH_2}")
    list(APPEND inputs ${files})
    list(APPEND parts ${part})
  endforeach()
  list(JOIN parts "," parts)
  add_custom_command(
    OUTPUT ${CMAKE_CURRENT_BINARY_DIR}/${source}
    COMMAND ${CMAKE_COMMAND} -DHEADER=${header} -DOUTPUT=${CMAKE_CURRENT_BINARY_DIR}/${source} -DPARTS=${parts} -P
            ${KEYREAP_EMBEDDED_SCRIPT}
    WORKING_DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}
    DEPENDS ${inputs} ${KEYREAP_EMBEDDED_SCRIPT}
    VERBATIM)
endfunction()
