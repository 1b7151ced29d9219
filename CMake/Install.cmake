# Installation: the library with its translations, the headers, a CMake package, a pkg-config file and the guides.
include(CMakePackageConfigHelpers)

set(package_dir ${VYN_LIBRARY_DIR}/cmake/vyn)
set(pkgconfig_dir ${VYN_LIBRARY_DIR}/pkgconfig)
install(TARGETS vyn EXPORT vynTargets LIBRARY DESTINATION ${VYN_LIBRARY_DIR} COMPONENT lib)
install(FILES ${VYN_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vyn COMPONENT dev)
install(EXPORT vynTargets NAMESPACE vyn:: DESTINATION ${package_dir} COMPONENT dev)
configure_package_config_file(CMake/vynConfig.cmake.in vynConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(vynConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/vynConfig.cmake ${PROJECT_BINARY_DIR}/vynConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT dev)

# vyn.pc finds the prefix from its own place, so an installation can be moved. Headers outside the prefix stay there.
file(RELATIVE_PATH VYN_PC_PREFIX /prefix/${pkgconfig_dir} /prefix)
if(IS_ABSOLUTE ${CMAKE_INSTALL_INCLUDEDIR})
    set(VYN_PC_INCLUDEDIR ${CMAKE_INSTALL_INCLUDEDIR})
else()
    set(VYN_PC_INCLUDEDIR "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
configure_file(CMake/vyn.pc.in vyn.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vyn.pc DESTINATION ${pkgconfig_dir} COMPONENT dev)

file(GLOB guides CONFIGURE_DEPENDS Docs/*.md Docs/*.svg)
install(FILES ${guides} DESTINATION ${CMAKE_INSTALL_DOCDIR}/Docs COMPONENT doc)
install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc)

if(PROJECT_IS_TOP_LEVEL)
    add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -D MANIFEST=${PROJECT_BINARY_DIR}/install_manifest.txt
        -P ${PROJECT_SOURCE_DIR}/CMake/uninstall.cmake VERBATIM)
endif()
