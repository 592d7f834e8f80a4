"""Recipe for Conan 2. It packs the sources that it lies in: conan create packaging/conan"""
import pathlib
import re

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd, cross_building
from conan.tools.cmake import CMake, CMakeDeps, CMakeToolchain, cmake_layout
from conan.tools.files import copy


class Zel(ConanFile):
    name = "zel"
    description = "Client library of the ZEL message protocol"
    package_type = "shared-library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"command": [True, False]}
    default_options = {"command": True}

    @property
    def _sources(self):
        return pathlib.Path(self.recipe_folder).parents[1]

    def set_version(self):
        text = (self._sources / "CMakeLists.txt").read_text(encoding="utf-8")
        self.version = re.search(r"^project\(zel VERSION ([0-9.]+)", text, re.MULTILINE)[1]

    def export_sources(self):
        copy(self, "*", str(self._sources), self.export_sources_folder, excludes=(".git", ".git/*", "build/*", ".cache/*"))

    def layout(self):
        cmake_layout(self)

    def requirements(self):
        self.requires("zlib/[>=1.2.13 <2]")
        if self.options.command:
            # In the command alone: programs do not see them.
            self.requires("cli11/[>=2.1 <3]", visible=False)
            self.requires("rapidjson/cci.20230929", visible=False)

    def build_requirements(self):
        self.tool_requires("cmake/[>=3.25]")
        self.tool_requires("ninja/[>=1.11]")
        if cross_building(self):
            # Makes the image of the sample dictionary.
            self.tool_requires(f"zel/{self.version}", options={"command": True})

    def validate(self):
        if self.settings.os not in ("Linux", "Windows") or self.settings.compiler == "msvc":
            raise ConanInvalidConfiguration("zel is built for Linux, or by MinGW for Windows")
        check_min_cppstd(self, 20)

    def generate(self):
        CMakeDeps(self).generate()
        toolchain = CMakeToolchain(self, generator="Ninja")
        toolchain.cache_variables["ZEL_BUILD_TESTS"] = False
        toolchain.cache_variables["ZEL_BUILD_COMMAND"] = bool(self.options.command)
        if cross_building(self):
            command = self.dependencies.build["zel"]
            toolchain.cache_variables["ZEL_HOST_BIN"] = str(pathlib.Path(command.package_folder) / "bin")
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        # What is installed describes itself to CMake and pkg-config.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = ["lib/cmake/zel"]
        self.cpp_info.includedirs = ["include/zel"]
        self.cpp_info.libs = ["zel"]
        self.runenv_info.prepend_path("LD_LIBRARY_PATH", str(pathlib.Path(self.package_folder) / "lib"))
