#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs the recipe of Conan without Conan: what it takes from there is replaced
by as much as the recipe uses, and it builds for real.

    conan.py RECIPE SOURCES FOLDER
"""

import importlib.util
import os
import shutil
import subprocess
import sys
import types

recipeFile, sources, folder = (os.path.abspath(path) for path in sys.argv[1:])


class InvalidConfiguration(Exception):
    pass


class Settings(dict):
    """Settings as attributes, and by names with dots."""
    __getattr__ = dict.__getitem__

    def get_safe(self, name):
        return self.get(name)


class CppInfo:
    def __init__(self):
        self.libs = []
        self.properties = {}

    def set_property(self, name, value):
        self.properties[name] = value


class ConanFile:
    ref = "qorutil/test"
    source_folder = sources
    build_folder = os.path.join(folder, "build")
    package_folder = os.path.join(folder, "package")

    def __init__(self, system="Linux", library="libstdc++11"):
        self.settings = Settings({"os": system, "compiler.libcxx": library})
        self.options = types.SimpleNamespace(**self.default_options)
        self.cpp_info = CppInfo()


class CMakeToolchain:
    made = {}

    def __init__(self, recipe):
        self.cache_variables = CMakeToolchain.made

    def generate(self):
        pass


class CMake:
    def __init__(self, recipe):
        self.recipe = recipe

    def run(self, *arguments):
        subprocess.run(["cmake", *arguments], check=True, stdout=subprocess.DEVNULL)

    def configure(self):
        # As Conan's toolchain says it.
        switches = {"BUILD_SHARED_LIBS": self.recipe.options.shared,
                    "CMAKE_POSITION_INDEPENDENT_CODE": self.recipe.options.fPIC,
                    **CMakeToolchain.made}
        self.run("-S", sources, "-B", self.recipe.build_folder, "-G", "Ninja",
                 "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_INSTALL_LIBDIR=lib",
                 "-DCMAKE_INSTALL_PREFIX=" + self.recipe.package_folder,
                 *(f"-D{name}={'ON' if value else 'OFF'}"
                   for name, value in switches.items()))

    def build(self):
        self.run("--build", self.recipe.build_folder)

    def install(self):
        self.run("--install", self.recipe.build_folder)


def copy(recipe, pattern, source, target):
    os.makedirs(target, exist_ok=True)
    shutil.copy(os.path.join(source, pattern), target)


def module(name, **content):
    sys.modules[name] = types.ModuleType(name)
    vars(sys.modules[name]).update(content)


module("conan", ConanFile=ConanFile)
module("conan.errors", ConanInvalidConfiguration=InvalidConfiguration)
module("conan.tools")
module("conan.tools.build", check_min_cppstd=lambda recipe, standard: None)
module("conan.tools.cmake", CMake=CMake, CMakeToolchain=CMakeToolchain,
       cmake_layout=lambda recipe, **folders: None)
module("conan.tools.files", copy=copy, get=None,
       rmdir=lambda recipe, path: shutil.rmtree(path, ignore_errors=True))


def load():
    spec = importlib.util.spec_from_file_location("recipe", recipeFile)
    loaded = importlib.util.module_from_spec(spec)
    spec.loader.exec_module(loaded)
    return loaded.QorutilConan


def refuses(recipe):
    try:
        recipe.validate()
    except InvalidConfiguration:
        return True
    return False


def packaged(path):
    return {os.path.relpath(os.path.join(place, name), path)
            for place, _, names in os.walk(path) for name in names}


def main():
    sys.dont_write_bytecode = True
    recipeClass = load()
    assert refuses(recipeClass(system="Windows"))
    assert refuses(recipeClass(library="libc++"))
    recipe = recipeClass()
    recipe.layout()
    recipe.validate()
    recipe.generate()
    shutil.rmtree(recipe.package_folder, ignore_errors=True)
    recipe.build()
    recipe.package()
    recipe.package_info()
    others = {name for name in packaged(recipe.package_folder)
              if not name.startswith("include/qorutil/")}
    assert others == {"lib/libqorutil.a", "licenses/LICENSE"}, others
    program = os.path.join(folder, "test_package")
    subprocess.run(
        ["g++", "-std=c++17", "-I", os.path.join(recipe.package_folder, "include"),
         os.path.join(os.path.dirname(recipeFile), "test_package/test_package.cpp"),
         "-L", os.path.join(recipe.package_folder, "lib"),
         *("-l" + library for library in recipe.cpp_info.libs), "-o", program],
        check=True)
    subprocess.run([program], check=True)


main()
