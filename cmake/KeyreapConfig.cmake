# What find_package(Keyreap) reads. In the Debian package the file is in /usr/lib/cmake/Keyreap; in the unpacked zip
# and in a checkout, where it is in `cmake`, Keyreap_DIR names that folder:
#
#   find_package(Keyreap REQUIRED)
#   keyreap_capture(<target> ...)
#
# ${Keyreap_DIR} also has typelibrary.cmake and the toolchain file mingw.cmake.
include(${CMAKE_CURRENT_LIST_DIR}/Keyreap.cmake)
