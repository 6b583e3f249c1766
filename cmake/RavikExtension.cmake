# Adds the extension `name`, a shared object lib<name>.so that exports ext_interface and nothing else. Its sources
# follow. It is built in the folder lib of the build tree and installed into lib, where the server looks for it.
#
# The schema of the extension's configuration, <name>.Schema.json beside the CMakeLists.txt, goes along where there is
# one: the server reads it from beside the shared object.
function(ravik_add_extension name)
  # Nothing is looked for in the working directory, as it is with a run path that is padded to be changed later.
  if(NOT CMAKE_INSTALL_RPATH)
    set(CMAKE_INSTALL_RPATH "$ORIGIN/../lib")
  endif()
  set(CMAKE_BUILD_WITH_INSTALL_RPATH ON)
  add_library(${name} MODULE ${ARGN})
  target_include_directories(${name} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(${name} PRIVATE Ravik::Helper)
  if(TARGET RavikOptions) # in the project's own tree alone
    target_link_libraries(${name} PRIVATE RavikOptions)
  endif()
  set(script ${CMAKE_CURRENT_FUNCTION_LIST_DIR}/extension.map)
  target_link_options(${name} PRIVATE -Wl,--version-script=${script} -Wl,--no-undefined)
  set_target_properties(${name} PROPERTIES LINK_DEPENDS ${script} LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/lib)
  install(TARGETS ${name} LIBRARY DESTINATION lib)
  set(schema ${name}.Schema.json)
  if(EXISTS ${CMAKE_CURRENT_SOURCE_DIR}/${schema})
    configure_file(${schema} ${CMAKE_BINARY_DIR}/lib/${schema} COPYONLY)
    install(FILES ${schema} DESTINATION lib)
  endif()
endfunction()
