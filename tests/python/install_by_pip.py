"""Installs the module by pip into an environment of its own, and imports it from there alone.

Building all of the library once more would take long and show nothing: the build that is tested is handed over.
"""

import os
import pathlib
import shutil
import subprocess
import sys

TRY = """
import qelt
assert qelt.__file__.startswith({place!r}), qelt.__file__
libraries = [line.split()[-1] for line in open('/proc/self/maps') if 'libQELT' in line]
assert libraries and all(name.startswith({place!r}) for name in libraries), libraries
print(qelt.Mesh.load({part!r}).flatten().is_trustworthy)
"""


def main():
    source, build, scratch = map(pathlib.Path, sys.argv[1:4])
    shutil.rmtree(scratch, ignore_errors=True)
    subprocess.run([sys.executable, "-m", "venv", "--system-site-packages", str(scratch)], check=True)
    python = str(scratch / "bin/python")
    environment = {name: os.environ[name] for name in os.environ if name != "PYTHONPATH"}
    environment["QELT_BUILD_DIR"] = str(build)
    install = [python, "-m", "pip", "install", "--quiet", "--no-build-isolation", "--no-deps", "--no-index"]
    subprocess.run([*install, str(source)], check=True, env=environment)
    code = TRY.format(place=str(scratch), part=str(source / "examples/cap.obj"))
    outcome = subprocess.run([python, "-c", code], check=True, env=environment, capture_output=True, text=True)
    assert outcome.stdout == "True\n", outcome


if __name__ == "__main__":
    main()
