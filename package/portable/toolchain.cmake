# Compiles with this machine's g++ against Debian 11's headers and libraries, which package/build-portable unpacks in
# $QRX_SYSROOT. $QRX_PREFIX_MAP hides the folders of the build: equal sources make equal files wherever they are.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_C_COMPILER gcc-12)
set(CMAKE_CXX_COMPILER g++-12)
set(CMAKE_SYSROOT $ENV{QRX_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE x86_64-linux-gnu)

set(flags "")
foreach(folder $ENV{QRX_PREFIX_MAP})
  string(APPEND flags " -ffile-prefix-map=${folder}")
endforeach()
# libxml2 is as hardened as the program, and keeps its names to itself.
set(CMAKE_C_FLAGS_INIT "${flags} -include ${CMAKE_CURRENT_LIST_DIR}/OldLibm.h -fvisibility=hidden -fstack-protector-strong -fcf-protection -D_FORTIFY_SOURCE=2")
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
# The compiler would take its own C++ headers otherwise, and with them names that older libraries lack.
string(APPEND flags " -nostdinc++ -isystem ${CMAKE_SYSROOT}/usr/include/c++/10"
  " -isystem ${CMAKE_SYSROOT}/usr/include/x86_64-linux-gnu/c++/10")
# Inlined through these headers, g++ 12 wrongly warns about std::string. The presets report the sources' own warnings.
set(CMAKE_CXX_FLAGS_INIT "${flags} -w")

# Debian 11's libraries before this machine's, which the compiler finds relative to itself and not below the sysroot.
set(old_libraries "-B${CMAKE_SYSROOT}/usr/lib/x86_64-linux-gnu -L${CMAKE_SYSROOT}/usr/lib/gcc/x86_64-linux-gnu/10"
  "-L${CMAKE_SYSROOT}/usr/lib/x86_64-linux-gnu -L${CMAKE_SYSROOT}/lib/x86_64-linux-gnu")
string(JOIN " " old_libraries ${old_libraries})
# An executable exports what a library on its command line wants; a platform's library must never get this program's libxml2.
set(CMAKE_EXE_LINKER_FLAGS_INIT "${old_libraries} -Wl,--exclude-libs,ALL -Wl,--build-id=sha1")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${old_libraries}")
