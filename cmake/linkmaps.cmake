# Beside the objects of each program and library is its link.map: what the linker took from where. The bill of materials of a
# release is made of them (scripts/materials). Of the linker's own map, which has some megabytes, a few lines are kept.
if(CMAKE_HOST_UNIX AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  foreach(rule CMAKE_CXX_LINK_EXECUTABLE CMAKE_CXX_CREATE_SHARED_LIBRARY CMAKE_CXX_CREATE_SHARED_MODULE)
    string(APPEND ${rule} " -Xlinker -Map=<OBJECT_DIR>/link.map")
    list(APPEND ${rule} "sed -i -e \"/^LOAD /b\" -e \"/^OUTPUT(/b\" -e \"/^[^ ].*)/!d\" <OBJECT_DIR>/link.map")
  endforeach()
endif()
