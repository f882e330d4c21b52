# `cpack -G DEB` (make package): one Debian package with the tool, its libraries, their
# development files, the man page, the completion and the vendor registry built from ieee-data.
set(CPACK_PACKAGE_NAME rombus)
set(CPACK_PACKAGE_VENDOR "Rombus")
set(CPACK_PACKAGE_CONTACT "Rombus developers <rombus@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "IEEE 1394 Configuration ROM reader and checker")
set(CPACK_PACKAGE_DESCRIPTION
    "rombus reads the Configuration ROM of every node of the machine's FireWire\n"
    "buses, or of ROM image files, decodes it by the IEEE 1212 rules, verifies\n"
    "every CRC-16 and the bus name, checks each directory's entries, names vendors\n"
    "from the IEEE registry and reports every problem per node, as text or JSON.\n"
    "The package also holds the libraries and headers for diagnostics programs\n"
    "that link the module.")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Depends from the libraries the programs link, found by dpkg-shlibdeps; our own are in the
# package itself.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/bin)
# A shlibs file for the libraries, so that packages linking them get their Depends.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
# The dynamic linker's cache is renewed by dpkg's trigger when the libraries come or go.
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/triggers)
if(NOT TARGET rombus_registry)
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS ieee-data)
endif()
set(CPACK_STRIP_FILES ON)
include(CPack)
