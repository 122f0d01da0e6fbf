"""The driver's calls as methods."""

from __future__ import annotations

import ctypes
import json
import operator
import os
import random
import time
from ctypes import POINTER, c_char_p, c_int, c_void_p
from typing import Any, Callable, Dict, Mapping, Optional, Tuple, Union

from . import constants as c
from .errors import (
    BusyError,
    DriverLoadError,
    NoFingerError,
    NoMatchError,
    RecordError,
    error_of,
)
from .record import check_text

LIBRARY_VARIABLE = "MV_FPI_LIBRARY"
_LIBRARY_NAME = "libmv_fpi.so.1"

_LINK = [c_char_p, c_char_p, c_int]
_CAPTURE = [*_LINK, c_int, c_char_p, POINTER(c_int), c_char_p]
_ARGUMENTS = {
    "FG_GetDevVersion": [*_LINK, c_char_p],
    "FG_GetDevSn": [*_LINK, c_char_p],
    "FG_CheckPressed": _LINK,
    "FG_GetFeature": _CAPTURE,
    "FG_GetTemplate": _CAPTURE,
    "FG_TipsGetTemplate": _CAPTURE,
    "FG_FpMatch": [c_char_p, c_char_p, c_int],
    "DEV_CommCall": [c_char_p, c_void_p, c_char_p, POINTER(c_int)],
}

Port = Union[str, "os.PathLike[str]"]


def _silent() -> str:
    return ""


def _c_text(text: str) -> bytes:
    """`text` for C, which would take a NUL inside for the end."""
    encoded = str.encode(text, "utf-8", "surrogateescape")
    if b"\0" in encoded:
        raise ValueError("embedded null character")
    return encoded


def _c_int(value: int) -> int:
    """`value`, which ctypes would cut to 32 bits without a word."""
    number = operator.index(value)
    if c_int(number).value != number:
        raise OverflowError(f"{number} does not fit a C int")
    return number


def _int_out() -> Any:
    """Where a call writes a number that the text beside it tells as well."""
    return (c_int * 1)()


def _text_in(buffer: Any) -> str:
    """What a call wrote: UTF-8, but a reader may send anything."""
    return str(buffer.value.decode("utf-8", "replace"))


def load_library(path: Optional[Port]) -> Dict[str, Any]:
    """The calls by their C names. Raises `DriverLoadError`."""
    name = os.fspath(path) if path is not None else None
    name = name or os.environ.get(LIBRARY_VARIABLE) or _LIBRARY_NAME
    try:
        library = ctypes.CDLL(name)
        calls = {n: getattr(library, n) for n in _ARGUMENTS}
    except (OSError, AttributeError) as error:
        raise DriverLoadError(str(error)) from error
    for call_name, call in calls.items():
        call.argtypes = _ARGUMENTS[call_name]
        call.restype = c_int
    return calls


def run_timed(call: Any, arguments: Tuple[Any, ...]) -> Tuple[int, float]:
    """The result and the milliseconds that it took."""
    start = time.monotonic()
    code = int(call(*arguments))
    return code, (time.monotonic() - start) * 1000


class Driver:
    """The loaded driver. Safe to use from any thread.

    Every device call is complete in itself: it takes the machine-wide lock,
    opens the port and closes it again. While another one runs it raises
    `BusyError`, at once or after `wait_s` seconds of trying again. Other
    threads run during a call; a signal, Ctrl-C too, is handled when the call
    has returned (`WorkerDriver` ends it at once).

    `port` is a device below /dev: "ttyUSB0" or "/dev/ttyUSB0"; `box` selects a
    branch of the switch box in front of the reader ("A", "B", "C" or "K").
    """

    def __init__(self, path: Optional[Port] = None) -> None:
        """Loads the library at `path`; without one that which the environment
        variable MV_FPI_LIBRARY names; else libmv_fpi.so.1 where the dynamic
        loader finds it. Raises `DriverLoadError`."""
        self._calls = load_library(path)

    def version(
        self, port: Port, *, box: str = "", wait_s: float = 0
    ) -> str:
        """FG_GetDevVersion: the reader's firmware version, as "v2.15"."""
        text = ctypes.create_string_buffer(c.FG_VERSION_BYTES)
        self._call_on(port, "FG_GetDevVersion", box, text, wait_s=wait_s)
        return _text_in(text)

    def serial_number(
        self, port: Port, *, box: str = "", wait_s: float = 0
    ) -> str:
        """FG_GetDevSn: the reader's serial number, up to 32 characters."""
        # A full serial number has no terminator: one zero byte more.
        text = ctypes.create_string_buffer(c.FG_SN_BYTES + 1)
        self._call_on(port, "FG_GetDevSn", box, text, wait_s=wait_s)
        return _text_in(text)

    def finger_present(
        self, port: Port, *, box: str = "", wait_s: float = 0
    ) -> bool:
        """FG_CheckPressed: whether a finger lies on the sensor.

        Also False when the reader does not answer."""
        try:
            self._call_on(port, "FG_CheckPressed", box, wait_s=wait_s)
        except NoFingerError:
            return False
        return True

    def capture(
        self,
        port: Port,
        timeout_s: int = 20,
        *,
        box: str = "",
        wait_s: float = 0,
    ) -> str:
        """FG_GetFeature: waits for a finger, returns its feature as text.

        The text is empty when the reader had nothing to give."""
        size = c.FG_FEATURE_BYTES
        return self._capture("FG_GetFeature", size, port, timeout_s, box, wait_s)

    def enroll(
        self,
        port: Port,
        timeout_s: int = 60,
        *,
        box: str = "",
        wait_s: float = 0,
    ) -> str:
        """FG_GetTemplate: three presses within one time-out, merged into a
        template; returns its text."""
        size = c.FG_TEMPLATE_BYTES
        return self._capture("FG_GetTemplate", size, port, timeout_s, box, wait_s)

    def enroll_guided(
        self,
        port: Port,
        timeout_s: int = 60,
        *,
        box: str = "",
        wait_s: float = 0,
    ) -> str:
        """FG_TipsGetTemplate: as `enroll`, with a prompt window.

        Raises `CancelledError` when the user closes the window."""
        size = c.FG_TEMPLATE_BYTES
        return self._capture("FG_TipsGetTemplate", size, port, timeout_s, box, wait_s)

    def score(self, first: str, second: str) -> int:
        """FG_FpMatch at level 0: how alike two records are, 0 to 100.

        When one record is compared with many, let it be the first. Raises
        `RecordError` for a text that is not one whole record. The score of dual-feature
        records is the algorithm library's affair."""
        return self._compare(first, second, c.FG_LEVEL_SCORE)

    def matches(self, first: str, second: str, level: int) -> bool:
        """FG_FpMatch at a level from 1 to 5; a higher level accepts less.

        Raises `RecordError` for a text that is not one whole record."""
        if level == c.FG_LEVEL_SCORE:
            raise ValueError("level 0 decides nothing: call score")
        try:
            self._compare(first, second, level)
        except NoMatchError:
            return False
        return True

    def comm_call(
        self, request: Union[str, Mapping[str, Any]], *, wait_s: float = 0
    ) -> Dict[str, str]:
        """DEV_CommCall: the reply to a request, which is JSON or a mapping:
        {"FunctionCode": "0001", "RequestPort": "3"} asks for information
        about the reader on /dev/COM3.

        After a failure the exception's message is the reply's."""
        if not isinstance(request, str):
            request = json.dumps(dict(request))
        port = _requested_port(request)
        reply = ctypes.create_string_buffer(c.DEV_REPLY_BYTES)
        # The reserved pointer must lead somewhere, and nothing looks there.
        self._call("DEV_CommCall", _c_text(request), _int_out(), reply,
                   _int_out(), port=port, wait_s=wait_s,
                   said=lambda: _error_message(reply))
        return _parsed(reply)

    def _capture(
        self,
        name: str,
        size: int,
        port: Port,
        timeout_s: int,
        box: str,
        wait_s: float,
    ) -> str:
        text = ctypes.create_string_buffer(size)
        message = ctypes.create_string_buffer(c.FG_MESSAGE_BYTES)
        self._call_on(port, name, box, _c_int(timeout_s), text, _int_out(),
                      message, wait_s=wait_s, said=lambda: _text_in(message))
        return _text_in(text)

    def _compare(self, first: str, second: str, level: int) -> int:
        records = _record("first", first), _record("second", second)
        return self._call("FG_FpMatch", *records, _c_int(level))

    def _call_on(
        self, port: Port, name: str, box: str, *arguments: Any, **options: Any
    ) -> int:
        below = _port_name(port)
        return self._call(name, _c_text(below), _c_text(box), c.FG_LINK_SPEED,
                          *arguments, port=below, **options)

    def _call(
        self,
        name: str,
        *arguments: Any,
        port: str = "",
        wait_s: float = 0,
        said: Callable[[], str] = _silent,
    ) -> int:
        """The result; a negative one is raised with what the call `said`."""
        give_up = time.monotonic() + wait_s
        while True:
            code, elapsed_ms = self._run(name, port, arguments)
            if code >= 0:
                return code
            error = error_of(name, code, said(), elapsed_ms, port)
            left_s = give_up - time.monotonic()
            if not isinstance(error, BusyError) or left_s <= 0:
                raise error
            # Those who wait for one reader must not all come back at once.
            time.sleep(min(left_s, random.uniform(0.1, 0.4)))

    def _run(
        self, name: str, port: str, arguments: Tuple[Any, ...]
    ) -> Tuple[int, float]:
        """The call itself, which `WorkerDriver` makes in another process."""
        return run_timed(self._calls[name], arguments)


def _port_name(port: Port) -> str:
    """The driver takes names below /dev, and people write paths."""
    path = os.fspath(port)
    name = path[len("/dev/"):] if path.startswith("/dev/") else path
    if not name or name.startswith("/"):
        raise ValueError(f'"{path}" names no port below /dev')
    return name


def _requested_port(request: str) -> str:
    """The port that a request asks for; "" where it is none."""
    try:
        return f"COM{json.loads(request)['RequestPort']}"
    except (ValueError, TypeError, KeyError):
        return ""


def _record(which: str, text: str) -> bytes:
    """`text` for a comparison, which would make do with a part of it."""
    encoded = _c_text(text)
    try:
        check_text(text)
    except RecordError as error:
        raise RecordError(f"the {which} record: {error}") from None
    return encoded


def _parsed(reply: Any) -> Dict[str, str]:
    fields: Dict[str, str] = json.loads(_text_in(reply))
    return fields


def _error_message(reply: Any) -> str:
    # A driver out of memory leaves the reply empty.
    return _parsed(reply)["ErrorMessage"] if reply.value else ""
