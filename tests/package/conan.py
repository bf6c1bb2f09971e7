"""Runs the Conan recipe with stand-ins for Conan's classes: CMake must know its variables and build from the exported
files, and the libraries and targets that it names must be those of an installed library.

usage: conan.py SOURCE PREFIX BUILD   (PREFIX: an installed shared library)
"""

import importlib.util
import re
import shutil
import subprocess
import sys
from collections import defaultdict
from pathlib import Path
from types import ModuleType, SimpleNamespace

source, prefix, build = (Path(argument).resolve() for argument in sys.argv[1:])
variables = {}


class Toolchain:
    def __init__(self, recipe):
        self.cache_variables = variables

    def generate(self):
        pass


class Part:
    def __init__(self):
        self.properties, self.libs, self.requires, self.defines, self.system_libs = {}, [], [], [], []

    def set_property(self, name, value):
        self.properties[name] = value


class Info(Part):
    def __init__(self):
        super().__init__()
        self.components = defaultdict(Part)


def copy(recipe, pattern, src, dst):
    for file in Path(src).glob(pattern):
        target = Path(dst) / file.relative_to(src)
        target.parent.mkdir(parents=True, exist_ok=True)
        (shutil.copytree if file.is_dir() else shutil.copy)(file, target)


def rmdir(recipe, path):
    assert Path(path).is_dir(), f'{path} is not in the installed library'
    shutil.rmtree(path)


def add_module(name, **members):
    sys.modules[name] = ModuleType(name)
    vars(sys.modules[name]).update(members)


class CMake:
    def __init__(self, recipe):
        pass

    def configure(self):
        definitions = [f'-D{name}={"ON" if value is True else "OFF" if value is False else value}'
                       for name, value in variables.items()]
        run = subprocess.run(['cmake', '-G', 'Ninja', '-S', build / 'sources', '-B', build / 'build', *definitions],
                             capture_output=True, text=True, check=False)
        assert run.returncode == 0 and run.stderr == '', run.stderr

    def build(self):
        pass

    def install(self):
        shutil.copytree(prefix, build / 'package', dirs_exist_ok=True)


add_module('conan', ConanFile=object)
add_module('conan.tools')
add_module('conan.tools.build', check_min_cppstd=lambda recipe, standard: None)
add_module('conan.tools.cmake', CMake=CMake, CMakeDeps=Toolchain, CMakeToolchain=Toolchain, cmake_layout=lambda recipe: None)
add_module('conan.tools.files', copy=copy, rmdir=rmdir)

spec = importlib.util.spec_from_file_location('conanfile', source / 'packaging/conan/conanfile.py')
conanfile = importlib.util.module_from_spec(spec)
sys.dont_write_bytecode = True
spec.loader.exec_module(conanfile)

shutil.rmtree(build, ignore_errors=True)
recipe = conanfile.VexaMesh()
recipe.options = SimpleNamespace(shared=True, logging=True)
recipe.recipe_folder = str(source / 'packaging/conan')
recipe.export_sources_folder = recipe.source_folder = str(build / 'sources')
recipe.package_folder = str(build / 'package')
recipe.cpp_info = Info()
required = []
recipe.requires = lambda reference, **traits: required.append(reference.split('/')[0])
for step in ('export_sources', 'requirements', 'validate', 'layout', 'generate', 'build', 'package', 'package_info'):
    getattr(recipe, step)()

targets = (prefix / 'lib/cmake/vexaMesh/vexaMeshTargets.cmake').read_text()
for name, part in recipe.cpp_info.components.items():
    assert f'add_library({part.properties["cmake_target_name"]} ' in targets, name
    for library in part.libs:
        assert (build / f'package/lib/lib{library}.so').exists(), library
    for other in part.requires:
        assert other.split('::')[0] in [*required, *recipe.cpp_info.components], other
assert (build / 'package/include/vexa/mesh.h').exists()
assert (build / 'package/licenses/LICENSE').exists()
version = re.search(r'project\(vexaMesh VERSION ([0-9.]+)', (source / 'CMakeLists.txt').read_text())[1]
assert recipe.version == version, (recipe.version, version)
print(f'figure: {len(variables)} variables, {len(recipe.cpp_info.components)} components')
