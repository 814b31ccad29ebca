"""Batches on one process and two beside a plain loop; writes docs/scaling.md from the template beside this.

Times are of the clock and, as other work may go on, of the processor: all processes of a run together, the run itself
and its scheduler among them. Runs are taken in turns, and what is told is the median.

usage: PYTHONPATH=build/release/python /usr/bin/python3 benchmarks/scaling/scaling.py [--short] [--out docs/scaling.md]
"""

from __future__ import annotations

import argparse
import dataclasses
import json
import os
import pathlib
import re
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable

import numpy as np

import qelt

ROOT = pathlib.Path(__file__).parents[2]
TEMPLATE = pathlib.Path(__file__).with_suffix(".md")
WORKERS = (1, 2)


@dataclasses.dataclass(frozen=True)
class Cost:
    """Seconds of the clock and of the processor, and bytes that passed over the loopback meanwhile."""

    wall: float
    cpu: float
    wire: int


@dataclasses.dataclass(frozen=True)
class Size:
    parts: int
    empty: int
    step: float  # of the raster
    shots: int
    turns: int


FULL = Size(parts=40, empty=1000, step=0.03, shots=300_000, turns=3)
SHORT = Size(parts=4, empty=20, step=0.2, shots=10_000, turns=1)


def loopback_bytes() -> int:
    """What was sent over the loopback since the machine started."""
    for line in pathlib.Path("/proc/net/dev").read_text().splitlines():
        name, _, numbers = line.partition(":")
        if name.strip() == "lo":
            return int(numbers.split()[8])
    return 0


def cpu_seconds() -> float:
    return sum(sum(resource.getrusage(who)[:2]) for who in (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN))


def cost_of(work: Callable[[], object]) -> Cost:
    wall, cpu, wire = time.perf_counter(), cpu_seconds(), loopback_bytes()
    work()
    return Cost(time.perf_counter() - wall, cpu_seconds() - cpu, loopback_bytes() - wire)


def median(costs: list[Cost]) -> Cost:
    """Of each by itself; of the wire the least, as others may use it."""
    return Cost(
        statistics.median(cost.wall for cost in costs),
        statistics.median(cost.cpu for cost in costs),
        min(cost.wire for cost in costs),
    )


def in_turns(ways: dict[str, Callable[[], object]], turns: int) -> dict[str, Cost]:
    costs: dict[str, list[Cost]] = {name: [] for name in ways}
    for _ in range(turns):
        for name, way in ways.items():
            costs[name].append(cost_of(way))
    return {name: median(all_costs) for name, all_costs in costs.items()}


class Bench:
    """Tables of jobs in a scratch folder, run in all ways."""

    def __init__(self, folder: pathlib.Path, size: Size):
        self.folder = folder
        self.size = size

    def run(self, table: pathlib.Path, workers: int) -> None:
        out = self.folder / "out"
        shutil.rmtree(out, ignore_errors=True)
        command = [sys.executable, "-m", "qelt.batch", table, "--out", out, "--workers", workers, "--quiet"]
        subprocess.run([str(word) for word in command], check=True, stdout=subprocess.DEVNULL)

    def ways(self, table: pathlib.Path, loop: Callable[[], object]) -> dict[str, Callable[[], object]]:
        batches = {f"{n} workers" if n > 1 else "1 worker": (lambda n=n: self.run(table, n)) for n in WORKERS}
        return {"plain loop": loop, **batches}

    def table_of(self, name: str, jobs: list[dict[str, object]]) -> pathlib.Path:
        path = self.folder / name
        path.write_text(json.dumps(jobs))
        return path

    def parts(self) -> dict[str, Cost]:
        """A part from its file to its pictures."""
        options = {"part": str(ROOT / "examples/tube.obj"), "grid": "part.quads", "resolution": {"pixel": 0.5}}
        prepare = {**options, "is_accepted": True}
        raster = {"step": 0.5, "standoff": 20, "direction": [0, -1, 0]}
        scan = {"grids": [{"file": "part.quads"}], "raster": raster, "hits": "hits.csv"}
        steps = [
            {"function": "prepare", "options": prepare},
            {"function": "draw_scan", "options": {"scan": scan, "image_prefix": "scan"}},
        ]
        jobs: list[dict[str, object]] = [{"name": f"part-{i}", "steps": steps} for i in range(self.size.parts)]

        def loop() -> None:
            for number in range(self.size.parts):
                place = self.folder / "loop" / str(number)
                place.mkdir(parents=True, exist_ok=True)
                qelt.prepare(**{**prepare, "grid": place / "part.quads"})
                placed = {**scan, "grids": [{"file": place / "part.quads"}], "hits": place / "hits.csv"}
                qelt.draw_scan(scan=placed, image_prefix=str(place / "scan"))

        return in_turns(self.ways(self.table_of("parts.json", jobs), loop), self.size.turns)

    def empty(self) -> dict[str, Cost]:
        """Jobs that do next to nothing: what a job costs besides its work. One job is what the start costs."""
        file = self.folder / "one.csv"
        file.write_text("x,y,z\n1,2,3\n")

        def jobs(count: int) -> list[dict[str, object]]:
            options = {"file": str(file)}
            return [{"name": f"job-{i}", "function": "file_info_of", "options": options} for i in range(count)]

        one, many = self.table_of("one.json", jobs(1)), self.table_of("many.json", jobs(self.size.empty))
        ways: dict[str, Callable[[], object]] = {
            "start": lambda: self.run(one, 1),
            "1 worker": lambda: self.run(many, 1),
            "2 workers": lambda: self.run(many, 2),
        }
        return in_turns(ways, self.size.turns)

    def blocks(self) -> tuple[int, int, dict[str, Cost]]:
        """One large raster, whole and in blocks: the number of beams, of blocks, and what they cost."""
        grid = self.folder / "part.quads"
        qelt.prepare(part=ROOT / "examples/cap.obj", grid=grid, resolution={"pixel": 0.25})
        raster = {"step": self.size.step, "standoff": 20, "direction": [0, 0, -1]}
        options = {"grids": [{"file": str(grid)}], "raster": raster, "hits": "hits.csv"}
        count = qelt.count_beams(**options)
        block = max(count // 8, 1)
        table = self.table_of("scan.json", [{"name": "scan", "function": "scan", "block": block, "options": options}])
        whole = self.folder / "hits.csv"
        costs = in_turns(
            self.ways(table, lambda: qelt.scan(**{**options, "hits": whole})),
            self.size.turns,
        )
        if whole.read_bytes() != (self.folder / "out/parts/scan/hits.csv").read_bytes():
            raise SystemExit("the scan in blocks is not that of one process")
        return count, -(-count // block), costs

    def shots(self) -> Cost:
        """A table of measured shots, which is not cut."""
        grid = self.folder / "part.quads"
        points = qelt.Grid.from_file(grid).points
        low, high = np.nanmin(points, axis=(0, 1)), np.nanmax(points, axis=(0, 1))
        numbers = np.random.default_rng(1)
        places = numbers.uniform(low[:2], high[:2], (self.size.shots, 2))
        columns = [places, np.full((len(places), 1), 20.0), np.tile([0.0, 0, -1], (len(places), 1))]
        rows = np.hstack([*columns, numbers.uniform(0, 100, (len(places), 1))])
        table = self.folder / "shots.csv"
        np.savetxt(table, rows, "%.4f", ",", header="ox,oy,oz,dx,dy,dz,amp[%FSH]", comments="")
        values = {"values": [{"quantity": "amp", "statistic": "mean"}]}
        result = self.folder / "scan.h5"
        grids = [{"file": grid}]
        shots = {"shots": table}

        def scan() -> object:
            return qelt.measured_scan(grids=grids, shots=shots, quantities=values, result=result)

        return median([cost_of(scan) for _ in range(self.size.turns)])


def costs_table(costs: dict[str, Cost], unit: str, count: int) -> str:
    plain = costs["plain loop"]
    lines = [
        f"| | clock, s | processor, s | {unit} a second of the clock | beside the loop: clock | processor "
        "| over the wire |",
        "|---|---|---|---|---|---|---|",
    ]
    for name, cost in costs.items():
        wire = "&ndash;" if name == "plain loop" else size_text(cost.wire)
        times = f"{plain.wall / cost.wall:.2f} times as fast | {cost.cpu / plain.cpu:.2f} times as much"
        lines.append(f"| {name} | {cost.wall:.2f} | {cost.cpu:.2f} | {figure(count / cost.wall)} | {times} | {wire} |")
    return "\n".join(lines)


def figure(number: float) -> str:
    """Two digits that count, and no exponents."""
    return f"{float(f'{number:.2g}'):,.10g}"


def size_text(number: float) -> str:
    for unit in ("bytes", "kB", "MB", "GB"):
        if number < 1000 or unit == "GB":
            return f"{number:.3g} {unit}"
        number /= 1000
    return ""


def time_text(seconds: float) -> str:
    for unit, length in (("days", 86400.0), ("hours", 3600.0), ("minutes", 60.0), ("seconds", 1.0)):
        if seconds >= 2 * length or unit == "seconds":
            return f"{seconds / length:,.3g} {unit}"
    return ""


def sections(bench: Bench) -> dict[str, str]:
    load = os.getloadavg()[0]
    parts = bench.parts()
    empty = bench.empty()
    beams, blocks, scan = bench.blocks()
    shots = bench.shots()
    loads = f"the load average was {load:.1f} at the beginning and {os.getloadavg()[0]:.1f} at the end"
    return {
        "machine": f"{os.cpu_count()} cores; {loads}; {bench.size.turns} turns, version {qelt.library_version()}.",
        "parts": f"{bench.size.parts} parts.\n\n" + costs_table(parts, "parts", bench.size.parts),
        "blocks": f"{beams:,} beams in {blocks} blocks.\n\n" + costs_table(scan, "beams", beams),
        "overhead": overhead_text(empty, bench.size.empty),
        "meaning": meaning_text(bench.size, parts, empty, (beams, blocks, scan), shots),
    }


def overhead_text(empty: dict[str, Cost], count: int) -> str:
    start, one, two = empty["start"], empty["1 worker"], empty["2 workers"]
    each = (one.cpu - start.cpu) / (count - 1), (one.wall - start.wall) / (count - 1)
    wire = (one.wire - start.wire) / (count - 1)
    return (
        f"| what | figure |\n|---|---|\n"
        f"| to start and end scheduler and one worker | {start.wall:.1f} s of the clock, {start.cpu:.1f} s of the "
        "processor |\n"
        f"| a job that does next to nothing, all processes together | {figure(1000 * each[0])} ms of the processor |\n"
        f"| the same of the clock, one worker | {figure(1000 * each[1])} ms |\n"
        f"| the same of the clock, two workers | {figure(1000 * (two.wall - start.wall) / (count - 1))} ms |\n"
        f"| bytes over the wire a job, all messages and heartbeats | {size_text(wire)} |"
    )


def meaning_text(
    size: Size, parts: dict[str, Cost], empty: dict[str, Cost], scan: tuple[int, int, dict[str, Cost]], shots: Cost
) -> str:
    """What the figures come to, if they grow as they should."""
    part, many = parts["plain loop"].cpu / size.parts, 10_000
    job = (empty["1 worker"].cpu - empty["start"].cpu) / (size.empty - 1)
    wire = (empty["1 worker"].wire - empty["start"].wire) / (size.empty - 1)
    beams, blocks, costs = scan
    all_beams = 1e10
    beam, shot = (costs["1 worker"].cpu - empty["start"].cpu) / beams, shots.cpu / size.shots
    pieces = all_beams / 1_000_000
    lines = [
        f"- **10,000 such parts** are {time_text(many * part)} of one core, and {time_text(many * part / 100)} on 100. "
        f"Dask adds {time_text(many * job)} of processor time and {size_text(many * wire)} over the wire in all; "
        f"parts and results go over the file system, not through the scheduler. Were all of the "
        f"{figure(1000 * job)} ms a job the scheduler's, it could keep {figure(part / job)} workers busy with "
        "such parts.",
        f"- **10^10 beams** are {time_text(all_beams * beam)} of one core at the {figure(1e6 * beam)} microseconds of "
        f"a beam, with reading, writing and joining: {time_text(all_beams * beam / 100)} on 100. In blocks of "
        f"1,000,000 they are {pieces:,.0f} pieces, which cost {time_text(pieces * job)} of handing out and "
        f"{size_text(pieces * wire)} over the wire. "
        "A raster has 5 x 10^7 beams at most, so that this is a table of beams.",
        f"- **10^10 measured shots** are {time_text(all_beams * shot)} of one core, at {figure(1e6 * shot)} "
        "microseconds a shot. A table of shots is not cut into blocks (see above), so that they have to come as many "
        "tables, as they do when "
        f"each part or each pass is one: in 1,000 tables on 100 workers they take {time_text(all_beams * shot / 100)}.",
    ]
    return "\n".join(lines)


def written(template: str, texts: dict[str, str]) -> str:
    return re.sub(r"<!-- (\w+) -->", lambda match: texts[match[1]], template)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--short", action="store_true", help="everything once at its smallest size")
    parser.add_argument("--out", type=pathlib.Path, help="the page to write; with --short, printed if not given")
    given = parser.parse_args()
    with tempfile.TemporaryDirectory() as scratch:
        texts = sections(Bench(pathlib.Path(scratch), SHORT if given.short else FULL))
    for name, text in texts.items():
        print(f"{name}:\n{text}\n")
    out = given.out or (None if given.short else ROOT / "docs/scaling.md")
    if out:
        out.write_text(written(TEMPLATE.read_text(), texts))


if __name__ == "__main__":
    main()
