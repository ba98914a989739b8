# The Debian package and a second package with the debug symbols. "cpack" in a build folder creates both. tools/package
# configures, builds, runs cpack and checks the packages.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lumvik)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR Tandrel)
# Some generated files contain absolute paths with this prefix.
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_THREADS 1) # the compressed bytes depend on the number of threads

# One package contains the program and the files that Debian requires.
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

# dpkg-shlibdeps finds the libraries that the program is linked to. It cannot find what is loaded or run later:
#   ca-certificates     the update check trusts no server without them
#   hicolor-icon-theme  contains the folders of the icons
#   libgl1-mesa-dri     OpenGL on systems without a vendor's driver
#   qt6-wayland         Wayland sessions without XWayland
#   va-driver-all       hardware decoding
#   xdg-utils           opens the help page in the user's browser
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS
  "ca-certificates, hicolor-icon-theme, libgl1-mesa-dri, qt6-wayland, va-driver-all | va-driver, xdg-utils")

include(CPack)
