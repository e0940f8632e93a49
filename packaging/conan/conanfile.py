"""The recipe for Conan 2: conan create packaging/conan --build=missing"""
import os
import re

from conan import ConanFile
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.env import VirtualBuildEnv
from conan.tools.files import copy, load, rmdir


class Norvale(ConanFile):
    name = "norvale"
    description = "Core framework library of a plugin-based desktop application suite"
    license = "MIT"
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"tools": [True, False], "qt_major": [5, 6]}
    default_options = {"tools": True, "qt_major": 5, "qt/*:shared": True, "qt/*:qtdeclarative": True}

    @property
    def _root(self):
        return os.path.join(self.recipe_folder, "..", "..")

    @property
    def _has_libgcrypt(self):
        # its recipe knows no Windows; update sites are not verified there
        return self.settings.os != "Windows"

    @property
    def _suffix(self):
        return "" if self.options.qt_major == 5 else f"Qt{self.options.qt_major}"

    def set_version(self):
        text = load(self, os.path.join(self._root, "CMakeLists.txt"))
        self.version = re.search(r"project\(Norvale VERSION ([0-9.]+)", text).group(1)

    def export_sources(self):
        # the recipe lies in the tree that it builds
        copy(self, "*", src=self._root, dst=self.export_sources_folder, excludes=("build/*", ".git/*"))

    def requirements(self):
        qt = "[>=5.15 <6]" if self.options.qt_major == 5 else "[>=6.4 <7]"
        self.requires(f"qt/{qt}", transitive_headers=True, transitive_libs=True)
        self.requires("zlib/[>=1.2.11 <2]")
        self.requires("libdeflate/[>=1.14 <2]")
        if self._has_libgcrypt:
            self.requires("libgcrypt/[>=1.8 <2]")
        self.requires("tsl-robin-map/[>=1.2 <2]")
        self.requires("fast_float/[>=3.9]")
        if self.options.tools:
            self.requires("cli11/[>=2.1 <3]")
            self.requires("libdivsufsort/[>=2.0 <3]")
            self.requires("libzip/[>=1.7 <2]")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.variables["NORVALE_QT_MAJOR"] = str(self.options.qt_major)
        toolchain.variables["NORVALE_BUILD_TESTS"] = False
        toolchain.variables["NORVALE_BUILD_EXAMPLES"] = False
        toolchain.variables["NORVALE_BUILD_TOOLS"] = bool(self.options.tools)
        toolchain.generate()
        CMakeDeps(self).generate()
        VirtualBuildEnv(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()
        copy(self, "LICENSE", src=self.source_folder, dst=os.path.join(self.package_folder, "licenses"))
        rmdir(self, os.path.join(self.package_folder, "share", "doc"))

    def package_info(self):
        # The package brings its own CMake files, with the functions for authors of plugins.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = [os.path.join("lib", "cmake", f"Norvale{self._suffix}")]
        self.cpp_info.set_property("pkg_config_name", "norvale" if not self._suffix else f"norvale-{self._suffix.lower()}")
        self.cpp_info.libs = [f"Norvale{self._suffix}"]
        self.cpp_info.requires = ["qt::qtCore", "qt::qtGui", "qt::qtXml", "qt::qtNetwork", "qt::qtConcurrent", "qt::qtQml",
                                  "zlib::zlib", "libdeflate::libdeflate", "tsl-robin-map::tsl-robin-map", "fast_float::fast_float"]
        if self._has_libgcrypt:
            self.cpp_info.requires.append("libgcrypt::libgcrypt")
        if self.options.tools:
            self.cpp_info.requires += ["cli11::cli11", "libdivsufsort::libdivsufsort", "libzip::libzip"]
