"""Leaves a port as it was when a call on it is cut short."""

from __future__ import annotations

import array
import fcntl
import os
import select
import termios
import time
from typing import Any, List, Optional

# A reader needs a moment to answer; the longest reply takes 2.2 s.
_SILENCE_MS = 250
_LONGEST_SETTLING_S = 3


class PortKeeper:
    """Remembers the settings of a port while the driver works on it. Of one
    that cannot be opened there is nothing to keep."""

    def __init__(self, port: str) -> None:
        self._settings: Optional[List[Any]] = None
        self._fd = -1
        flags = os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK
        try:
            self._fd = os.open("/dev/" + port, flags)
            self._settings = termios.tcgetattr(self._fd)
        except (OSError, ValueError, termios.error):
            pass

    def __enter__(self) -> PortKeeper:
        return self

    def __exit__(self, *error: object) -> None:
        if self._fd >= 0:
            os.close(self._fd)

    def settle(self) -> None:
        """Lets the reader finish what it is sending, and throws that away."""
        if self._settings is None:
            return
        sent = select.poll()
        sent.register(self._fd, select.POLLIN)
        give_up = time.monotonic() + _LONGEST_SETTLING_S
        while time.monotonic() < give_up:
            arrived = sent.poll(_SILENCE_MS)
            if arrived and not self._discard():
                return
            if not arrived and not self._is_sending():
                return

    def restore(self) -> None:
        if self._settings is None:
            return
        try:
            termios.tcsetattr(self._fd, termios.TCSANOW, self._settings)
        except termios.error:
            pass  # unplugged meanwhile

    def _discard(self) -> bool:
        """False when the port has hung up."""
        try:
            return os.read(self._fd, 256) != b""
        except BlockingIOError:
            return True
        except OSError:
            return False

    def _is_sending(self) -> bool:
        waiting = array.array("i", [0])
        try:
            fcntl.ioctl(self._fd, termios.TIOCOUTQ, waiting)
        except OSError:
            return False
        return waiting[0] > 0
