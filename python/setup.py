"""Gives the package the project's version, which stands in CMakeLists.txt alone; a source distribution carries it along."""
import pathlib
import re
import runpy

from setuptools import setup

carried = pathlib.Path("PKG-INFO")
if carried.is_file():
    version = re.search(r"^Version: (.+)$", carried.read_text(encoding="utf-8"), re.MULTILINE)[1]
else:
    version = runpy.run_path("zel/version.py")["VERSION"]
setup(version=version)
