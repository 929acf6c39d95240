# One package with everything that is installed: `cpack -G DEB` or `cpack -G RPM` in the build folder.

set(QRX_PACKAGE_CONTACT "The qrxupdate developers <maintainers@qrxupdate.example>" CACHE STRING
  "The maintainer of the Debian package that this build makes: NAME <ADDRESS>")

set(CPACK_PACKAGE_NAME qrxupdate)
set(CPACK_PACKAGE_VENDOR "The qrxupdate developers")
set(CPACK_PACKAGE_CONTACT "${QRX_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_DESCRIPTION "Makes and inspects update packages for a chassis controller, and simulates
a chassis. The program itself is a template for update packages; it uses the
platform's own library. The simulated library is in a private folder, and
only 'vtekctl run' uses it.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_MONOLITHIC_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_GENERATOR DEB)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(NOT VTEK_LIBRARY)
  # The program needs a library that this package contains.
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/vtek/src)
endif()
set(CPACK_RPM_FILE_NAME RPM-DEFAULT)
set(CPACK_RPM_PACKAGE_RELEASE_DIST OFF)
set(CPACK_RPM_PACKAGE_GROUP "System/Management")
set(CPACK_RPM_PACKAGE_LICENSE "Proprietary")
# rpm would offer the private simulated library to every program that asks for the platform's, and want it for our own.
set(CPACK_RPM_SPEC_MORE_DEFINE "%global __provides_exclude ^libvtek[.]so
%global __requires_exclude ^libvtek[.]so")
set(CPACK_RPM_EXCLUDE_FROM_AUTO_FILELIST_ADDITION
  /usr/libexec /usr/share/man /usr/share/man/man1 /usr/share/man/man5 /usr/share/man/man8 /usr/share/bash-completion
  /usr/share/bash-completion/completions)
set(CPACK_QRX_PORTABLE_PROGRAM "${QRX_PORTABLE_PROGRAM}")
set(CPACK_PRE_BUILD_SCRIPTS
  ${CMAKE_CURRENT_LIST_DIR}/debian/complete.cmake ${CMAKE_CURRENT_LIST_DIR}/debian/documents.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian/dependencies.cmake)
include(CPack)
