"""Builds the extension of the Python package with CMake: pip install . --no-build-isolation"""

import os
import pathlib
import re
import shlex
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = pathlib.Path(__file__).resolve().parent


class CMakeBuild(build_ext):
    """Builds the one target that the package needs, in a folder of its own. CMAKE_ARGS adds options."""

    def build_extension(self, ext):
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve()
        folder = pathlib.Path(self.build_temp).resolve()
        options = {
            "CMAKE_BUILD_TYPE": "Release",
            "QUILLON_PYTHON": "ON",
            "QUILLON_PYTHON_EXECUTABLE": sys.executable,
            "QUILLON_ENGINES": "OFF",
            "QUILLON_EXAMPLES": "OFF",
            "QUILLON_STATIC_AND_SHARED": "OFF",
            "QUILLON_TESTS": "OFF",
        }
        arguments = [f"-D{name}={value}" for name, value in options.items()]
        arguments += shlex.split(os.environ.get("CMAKE_ARGS", ""))
        subprocess.run(["cmake", "-G", "Ninja", "-S", ROOT, "-B", folder, *arguments], check=True)
        subprocess.run(["cmake", "--build", folder, "--target", "quillon_python"], check=True)
        target.parent.mkdir(parents=True, exist_ok=True)
        self.copy_file(str(folder / "python" / "quillon" / target.name), str(target))


version = re.search(r"project\(quillon VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))
setup(version=version.group(1), ext_modules=[Extension("quillon._core", sources=[])], cmdclass={"build_ext": CMakeBuild})
