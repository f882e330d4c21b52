# What `cmake --install` puts under the prefix: the tool, the shared library with its version, the public headers under include/rombus, a CMake package and a pkg-config file for
# programs that link the module, the man page, the bash completion, the JSON Schema of the report
# and the vendor registry. Each file belongs to the component of its Debian package
# (cmake/Package.cmake): tool, libraries or development.
include(CMakePackageConfigHelpers)

install(TARGETS rombus RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
# The library in the runtime package, its unversioned link with the development files.
install(TARGETS rombus_shared EXPORT RombusTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT libraries NAMELINK_COMPONENT development
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus)

# The public headers: the platform layers whole, of the module its exported classes and records
# with what they include, and the inspection: inspect/Rombus.h and what it includes. The parse
# tree, the module's logging and the tool's tables stay inside. Each declares only what the
# library exports (scripts/check-exports).
foreach(layer zul vesk5 lib1394)
    install(DIRECTORY interfaces/${layer} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus
        COMPONENT development FILES_MATCHING PATTERN "*.h")
endforeach()
install(FILES
    libRombus/Handles.h
    libRombus/Lib1394SysInfo.h
    libRombus/Lib1394Util.h
    libRombus/Message.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus/libRombus COMPONENT development)
install(FILES
    inspect/verdicts/Advisories.h
    inspect/verdicts/CrcCauses.h
    inspect/verdicts/Explanations.h
    inspect/verdicts/VerdictClasses.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus/inspect/verdicts COMPONENT development)
install(FILES
    inspect/model/Inspection.h
    inspect/model/NodeDevices.h
    inspect/model/NodeView.h
    inspect/model/RomKnowledge.h
    inspect/model/UnitView.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus/inspect/model COMPONENT development)
install(FILES
    inspect/knowledge/Sbp2Unit.h
    inspect/knowledge/DeviceQuirks.h
    inspect/knowledge/DriverMatch.h
    inspect/knowledge/DriverTable.h
    inspect/knowledge/NodeDrivers.h
    inspect/knowledge/ProbeGates.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus/inspect/knowledge COMPONENT development)
install(FILES
    inspect/rom/RomDecoder.h
    inspect/rom/RomWalk.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus/inspect/rom COMPONENT development)
install(FILES
    inspect/io/Registry.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus/inspect/io COMPONENT development)
install(FILES
    inspect/Rombus.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus/inspect COMPONENT development)

set(ROMBUS_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Rombus)
install(EXPORT RombusTargets NAMESPACE Rombus:: DESTINATION ${ROMBUS_CMAKE_DIR}
    COMPONENT development)
configure_package_config_file(cmake/RombusConfig.cmake.in
    ${CMAKE_BINARY_DIR}/RombusConfig.cmake INSTALL_DESTINATION ${ROMBUS_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/RombusConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/RombusConfig.cmake ${CMAKE_BINARY_DIR}/RombusConfigVersion.cmake
    DESTINATION ${ROMBUS_CMAKE_DIR} COMPONENT development)

configure_file(cmake/rombus.pc.in ${CMAKE_BINARY_DIR}/rombus.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/rombus.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
    COMPONENT development)

# The man page and the changelog compressed as Debian keeps them (gzip -9n: no name, no time).
foreach(document rombus.1 changelog)
    add_custom_command(OUTPUT ${CMAKE_BINARY_DIR}/doc/${document}.gz
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/doc
        COMMAND gzip -9n -c ${PROJECT_SOURCE_DIR}/doc/${document} > ${CMAKE_BINARY_DIR}/doc/${document}.gz
        DEPENDS ${PROJECT_SOURCE_DIR}/doc/${document}
        VERBATIM)
endforeach()
add_custom_target(rombus_documents ALL
    DEPENDS ${CMAKE_BINARY_DIR}/doc/rombus.1.gz ${CMAKE_BINARY_DIR}/doc/changelog.gz)
install(FILES ${CMAKE_BINARY_DIR}/doc/rombus.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    COMPONENT tool)
install(FILES doc/rombus.bash-completion DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME rombus COMPONENT tool)
# The schemas lie beside the registry in the build tree too, where `rombus --help` names it.
configure_file(doc/rombus-report.schema.json ${CMAKE_BINARY_DIR}/share/rombus/rombus-report.schema.json
    COPYONLY)
install(FILES doc/rombus-report.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/rombus COMPONENT tool)
configure_file(doc/rombus-bus.schema.json ${CMAKE_BINARY_DIR}/share/rombus/rombus-bus.schema.json
    COPYONLY)
install(FILES doc/rombus-bus.schema.json DESTINATION ${CMAKE_INSTALL_DATADIR}/rombus COMPONENT tool)
# The Debian package carries none: it makes the registry from ieee-data on the machine, and anew
# whenever ieee-data changes (cmake/deb/rombus).
option(ROMBUS_INSTALL_REGISTRY "Install the vendor registry built from ieee-data with the tool" ON)
if(TARGET rombus_registry AND ROMBUS_INSTALL_REGISTRY)
    install(FILES ${ROMBUS_REGISTRY} ${ROMBUS_ASSIGNMENTS} DESTINATION ${CMAKE_INSTALL_DATADIR}/rombus
        COMPONENT tool)
endif()

# The sample bus and ROM images, which the examples of the man page read.
install(DIRECTORY examples/sysfs examples/roms examples/bus
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/rombus/examples COMPONENT tool)

# Every package's copyright and changelog under share/doc/PACKAGE, and its lintian overrides.
foreach(component tool libraries development)
    string(TOUPPER ${component} upper)
    set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
    install(FILES doc/copyright ${CMAKE_BINARY_DIR}/doc/changelog.gz
        DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
    if(EXISTS ${PROJECT_SOURCE_DIR}/cmake/lintian/${package})
        install(FILES cmake/lintian/${package} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
            COMPONENT ${component})
    endif()
endforeach()
