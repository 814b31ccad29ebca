"""One scan of many beams, in blocks: which there are, one of them, and what they are together.

The sure search answers each beam from itself, so that a block's lines are those that the whole scan would have written.
Blocks are of a fixed number of beams of a raster, or lines of a table, whatever the number of workers, and are put
together in their order. What comes out, the table of hits and its record, is that of `qelt.scan`, byte for byte.
"""

from __future__ import annotations

import dataclasses
import hashlib
import json
import os
import pathlib
import re
import shutil
import tempfile
import time
from collections.abc import Iterator, Mapping
from typing import Any

import numpy as np
import qelt
from qelt.batch import verdicts
from qelt.batch.jobs import Step
from qelt.batch.work import (
    Digests,
    Outcome,
    Piece,
    attempt_folder,
    failure,
    input_files,
    kept_outcome,
    placed_options,
    put_in_place,
    timed,
    with_classes,
)

CHUNK = 1 << 24
HITS = "hits.csv"
SUMMED = ("beams", "hits", "measured", "fromBehind", "onEdge")


@dataclasses.dataclass(frozen=True)
class Block:
    """Beams of a raster, from `begin` to before `end`; or bytes of a table, whose first line has this number."""

    begin: int
    end: int
    line: int = 0


@dataclasses.dataclass(frozen=True)
class Plan:
    """The blocks of a scan. `heading` is the number of bytes, and of lines, before the first beam of a table."""

    key: str
    blocks: tuple[Block, ...]
    heading: tuple[int, int] = (0, 0)


@dataclasses.dataclass(frozen=True)
class ScanPiece(Piece):
    """A scan that is cut into blocks of so many beams."""

    block: int

    def options(self) -> dict[str, Any]:
        """Those of the scan with whole names of files; `hits` is to be named yet."""
        placed, _ = placed_options(self, 0, pathlib.Path())
        return {name: with_classes(value) for name, value in placed.items() if name != "hits"}

    @property
    def table(self) -> pathlib.Path | None:
        beams = self.steps[0].options.get("beams")
        return pathlib.Path(self.base, beams) if beams else None

    @property
    def hits(self) -> str:
        return str(self.steps[0].options["hits"])

    def digests(self) -> dict[str, str]:
        """Of the files that go in, but the table of beams."""
        return {name: Digests.of(path) for name, path in input_files(self) if path != self.table}

    def told(self) -> dict[str, Any]:
        """What the answer to each beam depends on."""
        options = {name: value for name, value in self.steps[0].options.items() if name not in ("beams", "hits")}
        return {"version": qelt.library_version(), "options": options, "inputs": sorted(self.digests().items())}

    def block_name(self, number: int) -> str:
        return f"blocks/{pathlib.PurePath(self.name).name}/{number:08d}"


def key_of(told: Mapping[str, Any]) -> str:
    return hashlib.sha256(json.dumps(told, sort_keys=True).encode()).hexdigest()


def plan(piece: ScanPiece) -> Plan | Outcome:
    """Cuts the scan into blocks; or tells what a run before has made of it, or why it cannot be done."""
    start = time.perf_counter()
    try:
        content, heading, blocks = blocks_of_table(piece) if piece.table else blocks_of_raster(piece)
        key = key_of({**piece.told(), "block": piece.block, "beams": content, "hits": piece.hits})
        kept = kept_outcome(piece.folder, piece.name, key)
        return kept or Plan(key, tuple(blocks), heading)
    except (OSError, MemoryError, RuntimeError, ValueError, TypeError) as error:
        return timed(failure(piece.name, error), start)


def blocks_of_raster(piece: ScanPiece) -> tuple[str, tuple[int, int], list[Block]]:
    count = qelt.count_beams(**piece.options(), hits=HITS)
    return str(count), (0, 0), [Block(i, min(i + piece.block, count)) for i in range(0, count, piece.block)]


def blocks_of_table(piece: ScanPiece) -> tuple[str, tuple[int, int], list[Block]]:
    """Reads the table once, for its hash and where its lines end."""
    assert piece.table is not None
    heading = heading_of(piece.table)
    begin, line, lines = heading[0], heading[1] + 1, 0
    blocks: list[Block] = []
    digest = hashlib.sha256()
    for place, chunk in chunks_of(piece.table):
        digest.update(chunk)
        ends = place + 1 + np.flatnonzero(np.frombuffer(chunk, np.uint8) == ord("\n"))
        ends = ends[ends > heading[0]]
        for end in ends[piece.block - 1 - lines :: piece.block].tolist():
            blocks.append(Block(begin, end, line))
            begin, line = end, line + piece.block
        lines = (lines + len(ends)) % piece.block
    size = piece.table.stat().st_size
    if begin < size or not blocks:
        blocks.append(Block(begin, size, line))
    return digest.hexdigest(), heading, blocks


def chunks_of(path: pathlib.Path) -> Iterator[tuple[int, bytes]]:
    with open(path, "rb") as file:
        place = 0
        while chunk := file.read(CHUNK):
            yield place, chunk
            place += len(chunk)


def heading_of(path: pathlib.Path) -> tuple[int, int]:
    """How many bytes and lines there are up to the end of the first line that is not blank."""
    size = lines = 0
    with open(path, "rb") as file:
        for text in file:
            size, lines = size + len(text), lines + 1
            if text.removeprefix(b"\xef\xbb\xbf").strip():
                break
    return size, lines


@dataclasses.dataclass(frozen=True)
class BlockPiece:
    """One block of a scan."""

    scan: ScanPiece
    number: int
    block: Block
    heading: tuple[int, int]

    @property
    def name(self) -> str:
        return self.scan.block_name(self.number)


def run_block(piece: BlockPiece) -> Outcome:
    start = time.perf_counter()
    folder = pathlib.Path(piece.scan.results, piece.name)
    try:
        lines = lines_of(piece) if piece.scan.table else b""
        beams = hashlib.sha256(lines).hexdigest() if piece.scan.table else [piece.block.begin, piece.block.end]
        key = key_of({**piece.scan.told(), "beams": beams})
        kept = kept_outcome(folder, piece.name, key)
        if kept:
            return kept
        with attempt_folder(piece.scan.results, piece.name) as attempt:
            fire_block(piece, lines, attempt)
            return put_in_place(attempt, folder, key, timed(Outcome(piece.name, "done"), start))
    except (OSError, MemoryError, RuntimeError, ValueError, TypeError) as error:
        return timed(failure(piece.name, error), start)


def lines_of(piece: BlockPiece) -> bytes:
    """The table's heading and the block's lines."""
    assert piece.scan.table is not None
    with open(piece.scan.table, "rb") as file:
        heading = file.read(piece.heading[0])
        file.seek(piece.block.begin)
        return heading + file.read(piece.block.end - piece.block.begin)


def fire_block(piece: BlockPiece, lines: bytes, attempt: pathlib.Path) -> None:
    options = piece.scan.options()
    if not piece.scan.table:
        range_of_beams = {"first": piece.block.begin, "count": piece.block.end - piece.block.begin}
        qelt.scan(**options, range=range_of_beams, hits=attempt / HITS)
    elif piece.number > 0 and not lines[piece.heading[0] :].strip():
        (attempt / HITS).write_bytes(b"\n")  # blank lines have no beams; there is a heading to be passed over
    else:
        with tempfile.TemporaryDirectory() as scratch:
            table = pathlib.Path(scratch, "beams.csv")
            table.write_bytes(lines)
            fire_table(piece, {**options, "beams": table, "hits": attempt / HITS})


def fire_table(piece: BlockPiece, options: dict[str, Any]) -> None:
    """Complaints are of the whole table and its lines."""
    try:
        qelt.scan(**options)
    except qelt.Failure as error:
        skipped = piece.block.line - piece.heading[1] - 1

        def whole(match: re.Match[str]) -> str:
            number = int(match[1])
            return f"{piece.scan.table}, line {number + skipped if number > piece.heading[1] else number}: "

        table = re.escape(str(options["beams"]))
        text = re.sub(f"{table}, line (\\d+): ", whole, str(error))
        raise qelt.Failure(text.replace(str(options["beams"]), str(piece.scan.table))) from None


@dataclasses.dataclass(frozen=True)
class MergePiece:
    """All blocks of a scan."""

    scan: ScanPiece
    plan: Plan

    @property
    def name(self) -> str:
        return self.scan.name

    def block_folders(self) -> Iterator[pathlib.Path]:
        for number in range(len(self.plan.blocks)):
            yield pathlib.Path(self.scan.results, self.scan.block_name(number))


def merge(piece: MergePiece) -> Outcome:
    """Puts the blocks' tables together; they are removed once that is done."""
    start = time.perf_counter()
    try:
        with attempt_folder(piece.scan.results, piece.name) as attempt:
            hits = attempt / piece.scan.hits
            hits.parent.mkdir(parents=True, exist_ok=True)
            join_tables(piece, hits)
            write_record(piece, hits)
            figures = verdicts.figures_of(None, [hits])
            told = {f"scan.{name}": value for name, value in figures.items()}
            short = None if figures["hits"] else verdicts.NO_BEAM_HIT
            outcome = Outcome(piece.name, "unfit" if short else "done", figures=told)
            if short:
                outcome = dataclasses.replace(outcome, reason=short.what, remedy=short.remedy)
            outcome = put_in_place(attempt, piece.scan.folder, piece.plan.key, timed(outcome, start))
        shutil.rmtree(pathlib.Path(piece.scan.results, piece.scan.block_name(0)).parent, ignore_errors=True)
        return outcome
    except (OSError, MemoryError, RuntimeError, ValueError) as error:
        return timed(failure(piece.name, error), start)


def join_tables(piece: MergePiece, hits: pathlib.Path) -> None:
    with open(hits, "wb") as output:
        for number, folder in enumerate(piece.block_folders()):
            with open(folder / HITS, "rb") as table:
                heading = table.readline()
                if number == 0:
                    output.write(heading)
                shutil.copyfileobj(table, output, CHUNK)


def write_record(piece: MergePiece, hits: pathlib.Path) -> None:
    """That of the first block, with what all of them are in place of what it is of the block alone."""
    records = [path for folder in piece.block_folders() if (path := folder / (HITS + ".json")).is_file()]
    record: dict[str, Any] = json.loads(records[0].read_text(encoding="utf-8"))
    record["files"] = [file_entry(hits, hits.name)]
    for name in ("firstBeam", "beamCount"):
        record["settings"].pop(name, None)
    if piece.scan.table:
        names = [each["file"] for each in record["inputs"]]
        record["inputs"][names.index("beams.csv", len(piece.scan.steps[0].options["grids"]))] = file_entry(
            piece.scan.table, piece.scan.table.name
        )
    record["figures"] = summed([json.loads(path.read_text(encoding="utf-8"))["figures"] for path in records])
    text = json.dumps(record, indent=2, ensure_ascii=False) + "\n"
    hits.with_name(hits.name + ".json").write_text(text, encoding="utf-8")


def file_entry(path: pathlib.Path, name: str) -> dict[str, Any]:
    return {"file": name, "bytes": os.stat(path).st_size, "sha256": Digests.of(path)}


def summed(all_figures: list[dict[str, Any]]) -> dict[str, Any]:
    figures = dict(all_figures[0])
    for name in SUMMED:
        figures[name] = sum(each[name] for each in all_figures)
    figures["hitRate"] = figures["hits"] / figures["beams"]
    return figures


def scan_piece(name: str, step: Step, block: int, results: str, base: str) -> ScanPiece:
    return ScanPiece(name, (step,), results, base, block)
