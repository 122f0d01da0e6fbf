"""The driver in a process of its own, whose calls can be ended.

A call of the driver blocks and cannot be called off. So the process is frozen,
the line is left to fall silent, the port's settings are put back, and only then
is the process ended, which frees lock and port: nobody else can start to talk
to the reader in between.
"""

from __future__ import annotations

import contextlib
import ctypes
import os
import pickle
import select
import signal
import subprocess
import sys
import threading
from pathlib import Path
from typing import TYPE_CHECKING, Any, Optional, Tuple

from .driver import Driver, Port
from .errors import DeadlineError, DriverLoadError, WorkerError
from .port_keeper import PortKeeper

if TYPE_CHECKING:
    _Process = subprocess.Popen[bytes]

# Finds this very package, however the caller has found it.
_PROGRAM = (
    "import sys; sys.path.insert(0, sys.argv.pop(1)); "
    "from mv_fpi import worker_process; worker_process.serve()"
)


class WorkerDriver(Driver):
    """A `Driver` whose calls are made in another process.

    Ctrl-C, or whatever else is raised in the calling thread, ends a call at
    once, and so does `deadline_s`, which raises `DeadlineError`: within 0.3 s,
    or 3 s where the reader is still sending. Reader, lock and port are free
    then, and the next call may follow. A crash of the driver raises
    `WorkerError` and leaves the caller alive.

    The process is started by the first call and ended by `close`, by the end
    of a `with` block, or by that of the caller. Threads wait for each other;
    compare with a plain `Driver` while a finger is waited for.
    """

    def __init__(
        self,
        path: Optional[Port] = None,
        *,
        deadline_s: Optional[float] = None,
    ) -> None:
        """As `Driver`; `deadline_s` limits each call and may be changed. The
        library is loaded by the first call, which may raise
        `DriverLoadError`."""
        self.deadline_s = deadline_s
        self._path = os.fspath(path) if path is not None else ""
        self._process: Optional[_Process] = None
        self._turn = threading.Lock()

    def __enter__(self) -> WorkerDriver:
        return self

    def __exit__(self, *error: object) -> None:
        self.close()

    def close(self) -> None:
        """Ends the process, once a call of another thread is over."""
        with self._turn:
            self._end()

    def _run(
        self, name: str, port: str, arguments: Tuple[Any, ...]
    ) -> Tuple[int, float]:
        with self._turn:
            answer = self._ask(name, port, arguments)
            if isinstance(answer, DriverLoadError):
                self._end()
                raise answer
            code, elapsed_ms, written = answer
            buffers = (a for a in arguments if isinstance(a, ctypes.Array))
            for buffer, content in zip(buffers, written):
                ctypes.memmove(buffer, content, len(content))
            return int(code), float(elapsed_ms)

    def _ask(self, name: str, port: str, arguments: Tuple[Any, ...]) -> Any:
        process = self._running()
        with PortKeeper(port) as keeper:
            try:
                _send(process, name, arguments)
                return self._answer(process, f"{name} on {port}" if port else name)
            except BaseException:
                try:
                    _freeze(process)
                    keeper.settle()
                finally:
                    keeper.restore()
                    self._end()
                raise

    def _answer(self, process: _Process, what: str) -> Any:
        assert process.stdout is not None
        answered = select.poll()
        answered.register(process.stdout)
        limit_s = self.deadline_s
        # A negative limit would be none.
        limit_ms = None if limit_s is None else max(0, limit_s * 1000)
        if not answered.poll(limit_ms):
            raise DeadlineError(f"{what}: no answer within {limit_s} s")
        try:
            return pickle.load(process.stdout)
        except EOFError:
            code = process.wait()
            why = signal.strsignal(-code) if code < 0 else f"exit {code}"
            raise WorkerError(f"{what}: its process ended: {why}") from None

    def _running(self) -> _Process:
        if self._process is not None and self._process.poll() is None:
            return self._process
        self._end()
        # Without what lies in the directory where the caller was started; in a
        # session of its own, for Ctrl-C is the caller's to judge.
        place = str(Path(__file__).resolve().parents[1])
        self._process = subprocess.Popen(
            [sys.executable, "-I", "-c", _PROGRAM, place, self._path],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            start_new_session=True,
        )
        return self._process

    def _end(self) -> None:
        process, self._process = self._process, None
        if process is None:
            return
        process.kill()
        # What could not be sent has nobody to go to.
        with contextlib.suppress(BrokenPipeError), process:
            pass


def _send(process: _Process, name: str, arguments: Tuple[Any, ...]) -> None:
    """Of a buffer, type and size: the process has one of its own."""
    assert process.stdin is not None
    sent = [(a._type_, len(a)) if isinstance(a, ctypes.Array) else a
            for a in arguments]
    # A process that has just ended may have left an answer.
    with contextlib.suppress(BrokenPipeError):
        pickle.dump((name, sent), process.stdin)
        process.stdin.flush()


def _freeze(process: _Process) -> None:
    if process.poll() is not None:
        return
    process.send_signal(signal.SIGSTOP)
    os.waitid(os.P_PID, process.pid, os.WSTOPPED | os.WEXITED | os.WNOWAIT)
