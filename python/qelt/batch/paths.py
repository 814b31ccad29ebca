"""Which options are files: what a function reads, and what it writes.

Options are named by their way from the outside in, joined by dots; a star stands for each of a list.
"""

from __future__ import annotations

import dataclasses
import pathlib
from collections.abc import Callable, Iterator
from typing import Any


@dataclasses.dataclass(frozen=True)
class Files:
    reads: tuple[str, ...] = ()
    writes: tuple[str, ...] = ()
    prefixes: tuple[str, ...] = ()  # of names of files that are written

    def within(self, name: str) -> Files:
        """The same of a function that takes these options as one of its own."""
        reads, writes = (tuple(f"{name}.{each}" for each in all_of) for all_of in (self.reads, self.writes))
        return Files(reads, writes)

    def drawing(self, *images: str, prefix: bool = False) -> Files:
        return dataclasses.replace(self, writes=self.writes + images, prefixes=("image_prefix",) if prefix else ())


def part(name: str) -> tuple[str, ...]:
    """A part is a file, or a file and a frame."""
    return (name, f"{name}.file", f"{name}.frame")


PREPARE = Files(part("part"), ("grid", "flat"))
SCAN = Files(("grids.*.file", "beams", "frame"), ("hits",))
MEASURED_SCAN = Files(("grids.*.file", "shots.shots", "shots.poses", "shots.frame"), ("result",))
INDICATIONS = Files(("result",), ("table", "poses"))

FILES = {
    "import_part": Files(part("in_"), ("out",)),
    "check_part": Files(part("part")),
    "crop_part": Files(part("part"), ("result",)),
    "cut": Files(part("part"), ("result",)),
    "reconstruct": Files(part("cloud"), ("part",)),
    "find_neighbours": Files(part("cloud")),
    "prepare": PREPARE,
    "draw_preparation": PREPARE.within("prepare").drawing(prefix=True),
    "derive": Files(("source",), ("result",)),
    "file_info_of": Files(("file",)),
    "count_beams": Files(("grids.*.file", "beams", "frame", "hits")),
    "scan": SCAN,
    "draw_scan": SCAN.within("scan").drawing(prefix=True),
    "draw_footprint": Files(("grid", "frame")).drawing("image"),
    "selftest": Files(("grid",)),
    "measured_scan": MEASURED_SCAN,
    "draw_measured_scan": MEASURED_SCAN.within("scan").drawing(prefix=True),
    "fit": Files(part("cloud")),
    "register_points": Files(("pairs",), ("frame",)),
    "correct_frame": Files(("result", "frame"), ("out",)),
    "indications": INDICATIONS,
    "draw_indications": INDICATIONS.within("indications").drawing("image"),
    "plan_path": Files(("grid", "frame"), ("path",)),
    "draw_result": Files(("result",), ("image",)),
    "export_result": Files(("result",), ("output",)),
    "view": Files(("input", "indications", "shots", "path", "frame"), ("output",)),
    "report": Files(("result", "fields", "indications", "input_folders.*"), ("page",)),
}


def changed(options: Any, names: tuple[str, ...], change: Callable[[str], str]) -> Any:
    """A copy of the options in which texts of these names are changed."""
    for name in names:
        options = changed_at(options, name.split("."), change)
    return options


def changed_at(value: Any, way: list[str], change: Callable[[str], str]) -> Any:
    if not way:
        return change(value) if isinstance(value, str) else value
    first, rest = way[0], way[1:]
    if first == "*":
        return [changed_at(each, way[1:], change) for each in value] if isinstance(value, (list, tuple)) else value
    if isinstance(value, dict) and first in value:
        return {**value, first: changed_at(value[first], rest, change)}
    return value


def texts_at(options: Any, names: tuple[str, ...]) -> Iterator[str]:
    """What stands in the options under these names."""
    found: list[str] = []

    def keep(text: str) -> str:
        found.append(text)
        return text

    changed(options, names, keep)
    yield from found


def companions_of(file: pathlib.Path) -> Iterator[pathlib.Path]:
    """Files that are read with this one: its record, the cut of a mesh, the buffers of a glTF file."""
    yield from (each for each in (file.with_name(file.name + ".json"),) if each.is_file())
    folder = file.parent
    yield from sorted(each for each in folder.glob(f"{glob_of(file.stem)}[.]obj\\\\*") if each.is_file())
    if file.suffix.lower() == ".gltf":
        yield from sorted(each for each in folder.iterdir() if each.suffix.lower() == ".bin")


def glob_of(text: str) -> str:
    return "".join(f"[{letter}]" if letter in "*?[" else letter for letter in text)
