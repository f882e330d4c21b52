# `cpack -G DEB` (make package): three Debian packages, as Debian splits a library and its tool:
#   rombus         the tool, its man page, completion and JSON Schema; its vendor registry is made
#                  on the machine from ieee-data, on install and whenever ieee-data changes (a
#                  dpkg trigger on ieee-data's folder, cmake/deb/rombus);
#   librombus0     librombus.so.0, with its symbols file (scripts/make-symbols);
#   librombus-dev  the headers, the unversioned .so link, the CMake package and pkg-config file.
# Each holds its own copyright and changelog, and its lintian overrides with their reasons.
# CPack writes no Multi-Arch field: `make package` adds it to the library and -dev packages
# (scripts/multi-arch).
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL tool libraries development)
set(CPACK_PACKAGE_VENDOR "Rombus")
set(CPACK_PACKAGE_CONTACT "Rombus maintainers <maintainers@users.noreply.c-seed-1b9f1f53.example>")
set(CPACK_PACKAGE_HOMEPAGE_URL "${PROJECT_HOMEPAGE_URL}")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# CPack puts a summary that is not its own default before every package's description; each
# package's description below begins with its own synopsis instead.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME rombus)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_DESCRIPTION "IEEE 1394 Configuration ROM reader and checker
rombus reads the Configuration ROM of every node of the machine's FireWire
buses, or of ROM image files, decodes it by the IEEE 1212 rules, verifies
every CRC-16 and the bus name, checks each directory's entries, names vendors
from the IEEE registry and reports every problem per node, as text or JSON.")

set(CPACK_DEBIAN_LIBRARIES_PACKAGE_NAME librombus0)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARIES_DESCRIPTION "IEEE 1394 Configuration ROM checking libraries
The libraries of rombus: the module that reads and checks the Configuration
ROM of IEEE 1394 (FireWire) nodes, its platform layers (bus access,
diagnostics framework, common library) and the inspection that gives, per
node, the verdicts of the rombus tool and the decoded ROM.")
# The vendor names of the tool's verdicts come from the registry the tool's package makes.
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_SUGGESTS rombus)
# A shlibs file and a symbols file, so that packages linking the library depend on the version
# they were built against or any later one.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/deb/librombus0/triggers
    ${ROMBUS_SYMBOLS})
set(CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/deb/rombus/triggers
    ${PROJECT_SOURCE_DIR}/cmake/deb/rombus/postinst ${PROJECT_SOURCE_DIR}/cmake/deb/rombus/postrm)
set(CPACK_DEBIAN_TOOL_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME librombus-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "IEEE 1394 Configuration ROM checking libraries (development files)
Headers, CMake package (find_package(Rombus), target Rombus::Rombus) and
pkg-config file (rombus) for programs that link the rombus library.
inspect/Rombus.h is the entry point that gives a program the verdicts of
the rombus tool.")
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS libraries)

# Depends from the libraries the programs link, found by dpkg-shlibdeps.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/bin)
# The registry is made from ieee-data where the package is installed.
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS ieee-data)
# 'rombus topology --graph svg' runs Graphviz's dot; nothing else needs it, and nothing links it.
set(CPACK_DEBIAN_TOOL_PACKAGE_SUGGESTS graphviz)
set(CPACK_STRIP_FILES ON)
include(CPack)
