# What `cmake --install` puts under the prefix: the tool, the shared libraries with their
# versions, the public headers under include/rombus, a CMake package and a pkg-config file for
# programs that link the module, the man page, the bash completion and the vendor registry.
include(CMakePackageConfigHelpers)

install(TARGETS rombus RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS zul vesk5 lib1394 Rombus EXPORT RombusTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus)

# The public headers: the platform layers whole, and of the module its exported classes and
# records with what they include. The parse tree and the module's logging stay inside.
foreach(layer zul vesk5 lib1394)
    install(DIRECTORY interfaces/${layer} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus
        FILES_MATCHING PATTERN "*.h")
endforeach()
install(FILES
    libRombus/Declarations.h
    libRombus/Handles.h
    libRombus/Lib1394SysInfo.h
    libRombus/Lib1394Util.h
    libRombus/Message.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/rombus/libRombus)

set(ROMBUS_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Rombus)
install(EXPORT RombusTargets NAMESPACE Rombus:: DESTINATION ${ROMBUS_CMAKE_DIR})
configure_package_config_file(cmake/RombusConfig.cmake.in
    ${CMAKE_BINARY_DIR}/RombusConfig.cmake INSTALL_DESTINATION ${ROMBUS_CMAKE_DIR})
write_basic_package_version_file(${CMAKE_BINARY_DIR}/RombusConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_BINARY_DIR}/RombusConfig.cmake ${CMAKE_BINARY_DIR}/RombusConfigVersion.cmake
    DESTINATION ${ROMBUS_CMAKE_DIR})

configure_file(cmake/rombus.pc.in ${CMAKE_BINARY_DIR}/rombus.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/rombus.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

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
install(FILES ${CMAKE_BINARY_DIR}/doc/rombus.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES doc/rombus.bash-completion DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME rombus)
if(TARGET rombus_registry)
    install(FILES ${ROMBUS_REGISTRY} DESTINATION ${CMAKE_INSTALL_DATADIR}/rombus)
endif()
install(FILES doc/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES ${CMAKE_BINARY_DIR}/doc/changelog.gz DESTINATION ${CMAKE_INSTALL_DOCDIR})
