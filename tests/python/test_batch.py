"""Batches: tables of jobs, what is done again, scans in blocks, and a scheduler that is not always there."""

import csv
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import time

import numpy as np
import pytest

import qelt
from conftest import beams_over

pytest.importorskip("distributed", reason="python3-distributed is not installed")
import psutil  # noqa: E402, which distributed needs
from qelt import batch  # noqa: E402
from qelt.batch import blocks, overview, paths, work  # noqa: E402
from qelt.batch.__main__ import main  # noqa: E402

PARTS = 200
RASTER = {"step": 0.37, "standoff": 20.0, "direction": [0.1, 0.0, -1.0]}


def write_part(path, seed):
    """A small dent of its own."""
    numbers = np.random.default_rng(seed)
    x, y = np.meshgrid(np.arange(9.0), np.arange(7.0))
    z = np.sin(x / 3 + seed) * numbers.uniform(0.1, 0.6)
    low = (np.arange(63).reshape(7, 9)[:-1, :-1]).reshape(-1, 1)
    faces = np.concatenate([low + [0, 1, 10], low + [0, 10, 9]])
    qelt.Mesh.from_arrays(np.stack([x, y, z], axis=-1).reshape(-1, 3), faces).save(path)


STEPS = [
    {"function": "prepare", "options": {"part": "{part}", "grid": "part.quads", "resolution": {"pixel": "{pixel}"}}},
    {"function": "scan", "options": {"grids": [{"file": "part.quads"}], "raster": RASTER, "hits": "hits.csv"}},
]


def write_batch(folder, count, **extra):
    """Parts, and a table of them with their steps."""
    folder.mkdir(exist_ok=True)
    parts = []
    for seed in range(count):
        write_part(folder / f"{seed:03}.obj", seed)
        parts.append({"name": f"part-{seed:03}", "part": f"{seed:03}.obj", "pixel": 0.8 + 0.1 * (seed % 3), **extra})
    table = folder / "jobs.json"
    table.write_text(json.dumps({"steps": STEPS, "parts": parts}))
    return table


def run_plainly(job, base, folder):
    """The loop that anyone would write."""
    folder.mkdir(parents=True)
    prepare, scan = (json.loads(json.dumps(step.options)) for step in job.steps)
    qelt.prepare(**{**prepare, "part": base / prepare["part"], "grid": folder / "part.quads"})
    qelt.scan(**{**scan, "grids": [{"file": folder / "part.quads"}], "hits": folder / "hits.csv"})


def contents(folder):
    files = [file for file in sorted(folder.rglob("*")) if file.is_file() and file.name != work.RECORD]
    return {str(file.relative_to(folder)): file.read_bytes() for file in files}


def summary_rows(results):
    with open(results / "summary.csv", newline="") as file:
        return {row["name"]: row for row in csv.DictReader(file)}


# Tables


def test_tables_of_all_kinds_tell_the_same_jobs(tmp_path):
    options = {"part": "a.obj", "grid": "a.quads", "resolution": {"pixel": 0.5}, "unit": "mm"}
    scan = {"grids": [{"file": "a.quads"}], "raster": {"step": 2, "direction": [0, 0, -1]}, "hits": "h.csv"}
    expected = [batch.Job("a", (batch.Step("prepare", options), batch.Step("scan", scan)))]
    steps = [{"function": "prepare", "options": options}, {"function": "scan", "options": scan}]
    (tmp_path / "list.json").write_text(json.dumps([{"name": "a", "steps": steps}]))
    template = json.loads(json.dumps(steps).replace('"a.', '"{file}.').replace("0.5", '"{pixel}"'))
    parts = [{"name": "a", "file": "a", "pixel": 0.5}]
    (tmp_path / "parts.json").write_text(json.dumps({"steps": template, "parts": parts}))
    (tmp_path / "steps.json").write_text(json.dumps(template))
    (tmp_path / "parts.csv").write_text("name,file,pixel\na,a,0.5\n")
    (tmp_path / "rows.csv").write_text(
        "name,function,part,grid,resolution.pixel,unit,grids.0.file,raster.step,raster.direction,hits\n"
        'a,prepare,a.obj,a.quads,0.5,mm,,,,\na,scan,,,,,a.quads,2,"[0, 0, -1]",h.csv\n'
    )
    tables = {"list.json": None, "parts.json": None, "parts.csv": "steps.json", "rows.csv": None}
    for table, steps_file in tables.items():
        assert batch.read_jobs(tmp_path / table, steps_file and tmp_path / steps_file) == expected, table


@pytest.mark.parametrize(
    ("table", "complaint"),
    [
        ("[]", "holds no job"),
        ("{", "is no JSON"),
        ('{"name": "a"}', "needs a list of jobs"),
        ('[{"function": "scan"}]', "a job needs a 'name'"),
        ('[{"name": "../a", "function": "fit"}]', "'../a' is no name for a job"),
        ('[{"name": "a", "function": "flatten"}]', "asks for the function 'flatten', which is none of qelt's"),
        ('[{"name": "a", "function": "fit", "option": {}}]', "has a step with 'option', which is unknown"),
        ('[{"name": "a", "function": "fit"}, {"name": "A", "function": "fit"}]', "two jobs are named 'A'"),
        ('[{"name": "a", "function": "scan", "options": {"hits": "/h.csv"}}]', "names below its own folder"),
        ('[{"name": "a", "function": "scan", "options": {"hits": "../h.csv"}}]', "names below its own folder"),
        ('[{"name": "a", "function": "scan", "options": {"hits": "h", "search": "walk"}, "block": 9}]', "walk depends"),
        ('[{"name": "a", "function": "fit", "block": 9}]', "goes with 'scan' as its only step"),
        ('[{"name": "a", "function": "scan", "options": {"hits": "h"}, "block": 0}]', "whole number of beams above 0"),
        ('{"steps": [{"function": "{what}"}], "parts": [{"name": "a"}]}', "the part 'a' has no 'what'"),
    ],
)
def test_what_is_wrong_with_a_table_is_told_before_the_work(tmp_path, capsys, table, complaint):
    path = tmp_path / "jobs.json"
    path.write_text(table)
    with pytest.raises(batch.TableError, match=re.escape(complaint)):
        batch.read_jobs(path)
    assert main([str(path), "--out", str(tmp_path / "out")]) == 2
    assert complaint in capsys.readouterr().err and not (tmp_path / "out").exists()


def declared_paths():
    """The options of each function that are files, as the module's types have them."""
    text = (pathlib.Path(qelt.__file__).parent / "_core.pyi").read_text()
    fields = {}
    for name, given in re.findall(r"^class (\w+):\n    def __init__\(self, \*, (.*)\) -> None", text, re.M):
        fields[name] = re.findall(r"(\w+): (.*?)(?: = \.\.\.)?(?:, (?=\w+: )|$)", given)
    for function, given in re.findall(r"^def (\w+)\(\*, (.*), progress: _Progress", text, re.M):
        yield function, set(paths_in(re.findall(r"(\w+): (.*?)(?: = \.\.\.)?(?:, (?=\w+: )|$)", given), fields))


def paths_in(given, fields):
    for name, kind in given:
        many = ".*" if "Sequence[" in kind else ""
        if "_StrPath" in kind:
            yield name + many
        for word in re.findall(r"\w+", kind):
            yield from (f"{name}{many}.{inner}" for inner in paths_in(fields.get(word, []), fields))


def test_every_option_that_is_a_file_is_known():
    found = dict(declared_paths())
    assert set(found) == set(paths.FILES)
    for function, expected in found.items():
        files = paths.FILES[function]
        assert set(files.reads) | set(files.writes) == expected, function
        assert not set(files.reads) & set(files.writes)


# One piece


@pytest.fixture
def piece(tmp_path):
    table = write_batch(tmp_path / "in", 1)
    (job,) = batch.read_jobs(table)
    return work.Piece("parts/a", job.steps, str(tmp_path / "out"), str(table.parent))


def test_a_piece_is_what_the_loop_makes(piece, tmp_path):
    outcome = work.run_piece(piece)
    assert outcome.is_usable and not outcome.was_kept, outcome
    run_plainly(batch.Job("a", piece.steps), pathlib.Path(piece.base), tmp_path / "plain")
    assert contents(piece.folder) == contents(tmp_path / "plain")
    assert sorted(outcome.files) == sorted(contents(piece.folder))
    assert outcome.figures["prepare.isFit"] is True and outcome.figures["scan.hits"] > 20


def change_input(piece):
    with open(pathlib.Path(piece.base, "000.obj"), "a") as file:
        file.write("# another line\n")


def touch_input(piece):
    os.utime(pathlib.Path(piece.base, "000.obj"))


def change_output(piece):
    with open(piece.folder / "hits.csv", "a") as file:
        file.write("x")


def remove_output(piece):
    (piece.folder / "part.quads").unlink()


def forge_failure(piece):
    path = piece.folder / work.RECORD
    path.write_text(path.read_text().replace('"done"', '"failed"'))


def tear_record(piece):
    path = piece.folder / work.RECORD
    path.write_text(path.read_text()[:50])


@pytest.mark.parametrize(
    ("change", "is_kept"),
    [
        (lambda piece: None, True),
        (touch_input, True),
        (change_input, False),
        (change_output, False),
        (remove_output, False),
        (forge_failure, False),
        (tear_record, False),
    ],
)
def test_what_is_done_stays_while_nothing_has_changed(piece, change, is_kept):
    first = work.run_piece(piece)
    made = contents(piece.folder)
    change(piece)
    again = work.run_piece(piece)
    assert again.was_kept == is_kept and again.status == "done"
    if change is not change_input:
        assert contents(piece.folder) == made
    assert (again.files, again.figures) == (first.files, first.figures)
    assert os.listdir(pathlib.Path(piece.results, "unfinished")) == []


def test_other_settings_another_version_or_a_companion_make_it_anew(piece, monkeypatch):
    keys = {work.key_of(piece)}
    other = json.loads(json.dumps([step.options for step in piece.steps]))
    other[0]["resolution"]["pixel"] = 1.25
    steps = tuple(batch.Step(step.function, options) for step, options in zip(piece.steps, other))
    keys.add(work.key_of(work.Piece("parts/a", steps, piece.results, piece.base)))
    pathlib.Path(piece.base, "000.obj.json").write_text("{}")
    keys.add(work.key_of(piece))
    monkeypatch.setattr(qelt, "library_version", lambda: "another")
    keys.add(work.key_of(piece))
    assert len(keys) == 4


def test_where_the_work_is_done_does_not_matter(piece, tmp_path):
    shutil.copytree(piece.base, tmp_path / "elsewhere")
    moved = work.Piece(piece.name, piece.steps, str(tmp_path / "other"), str(tmp_path / "elsewhere"))
    assert work.key_of(moved) == work.key_of(piece)
    work.run_piece(piece)
    work.run_piece(moved)
    assert contents(moved.folder) == contents(piece.folder)


def test_a_failure_names_step_file_and_remedy_and_keeps_what_went_well(piece):
    steps = (piece.steps[0], batch.Step("scan", {"grids": [{"file": "none.quads"}], "raster": RASTER, "hits": "h.csv"}))
    outcome = work.run_piece(work.Piece("parts/a", steps, piece.results, piece.base))
    missing = pathlib.Path(piece.base, "none.quads")
    assert outcome.status == "failed" and outcome.remedy
    assert outcome.reason == f"scan: {missing}: cannot be read (No such file or directory)"
    assert "part.quads" in outcome.files and not outcome.is_passing


def test_what_is_not_fit_says_why_and_what_to_do(tube, tmp_path):
    prepare = {"part": str(tube), "grid": "tube.quads", "resolution": {"pixel": 2}}
    steps = (batch.Step("prepare", prepare), batch.Step("selftest", {"grid": "tube.quads"}))
    outcome = work.run_piece(work.Piece("parts/a", steps, str(tmp_path), "."))
    assert outcome.status == "unfit" and "of their median area" in outcome.reason and "cscan cut" in outcome.remedy
    kept = work.run_piece(work.Piece("parts/a", steps, str(tmp_path), "."))
    assert kept.was_kept and (kept.status, kept.reason) == (outcome.status, outcome.reason)


def test_an_object_of_one_of_several_classes_is_named(piece):
    def steps(name):
        derivation = {"class": name, "is_factor": True, "value": 2}
        options = {"source": "part.quads", "result": "b.quads", "derivation": derivation}
        return piece.steps[0], batch.Step("derive", options)

    assert work.run_piece(work.Piece("parts/a", steps("ThinOutGrid"), piece.results, piece.base)).is_usable
    failed = work.run_piece(work.Piece("parts/b", steps("Thin"), piece.results, piece.base))
    assert failed.reason == "derive: 'Thin' is no class of qelt"


# A scan in blocks


def in_blocks(piece, is_backwards=False):
    plan = blocks.plan(piece)
    assert isinstance(plan, blocks.Plan), plan
    numbered = list(enumerate(plan.blocks))
    for number, block in reversed(numbered) if is_backwards else numbered:
        outcome = blocks.run_block(blocks.BlockPiece(piece, number, block, plan.heading))
        if outcome.status != "done":
            return outcome, len(numbered)
    return blocks.merge(blocks.MergePiece(piece, plan)), len(numbered)


@pytest.mark.parametrize("size", [1000, 400, 1])
@pytest.mark.parametrize("is_on_plane", [False, True])
def test_a_raster_in_blocks_is_the_scan_byte_for_byte(prepared, tmp_path, size, is_on_plane):
    raster = {**RASTER, "step": 0.37 if size > 1 else 8.0}
    options = {"grids": [{"file": str(prepared)}], "raster": raster, "is_on_plane": is_on_plane}
    (tmp_path / "plain").mkdir()
    qelt.scan(**options, hits=tmp_path / "plain/hits.csv")
    piece = blocks.scan_piece("parts/a", batch.Step("scan", {**options, "hits": "hits.csv"}), size, str(tmp_path), ".")
    outcome, count = in_blocks(piece, is_backwards=size == 400)
    assert outcome.is_usable and count > 8
    assert contents(piece.folder) == contents(tmp_path / "plain")
    assert blocks.plan(piece).was_kept and not (tmp_path / "blocks/a").exists()


def beam_table(prepared, path, ending="\n", is_ended=True):
    origins, directions = beams_over(qelt.Grid.from_file(prepared), step=1.1)
    rows = [",".join(f"{number:.6f}" for number in row) for row in np.column_stack([origins, directions])]
    rows[5:5] = ["", "  ", ""]
    rows[300:300] = [""] * 150
    text = ending.join(["", "ox,oy,oz,dx,dy,dz", *rows]) + (ending if is_ended else "")
    path.write_bytes(text.encode())


@pytest.mark.parametrize(("ending", "is_ended", "with_frame"), [("\n", True, False), ("\r\n", False, True)])
@pytest.mark.parametrize("size", [100, 61, 100000])
def test_a_table_in_blocks_is_the_scan_byte_for_byte(
    prepared, tmp_path, monkeypatch, size, ending, is_ended, with_frame
):
    monkeypatch.setattr(blocks, "CHUNK", 1000)  # so that lines lie across its ends
    beam_table(prepared, tmp_path / "b.csv", ending, is_ended)
    options = {"grids": [{"file": str(prepared)}], "beams": "b.csv", "do_flip_normals": with_frame}
    if with_frame:
        pairs = np.eye(4)[:, :3] * 5.0
        frame = qelt.fit_frame(pairs, pairs + [0.25, -0.5, 0.0]).frame
        qelt.write_frame(tmp_path / "frame.json", frame)
        options["frame"] = "frame.json"
    (tmp_path / "plain").mkdir()
    absolute = {name: str(tmp_path / value) if name in ("beams", "frame") else value for name, value in options.items()}
    qelt.scan(**absolute, hits=tmp_path / "plain/hits.csv")
    step = batch.Step("scan", {**options, "hits": "hits.csv"})
    piece = blocks.scan_piece("parts/a", step, size, str(tmp_path), str(tmp_path))
    outcome, count = in_blocks(piece)
    assert outcome.is_usable and (count > 8 or size > 1000)
    assert contents(piece.folder) == contents(tmp_path / "plain")


def test_a_bad_line_is_named_by_its_place_in_the_whole_table(prepared, tmp_path):
    beam_table(prepared, tmp_path / "b.csv")
    lines = (tmp_path / "b.csv").read_text().split("\n")
    lines[617] = "1,2,3,0,0,many"
    (tmp_path / "b.csv").write_text("\n".join(lines))
    options = {"grids": [{"file": str(prepared)}], "beams": str(tmp_path / "b.csv")}
    with pytest.raises(qelt.Failure) as plain:
        qelt.scan(**options, hits=tmp_path / "h.csv")
    assert "line 618" in str(plain.value)
    piece = blocks.scan_piece("parts/a", batch.Step("scan", {**options, "hits": "h.csv"}), 100, str(tmp_path), ".")
    assert in_blocks(piece)[0].reason == str(plain.value)


# Whole runs


@pytest.fixture
def processes():
    """Starts processes, and ends them by their number."""
    started = []

    def start(*command, **how):
        started.append(subprocess.Popen([sys.executable, *map(str, command)], start_new_session=True, **how))
        return started[-1]

    yield start
    for process in started:
        end_all_of(process)


def end_all_of(process):
    """The process and what it has started, which are a session of their own."""
    if process.poll() is None:
        os.killpg(process.pid, signal.SIGKILL)
        process.wait()


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


LIMIT = ("--idle-timeout", "300 s")  # of a scheduler that is left alone

# What workers of these tests do besides: they take their time, and one part is their end.
PRELOAD = """
import os, time
from qelt.batch import work
def slowed(run_step):
    def step(piece, number, *rest):
        time.sleep(0.02)
        if str(piece.steps[number].options.get("part", "")).startswith("deadly"):
            os._exit(7)
        return run_step(piece, number, *rest)
    step.is_slow = True
    return step
if not hasattr(work.run_step, "is_slow"):  # a preload may be run twice
    work.run_step = slowed(work.run_step)
"""


class Machines:
    """A scheduler and workers with nannies, as processes."""

    def __init__(self, start, folder):
        self.start, self.folder, self.port = start, folder, free_port()
        self.address = f"tcp://127.0.0.1:{self.port}"
        (folder / "preload.py").write_text(PRELOAD)
        self.environment = {**os.environ, "DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES": "1"}
        self.log = open(folder / "log", "wb")
        self.begin()

    def begin(self):
        quiet = {"stdout": self.log, "stderr": self.log, "env": self.environment, "cwd": self.folder}
        where = ["--host", "127.0.0.1", "--no-dashboard"]
        scheduler = ["-m", "distributed.cli.dask_scheduler", "--port", self.port, *where, *LIMIT]
        self.scheduler = self.start(*scheduler, **quiet)
        more = ["--nthreads", 1, "--no-dashboard", "--preload", self.folder / "preload.py", "--death-timeout", 60]
        worker = ["-m", "distributed.cli.dask_worker", self.address, *more, "--host", "127.0.0.1", "--local-directory"]
        self.workers = [self.start(*worker, self.folder / f"scratch-{i}", **quiet) for i in range(2)]

    def kill_scheduler(self):
        """Workers do not outlive their scheduler: they are to be started with it."""
        for process in (self.scheduler, *self.workers):
            end_all_of(process)

    def kill_a_worker(self):
        """Not its nanny, but the process that works; returns whether there was one."""
        children = psutil.Process(self.workers[0].pid).children()
        found = [child for child in children if any("spawn_main" in word for word in child.cmdline())]
        for child in found:
            child.send_signal(signal.SIGKILL)
        return bool(found)


def done_count(results):
    return len(list((results / "parts").glob("*")))


def wait_until(holds, process):
    while not holds():
        assert process.poll() is None, "the run has ended before"
        time.sleep(0.005)


def test_nothing_is_lost_when_a_worker_is_killed_and_the_scheduler_is_started_anew(processes, tmp_path):
    table = write_batch(tmp_path / "in", PARTS)
    told = json.loads(table.read_text())
    write_part(table.parent / "deadly.obj", 1)
    told["parts"].insert(50, {"name": "deadly", "part": "deadly.obj", "pixel": 1.0})
    told["parts"].insert(60, {"name": "missing", "part": "missing.obj", "pixel": 1.0})
    table.write_text(json.dumps(told))
    jobs = {job.name: job for job in batch.read_jobs(table)}
    for name in jobs.keys() - {"deadly", "missing"}:
        run_plainly(jobs[name], table.parent, tmp_path / "plain" / name)

    machines, results = Machines(processes, tmp_path), tmp_path / "out"
    command = ["-m", "qelt.batch", table, "--out", results, "--scheduler", machines.address, "--heartbeat", 1]
    with open(tmp_path / "told", "wb") as log:
        run = processes(*command, stdout=log, stderr=log)
    wait_until(lambda: done_count(results) >= 20, run)
    assert machines.kill_a_worker()
    wait_until(lambda: done_count(results) >= 90, run)
    machines.kill_scheduler()
    assert done_count(results) < PARTS
    machines.begin()
    assert run.wait() == 1, (tmp_path / "told").read_text()

    rows = summary_rows(results)
    assert list(rows) == list(jobs)
    assert {name for name, row in rows.items() if row["status"] != "done"} == {"deadly", "missing"}
    assert rows["deadly"]["status"] == "killed" and "it alone" in rows["deadly"]["reason"]
    assert "missing.obj: cannot be read" in rows["missing"]["reason"]
    for name in jobs.keys() - {"deadly", "missing"}:
        assert contents(results / "parts" / name) == contents(tmp_path / "plain" / name), name
    events = [json.loads(line)["event"] for line in (results / "journal.jsonl").read_text().splitlines()]
    assert "lost" in events and events.count("connected") >= 2 and events[-1] == "ended"


def test_a_second_run_goes_on_where_the_first_was_ended(processes, tmp_path):
    table, results = write_batch(tmp_path / "in", 30), tmp_path / "out"
    machines = Machines(processes, tmp_path)
    command = ["-m", "qelt.batch", table, "--out", results, "--scheduler", machines.address, "--quiet"]
    run = processes(*command)
    wait_until(lambda: done_count(results) >= 5, run)
    run.kill()
    run.wait()
    before = {folder.name: folder.stat().st_ino for folder in (results / "parts").glob("*")}
    assert len(before) < 30
    assert processes(*command, stdout=subprocess.DEVNULL).wait() == 0
    after = {folder.name: folder.stat().st_ino for folder in (results / "parts").glob("*")}
    assert len(after) == 30 and before.items() <= after.items()
    events = [json.loads(line)["event"] for line in (results / "journal.jsonl").read_text().splitlines()]
    assert events.count("kept") >= len(before) and events.count("kept") + events.count("done") >= 30


def test_processes_of_its_own_answer_alike_whatever_their_number(prepared, tube, tmp_path):
    table = write_batch(tmp_path, 3)
    told = json.loads(table.read_text())
    scan = {"grids": [{"file": str(prepared)}], "raster": RASTER, "hits": "hits.csv"}
    jobs = [{"name": part["name"], "steps": batch.jobs.filled(told["steps"], part)} for part in told["parts"]]
    jobs.append({"name": "scan", "function": "scan", "block": 700, "options": scan})
    table.write_text(json.dumps(jobs))
    results = [tmp_path / f"of-{workers}" for workers in (1, 2)]
    for workers, folder in enumerate(results, start=1):
        command = ["-m", "qelt.batch", table, "--out", folder, "--workers", workers, "--quiet"]
        outcome = subprocess.run([sys.executable, *map(str, command)], capture_output=True, text=True)
        assert outcome.returncode == 0, outcome.stderr
        assert outcome.stdout.split() == [str(folder / "summary.csv"), str(folder / "overview.html")]
    assert contents(results[0] / "parts") == contents(results[1] / "parts")
    (tmp_path / "plain").mkdir()
    qelt.scan(**{**scan, "hits": tmp_path / "plain/hits.csv"})
    assert contents(results[1] / "parts/scan") == contents(tmp_path / "plain")


def test_a_scheduler_that_is_not_there_is_not_waited_for_for_ever(tmp_path, capsys):
    table = write_batch(tmp_path, 1)
    command = [str(table), "--out", str(tmp_path / "out"), "--scheduler", f"tcp://127.0.0.1:{free_port()}"]
    assert main([*command, "--heartbeat", "0.2", "--patience", "0.5", "--quiet"]) == 4
    assert "no scheduler at tcp://127.0.0.1" in capsys.readouterr().err
    assert summary_rows(tmp_path / "out")["part-000"]["status"] == "open"


# What is told


def outcome(status, **more):
    return work.Outcome("a&b", status, "<why>", "do this", {"draw_scan.coverage": 0.5}, ("x #1.png", "r.html"), **more)


def test_the_overview_shows_what_there_is_and_escapes_it(tmp_path):
    told = overview.write(tmp_path, [outcome("unfit"), work.Outcome("c", "done")])
    page = told.page.read_text()
    assert "&lt;why&gt;" in page and "<why>" not in page and "do this" in page
    assert 'src="parts/a%26b/x%20%231.png"' in page and 'href="parts/a%26b/r.html"' in page
    assert "50 %" in page and told.counts == {"unfit": 1, "done": 1}
    assert not re.search(r"(src|href)=\"(https?:|/)", page)


@pytest.mark.parametrize(
    ("statuses", "status"),
    [(["done"], 0), (["done", "unfit"], 3), (["unfit", "failed"], 1), (["done", "killed"], 1), ([], 0)],
)
def test_the_status_is_good_only_if_all_can_be_used(statuses, status):
    from qelt.batch.__main__ import status_of

    run = batch.Run(tuple(outcome(each) for each in statuses), pathlib.Path(), pathlib.Path())
    assert status_of(run) == status
