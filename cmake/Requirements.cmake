# Looks for what the build and the tests need; what is missing is named together with the command that installs it.

# qrx_find_package(<package> [<version>]): finds a package of the build, or stops.
macro(qrx_find_package package)
  find_package(${package} ${ARGN} QUIET)
  if(NOT ${package}_FOUND)
    string(JOIN " " wanted ${package} ${ARGN})
    qrx_stop_without("${wanted}")
  endif()
endmacro()

# qrx_find_library(<target> <header> <library>): the same for a library that comes without a description for CMake.
function(qrx_find_library target header library)
  find_path(${target}_INCLUDE_DIR ${header})
  find_library(${target}_LIBRARY ${library})
  if(NOT ${target}_INCLUDE_DIR OR NOT ${target}_LIBRARY)
    qrx_stop_without(${target})
  endif()
  add_library(${target} UNKNOWN IMPORTED)
  set_target_properties(${target} PROPERTIES
    IMPORTED_LOCATION ${${target}_LIBRARY} INTERFACE_INCLUDE_DIRECTORIES ${${target}_INCLUDE_DIR})
endfunction()

function(qrx_stop_without wanted)
  message(FATAL_ERROR "${wanted} is missing. On Debian, 'scripts/install-packages build' installs everything that a build "
    "needs; scripts/packages-build.txt lists it.")
endfunction()

# qrx_can_build_tests(<result>): whether the tools that the tests need to be built are there. A developer's build stops if
# one is missing; any other leaves the tests out.
function(qrx_can_build_tests result)
  find_package(GTest QUIET)
  find_program(XMLLINT xmllint)
  find_program(STRACE strace)
  find_program(UNSHARE unshare)
  set(missing)
  if(NOT TARGET GTest::gmock)
    list(APPEND missing GoogleTest)
  endif()
  foreach(tool XMLLINT STRACE UNSHARE)
    if(NOT ${tool})
      string(TOLOWER ${tool} name)
      list(APPEND missing ${name})
    endif()
  endforeach()
  if(missing)
    string(JOIN ", " names ${missing})
    set(cure "On Debian, 'scripts/install-packages build check' installs what they need; scripts/packages-check.txt lists it.")
    if(QRX_DEVELOPER)
      message(FATAL_ERROR "The tests need ${names}. ${cure}")
    endif()
    message(WARNING "The tests are left out: they need ${names}. ${cure}")
    set(${result} OFF PARENT_SCOPE)
    return()
  endif()
  set(${result} ON PARENT_SCOPE)
endfunction()
