# What CPack makes the Debian package `ravik` of; `./dev package` makes and tests it.
#
# The package holds what `cmake --install` lays down, with /usr/lib/ravik as its folder, so that bin and lib stay side by
# side and private; Packaging/arrange.cmake puts the rest to where Debian's programs look.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ravik)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "The Ravik developers <ravik@packages.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "recipe management for machines")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
  "A recipe type says which values make up a product, a recipe gives them, and
activating a recipe writes them to the symbols of the controllers, reads them
back and says what became of each.
.
The package has the program ravik, with which projects are set up, edited,
activated and served, the controllers that come with it (simulated ones and
devices that speak Modbus TCP), a systemd unit ravik@NAME.service for projects
in /var/lib/ravik, and headers and a CMake package for controllers of one's
own.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr/lib/ravik)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/Packaging/arrange.cmake)
set(CPACK_RAVIK_SOURCE_DIR ${PROJECT_SOURCE_DIR})

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
# Who makes the user.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "systemd | systemd-standalone-sysusers | systemd-sysusers")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/Packaging/postinst
  ${PROJECT_SOURCE_DIR}/Packaging/prerm
  ${PROJECT_SOURCE_DIR}/Packaging/postrm)
include(CPack)
