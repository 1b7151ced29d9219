# Packages the library from this tree: vcpkg install vyn --overlay-ports=Packaging/vcpkg. ICU and PCRE are those of the
# system, which the library opens by name at their first use.
vcpkg_check_linkage(ONLY_DYNAMIC_LIBRARY)
set(pcre 1)
if("pcre2" IN_LIST FEATURES)
    set(pcre 2)
endif()
vcpkg_cmake_configure(SOURCE_PATH ${CMAKE_CURRENT_LIST_DIR}/../..
    OPTIONS -DVYN_BUILD_TESTS=OFF -DVYN_BUILD_EXAMPLES=OFF -DVYN_BUILD_TOOLS=OFF -DVYN_PCRE=${pcre})
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(CONFIG_PATH lib/cmake/vyn)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE ${CURRENT_PACKAGES_DIR}/debug/include ${CURRENT_PACKAGES_DIR}/debug/share)
vcpkg_install_copyright(FILE_LIST ${CMAKE_CURRENT_LIST_DIR}/../../LICENSE)
