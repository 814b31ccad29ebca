"""What runs on a worker: one piece of work, whose folder appears at once when it is done.

A piece works in a folder of its own, `unfinished/NAME-...`, and is put in place by one rename, together with the record
of what was done (`piece.json`): the hash of everything that went in, and that of every file that came out. That record
is the memory of a run. Who finds it, with the same hash and all files as they were, has nothing to do. Two that do the
same work at a time, as when a scheduler was lost, end with the same bytes, and whoever comes last stays.
"""

from __future__ import annotations

import contextlib
import dataclasses
import functools
import hashlib
import json
import os
import pathlib
import shutil
import tempfile
import time
import uuid
from collections.abc import Iterator, Mapping
from typing import Any

import qelt
from qelt.batch import verdicts
from qelt.batch.jobs import Step
from qelt.batch.paths import FILES, changed, companions_of, texts_at

RECORD = "piece.json"
FORMAT = 1


@dataclasses.dataclass(frozen=True)
class Piece:
    """Steps to be done by one worker. Files that are read are named from `base`, those written from its own folder."""

    name: str  # its way below the folder of all results
    steps: tuple[Step, ...]
    results: str
    base: str

    @property
    def folder(self) -> pathlib.Path:
        return pathlib.Path(self.results, self.name)


@dataclasses.dataclass(frozen=True)
class Outcome:
    """What became of a piece, or of a job.

    The status is `done`, `unfit` (done, and the result cannot be used) or `failed`; of a job also `killed`: every
    worker that tried it ended. What `is_passing` may go well if it is tried again, as a lack of memory does.
    """

    name: str
    status: str
    reason: str = ""
    remedy: str = ""
    figures: Mapping[str, Any] = dataclasses.field(default_factory=dict)
    files: tuple[str, ...] = ()
    seconds: float = 0.0
    was_kept: bool = False
    is_passing: bool = False

    @property
    def is_usable(self) -> bool:
        return self.status == "done"


class Digests:
    """SHA-256 of files, each read once as long as its size and time stay."""

    @staticmethod
    def of(path: pathlib.Path) -> str:
        stat = path.stat()
        return Digests.of_state(str(path), stat.st_size, stat.st_mtime_ns, stat.st_ino)

    @staticmethod
    @functools.lru_cache(maxsize=4096)
    def of_state(path: str, size: int, time_ns: int, inode: int) -> str:
        digest = hashlib.sha256()
        with open(path, "rb") as file:
            for part in iter(lambda: file.read(1 << 20), b""):
                digest.update(part)
        return digest.hexdigest()


def written_before(steps: tuple[Step, ...], number: int) -> set[str]:
    """What the steps before one write."""
    return {text for step in steps[:number] for text in texts_at(step.options, FILES[step.function].writes)}


def input_files(piece: Piece) -> Iterator[tuple[str, pathlib.Path]]:
    """The files that go in, by the names that they have in the options."""
    for number, step in enumerate(piece.steps):
        own = written_before(piece.steps, number)
        for text in texts_at(step.options, FILES[step.function].reads):
            path = pathlib.Path(piece.base, text)
            if text not in own and path.is_file():
                yield text, path
                yield from ((f"{text} {each.name}", each) for each in companions_of(path))


def key_of(piece: Piece) -> str:
    """The hash of what the result depends on: the version of the library, functions, options and contents of files."""
    told = {
        "format": FORMAT,
        "version": qelt.library_version(),
        "steps": [[step.function, step.options] for step in piece.steps],
        "inputs": sorted({name: Digests.of(path) for name, path in input_files(piece)}.items()),
    }
    return hashlib.sha256(json.dumps(told, sort_keys=True).encode()).hexdigest()


def kept_outcome(folder: pathlib.Path, name: str, key: str) -> Outcome | None:
    """What a run before has made of the same, if all of it is still there."""
    try:
        record = json.loads((folder / RECORD).read_text(encoding="utf-8"))
        is_same = record["key"] == key and record["status"] in ("done", "unfit")
        if not is_same or any(Digests.of(folder / file) != digest for file, digest in record["files"].items()):
            return None
    except (OSError, ValueError, KeyError):
        return None
    told = {field: record[field] for field in ("status", "reason", "remedy", "figures")}
    return Outcome(name, files=tuple(record["files"]), was_kept=True, **told)


def run_piece(piece: Piece) -> Outcome:
    """Does the work, or finds it done. What goes wrong is in what it returns."""
    start = time.perf_counter()
    key = ""
    try:
        key = key_of(piece)
        kept = kept_outcome(piece.folder, piece.name, key)
        if kept:
            return kept
        with attempt_folder(piece.results, piece.name) as attempt:
            outcome = attempted(piece, attempt)
            return put_in_place(attempt, piece.folder, key, timed(outcome, start))
    except (OSError, MemoryError) as error:
        return timed(failure(piece.name, error), start)


def timed(outcome: Outcome, start: float) -> Outcome:
    return dataclasses.replace(outcome, seconds=time.perf_counter() - start)


def failure(name: str, error: BaseException) -> Outcome:
    """Of an error; the library's own texts tell file, cause and remedy."""
    text = " ".join(str(error).split()) or type(error).__name__
    if isinstance(error, MemoryError):
        remedy = "give each worker more memory, or run fewer side by side"
        return Outcome(name, "failed", f"not enough memory ({text})", remedy, is_passing=True)
    if isinstance(error, OSError):
        remedy = "see that the folder of results can be written from all machines and is not full"
        return Outcome(name, "failed", text, remedy, is_passing=True)
    if not isinstance(error, (RuntimeError, ValueError, TypeError)):
        text = f"{type(error).__name__}: {text}"
    return Outcome(name, "failed", text, "put right what is named, and run the same command again")


@contextlib.contextmanager
def attempt_folder(results: str, name: str) -> Iterator[pathlib.Path]:
    """A folder for one attempt, removed unless it was put in place."""
    folder = pathlib.Path(results, "unfinished", f"{name.replace('/', '-')}-{uuid.uuid4().hex[:12]}")
    folder.mkdir(parents=True)
    try:
        yield folder
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def attempted(piece: Piece, attempt: pathlib.Path) -> Outcome:
    """The steps, until one fails or leaves nothing for those behind it."""
    figures: dict[str, Any] = {}
    short: verdicts.Shortcoming | None = None
    try:
        for number in range(len(piece.steps)):
            found = run_step(piece, number, attempt, figures)
            short = short or found
            if found and found.is_end:
                break
    except (OSError, MemoryError):
        raise
    except Exception as error:
        told = failure(piece.name, error)
        reason = f"{piece.steps[number].function}: {shown(told.reason, piece, attempt)}"
        return dataclasses.replace(told, reason=reason, figures=figures)
    if short is None:
        return Outcome(piece.name, "done", figures=figures)
    what, remedy = (shown(text, piece, attempt) for text in (short.what, short.remedy))
    return Outcome(piece.name, "unfit", what, remedy, figures=figures)


def shown(text: str, piece: Piece, attempt: pathlib.Path) -> str:
    """A text with names of files as they will be."""
    return text.replace(str(attempt), str(piece.folder))


def run_step(
    piece: Piece, number: int, attempt: pathlib.Path, figures: dict[str, Any]
) -> verdicts.Shortcoming | None:
    """Calls the function and adds to the figures, under its name."""
    step = piece.steps[number]
    options, outputs = placed_options(piece, number, attempt)
    for output in outputs:
        output.parent.mkdir(parents=True, exist_ok=True)
    result = getattr(qelt, step.function)(**{name: with_classes(value) for name, value in options.items()})
    is_first = all(before.function != step.function for before in piece.steps[:number])
    prefix = step.function if is_first else f"{number + 1} {step.function}"
    figures.update({f"{prefix}.{name}": value for name, value in verdicts.figures_of(result, outputs).items()})
    return verdicts.verdict_on(step.function, result)


def placed_options(piece: Piece, number: int, attempt: pathlib.Path) -> tuple[Mapping[str, Any], list[pathlib.Path]]:
    """The options with whole names of files, and the outputs."""
    step, files = piece.steps[number], FILES[piece.steps[number].function]
    own = written_before(piece.steps, number)
    names = files.writes + files.prefixes
    outputs = [attempt / text for text in texts_at(step.options, names)]
    options = changed(dict(step.options), names, lambda text: os.path.join(attempt, text) if text else text)
    options = changed(options, files.reads, lambda text: os.path.join(attempt if text in own else piece.base, text))
    return options, outputs


def with_classes(value: Any) -> Any:
    """Dictionaries that name a class of the module become objects of it."""
    if isinstance(value, (list, tuple)):
        return [with_classes(each) for each in value]
    if not isinstance(value, Mapping):
        return value
    fields = {name: with_classes(each) for name, each in value.items()}
    if "class" not in fields:
        return fields
    made = getattr(qelt, str(fields.pop("class")), None)
    if not isinstance(made, type):
        raise TypeError(f"'{value['class']}' is no class of qelt")
    return made(**fields)


def put_in_place(attempt: pathlib.Path, folder: pathlib.Path, key: str, outcome: Outcome) -> Outcome:
    """Adds the record and renames the attempt to what it is to be."""
    files = {str(file.relative_to(attempt)): Digests.of(file) for file in sorted(attempt.rglob("*")) if file.is_file()}
    told = {field: getattr(outcome, field) for field in ("status", "reason", "remedy", "figures", "seconds")}
    write_whole(attempt / RECORD, json.dumps({"key": key, **told, "files": files}, indent=1))
    folder.parent.mkdir(parents=True, exist_ok=True)
    for _ in range(10):
        with contextlib.suppress(FileNotFoundError):
            os.rename(folder, attempt.with_name(attempt.name + "-old"))
        try:
            os.rename(attempt, folder)
            break
        except OSError as error:  # another put the same there meanwhile
            last = error
    else:
        raise last
    shutil.rmtree(attempt.with_name(attempt.name + "-old"), ignore_errors=True)
    return dataclasses.replace(outcome, files=tuple(files))


def write_whole(path: pathlib.Path, text: str) -> None:
    """Writes a file by rename: it is there with all of the text, or as it was.

    It does not wait for the disk: what a machine that lost its power leaves does not go with its hashes, and is made
    anew.
    """
    handle, scratch = tempfile.mkstemp(dir=path.parent, prefix=f".{path.name}.")
    with open(handle, "w", encoding="utf-8") as file:
        file.write(text)
    os.chmod(scratch, 0o644)
    os.replace(scratch, path)
