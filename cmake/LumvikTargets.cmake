# Warnings and sanitizers as interface targets, and the one way in which this project makes a library.

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

# lumvik_library(NAME SOURCES... ) makes a static library whose headers are included from the root of
# the tree ("platform/LumvikLog.h").
function(lumvik_library name)
  add_library(${name} STATIC ${ARGN})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name} PUBLIC lumvik_sanitizers PRIVATE lumvik_warnings)
  # QT_NO_KEYWORDS: "signals", "slots" and "emit" are names that other headers use as identifiers.
  target_compile_definitions(${name} PUBLIC QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
  set_target_properties(${name} PROPERTIES AUTOMOC ON)
endfunction()

# lumvik_use_xcb(NAME) gives a target XCB where it was found; the code asks for LUMVIK_HAVE_XCB.
function(lumvik_use_xcb name)
  if(TARGET PkgConfig::XCB)
    target_compile_definitions(${name} PRIVATE LUMVIK_HAVE_XCB)
    target_link_libraries(${name} PRIVATE PkgConfig::XCB)
  endif()
endfunction()
