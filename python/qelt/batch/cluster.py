"""Dask's scheduler, ours or the user's, and whether it is still there.

A client whose scheduler was started anew does not come back by itself: its futures are gone, and what waits for them
waits for ever. So nothing here waits without a limit. The scheduler is asked for its identity now and then; where it
does not answer, or is another, the client is left behind, on a thread of its own if it cannot even be closed.
"""

from __future__ import annotations

import contextlib
import logging
import threading
import time
from typing import Any

LOGGERS = ("distributed", "tornado", "asyncio")


class Lost(Exception):
    """The scheduler does not answer any more, or is another one."""


class Cluster:
    """A connection to a scheduler, made anew where it is lost."""

    def __init__(self, address: str | None, workers: int | None, memory: str | None, retries: int, heartbeat: float):
        self.address = address
        self.heartbeat = heartbeat
        self.client: Any = None
        self.identity = ""
        self.worker_count = 0
        self.thread_count = 0
        self._local: Any = None
        self._asked = 0.0
        for name in LOGGERS:  # what matters is told by the run
            logging.getLogger(name).setLevel(logging.CRITICAL)
        if address is None:
            self._local = local_cluster(workers, memory, retries)

    def connect(self) -> None:
        """Within a few seconds, or raises `Lost`."""
        import distributed

        self.abandon()
        try:
            self.client = distributed.Client(
                self._local or self.address, timeout=self.heartbeat, set_as_default=False, name="qelt.batch"
            )
            self.identity = ""
            self._ask()
        except (OSError, RuntimeError, TimeoutError) as error:
            self.abandon()
            raise Lost(str(error)) from error

    def check(self, is_due: bool = False) -> None:
        """Asks the scheduler, if it is time to, and raises `Lost` if it is not the one that was connected to."""
        if self.client.status != "running":
            raise Lost("the connection is closed")
        if is_due or time.monotonic() - self._asked >= self.heartbeat:
            self._ask()

    def _ask(self) -> None:
        try:
            told = self.client.sync(self._identity, callback_timeout=max(self.heartbeat, 5.0))
        except Exception as error:  # of whatever layer
            raise Lost(str(error) or type(error).__name__) from error
        if self.identity and told["id"] != self.identity:
            raise Lost("the scheduler was started anew")
        self.identity = told["id"]
        self.worker_count = len(told["workers"])
        self.thread_count = sum(each["nthreads"] for each in told["workers"].values())
        self._asked = time.monotonic()

    async def _identity(self) -> Any:
        return await self.client.scheduler.identity()

    def abandon(self) -> None:
        """Leaves the client, without waiting for it."""
        if self.client is not None:
            threading.Thread(target=close_quietly, args=(self.client,), daemon=True).start()
        self.client = None

    def close(self) -> None:
        if self.client is not None:
            close_quietly(self.client)
            self.client = None
        if self._local is not None:
            close_quietly(self._local)


def close_quietly(closable: Any) -> None:
    with contextlib.suppress(Exception):
        closable.close(timeout=5)


def local_cluster(workers: int | None, memory: str | None, retries: int) -> Any:
    """Processes of this machine, each with one thread and a nanny that starts it anew."""
    import dask
    import distributed

    dask.config.set({"distributed.scheduler.allowed-failures": retries})
    return distributed.LocalCluster(
        n_workers=workers,
        threads_per_worker=1,
        processes=True,
        memory_limit=memory or "auto",
        host="127.0.0.1",
        dashboard_address=None,
        silence_logs=logging.CRITICAL,
    )
