# Run at install time: installs the public headers, which are those that QUARNET_PUBLIC_HEADERS
# include, directly or through one another. What none of them reaches is internal.

cmake_minimum_required(VERSION 3.25)

set(pending ${QUARNET_PUBLIC_HEADERS})
set(public)
while(pending)
  list(POP_FRONT pending header)
  if(header IN_LIST public)
    continue()
  endif()
  list(APPEND public ${header})
  file(STRINGS ${QUARNET_SOURCE_DIR}/${header} includes REGEX "^#include \"quarnet/")
  list(TRANSFORM includes REPLACE "^#include \"([^\"]+)\".*" "\\1")
  list(APPEND pending ${includes})
endwhile()

cmake_path(ABSOLUTE_PATH QUARNET_INCLUDEDIR BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX})
foreach(header IN LISTS public)
  cmake_path(GET header PARENT_PATH folder)
  file(INSTALL ${QUARNET_SOURCE_DIR}/${header}
    DESTINATION ${QUARNET_INCLUDEDIR}/${folder})
endforeach()
