option(RAVIK_BUILD_TESTS "Build the tests" ON)
option(RAVIK_BUILD_LIBRARY_TESTS "Build the tests that run PostgreSQL, too" OFF)
option(RAVIK_BUILD_BENCHMARKS "Build the benchmark programs" ON)
option(RAVIK_PAGE "Build the page for browsers into the program, where Node.js and its packages are there" ON)
option(RAVIK_POSTGRESQL "Build the libraries of recipes in PostgreSQL, where libpq is there" ON)
option(RAVIK_BUILD_FUZZERS "Build the fuzzing programs, which only clang can" OFF)
set(RAVIK_SANITIZERS "" CACHE STRING "Sanitizers for the compiler's -fsanitize, for example address,undefined")

# The extension and its helpers use nothing beyond the API's contract, so they also build against another
# implementation of it: a folder with RavikSrvExtApi.h and the library that belongs to it.
set(RAVIK_API_INCLUDE_DIR "" CACHE PATH "Folder of another RavikSrvExtApi.h to build the extensions against")
set(RAVIK_API_LIBRARY "" CACHE FILEPATH "Library that belongs to RAVIK_API_INCLUDE_DIR")
if(RAVIK_API_LIBRARY)
  cmake_path(GET RAVIK_API_LIBRARY PARENT_PATH api_library_folder)
  list(APPEND CMAKE_INSTALL_RPATH ${api_library_folder})
endif()

# Every target of ours links this.
add_library(RavikOptions INTERFACE)
target_compile_options(RavikOptions INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
  -Wconversion -Wsign-conversion -Wold-style-cast -Werror
  # g++ 12 warns of texts put together with + in optimised builds, without ground; clang-tidy does not know that warning.
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict> $<$<CXX_COMPILER_ID:GNU>:-Wno-unknown-warning-option>)
# Hardens what is installed. Only optimised code can be fortified, and sanitizers have checks of their own.
if(NOT RAVIK_SANITIZERS)
  target_link_options(RavikOptions INTERFACE $<$<CONFIG:Release,RelWithDebInfo>:LINKER:-z,relro,-z,now>)
  target_compile_options(RavikOptions INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
endif()
if(RAVIK_SANITIZERS)
  target_compile_options(RavikOptions INTERFACE -fsanitize=${RAVIK_SANITIZERS} -fno-sanitize-recover=all
    -fno-omit-frame-pointer)
  target_link_options(RavikOptions INTERFACE -fsanitize=${RAVIK_SANITIZERS})
endif()
