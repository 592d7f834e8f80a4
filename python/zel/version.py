"""The version of the package: that of the project, which an installed package has in its metadata."""
import importlib.metadata
import pathlib
import re


def _version():
    project = pathlib.Path(__file__).resolve().parents[2] / "CMakeLists.txt"
    found = project.is_file() and re.search(r"^project\(zel VERSION ([0-9.]+)", project.read_text(encoding="utf-8"),
                                            re.MULTILINE)
    if found:
        return found[1]
    try:
        return importlib.metadata.version("zel")
    except importlib.metadata.PackageNotFoundError:
        return "0+unknown"


VERSION = _version()

if __name__ == "__main__":
    print(VERSION)
