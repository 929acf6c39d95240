# Refuses a package that could not do its work. CPack runs this before it makes one.

if(CPACK_GENERATOR STREQUAL "DEB")
  # Without these CPack stops in the middle, or makes a package without dependencies.
  foreach(tool file dpkg-shlibdeps)
    find_program(found_${tool} ${tool})
    if(NOT found_${tool})
      message(FATAL_ERROR "No ${tool}: 'scripts/install-packages build' installs what a package needs")
    endif()
  endforeach()
endif()
