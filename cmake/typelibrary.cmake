# Type libraries, compiled from IDL by widl in the bitness of this build.
find_program(KEYREAP_WIDL NAMES ${KEYREAP_TARGET}-w64-mingw32-widl widl REQUIRED)
find_program(KEYREAP_PERL NAMES perl REQUIRED)
# widl needs the type library that every other one builds on. Wine provides it; both bitnesses have the same.
file(GLOB wineModules /usr/lib/*/wine/x86_64-windows /usr/lib*/wine/x86_64-windows /opt/wine-*/lib*/wine/x86_64-windows)
find_path(
  KEYREAP_STDOLE2
  NAMES stdole2.tlb
  PATHS ${wineModules}
  NO_CMAKE_FIND_ROOT_PATH REQUIRED)

# The target makes the type library and the C++ header of an IDL file; all three are full paths.
function(keyreap_type_library target idl library header)
  math(EXPR bits "8 * ${CMAKE_SIZEOF_VOID_P}")
  # oaidl.idl is beside this file.
  set(widl ${KEYREAP_WIDL} -m${bits} -L ${KEYREAP_STDOLE2} -I ${CMAKE_CURRENT_FUNCTION_LIST_DIR})
  # widl writes the current time into a type library, as a text and as a number, so the same build would give other bytes
  # each time. This sets both to the beginning of 1970.
  set(fixTime [=[s/(Created by WIDL version \S+ at ).{24}(\nW*\x13\0).{4}/$1Thu Jan  1 00:00:00 1970$2\0\0\0\0/s]=])
  cmake_path(GET library PARENT_PATH folder)
  add_custom_command(
    OUTPUT ${library} ${header}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${widl} -t -o ${library} ${idl}
    COMMAND ${KEYREAP_PERL} -0777 -pi -e ${fixTime} ${library}
    COMMAND ${widl} -h -o ${header} ${idl}
    DEPENDS ${idl} ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/oaidl.idl
    VERBATIM)
  add_custom_target(${target} DEPENDS ${library} ${header})
endfunction()
