"""Builds the Python module by CMake and puts it, with the libraries that it needs, into a package.

QELT_BUILD_DIR names a folder that was configured before, with QELT_BUILD_PYTHON, to be used as it is.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).parent.resolve()

# No tests, no applications, and everything beside the module itself.
OPTIONS = [
    "-DCMAKE_BUILD_TYPE=Release",
    "-DQELT_BUILD_PYTHON=ON",
    "-DQELT_BUILD_INSPECTION=ON",
    *(f"-DQELT_BUILD_{name}=OFF" for name in ("APPS", "TESTS", "EXAMPLES", "BENCHMARKS", "FUZZERS")),
]


class BuildByCMake(build_ext):
    """The package comes of CMake's own installation, of which the libraries move into it."""

    def run(self):
        scratch = pathlib.Path(self.build_temp).resolve()
        build = os.environ.get("QELT_BUILD_DIR")
        if not build:
            build = str(scratch / "build")
            python = f"-DQELT_PYTHON={sys.executable}"
            subprocess.run(["cmake", "-S", str(ROOT), "-B", build, "-G", "Ninja", python, *OPTIONS], check=True)
            subprocess.run(["cmake", "--build", build, "--target", "qelt_python"], check=True)
        self.install(build, scratch / "installed")

    def install(self, build, tree):
        shutil.rmtree(tree, ignore_errors=True)
        for component in ("python", "core", "inspection"):
            subprocess.run(["cmake", "--install", build, "--prefix", str(tree), "--component", component], check=True)
        package = pathlib.Path(self.build_lib).resolve() / "qelt"
        shutil.copytree(next(tree.rglob("qelt/__init__.py")).parent, package, dirs_exist_ok=True)
        # As many folders lie between module and libraries as CMake's installation has.
        for library in tree.rglob("libQELT*.so.*.*.*"):
            soname = re.sub(r"(\.so\.\d+\.\d+)\.\d+$", r"\1", library.name)
            shutil.copy2(library.resolve(), package / soname)


def version():
    return re.search(r'QELT_VERSION_STRING "([^"]*)"', (ROOT / "Geometry/foundations/version.h").read_text())[1]


setup(
    version=version(),
    packages=[],
    ext_modules=[Extension("qelt._core", sources=[])],
    cmdclass={"build_ext": BuildByCMake},
)
