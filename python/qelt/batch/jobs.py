"""Jobs, and the tables that they are read from."""

from __future__ import annotations

import csv
import dataclasses
import json
import pathlib
import re
from collections.abc import Iterable, Mapping
from typing import Any

from qelt.batch.paths import FILES, texts_at

NAME = re.compile(r"[^\W_.][\w.+=-]*")  # of a job: it is the name of a folder
PLACEHOLDER = re.compile(r"\{([A-Za-z_]\w*)\}")


class TableError(ValueError):
    """What is wrong with a table of jobs, in one line."""


@dataclasses.dataclass(frozen=True)
class Step:
    """A function of `qelt` and its options."""

    function: str
    options: Mapping[str, Any] = dataclasses.field(default_factory=dict)


@dataclasses.dataclass(frozen=True)
class Job:
    """Steps in their order, which are done by one worker; or a scan that is fired in blocks of so many beams."""

    name: str
    steps: tuple[Step, ...]
    block: int | None = None


def read_jobs(path: str | pathlib.Path, steps: str | pathlib.Path | None = None) -> list[Job]:
    """Reads a table of jobs, CSV or JSON, or of parts for the steps of another file."""
    path = pathlib.Path(path)
    if path.suffix.lower() == ".csv":
        jobs = jobs_of_rows(path, read_rows(path), steps)
    else:
        jobs = jobs_of_json(path, read_json(path), steps)
    if not jobs:
        raise TableError(f"{path}: holds no job")
    check_jobs(jobs, str(path))
    return jobs


def read_json(path: str | pathlib.Path) -> Any:
    try:
        return json.loads(pathlib.Path(path).read_text(encoding="utf-8-sig"))
    except OSError as error:
        raise TableError(f"{path}: cannot be read ({error.strerror})") from error
    except ValueError as error:
        raise TableError(f"{path}: is no JSON: {error}") from error


def read_rows(path: pathlib.Path) -> list[dict[str, str]]:
    try:
        with open(path, encoding="utf-8-sig", newline="") as file:
            reader = csv.DictReader(file, restkey="")
            rows = list(reader)
    except OSError as error:
        raise TableError(f"{path}: cannot be read ({error.strerror})") from error
    except (csv.Error, UnicodeDecodeError) as error:
        raise TableError(f"{path}: is no table of comma-separated values: {error}") from error
    for number, row in enumerate(rows, start=2):
        if "" in row:
            raise TableError(f"{path}, row {number}: has more fields than the heading")
        if not (row.get("name") or "").strip():
            raise TableError(f"{path}, row {number}: has no name")
    return [{key.strip(): (value or "").strip() for key, value in row.items()} for row in rows]


def value_of(text: str) -> Any:
    """A field of a table: what reads as JSON is that, all else is text."""
    try:
        return json.loads(text)
    except ValueError:
        return text


def jobs_of_rows(path: pathlib.Path, rows: list[dict[str, str]], steps: str | pathlib.Path | None) -> list[Job]:
    if steps is not None:
        parts = [{key: value_of(value) for key, value in row.items() if value} for row in rows]
        return jobs_of_parts(str(path), steps_of_file(steps), [{**part, "name": str(part["name"])} for part in parts])
    if rows and "function" not in rows[0]:
        raise TableError(f"{path}: has no column 'function'; name the steps for all parts by --steps")
    found: dict[str, list[dict[str, Any]]] = {}
    for row in rows:
        found.setdefault(row.pop("name"), []).append(step_of_row(row))
    return [job_of(str(path), {"name": name, "steps": steps}) for name, steps in found.items()]


def step_of_row(row: dict[str, str]) -> dict[str, Any]:
    step: dict[str, Any] = {"function": row.pop("function"), "options": {}}
    for key, text in row.items():
        if text and key == "block":
            step["block"] = value_of(text)
        elif text:
            put(step["options"], key.split("."), value_of(text))
    step["options"] = with_lists(step["options"])
    return step


def put(options: dict[str, Any], way: list[str], value: Any) -> None:
    for name in way[:-1]:
        options = options.setdefault(name, {})
        if not isinstance(options, dict):
            raise TableError(f"the option '{name}' is both a value and more than one")
    options[way[-1]] = value


def with_lists(value: Any) -> Any:
    """Dictionaries whose names count from 0 are lists."""
    if not isinstance(value, dict):
        return value
    if value and list(value) == [str(number) for number in range(len(value))]:
        return [with_lists(each) for each in value.values()]
    return {key: with_lists(each) for key, each in value.items()}


def jobs_of_json(path: pathlib.Path, table: Any, steps: str | pathlib.Path | None) -> list[Job]:
    if isinstance(table, dict) and "parts" in table:
        return jobs_of_parts(str(path), steps_of_file(steps) if steps else table.get("steps"), table["parts"])
    if steps is not None:
        return jobs_of_parts(str(path), steps_of_file(steps), table)
    if not isinstance(table, list):
        raise TableError(f"{path}: needs a list of jobs, or an object of 'steps' and 'parts'")
    return [job_of(str(path), job) for job in table]


def steps_of_file(path: str | pathlib.Path) -> Any:
    table = read_json(path)
    return table.get("steps") if isinstance(table, dict) else table


def jobs_of_parts(source: str, steps: Any, parts: Any) -> list[Job]:
    if not isinstance(steps, list) or not isinstance(parts, list):
        raise TableError(f"{source}: needs a list of steps and a list of parts")
    for part in parts:
        if not isinstance(part, dict) or not isinstance(part.get("name"), str):
            raise TableError(f"{source}: a part needs a 'name'")
    return [job_of(source, {"name": part["name"], "steps": filled(steps, part)}) for part in parts]


def filled(value: Any, part: Mapping[str, Any]) -> Any:
    """The steps with what a part has in place of names in braces."""
    if isinstance(value, dict):
        return {key: filled(each, part) for key, each in value.items()}
    if isinstance(value, list):
        return [filled(each, part) for each in value]
    if not isinstance(value, str):
        return value
    whole = PLACEHOLDER.fullmatch(value)
    return part_value(part, whole[1]) if whole else PLACEHOLDER.sub(lambda m: str(part_value(part, m[1])), value)


def part_value(part: Mapping[str, Any], name: str) -> Any:
    if name not in part:
        raise TableError(f"the part '{part['name']}' has no '{name}', which a step asks for")
    return part[name]


def job_of(source: str, told: Any) -> Job:
    if not isinstance(told, dict) or not isinstance(told.get("name"), str):
        raise TableError(f"{source}: a job needs a 'name'")
    name = told["name"]
    steps = told["steps"] if "steps" in told else [{key: told[key] for key in told if key != "name"}]
    if not isinstance(steps, list) or not steps or not all(isinstance(step, dict) for step in steps):
        raise TableError(f"the job '{name}' needs a list of steps")
    surplus = {key for step in steps for key in step} - {"function", "options", "block"}
    if surplus:
        raise TableError(f"the job '{name}' has a step with '{min(surplus)}', which is unknown")
    blocks = [step["block"] for step in steps if step.get("block") is not None]
    found = tuple(Step(str(step.get("function", "")), step.get("options") or {}) for step in steps)
    return Job(name, found, blocks[0] if blocks else None)


def check_jobs(jobs: Iterable[Job], source: str) -> None:
    """Finds what cannot be run before anything is."""
    names: set[str] = set()
    for job in jobs:
        if job.name.casefold() in names:
            raise TableError(f"{source}: two jobs are named '{job.name}'")
        names.add(job.name.casefold())
        try:
            check_job(job)
        except TableError as error:
            raise TableError(f"{source}: {error}") from None


def check_job(job: Job) -> None:
    if not NAME.fullmatch(job.name):
        raise TableError(f"'{job.name}' is no name for a job: it takes letters, digits and any of . _ + = -")
    for step in job.steps:
        if step.function not in FILES:
            raise TableError(f"the job '{job.name}' asks for the function '{step.function}', which is none of qelt's")
        if not isinstance(step.options, Mapping):
            raise TableError(f"the job '{job.name}' has options that are no object")
        files = FILES[step.function]
        for text in texts_at(step.options, files.writes + files.prefixes):
            check_output(job, text)
    if job.block is not None:
        check_block(job)


def check_output(job: Job, text: str) -> None:
    path = pathlib.PurePath(text)
    if path.is_absolute() or ".." in path.parts or path.name == "piece.json":
        raise TableError(f"the job '{job.name}' writes '{text}': it takes names below its own folder")


def check_block(job: Job) -> None:
    options = job.steps[0].options
    if not isinstance(job.block, int) or isinstance(job.block, bool) or job.block < 1:
        raise TableError(f"the job '{job.name}' needs a whole number of beams above 0 as its block")
    if len(job.steps) != 1 or job.steps[0].function != "scan":
        raise TableError(f"the job '{job.name}' has a block, which goes with 'scan' as its only step")
    if options.get("search", "sure") != "sure" or options.get("do_compare") or options.get("range") is not None:
        raise TableError(
            f"the job '{job.name}' cannot be cut into blocks: "
            "the walk depends on the beam before, and a range is cut out already"
        )
    if not isinstance(options.get("hits"), str):
        raise TableError(f"the job '{job.name}' names no table of hits to write")
