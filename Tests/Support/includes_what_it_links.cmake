cmake_minimum_required(VERSION 3.25)

# Fails where a source of the layer FOLDER of the server, which stands in SERVER, includes a layer that it does not link.
# LAYERS are all of them, LINKED those that it links, both separated by commas.
string(REPLACE "," ";" layers "${LAYERS}")
string(REPLACE "," ";" linked "${LINKED}")
file(GLOB sources ${SERVER}/${FOLDER}/*.h ${SERVER}/${FOLDER}/*.cpp)
if(NOT sources)
  message(FATAL_ERROR "${SERVER}/${FOLDER} has no sources")
endif()
foreach(source ${sources})
  file(STRINGS ${source} includes REGEX "^#include \"[A-Za-z]+/")
  foreach(include ${includes})
    string(REGEX REPLACE "^#include \"([A-Za-z]+)/.*" "\\1" layer "${include}")
    if(layer IN_LIST layers AND NOT layer STREQUAL FOLDER AND NOT layer IN_LIST linked)
      message(SEND_ERROR "${source} includes ${layer}, which ${FOLDER} does not link")
    endif()
  endforeach()
endforeach()
