# Adds one layer of the server: the static library Server<folder> of the folder's sources, which follow. Each folder is
# included by its name ("Json/Json.h"); what it may include is what it links, and Tests/Server holds it to that.
function(ravik_add_server_layer folder)
  set(name Server${folder})
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR}/Server)
  target_link_libraries(${name} PRIVATE RavikOptions)
  set_property(GLOBAL APPEND PROPERTY RAVIK_SERVER_LAYERS ${folder})
endfunction()
