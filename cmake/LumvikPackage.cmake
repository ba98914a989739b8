# The Debian package, and another one with the debug symbols: "cpack" in a build folder. tools/package does that
# from the beginning, and looks at what comes out.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumvik)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR Tandrel)
# Files that name each other by their paths were made for this prefix.
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_THREADS 1) # more of them compress into other bytes

# One package, of the program and of what Debian wants to have in one.
set(CPACK_COMPONENTS_ALL Unspecified debian)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT) # lumvik_VERSION_ARCHITECTURE.deb
set(CPACK_DEBIAN_PACKAGE_NAME lumvik)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${maintainer}")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://${LUMVIK_WEB_HOST}/lumvik")
set(CPACK_DEBIAN_PACKAGE_SECTION video)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
file(READ ${CMAKE_CURRENT_LIST_DIR}/../resources/debian/description description)
string(STRIP "${description}" description)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "small desktop viewer for RTSP network cameras")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "${description}")
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)

# Libraries are found by what the program is linked to. What is only loaded when it runs:
#   ca-certificates   without them no web server is trusted, and no update found
#   hicolor-icon-theme  owns the folders of the icons
#   libgl1-mesa-dri   OpenGL, on a system that has no driver of a maker's own
#   qt6-wayland       sessions without XWayland
#   va-driver-all     decoding on the graphics card
#   xdg-utils         opens the help page in the user's browser
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
  "ca-certificates, hicolor-icon-theme, libgl1-mesa-dri, qt6-wayland, va-driver-all | va-driver, xdg-utils")

include(CPack)
