"""Builds the wheel of the Python module: the compiled part and both libraries by CMake, the rest as it is.

The wheel holds libkvmath and libkvmeasure in kvmath/lib, and needs Qt Core of the system. Its pictures are SVG. With
KVMATH_BUILD=FOLDER an existing build tree is packed, else build/wheel is built, which takes some minutes.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = pathlib.Path(__file__).resolve().parent
VERSION = re.search(r"project\(KvMath VERSION ([\d.]+)", (SOURCE / "CMakeLists.txt").read_text())[1]


def cmake(*arguments):
    subprocess.run(["cmake", *map(str, arguments)], check=True)


class BuildByCMake(build_ext):
    """Puts the package kvmath into the wheel."""

    def run(self):
        given = os.environ.get("KVMATH_BUILD")
        build = pathlib.Path(given or SOURCE / "build" / "wheel").resolve()
        if not given:
            cmake("-S", SOURCE, "-B", build, "-DCMAKE_BUILD_TYPE=Release", "-DKVMATH_PYTHON=ON", "-DKVMATH_RENDERER=OFF",
                  "-DKVMATH_BUILD_TESTS=OFF", "-DKVMATH_BUILD_EXAMPLES=OFF", f"-DPython_EXECUTABLE={sys.executable}")
            cmake("--build", build, "--target", "python_module", "--parallel", os.environ.get("JOBS", os.cpu_count()))
        staged = pathlib.Path(self.build_temp).resolve() / "staged"
        shutil.rmtree(staged, ignore_errors=True)
        for component in ("library", "workflows", "python"):
            cmake("--install", build, "--component", component, "--prefix", staged)
        package = pathlib.Path(self.build_lib).resolve() / "kvmath"
        shutil.rmtree(package, ignore_errors=True)
        shutil.copytree(next(staged.rglob("_core.*.so")).parent, package)
        (package / "lib").mkdir()
        for library in sorted(staged.rglob("libkvm*.so.[0-9]")):  # a wheel holds no links
            shutil.copy(library, package / "lib" / library.name)


setup(version=VERSION, packages=[], ext_modules=[Extension("kvmath._core", [])], cmdclass={"build_ext": BuildByCMake})
