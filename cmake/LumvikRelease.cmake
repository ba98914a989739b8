# Compiler and linker flags for release builds. They apply to all targets.

# Paths of the build machine are of no use to users and would make builds irreproducible.
if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  add_compile_options(
    "-ffile-prefix-map=${PROJECT_BINARY_DIR}=build" "-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.")
endif()

if(NOT LUMVIK_HARDENING)
  return()
endif()

include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# Some systems' compilers define _FORTIFY_SOURCE by default, with a different value.
add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
add_compile_options(-fstack-protector-strong -Wformat -Wformat-security)
foreach(flag -fstack-clash-protection -fcf-protection) # not available for all processors
  string(MAKE_C_IDENTIFIER "LUMVIK_HAS${flag}" known)
  check_cxx_compiler_flag("-Werror ${flag}" ${known})
  if(${known})
    add_compile_options(${flag})
  endif()
endforeach()
# The dynamic linker resolves all functions at startup and then makes the table of their addresses read-only.
add_link_options("LINKER:-z,relro,-z,now")
