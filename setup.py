"""Builds the extension module with CMake; pyproject.toml says everything else."""

import re
import subprocess
import sys
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

ROOT = Path(__file__).resolve().parent


class BuildWithCMake(build_ext):
    def build_extension(self, ext: Extension) -> None:
        build = Path(self.build_temp).resolve()
        # The library becomes part of the module, so that the package needs nothing else at run time.
        options = {
            "CMAKE_BUILD_TYPE": "Release",
            "BUILD_SHARED_LIBS": "OFF",
            "VEXA_LOGGING": "OFF",
            "VEXA_BUILD_TOOL": "OFF",
            "VEXA_BUILD_TESTS": "OFF",
            "VEXA_BUILD_EXAMPLES": "OFF",
            "VEXA_BUILD_PYTHON": "ON",
            "VEXA_INSTALL": "OFF",
            "Python_EXECUTABLE": sys.executable,
        }
        definitions = [f"-D{name}={value}" for name, value in options.items()]
        subprocess.run(["cmake", "-G", "Ninja", "-S", str(ROOT), "-B", str(build), *definitions], check=True)
        subprocess.run(["cmake", "--build", str(build), "--target", "vexameshPython"], check=True)
        (built,) = (build / "python" / "vexamesh").glob("_core.*")
        self.copy_file(str(built), self.get_ext_fullpath(ext.name))


def find_version() -> str:
    match = re.search(r"project\(vexaMesh VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))
    assert match is not None
    return match.group(1)


setup(
    version=find_version(),
    ext_modules=[Extension("vexamesh._core", sources=[])],
    cmdclass={"build_ext": BuildWithCMake},
)
