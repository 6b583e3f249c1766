# Run by CPack when what `cmake --install` lays down stands in its temporary folder: puts what others look for to where
# they do, and adds what only a Debian system needs.
cmake_minimum_required(VERSION 3.25)

set(packaging ${CPACK_RAVIK_SOURCE_DIR}/Packaging)
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
set(usr ${root}/usr)
set(prefix ${usr}/lib/ravik)
set(doc ${usr}/share/doc/ravik)

# Runs a command; its output becomes the file `output`.
function(make_file output)
  cmake_path(GET output PARENT_PATH folder)
  file(MAKE_DIRECTORY ${folder})
  execute_process(COMMAND ${ARGN} OUTPUT_FILE ${output} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# A link at `from` inside /usr to `to`, relative to the folder of `from`.
function(link from to)
  cmake_path(GET from PARENT_PATH folder)
  file(MAKE_DIRECTORY ${usr}/${folder})
  file(CREATE_LINK ${to} ${usr}/${from} SYMBOLIC)
endfunction()

function(compress file)
  execute_process(COMMAND gzip -9 --no-name ${file} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# The time of the sources, in the form of the changelog.
function(find_date result)
  set(seconds $ENV{SOURCE_DATE_EPOCH})
  if(NOT seconds)
    execute_process(COMMAND git -C ${CPACK_RAVIK_SOURCE_DIR} log -1 --format=%ct
      OUTPUT_VARIABLE seconds OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
  endif()
  if(NOT seconds)
    string(TIMESTAMP seconds %s)
  endif()
  execute_process(COMMAND date --utc --rfc-email --date=@${seconds}
    OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
  set(${result} ${date} PARENT_SCOPE)
endfunction()

file(RENAME ${prefix}/share ${usr}/share)
compress(${usr}/share/man/man1/ravik.1)
link(bin/ravik ../lib/ravik/bin/ravik)
link(include/ravik ../lib/ravik/include/ravik)

# find_package looks here; through a link the package would take /usr for its folder.
file(WRITE ${usr}/lib/cmake/Ravik/RavikConfig.cmake
  "include(\${CMAKE_CURRENT_LIST_DIR}/../../ravik/lib/cmake/Ravik/RavikConfig.cmake)\n")
link(lib/cmake/Ravik/RavikConfigVersion.cmake ../../ravik/lib/cmake/Ravik/RavikConfigVersion.cmake)

make_file(${usr}/share/bash-completion/completions/ravik ${prefix}/bin/ravik completion bash)
make_file(${usr}/share/zsh/vendor-completions/_ravik ${prefix}/bin/ravik completion zsh)

file(COPY ${packaging}/ravik@.service DESTINATION ${usr}/lib/systemd/system)
file(MAKE_DIRECTORY ${usr}/lib/sysusers.d ${root}/var/lib/ravik)
file(COPY_FILE ${packaging}/ravik.sysusers ${usr}/lib/sysusers.d/ravik.conf)

file(COPY ${packaging}/copyright DESTINATION ${doc})
set(changes ${CPACK_RAVIK_SOURCE_DIR}/CHANGELOG.md)
file(COPY_FILE ${changes} ${doc}/changelog)
compress(${doc}/changelog)
find_date(date)
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
make_file(${doc}/changelog.Debian
  awk -v version=${version} -v maintainer=${CPACK_PACKAGE_CONTACT} -v date=${date}
    -f ${packaging}/changelog.awk ${changes})
compress(${doc}/changelog.Debian)

# Whatever access rights the sources have, and new files get here.
execute_process(COMMAND chmod --recursive u=rwX,go=rX ${root} COMMAND_ERROR_IS_FATAL ANY)
