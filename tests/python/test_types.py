"""The declared types are those of the module, and what users write against them is judged by them."""

import pathlib
import subprocess
import sys

import pytest

import qelt

PACKAGE = pathlib.Path(qelt.__file__).parent


def run_mypy(module, *arguments):
    return subprocess.run([sys.executable, "-m", module, *arguments], capture_output=True, text=True)


def test_the_stubs_are_true(tmp_path):
    allowed = tmp_path / "allowed"
    # Classes that are never made by hand have Python's own __init__, which takes anything and refuses it.
    # What is written in Python has its types in itself.
    allowed.write_text("qelt(\\._core)?\\.\\w+\\.__init__\nqelt\\.batch\\..*\n")
    outcome = run_mypy("mypy.stubtest", "qelt", "--allowlist", str(allowed), "--ignore-unused-allowlist")
    assert outcome.returncode == 0, outcome.stdout + outcome.stderr


def test_what_is_written_in_python_keeps_to_its_types(tmp_path):
    pytest.importorskip("distributed", reason="python3-distributed is not installed")
    options = ["--strict", "--allow-untyped-calls", "--cache-dir", str(tmp_path / "cache")]
    outcome = run_mypy("mypy", *options, *map(str, sorted((PACKAGE / "batch").glob("*.py"))))
    assert outcome.returncode == 0, outcome.stdout + outcome.stderr


# What a user may write, each with a word of the complaint about it, if there is one.
LINES = [
    ("qelt.prepare(part='a.obj', grid='a.quads', mode='pinned', resolution={'pixel': 1})", ""),
    ("qelt.Grid.height_field().intersect([[0, 0, 9]], [[0, 0, -1]]).distances.mean()", ""),
    ("qelt.prepare(part='a.obj', gird='a.quads')", "gird"),
    ("qelt.prepare(part='a.obj', grid='a.quads', mode='flat')", "Literal"),
    ("qelt.check_part(part='a.obj').analysis.areas", "areas"),
    ("qelt.Mesh.load(3)", "int"),
    ("qelt.check_part(part='a.obj').is_mesh = True", "read-only"),
]


def test_users_are_told_by_the_types(tmp_path):
    user = tmp_path / "user.py"
    user.write_text("import qelt\n" + "".join(line + "\n" for line, _ in LINES))
    outcome = run_mypy("mypy", "--strict", "--cache-dir", str(tmp_path / "cache"), str(user))
    for number, (line, complaint) in enumerate(LINES, start=2):
        told = [text for text in outcome.stdout.splitlines() if f"user.py:{number}: error" in text]
        assert bool(told) == bool(complaint) and complaint in "".join(told), (line, outcome.stdout)


def test_everything_has_a_text():
    for name in dir(qelt):
        if not name.startswith("_") and name not in ("PIXEL_STATES",):
            assert getattr(qelt, name).__doc__, name


def test_the_package_is_marked_as_typed():
    assert (PACKAGE / "py.typed").exists() and (PACKAGE / "_core.pyi").exists()
