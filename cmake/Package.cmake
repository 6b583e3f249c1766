# What `cmake --install` lays down beside the program, the libraries and their headers: the CMake package Ravik for
# those who write extensions, and an example of one.

# With another API the helper library would not fit the libRavikSrvExt that is installed.
if(RAVIK_API_INCLUDE_DIR)
  return()
endif()

include(CMakePackageConfigHelpers)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Ravik)
install(EXPORT RavikTargets NAMESPACE Ravik:: DESTINATION ${package_folder})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/RavikConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  cmake/RavikConfig.cmake
  cmake/RavikExtension.cmake
  cmake/extension.map
  ${CMAKE_CURRENT_BINARY_DIR}/RavikConfigVersion.cmake
  DESTINATION ${package_folder})
install(FILES Documentation/ravik.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/ravik)
set(example Examples/controller)
install(FILES
  ${example}/CMakeLists.txt
  ${example}/TextFile.cpp
  ${example}/oven.txt
  ${example}/ravik.json
  ${example}/recipes.json
  DESTINATION ${CMAKE_INSTALL_DATADIR}/ravik/${example})

include(cmake/DebianPackage.cmake)
