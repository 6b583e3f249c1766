# find_package(Ravik): the targets Ravik::SrvExt (the API) and Ravik::Helper (what extensions are made with, which
# brings the API along), and the function ravik_add_extension.
include(${CMAKE_CURRENT_LIST_DIR}/RavikTargets.cmake)
include(${CMAKE_CURRENT_LIST_DIR}/RavikExtension.cmake)
