# The Debian package, made by CPack of what is installed: `./dev package`.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME orvo-screencapture)
set(CPACK_PACKAGE_VENDOR "Orvo")
set(CPACK_PACKAGE_CONTACT "Orvo Screen Capture maintainers <maintainers@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "screen and window capture for real-time video")
set(CPACK_PACKAGE_DESCRIPTION "A library that captures screens, rectangles of them and windows into raw frames at a
chosen rate, and reports everything that happens to a captured window.
Holds the library, its headers for C and C++, and the command-line tool orvocap.")
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/package)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION video)
# What the binaries need is read from them; the tool's need of the library is met by the package itself.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# Loaded by name, so that their need cannot be read: the main queue has none without GLib; names and icons of
# applications are looked up with the others.
set(CPACK_DEBIAN_PACKAGE_DEPENDS libglib2.0-0)
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS libgdk-pixbuf-2.0-0)
# The loader learns of the library, and of its end.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/triggers)
include(CPack)
