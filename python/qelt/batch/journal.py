"""What a run tells while it goes on: a log of what happened, and a line of progress.

The log is for people; what is done is remembered beside each result (see `qelt.batch.work`).
"""

from __future__ import annotations

import datetime
import json
import pathlib
import time
from types import TracebackType
from typing import Any, TextIO

SECONDS_BETWEEN_LINES = 10.0
SECONDS_BETWEEN_UPDATES = 0.2


class Journal:
    """`journal.jsonl`: a line an event, added to what runs before have told."""

    def __init__(self, folder: pathlib.Path):
        self._file = open(folder / "journal.jsonl", "a", encoding="utf-8")  # noqa: SIM115

    def tell(self, event: str, **what: Any) -> None:
        now = datetime.datetime.now(datetime.timezone.utc).isoformat(timespec="milliseconds")
        self._file.write(json.dumps({"time": now, "event": event, **what}) + "\n")
        self._file.flush()

    def __enter__(self) -> Journal:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, at: TracebackType | None) -> None:
        self._file.close()


class Progress:
    """One line that is written over where there is a terminal, a line now and then where there is none."""

    def __init__(self, stream: TextIO | None, total: int):
        self.total = total
        self._stream = stream
        self._start = time.monotonic()
        self._told = float("-inf")

    def show(self, finished: int, bad: int, note: str, is_last: bool = False) -> None:
        if self._stream is None:
            return
        is_terminal = self._stream.isatty()
        wait = SECONDS_BETWEEN_UPDATES if is_terminal else SECONDS_BETWEEN_LINES
        now = time.monotonic()
        if now - self._told < wait and not is_last:
            return
        self._told = now
        line = self._line(finished, bad, note, now - self._start)
        self._stream.write(f"\r\033[K{line}" + ("\n" if is_last else "") if is_terminal else line + "\n")
        self._stream.flush()

    def say(self, text: str) -> None:
        """A sentence that stays."""
        if self._stream is not None:
            self._stream.write(("\r\033[K" if self._stream.isatty() else "") + text + "\n")
            self._stream.flush()

    def _line(self, finished: int, bad: int, note: str, seconds: float) -> str:
        share = finished / self.total if self.total else 1.0
        left = f", about {clock(seconds / share - seconds)} left" if 0.0 < share < 1.0 else ""
        return f"{finished} of {self.total} ({share:.0%}), {bad} not usable, {note}, {clock(seconds)}{left}"


def clock(seconds: float) -> str:
    minutes, rest = divmod(round(seconds), 60)
    hours, minutes = divmod(minutes, 60)
    return f"{hours}:{minutes:02}:{rest:02}" if hours else f"{minutes}:{rest:02}"
