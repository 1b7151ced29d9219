"""Packages the library from this tree: conan create Packaging/conan

ICU and PCRE are those of the system, which the library opens by name at their first use.
"""

import pathlib
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, load
from conan.tools.system.package_manager import Apt

TREE = ("CMakeLists.txt", "LICENSE", "*.md", "CMake/*", "Docs/*", "Include/*", "Locale/*", "Src/*")


class VynRecipe(ConanFile):
    name = "vyn"
    description = "Common support library of a family of modelling tools"
    license = "MIT"
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"pcre": [1, 2]}
    default_options = {"pcre": 1}

    def tree(self):
        return pathlib.Path(self.recipe_folder).parent.parent

    def set_version(self):
        project = load(self, self.tree() / "CMakeLists.txt")
        self.version = re.search(r"project\(vyn VERSION (\S+)", project)[1]

    def export_sources(self):
        for pattern in TREE:
            copy(self, pattern, src=self.tree(), dst=self.export_sources_folder, excludes="build/*")

    def system_requirements(self):
        pcre = "libpcre2-dev" if self.options.pcre == 2 else "libpcre3-dev"
        Apt(self).install(["libicu-dev", pcre, "pkg-config"])

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables.update(VYN_BUILD_TESTS=False, VYN_BUILD_EXAMPLES=False, VYN_BUILD_TOOLS=False,
                                         VYN_PCRE=str(self.options.pcre))
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", src=self.source_folder, dst=pathlib.Path(self.package_folder) / "licenses")

    def package_info(self):
        self.cpp_info.libs = ["vyn10"]
        self.cpp_info.includedirs = ["include/vyn"]
        self.cpp_info.set_property("cmake_target_name", "vyn::vyn")
        self.cpp_info.set_property("cmake_build_modules", ["lib/cmake/vyn/vynLanguages.cmake"])
        self.cpp_info.set_property("pkg_config_name", "vyn")
