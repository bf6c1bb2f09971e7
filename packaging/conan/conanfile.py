"""The library as a Conan package: conan create packaging/conan"""

import os

from conan import ConanFile
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy, rmdir


class VexaMesh(ConanFile):
    name = "vexamesh"
    version = "0.1.0"
    license = "MIT"
    description = "Indexed meshes, and their triangle strips, for 3D graphics systems"
    topics = ("mesh", "triangle-strip", "graphics")
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "logging": [True, False]}
    default_options = {"shared": False, "logging": True}

    def export_sources(self):
        root = os.path.join(self.recipe_folder, "..", "..")
        for pattern in ("CMakeLists.txt", "LICENSE", "cmake/*", "logging/*", "vexa/*", "docs/pictures/*"):
            copy(self, pattern, root, self.export_sources_folder)

    def requirements(self):
        self.requires("glm/cci.20230113", transitive_headers=True)
        if self.options.logging:
            self.requires("boost/1.83.0", transitive_headers=True)

    def validate(self):
        check_min_cppstd(self, 20)

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self)
        toolchain.cache_variables["BUILD_SHARED_LIBS"] = bool(self.options.shared)
        toolchain.cache_variables["VEXA_LOGGING"] = bool(self.options.logging)
        for part in ("TOOL", "TESTS", "EXAMPLES"):
            toolchain.cache_variables[f"VEXA_BUILD_{part}"] = False
        toolchain.generate()
        CMakeDeps(self).generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        copy(self, "LICENSE", self.source_folder, os.path.join(self.package_folder, "licenses"))
        CMake(self).install()
        # Conan writes files of its own for CMake and pkg-config.
        rmdir(self, os.path.join(self.package_folder, "lib", "cmake"))
        rmdir(self, os.path.join(self.package_folder, "lib", "pkgconfig"))

    def package_info(self):
        self.cpp_info.set_property("cmake_file_name", "vexaMesh")
        mesh = self.cpp_info.components["mesh"]
        mesh.libs = ["vexaMesh"]
        mesh.set_property("cmake_target_name", "vexa::mesh")
        mesh.set_property("pkg_config_name", "vexaMesh")
        mesh.requires = ["glm::glm"]
        mesh.system_libs = ["pthread"]
        if not self.options.shared:
            mesh.defines = ["VEXA_MESH_STATIC_DEFINE"]
        if self.options.logging:
            logging = self.cpp_info.components["logging"]
            logging.libs = ["vexaLogging"]
            logging.set_property("cmake_target_name", "vexa::logging")
            logging.requires = ["boost::log"]
            mesh.requires += ["logging", "boost::log"]
