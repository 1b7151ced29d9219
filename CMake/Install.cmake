# Installation: the library with its translations, the headers, a CMake package, a pkg-config file and the guides.
include(CMakePackageConfigHelpers)

set(package_dir ${VYN_LIBRARY_DIR}/cmake/vyn)
set(pkgconfig_dir ${VYN_LIBRARY_DIR}/pkgconfig)
install(TARGETS vyn EXPORT vynTargets LIBRARY DESTINATION ${VYN_LIBRARY_DIR} COMPONENT lib)
install(FILES ${VYN_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vyn COMPONENT dev)
install(EXPORT vynTargets NAMESPACE vyn:: DESTINATION ${package_dir} COMPONENT dev)
configure_package_config_file(CMake/vynConfig.cmake.in vynConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(vynConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES CMake/vynLanguages.cmake CMake/CheckLanguage.cpp DESTINATION ${package_dir} COMPONENT dev)
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
# The pages that Scripts/docs made, if it was run.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/build/docs/html DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc OPTIONAL
    PATTERN *.map EXCLUDE PATTERN *.md5 EXCLUDE)
install(FILES README.md CHANGELOG.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc)

if(NOT PROJECT_IS_TOP_LEVEL)
    return()
endif()
add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -D BUILD=${PROJECT_BINARY_DIR}
    -P ${PROJECT_SOURCE_DIR}/CMake/uninstall.cmake VERBATIM)

# Debian packages, one for each component; Scripts/package builds and checks them.
get_cmake_property(CPACK_COMPONENTS_ALL COMPONENTS)
set(CPACK_DEBIAN_LIB_PACKAGE_NAME libvyn10)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libvyn10-dev)
set(CPACK_DEBIAN_DOC_PACKAGE_NAME vyn-doc)
set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME vyn-tools)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} key)
    install(FILES LICENSE DESTINATION share/doc/${CPACK_DEBIAN_${key}_PACKAGE_NAME} RENAME copyright
        COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
set(CPACK_COMPONENT_LIB_DESCRIPTION "The shared library and its translations")
set(CPACK_COMPONENT_DEV_DESCRIPTION "Headers, CMake package and pkg-config file")
set(CPACK_COMPONENT_DOC_DESCRIPTION "Guides and reference")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "Command line tools")
set(CPACK_DEBIAN_LIB_PACKAGE_SHLIBDEPS ON)
# Nothing links what is opened at its first use: libicuuc.so.72 is in libicu72, libpcre.so.3 in libpcre3, and
# libpcre2-8.so.0 in libpcre2-8-0.
string(REGEX REPLACE "uc[.]so[.]" "" icu ${VYN_ICU_SONAME})
string(REGEX REPLACE "([0-9])[.]so[.]" "\\1-" pcre ${VYN_PCRE_SONAME})
string(REGEX REPLACE "[.]so[.]" "" pcre ${pcre})
set(CPACK_DEBIAN_LIB_PACKAGE_DEPENDS "${icu}, ${pcre}")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libvyn10 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libvyn10 (= ${PROJECT_VERSION}), libc6, libstdc++6")
file(CONFIGURE OUTPUT triggers CONTENT "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_LIB_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/triggers)
set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_LIB_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DOC_PACKAGE_SECTION doc)
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_CONTACT "The developers of vyn <vyn@localhost>")
set(CPACK_STRIP_FILES ON)
include(CPack)
