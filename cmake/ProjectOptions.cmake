# The compile and link options of every target, which links `project_options`.

add_library(project_options INTERFACE)
target_compile_features(project_options INTERFACE cxx_std_20)
target_compile_options(project_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${QRX_DEVELOPER}>:-Werror>
  -fstack-protector-strong
  # OpenSSL's macros embed the path of the source. Nothing that ships may contain the path of the build.
  "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/=")

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection QRX_HAS_CF_PROTECTION)
if(QRX_HAS_CF_PROTECTION)
  target_compile_options(project_options INTERFACE -fcf-protection)
endif()
# _FORTIFY_SOURCE needs optimisation, and hides errors from the sanitizers.
target_compile_definitions(project_options INTERFACE
  $<$<CONFIG:Release,RelWithDebInfo>:_FORTIFY_SOURCE=2>)
# Not where it changes nothing: it renames functions, and the new names need a newer glibc.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  target_compile_definitions(project_options INTERFACE _FILE_OFFSET_BITS=64)
endif()
target_link_options(project_options INTERFACE -Wl,-z,relro,-z,now)
