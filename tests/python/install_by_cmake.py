"""Installs the build into an empty tree, moves that, and imports the module from there alone."""

import pathlib
import shutil
import subprocess
import sys

TRY = """
import qelt
assert qelt.__file__.startswith({place!r}), qelt.__file__
assert qelt.Grid.height_field().intersect([[0.1, 0.2, 9]], [[0, 0, -1]]).valid.shape == (1,)
libraries = [line.split()[-1] for line in open('/proc/self/maps') if 'libQELT' in line]
assert libraries and all(name.startswith({place!r}) for name in libraries), libraries
"""


def main():
    _, build, scratch = map(pathlib.Path, sys.argv[1:4])
    shutil.rmtree(scratch, ignore_errors=True)
    subprocess.run(["cmake", "--install", str(build), "--prefix", str(scratch / "first")], check=True, stdout=-3)
    moved = scratch / "moved"
    (scratch / "first").rename(moved)
    package = next(moved.rglob("qelt/__init__.py")).parent
    assert (package / "py.typed").exists() and (package / "_core.pyi").exists()
    code = TRY.format(place=str(moved))
    subprocess.run([sys.executable, "-c", code], check=True, env={"PYTHONPATH": str(package.parent)})


if __name__ == "__main__":
    main()
