# Libraries of the distribution that are headers alone (libcli11-dev, nlohmann-json3-dev). They are linked into a folder
# of this build, since a cross build can't have all of the system's headers in its search path.
set(KEYREAP_HEADERS /usr/include CACHE PATH "The folder of the header-only libraries CLI and nlohmann")

add_library(keyreap_headeronly INTERFACE)
set(headers ${PROJECT_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${headers})
foreach(library CLI/CLI.hpp nlohmann/json.hpp)
  if(NOT EXISTS ${KEYREAP_HEADERS}/${library})
    message(FATAL_ERROR "There is no ${library} in ${KEYREAP_HEADERS}; Debian has it in libcli11-dev and nlohmann-json3-dev, "
                        "and KEYREAP_HEADERS names another folder")
  endif()
  cmake_path(GET library PARENT_PATH folder)
  file(CREATE_LINK ${KEYREAP_HEADERS}/${folder} ${headers}/${folder} COPY_ON_ERROR SYMBOLIC)
endforeach()
target_include_directories(keyreap_headeronly SYSTEM INTERFACE ${headers})
