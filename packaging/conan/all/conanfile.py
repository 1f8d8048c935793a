# SPDX-License-Identifier: MIT
import os

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy, get, rmdir

required_conan_version = ">=2.0"


class QorutilConan(ConanFile):
    name = "qorutil"
    description = ("Utility library for command-line tools and daemons on "
                   "embedded Linux")
    license = "MIT"
    url = "https://github.com/conan-io/conan-center-index"
    homepage = "https://qorutil.example/"
    topics = ("intel-hex", "command-line", "daemon", "embedded-linux")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "fPIC": [True, False],
               "tools": [True, False]}
    default_options = {"shared": False, "fPIC": True, "tools": False}
    implements = ["auto_shared_fpic"]

    def layout(self):
        cmake_layout(self, src_folder="src")

    def validate(self):
        if self.settings.os != "Linux":
            raise ConanInvalidConfiguration(f"{self.ref} is for Linux alone")
        if self.settings.get_safe("compiler.libcxx") == "libc++":
            raise ConanInvalidConfiguration(f"{self.ref} needs libstdc++")
        check_min_cppstd(self, 17)

    def source(self):
        get(self, **self.conan_data["sources"][self.version], strip_root=True)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["QORUTIL_BUILD_TESTS"] = False
        toolchain.cache_variables["QORUTIL_BUILD_EXAMPLES"] = False
        toolchain.cache_variables["QORUTIL_BUILD_TOOLS"] = bool(
            self.options.tools)
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder,
             os.path.join(self.package_folder, "licenses"))
        cmake = CMake(self)
        cmake.install()
        rmdir(self, os.path.join(self.package_folder, "lib", "cmake"))
        rmdir(self, os.path.join(self.package_folder, "lib", "pkgconfig"))
        rmdir(self, os.path.join(self.package_folder, "share"))

    def package_info(self):
        self.cpp_info.libs = ["qorutil"]
        self.cpp_info.set_property("cmake_file_name", "qorutil")
        self.cpp_info.set_property("cmake_target_name", "qorutil::qorutil")
        self.cpp_info.set_property("pkg_config_name", "qorutil")
