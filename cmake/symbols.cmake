# The symbol file (PDB) of a program: with it, debuggers and the debug help library of Windows give names and lines. It
# is made in the folder of the program and has its name. Microsoft's compiler and LLVM's linker make one themselves; for GNU's
# linker, which knows no DWARF, tools/symbols moves the debug information of the linked program into one.
function(keyreap_symbol_file target)
  if(MSVC)
    # The record in the program names the file without a folder.
    target_link_options(${target} PRIVATE /DEBUG /PDBALTPATH:%_PDB%)
    return()
  endif()
  get_target_property(folder ${target} RUNTIME_OUTPUT_DIRECTORY)
  if(NOT folder)
    set(folder ${CMAKE_CURRENT_BINARY_DIR})
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_link_options(${target} PRIVATE -Wl,--pdb=${folder}/${target}.pdb)
    return()
  endif()
  find_program(KEYREAP_PYTHON python3 REQUIRED)
  find_program(KEYREAP_DEMANGLER ${CMAKE_SYSTEM_PROCESSOR}-w64-mingw32-c++filt REQUIRED)
  set(tool ${PROJECT_SOURCE_DIR}/tools/symbols)
  set(parts container dwarflines functions image makesymbols symbolfile tables)
  list(TRANSFORM parts REPLACE "(.+)" "${tool}/\\1.py")
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${parts})
  add_custom_command(
    TARGET ${target} POST_BUILD
    COMMAND ${KEYREAP_PYTHON} -B -s ${tool}/makesymbols.py $<TARGET_FILE:${target}> ${folder}/${target}.pdb
            ${KEYREAP_DEMANGLER}
    BYPRODUCTS ${folder}/${target}.pdb
    VERBATIM)
endfunction()
