"""Carries out a table of jobs: hands work to the scheduler, takes what comes back, and goes on where it breaks.

What can happen, and what is done about it:

- A worker dies. Its nanny starts it anew, and the scheduler gives its work to another.
- Work whose workers die again and again, more often than the scheduler allows, comes back as `KilledWorker`. All that
  was waiting at such a worker is blamed with it, so what is blamed is tried once more, alone: who then ends its workers
  is named.
- The scheduler is started anew, or cannot be reached for a while. Nothing of what it had is waited for: the runner
  connects anew, and hands in all that has not come back. What was finished meanwhile is found on disk.
- Work fails for lack of memory or of a disk. It is tried again, a limited number of times.
- Work fails in the library. It would again: that is said, with the library's text, and the others go on.
"""

from __future__ import annotations

import collections
import dataclasses
import itertools
import pathlib
import queue
import shutil
import sys
import time
import uuid
from collections.abc import Callable, Iterator, Sequence
from typing import Any, TextIO

from qelt.batch import blocks, overview, work
from qelt.batch.cluster import Cluster, Lost
from qelt.batch.jobs import Job, check_jobs
from qelt.batch.journal import Journal, Progress
from qelt.batch.work import Outcome

MIN_WINDOW = 32  # work that is handed in at a time, at least
WINDOW_A_THREAD = 4
PAUSE = 0.5
FETCH_SECONDS = 5.0


class NoCluster(RuntimeError):
    """There is no scheduler, or it has no workers, for longer than the run has patience."""


@dataclasses.dataclass(frozen=True)
class Settings:
    """How a table of jobs is run.

    results: the folder to write to; with a scheduler of yours, one that all machines have under this name.
    base: the folder that names of files are relative to.
    scheduler: the address of a scheduler, such as tcp://node1:8786; without one, processes are started here.
    workers, memory: of these processes, how many and how much for each, such as "4 GB".
    retries: how often work is tried again whose worker died (here; a scheduler of yours has its own limit,
        `distributed.scheduler.allowed-failures`) or that failed for lack of memory or of a disk.
    heartbeat: seconds between questions to the scheduler.
    patience: seconds to wait for a scheduler or workers that are not there.
    """

    results: str | pathlib.Path
    base: str | pathlib.Path = "."
    scheduler: str | None = None
    workers: int | None = None
    memory: str | None = None
    retries: int = 2
    heartbeat: float = 5.0
    patience: float = 300.0


@dataclasses.dataclass(frozen=True)
class Run:
    """What became of all jobs, in their order, and where it is told."""

    outcomes: tuple[Outcome, ...]
    summary: pathlib.Path
    overview: pathlib.Path

    @property
    def is_usable(self) -> bool:
        return all(outcome.is_usable for outcome in self.outcomes)


@dataclasses.dataclass(frozen=True)
class Work:
    """One call on a worker."""

    name: str
    job: JobInRun
    call: Callable[[Any], Any]
    piece: Any


class JobInRun:
    """A job, and what of it is to be done next."""

    def __init__(self, job: Job, results: str, base: str):
        self.job = job
        self.results = results
        self.base = base
        self.outcome: Outcome | None = None
        self.retries = 0
        self._plan: blocks.Plan | None = None
        self._open_blocks = 0

    def first(self) -> Iterator[Work]:
        name, steps = f"parts/{self.job.name}", self.job.steps
        if self.job.block is None:
            yield self._work(name, work.run_piece, work.Piece(name, steps, self.results, self.base))
        else:
            yield self._work(name, blocks.plan, self._scan())

    def take(self, done: Work, result: Any) -> Iterator[Work]:
        """What follows from the result of one call; or it is the job's outcome."""
        if isinstance(result, blocks.Plan):
            self._plan = result
            self._open_blocks = len(result.blocks)
            return self._blocks(result)
        if isinstance(done.piece, blocks.BlockPiece) and result.status == "done":
            self._open_blocks -= 1
            return self._merge() if self._open_blocks == 0 else iter(())
        self.end(result)
        return iter(())

    def end(self, result: Outcome) -> None:
        if self.outcome is None:
            self.outcome = dataclasses.replace(result, name=self.job.name)

    def _scan(self) -> blocks.ScanPiece:
        assert self.job.block is not None
        return blocks.ScanPiece(f"parts/{self.job.name}", self.job.steps, self.results, self.base, self.job.block)

    def _blocks(self, plan: blocks.Plan) -> Iterator[Work]:
        scan = self._scan()
        for number, block in enumerate(plan.blocks):
            if self.outcome is not None:  # one has failed
                return
            piece = blocks.BlockPiece(scan, number, block, plan.heading)
            yield self._work(piece.name, blocks.run_block, piece)

    def _merge(self) -> Iterator[Work]:
        assert self._plan is not None
        yield self._work(f"parts/{self.job.name}", blocks.merge, blocks.MergePiece(self._scan(), self._plan))

    def _work(self, name: str, call: Callable[[Any], Any], piece: Any) -> Work:
        return Work(name, self, call, piece)


class Runner:
    """The work of a run: what waits, what is handed in, what has come back."""

    def __init__(
        self, jobs: Sequence[Job], settings: Settings, cluster: Cluster, journal: Journal, stream: TextIO | None
    ):
        results, base = (str(pathlib.Path(each).resolve()) for each in (settings.results, settings.base))
        self.jobs = [JobInRun(job, results, base) for job in jobs]
        self.settings = settings
        self.cluster = cluster
        self.journal = journal
        self.progress = Progress(stream, len(jobs))
        self._waiting: collections.deque[Iterator[Work]] = collections.deque(job.first() for job in self.jobs)
        self._again: collections.deque[Work] = collections.deque()
        self._suspects: collections.deque[Work] = collections.deque()
        self._alone = ""  # the key of a suspect that is tried
        self._handed: dict[str, tuple[Work, Any]] = {}
        self._events: queue.SimpleQueue[str] = queue.SimpleQueue()
        self._numbers = itertools.count()
        self._run = uuid.uuid4().hex[:8]
        self._contact = time.monotonic()
        self._finished = self._bad = 0

    def carry_out(self) -> None:
        """Until every job has an outcome."""
        while self._finished < len(self.jobs):
            try:
                self._connect()
                self._hand_in()
                self._take()
                self.cluster.check()
                self._watch_workers()
            except Lost as error:
                self._lose(str(error))
        self._show(is_last=True)

    def _connect(self) -> None:
        while self.cluster.client is None:
            try:
                self.cluster.connect()
                self.journal.tell("connected", scheduler=self.cluster.identity, workers=self.cluster.worker_count)
            except Lost as error:
                self._be_patient(f"no scheduler at {self.settings.scheduler}: {error}")
                time.sleep(PAUSE)

    def _watch_workers(self) -> None:
        if self.cluster.worker_count:
            self._contact = time.monotonic()
        else:
            self._be_patient("the scheduler has no workers")

    def _be_patient(self, why: str) -> None:
        self._show(note=why)
        if time.monotonic() - self._contact > self.settings.patience:
            raise NoCluster(f"{why}; gave up after {self.settings.patience:g} s")

    def _hand_in(self) -> None:
        window = max(MIN_WINDOW, WINDOW_A_THREAD * self.cluster.thread_count)
        while not self._alone and len(self._handed) < window:
            next_work = self._next()
            if next_work is None:
                break
            self._submit(next_work)
        if not self._handed and self._suspects:
            self._alone = self._submit(self._suspects.popleft())

    def _next(self) -> Work | None:
        while self._again:
            candidate = self._again.popleft()
            if candidate.job.outcome is None:
                return candidate
        while self._waiting:
            for candidate in self._waiting[0]:
                if candidate.job.outcome is None:
                    return candidate
            self._waiting.popleft()
        return None

    def _submit(self, what: Work) -> str:
        key = f"qelt-batch-{self._run}-{next(self._numbers)}"
        try:
            future = self.cluster.client.submit(what.call, what.piece, key=key, pure=False)
            self._handed[key] = (what, future)
            future.add_done_callback(lambda _: self._events.put(key))
        except Exception as error:
            self._again.appendleft(what)
            self._handed.pop(key, None)
            raise Lost(str(error)) from error
        return key

    def _take(self) -> None:
        """What has come back, waiting a little for the first."""
        wait = PAUSE
        while True:
            try:
                key = self._events.get(timeout=wait)
            except queue.Empty:
                break
            wait = 0.001
            if key in self._handed:  # and not of a scheduler that was lost
                self._take_one(key)
        self._show()

    def _take_one(self, key: str) -> None:
        what, future = self._handed[key]
        was_alone, status = self._alone == key, future.status
        if status == "finished":
            self._done_with(key)
            try:
                result = future.result(timeout=max(self.cluster.heartbeat, FETCH_SECONDS))
            except Exception as error:  # of whatever layer
                self._fetch_anew(what, error)
            else:
                self._take_result(what, result)
        elif status == "error":
            told = future.exception(timeout=FETCH_SECONDS)
            self._done_with(key)
            self._take_error(what, told, was_alone)
        else:
            raise Lost(f"the scheduler has given up work ({status})")

    def _done_with(self, key: str) -> None:
        del self._handed[key]
        if self._alone == key:
            self._alone = ""

    def _take_result(self, what: Work, result: Any) -> None:
        if isinstance(result, Outcome) and result.is_passing and self._may_retry(what, result.reason):
            return
        was_open = what.job.outcome is None
        follows = what.job.take(what, result)
        self._waiting.appendleft(follows)
        if what.job.outcome is not None and was_open:
            self._count(what.job.outcome)

    def _fetch_anew(self, what: Work, error: Exception) -> None:
        """A worker that ended took the result with it; not what it has written, which the next finds done."""
        self.journal.tell("again", name=what.name, reason=f"its result could not be fetched ({error!r})")
        self._again.append(what)
        self.cluster.check(is_due=True)

    def _may_retry(self, what: Work, reason: str) -> bool:
        if what.job.retries >= self.settings.retries:
            return False
        what.job.retries += 1
        self.journal.tell("again", name=what.name, reason=reason)
        self._again.append(what)
        return True

    def _take_error(self, what: Work, error: BaseException | None, was_alone: bool) -> None:
        reason = f"{type(error).__name__}: {error}"
        if type(error).__name__ == "KilledWorker":
            if was_alone:
                self._end(what, dataclasses.replace(KILLED, name=what.name))
            else:
                self.journal.tell("suspected", name=what.name, reason=reason)
                self._suspects.append(what)
        elif not self._may_retry(what, reason):
            remedy = "see that all workers have the same qelt and its modules"
            self._end(what, Outcome(what.name, "failed", reason, remedy))

    def _end(self, what: Work, outcome: Outcome) -> None:
        if what.job.outcome is None:
            what.job.end(outcome)
            assert what.job.outcome is not None
            self._count(what.job.outcome)

    def _count(self, outcome: Outcome) -> None:
        self._finished += 1
        self._bad += not outcome.is_usable
        event = "kept" if outcome.was_kept else outcome.status
        self.journal.tell(event, name=outcome.name, seconds=round(outcome.seconds, 3), reason=outcome.reason)
        if not outcome.is_usable:
            remedy = f" - {outcome.remedy}" if outcome.remedy else ""
            self.progress.say(f"{outcome.name}: {outcome.status}: {outcome.reason}{remedy}")

    def _lose(self, why: str) -> None:
        """Everything that was handed in is to be handed in anew."""
        self.journal.tell("lost", reason=why, handed=len(self._handed))
        self.progress.say(f"The scheduler is lost ({why}); connecting anew")
        alone = self._handed.pop(self._alone, None)
        self._suspects.extend([alone[0]] if alone else [])
        self._again.extendleft(what for what, _ in reversed(self._handed.values()))
        self._handed.clear()
        self._alone = ""
        self.cluster.abandon()

    def _show(self, note: str = "", is_last: bool = False) -> None:
        self.progress.show(self._finished, self._bad, note or f"{self.cluster.worker_count} workers", is_last)

    def outcomes(self) -> tuple[Outcome, ...]:
        """Of all jobs; those that were not come to are `open`."""
        return tuple(job.outcome or Outcome(job.job.name, "open", "not done yet") for job in self.jobs)


KILLED = Outcome(
    "",
    "killed",
    "every worker that tried it, it alone, ended",
    "give each worker more memory if it lacks that; else take the part out of the table and report it",
)


def run(jobs: Sequence[Job], settings: Settings, stream: TextIO | None = sys.stderr) -> Run:
    """Runs the jobs and writes their results, `summary.csv` and `overview.html`. `stream` is told of progress.

    With processes of its own, to be called below `if __name__ == "__main__":`, as Python starts them anew from your
    program. Raises `NoCluster` when that is what ends it, after what is known was written; so does Ctrl-C.
    """
    check_jobs(jobs, "the jobs")
    results = pathlib.Path(settings.results)
    results.mkdir(parents=True, exist_ok=True)
    with Journal(results) as journal:
        cluster = Cluster(
            settings.scheduler, settings.workers, settings.memory, settings.retries, settings.heartbeat
        )
        runner = Runner(jobs, settings, cluster, journal, stream)
        journal.tell("began", jobs=len(jobs), scheduler=settings.scheduler or "local")
        try:
            runner.carry_out()
            shutil.rmtree(results / "unfinished", ignore_errors=True)
        finally:
            cluster.close()
            told = overview.write(results, runner.outcomes())
            journal.tell("ended", **told.counts)
    return Run(runner.outcomes(), told.summary, told.page)
