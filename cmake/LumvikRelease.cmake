# What a build for users adds to the compiler's and the linker's flags, for all targets alike.

# Paths of the machine that built it say nothing to users, and would make every build another one.
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

# Some systems' compilers define it already, with another number.
add_compile_options(-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
add_compile_options(-fstack-protector-strong -Wformat -Wformat-security)
foreach(flag -fstack-clash-protection -fcf-protection) # not on every processor
  string(MAKE_C_IDENTIFIER "LUMVIK_HAS${flag}" known)
  check_cxx_compiler_flag("-Werror ${flag}" ${known})
  if(${known})
    add_compile_options(${flag})
  endif()
endforeach()
# Addresses of functions are all settled at the start, and then read-only.
add_link_options("LINKER:-z,relro,-z,now")
