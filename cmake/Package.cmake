# `cpack -G DEB` (make package): one Debian package with the tool, its libraries, their
# development files, the man page, the completion and the vendor registry built from ieee-data.
set(CPACK_PACKAGE_NAME rombus)
set(CPACK_PACKAGE_VENDOR "Rombus")
set(CPACK_PACKAGE_CONTACT "Rombus developers <rombus@example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "IEEE 1394 Configuration ROM reader and checker")
set(CPACK_PACKAGE_DESCRIPTION
    "rombus reads the Configuration ROM of every node of the machine's FireWire buses, or of\n"
    "ROM image files, decodes it by the IEEE 1212 rules, verifies every CRC-16 and the bus\n"
    "name, checks each directory's entries, names vendors from the IEEE registry and\n"
    "reports every problem per node, as text or JSON. The package also holds the libraries\n"
    "and headers for diagnostics programs that link the module.")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "${CPACK_PACKAGE_DESCRIPTION_SUMMARY}\n ${CPACK_PACKAGE_DESCRIPTION}")
string(REPLACE "\n" "\n " CPACK_DEBIAN_PACKAGE_DESCRIPTION "${CPACK_DEBIAN_PACKAGE_DESCRIPTION}")
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Depends from the libraries the programs link, found by dpkg-shlibdeps; our own are in the
# package itself.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/bin)
if(NOT TARGET rombus_registry)
    set(CPACK_DEBIAN_PACKAGE_RECOMMENDS ieee-data)
endif()
set(CPACK_STRIP_FILES ON)
include(CPack)
