# librombus: the one shared library programs link, the module with its platform layers and the
# inspection inside it, installed as librombus.so.0 and known to CMake as Rombus::Rombus. Only the
# declared API leaves it: the parts are compiled with hidden visibility, so that what carries
# ROMBUS_API is exported, and the version script (cmake/rombus.map) keeps the instantiations of
# the standard library's templates, which the compiler exports on their own, inside.
add_library(rombus_shared SHARED
    $<TARGET_OBJECTS:zul_objects>
    $<TARGET_OBJECTS:vesk5_objects>
    $<TARGET_OBJECTS:lib1394_objects>
    $<TARGET_OBJECTS:Rombus_objects>
    $<TARGET_OBJECTS:RombusInspect_objects>)
add_library(Rombus::Rombus ALIAS rombus_shared)
set_target_properties(rombus_shared PROPERTIES OUTPUT_NAME rombus EXPORT_NAME Rombus
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    LINK_DEPENDS ${PROJECT_SOURCE_DIR}/cmake/rombus.map)
target_link_options(rombus_shared PRIVATE
    -Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/rombus.map)
# Every symbol the library uses comes from itself or from the libraries it links; except in a
# sanitized build, where clang leaves its sanitizer runtime to the programs that load the library.
if(NOT CMAKE_CXX_FLAGS MATCHES "-fsanitize=")
    target_link_options(rombus_shared PRIVATE -Wl,--no-undefined)
endif()
target_link_libraries(rombus_shared PRIVATE PkgConfig::PCRE2 yaml-cpp)
target_include_directories(rombus_shared PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/interfaces> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/rombus>)
target_compile_features(rombus_shared PUBLIC cxx_std_20)

# The symbols file of the library package: every exported symbol with the version that brought
# it, as dpkg-gensymbols writes it, so that a program built against this version depends on it
# and on no later one.
set(ROMBUS_SYMBOLS ${CMAKE_BINARY_DIR}/debian/symbols)
add_custom_command(TARGET rombus_shared POST_BUILD
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/make-symbols $<TARGET_FILE:rombus_shared>
            librombus0 librombus-dev ${PROJECT_VERSION} ${ROMBUS_SYMBOLS}
    VERBATIM)
