# SPDX-License-Identifier: MIT
"""OKTDatabase10 @VERSION@ for Conan 2. The archive of the sources lies beside this file (conandata.yml has its sum)."""

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import get, rmdir

import os


class OktDatabase(ConanFile):
    name = "oktdatabase10"
    version = "@VERSION@"
    license = "MIT"
    author = "The OKTDatabase10 authors"
    url = "https://example.invalid/oktdatabase10"
    description = "Parametric object database of a reinforcement-detailing design system"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False], "with_text": [True, False]}
    default_options = {"shared": True, "fPIC": True, "with_text": False}

    def config_options(self):
        if self.settings.os == "Windows":
            del self.options.fPIC

    def configure(self):
        if self.options.shared:
            self.options.rm_safe("fPIC")

    def validate(self):
        check_min_cppstd(self, 20)
        if self.settings.os == "Windows" and not self.options.shared:
            raise ConanInvalidConfiguration("on Windows the library is a DLL: its messages are resources of that module")

    def layout(self):
        cmake_layout(self)

    def requirements(self):
        if self.settings.os != "Windows":
            self.requires("libxml2/[>=2.9 <3]")
        if self.options.with_text:
            self.requires("fmt/[>=9]")
            self.requires("nlohmann_json/[>=3.11]")

    def source(self):
        get(self, **self.conan_data["sources"][self.version], strip_root=True)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self)
        toolchain.variables["OKT_TOOLS"] = False
        toolchain.variables["OKT_EXAMPLES"] = False
        toolchain.variables["OKT_TEXT"] = bool(self.options.with_text)
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        for folder in (os.path.join("lib", "cmake"), os.path.join("lib", "pkgconfig")):
            rmdir(self, os.path.join(self.package_folder, folder))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "OKTDatabase")
        database = self.cpp_info.components["OKTDatabase"]
        database.set_property("cmake_target_name", "OKTDatabase::OKTDatabase")
        database.set_property("pkg_config_name", "oktdatabase")
        database.libs = ["OKTDatabase10"]
        if self.settings.os != "Windows":
            database.requires = ["libxml2::libxml2"]
        if self.settings.os == "Linux" and not self.options.shared:
            database.system_libs = ["dl"]
        if self.options.with_text:
            for name, needs in (("oktformat", ["OKTDatabase", "fmt::fmt"]),
                                ("okttext", ["oktformat", "nlohmann_json::nlohmann_json"])):
                part = self.cpp_info.components[name]
                part.set_property("cmake_target_name", f"OKTDatabase::{name}")
                part.set_property("pkg_config_name", name)
                part.libs = [name]
                part.requires = needs
