# Refuses a package that could not do its work. CPack runs this before it makes one.

# A package for this system alone, which must not be released: cpack -G DEB -D CPACK_QRX_UNRELEASED=ON
if(NOT CPACK_QRX_PORTABLE_PROGRAM AND NOT CPACK_QRX_UNRELEASED)
  message(FATAL_ERROR "No portable program, so update packages would not start on older servers. Run "
    "package/build-portable, and configure with -DQRX_PORTABLE_PROGRAM=build/portable/qrxupdate (its full path)")
endif()

if(CPACK_GENERATOR STREQUAL "DEB")
  # Without these CPack stops in the middle, or makes a package without dependencies.
  foreach(tool file dpkg-shlibdeps)
    find_program(found_${tool} ${tool})
    if(NOT found_${tool})
      message(FATAL_ERROR "No ${tool}: 'scripts/install-packages build' installs what a package needs")
    endif()
  endforeach()
endif()
