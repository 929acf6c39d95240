# Prepares the documents of a package as Debian's policy demands: compresses the manual pages and the change log, and adds the
# copyright file and, for Debian, lintian's overrides. CPack runs this on the folder that becomes the package.

set(documents ${CPACK_TEMPORARY_DIRECTORY}/usr/share/doc/qrxupdate)
file(COPY ${CMAKE_CURRENT_LIST_DIR}/copyright DESTINATION ${documents}
  FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

file(STRINGS ${documents}/CHANGELOG.md heading REGEX "^## \\[${CPACK_PACKAGE_VERSION}\\] - ")
string(REGEX MATCH "[0-9]+-[0-9]+-[0-9]+$" day "${heading}")
if(NOT day)
  message(FATAL_ERROR "CHANGELOG.md has no dated section for version ${CPACK_PACKAGE_VERSION}")
endif()
execute_process(COMMAND date --utc --rfc-email "--date=${day} 12:00" OUTPUT_VARIABLE date
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/changelog.in ${documents}/changelog @ONLY)

file(GLOB pages ${CPACK_TEMPORARY_DIRECTORY}/usr/share/man/man*/*)
execute_process(COMMAND gzip --best --no-name ${pages} ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)

if(CPACK_GENERATOR STREQUAL "DEB")
  set(overrides ${CPACK_TEMPORARY_DIRECTORY}/usr/share/lintian/overrides)
  configure_file(${CMAKE_CURRENT_LIST_DIR}/lintian-overrides ${overrides}/qrxupdate COPYONLY)
  file(CHMOD_RECURSE ${overrides} FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
    DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endif()
