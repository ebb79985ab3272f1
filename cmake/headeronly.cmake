# Libraries of the distribution that are headers alone (libcli11-dev, nlohmann-json3-dev). They are linked into a folder
# of this build, since a cross build can't have all of the system's headers in its search path. Without them all but
# keykit can be built.
set(KEYREAP_HEADERS /usr/include CACHE PATH "The folder of the header-only libraries CLI and nlohmann")

add_library(keyreap_headeronly INTERFACE)
set(headers ${PROJECT_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${headers})
foreach(library CLI nlohmann)
  if(EXISTS ${KEYREAP_HEADERS}/${library})
    file(CREATE_LINK ${KEYREAP_HEADERS}/${library} ${headers}/${library} COPY_ON_ERROR SYMBOLIC)
  elseif(CMAKE_HOST_WIN32)
    message(STATUS "There is no ${library} in ${KEYREAP_HEADERS}, which keykit needs")
  else()
    # Installed later, it is found through the link.
    message(STATUS "There is no ${library} in ${KEYREAP_HEADERS}, which keykit needs (libcli11-dev, nlohmann-json3-dev)")
    file(CREATE_LINK ${KEYREAP_HEADERS}/${library} ${headers}/${library} SYMBOLIC)
  endif()
endforeach()
target_include_directories(keyreap_headeronly SYSTEM INTERFACE ${headers})
