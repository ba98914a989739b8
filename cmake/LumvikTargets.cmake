# The interface targets for warnings and sanitizers, and the functions that add this project's libraries.

add_library(lumvik_warnings INTERFACE)
target_compile_options(lumvik_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align
  -Wconversion -Wsign-conversion -Wformat=2 -Wimplicit-fallthrough -Wswitch-enum)
if(LUMVIK_WARNINGS_AS_ERRORS)
  target_compile_options(lumvik_warnings INTERFACE -Werror)
endif()

add_library(lumvik_sanitizers INTERFACE)
if(LUMVIK_SANITIZE)
  target_compile_options(lumvik_sanitizers INTERFACE
    -fsanitize=${LUMVIK_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  target_link_options(lumvik_sanitizers INTERFACE -fsanitize=${LUMVIK_SANITIZE})
endif()

# Precompiled headers and unity builds shorten the build but hide missing #include lines, so the release preset uses
# neither.
option(LUMVIK_PRECOMPILED_HEADERS "Precompile the headers of Qt, GoogleTest and the standard library" ON)
option(LUMVIK_UNITY_TESTS "Compile several test sources at once" ON)

# ccache is used where it is installed. ccache refuses precompiled headers unless CCACHE_SLOPPINESS allows it to
# ignore their macros and dates.
find_program(LUMVIK_CCACHE ccache)
if(LUMVIK_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER
    ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${LUMVIK_CCACHE})
endif()

# QT_NO_KEYWORDS: "signals", "slots" and "emit" are names that other headers use as identifiers.
set(LUMVIK_TOOLKIT_DEFINITIONS
  QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_DISABLE_DEPRECATED_BEFORE=0x060400)

# lumvik_precompiled(NAME HEADERS... LIBRARIES... DEFINITIONS...) precompiles system headers once for all targets that
# call lumvik_use_precompiled. The compiler rejects a precompiled header if the target that uses it lacks a macro
# that was defined here, or defines one that a header tested for. LIBRARIES therefore contribute their include
# folders only, and headers whose content depends on the target's macros (such as <QTest>) must not be listed. A
# header precompiled with -fPIC is also rejected in a program compiled with -fPIE, so both get -fPIC.
function(lumvik_precompiled name)
  if(NOT LUMVIK_PRECOMPILED_HEADERS)
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "HEADERS;LIBRARIES;DEFINITIONS")
  file(CONFIGURE OUTPUT ${name}.cpp CONTENT "" @ONLY)
  add_library(${name} STATIC ${CMAKE_CURRENT_BINARY_DIR}/${name}.cpp)
  foreach(library ${arg_LIBRARIES})
    target_include_directories(${name} SYSTEM PRIVATE
      $<TARGET_PROPERTY:${library},INTERFACE_INCLUDE_DIRECTORIES>)
  endforeach()
  target_compile_definitions(${name} PRIVATE ${LUMVIK_TOOLKIT_DEFINITIONS} ${arg_DEFINITIONS})
  target_link_libraries(${name} PRIVATE lumvik_warnings lumvik_sanitizers)
  target_compile_options(${name} PRIVATE -fPIC -pthread -fpch-preprocess)
  target_precompile_headers(${name} PRIVATE ${arg_HEADERS})
endfunction()

# lumvik_use_precompiled(TARGET NAME) lets a target use the headers that NAME has precompiled.
function(lumvik_use_precompiled target name)
  if(LUMVIK_PRECOMPILED_HEADERS)
    target_compile_options(${target} PRIVATE -fPIC -pthread -fpch-preprocess)
    target_precompile_headers(${target} REUSE_FROM ${name})
  endif()
endfunction()

# lumvik_library(NAME SOURCES...) adds a static library whose headers are included from the root of the tree
# ("platform/LumvikLog.h"). LUMVIK_PRECOMPILED names the precompiled headers that it uses.
function(lumvik_library name)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC lumvik_sanitizers PRIVATE lumvik_warnings)
  target_compile_definitions(${name} PUBLIC ${LUMVIK_TOOLKIT_DEFINITIONS})
  set_target_properties(${name} PROPERTIES AUTOMOC ON)
  lumvik_use_precompiled(${name} ${LUMVIK_PRECOMPILED})
endfunction()

# lumvik_use_xcb(NAME) links a target to XCB and defines LUMVIK_HAVE_XCB for it, if XCB was found.
function(lumvik_use_xcb name)
  if(TARGET PkgConfig::XCB)
    target_compile_definitions(${name} PRIVATE LUMVIK_HAVE_XCB)
    target_link_libraries(${name} PRIVATE PkgConfig::XCB)
  endif()
endfunction()
