"""`python3 -m qelt.batch`: see `--help`, and `help(qelt.batch)` for the table of jobs."""

from __future__ import annotations

import argparse
import importlib.util
import pathlib
import sys
from collections.abc import Sequence

import qelt
from qelt import batch

EPILOG = """\
status: 0 all results can be used; 1 a job failed, or its workers ended; 2 the command line or the table of jobs is
wrong, or dask's scheduler is not installed; 3 all was done, but some results are not fit for inspection; 4 there was no
scheduler, or no worker, for longer than --patience; 130 interrupted. What was finished stays, whatever the status: run
the same command again."""


def parser() -> argparse.ArgumentParser:
    made = argparse.ArgumentParser(
        prog="python3 -m qelt.batch",
        description="Runs a table of jobs, functions of qelt with their options, on many processes or machines.",
        epilog=EPILOG,
    )
    made.add_argument("jobs", type=pathlib.Path, help="the table, JSON or CSV; its files are relative to it")
    made.add_argument("--steps", type=pathlib.Path, help="JSON: steps for all parts, where the table is one of parts")
    made.add_argument("--out", type=pathlib.Path, default=pathlib.Path("results"), help="folder to write (results)")
    made.add_argument("--scheduler", help="of yours, such as tcp://node1:8786; else processes are started")
    made.add_argument("--workers", type=int, help="how many processes to start; else one a core")
    made.add_argument("--memory", help="memory of each of them, such as 4GB; else a share of the machine's")
    made.add_argument("--retries", type=int, default=2, help="how often to try again (2)")
    made.add_argument("--heartbeat", type=float, default=5.0, help="seconds between looks at the scheduler (5)")
    made.add_argument("--patience", type=float, default=300.0, help="seconds to wait for scheduler and workers (300)")
    made.add_argument("--quiet", action="store_true", help="no progress")
    made.add_argument("--version", action="version", version=f"qelt {qelt.library_version()}")
    return made


def main(arguments: Sequence[str] | None = None) -> int:
    given = parser().parse_args(arguments)
    if importlib.util.find_spec("distributed") is None:
        print("qelt.batch needs dask's scheduler: install python3-distributed", file=sys.stderr)
        return 2
    try:
        jobs = batch.read_jobs(given.jobs, given.steps)
        settings = batch.Settings(
            results=given.out,
            base=given.jobs.parent,
            scheduler=given.scheduler,
            workers=given.workers,
            memory=given.memory,
            retries=given.retries,
            heartbeat=given.heartbeat,
            patience=given.patience,
        )
        run = batch.run(jobs, settings, None if given.quiet else sys.stderr)
    except batch.TableError as error:
        print(error, file=sys.stderr)
        return 2
    except batch.NoCluster as error:
        print(error, file=sys.stderr)
        return 4
    except KeyboardInterrupt:
        print("interrupted; run the same command again to go on", file=sys.stderr)
        return 130
    print(f"{run.summary}\n{run.overview}")
    return status_of(run)


def status_of(run: batch.Run) -> int:
    statuses = {outcome.status for outcome in run.outcomes}
    if statuses & {"failed", "killed"}:
        return 1
    return 0 if run.is_usable else 3


if __name__ == "__main__":
    sys.exit(main())
