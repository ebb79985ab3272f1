# Libraries of the distribution that are headers alone (libcli11-dev, nlohmann-json3-dev). They are linked into a folder
# of this build, since a cross build can't have all of the system's headers in its search path. Only keykit needs them.
set(KEYREAP_HEADERS /usr/include CACHE PATH "The folder of the header-only libraries CLI and nlohmann")

set(KEYREAP_HAS_HEADERS ON)
set(headers ${PROJECT_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${headers})
foreach(library CLI nlohmann)
  set(found ${KEYREAP_HEADERS}/${library})
  if(EXISTS ${found})
    file(CREATE_LINK ${found} ${headers}/${library} COPY_ON_ERROR SYMBOLIC)
  elseif(CMAKE_HOST_WIN32)
    message(STATUS "There is no ${found}, so keykit isn't built")
    set(KEYREAP_HAS_HEADERS OFF)
  else()
    # The link finds what is installed later.
    message(STATUS "There is no ${found}, which keykit needs; Debian has it in libcli11-dev or nlohmann-json3-dev")
    file(CREATE_LINK ${found} ${headers}/${library} SYMBOLIC)
  endif()
endforeach()
add_library(keyreap_headeronly INTERFACE)
target_include_directories(keyreap_headeronly SYSTEM INTERFACE ${headers})
