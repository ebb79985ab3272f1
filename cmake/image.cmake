# What the image of a program that is shipped has beside its code. tests/images checks it in the built files.
#
# Windows 7 is the first system that the program runs on, and the manifest names all systems that it is made for: for
# any other program Windows imitates an older system. Both bitnesses have the protections that Microsoft's linker gives
# by default, and a 32-bit one uses the whole address space that a 64-bit system has for it.
if(MSVC)
  set(KEYREAP_IMAGE_OPTIONS /SUBSYSTEM:CONSOLE,6.01 /DYNAMICBASE /NXCOMPAT /LARGEADDRESSAWARE /MANIFEST:NO)
  set(wideAddresses /HIGHENTROPYVA)
else()
  set(KEYREAP_IMAGE_OPTIONS
      -Wl,--major-os-version=6,--minor-os-version=1,--major-subsystem-version=6,--minor-subsystem-version=1
      -Wl,--dynamicbase,--nxcompat,--tsaware)
  set(wideAddresses -Wl,--high-entropy-va)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(wideAddresses -Wl,--large-address-aware)
  endif()
endif()
list(APPEND KEYREAP_IMAGE_OPTIONS ${wideAddresses})

# keyreap_image(<program> MANIFEST <template> DESCRIPTION <text>): the program is shipped. The template gets the
# variable SUPPORTED_SYSTEMS.
function(keyreap_image target)
  cmake_parse_arguments(IMAGE "" "MANIFEST;DESCRIPTION" "" ${ARGN})
  file(READ ${PROJECT_SOURCE_DIR}/cmake/supportedsystems.xml SUPPORTED_SYSTEMS)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/supportedsystems.xml)
  get_target_property(IMAGE_NAME ${target} OUTPUT_NAME)
  if(NOT IMAGE_NAME)
    set(IMAGE_NAME ${target})
  endif()
  set(manifest ${CMAKE_CURRENT_BINARY_DIR}/${IMAGE_NAME}.manifest)
  set(resources ${CMAKE_CURRENT_BINARY_DIR}/${IMAGE_NAME}.rc)
  configure_file(${IMAGE_MANIFEST} ${manifest} @ONLY)
  configure_file(${PROJECT_SOURCE_DIR}/cmake/image.rc.in ${resources} @ONLY)
  set_source_files_properties(${resources} PROPERTIES OBJECT_DEPENDS ${manifest})
  target_sources(${target} PRIVATE ${resources})
  target_link_options(${target} PRIVATE ${KEYREAP_IMAGE_OPTIONS})
endfunction()
