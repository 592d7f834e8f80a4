"""Runs what the recipe of Conan does before and after the build, with stand-ins for Conan's classes, and prints the
version: python3 tests/packaging/conan.py"""
import pathlib
import re
import runpy
import sys
import types
from unittest.mock import MagicMock

sources = pathlib.Path(__file__).resolve().parents[2]


class ConanFile(MagicMock):
    recipe_folder = str(sources / "packaging" / "conan")
    package_folder = "/package"


names = ("conan", "conan.errors", "conan.tools", "conan.tools.build", "conan.tools.cmake", "conan.tools.files")
sys.modules.update((name, MagicMock()) for name in names)
sys.modules["conan"].ConanFile = ConanFile
sys.modules["conan.tools.build"].cross_building = lambda recipe: True
toolchain = types.SimpleNamespace(cache_variables={}, generate=lambda: None)
sys.modules["conan.tools.cmake"].CMakeToolchain = lambda recipe, generator: toolchain

recipe = runpy.run_path(f"{ConanFile.recipe_folder}/conanfile.py")["Zel"]()
recipe.dependencies = MagicMock()
recipe.settings = types.SimpleNamespace(os="Linux", compiler="gcc")
recipe.options = types.SimpleNamespace(**recipe.default_options)
for step in ("set_version", "export_sources", "layout", "requirements", "build_requirements", "validate", "generate", "build",
             "package", "package_info"):
    getattr(recipe, step)()
known = re.findall(r"^(?:option|set)\((ZEL_[A-Z_]+) ", (sources / "CMakeLists.txt").read_text(encoding="utf-8"), re.M)
unknown = set(toolchain.cache_variables) - set(known)
print(f"CMakeLists.txt has no {unknown}" if unknown else recipe.version)
