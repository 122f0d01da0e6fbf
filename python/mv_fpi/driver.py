"""The driver's calls as methods."""

from __future__ import annotations

import ctypes
import json
import operator
import os
import time
from ctypes import POINTER, byref, c_char_p, c_int, c_uint, c_void_p
from typing import Any, Callable, Dict, Mapping, Optional, Union

from . import constants as c
from .errors import DriverLoadError, NoFingerError, NoMatchError, error_of

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
    "DEV_CommCall": [c_char_p, c_void_p, c_char_p, POINTER(c_uint)],
}


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


def _text_in(buffer: Any) -> str:
    """What a call wrote: UTF-8, but a reader may send anything."""
    return str(buffer.value.decode("utf-8", "replace"))


class Driver:
    """The loaded driver. Safe to use from any thread.

    Every device call is complete in itself: it takes the machine-wide lock,
    opens the port and closes it again. A second one at the same time raises
    `BusyError`. Other threads run during a call; a signal, Ctrl-C too, is
    handled when the call has returned.

    `port` is a device name below /dev, such as "ttyUSB0"; `box` selects a
    branch of the switch box in front of the reader ("A", "B", "C" or "K").
    """

    def __init__(
        self, path: Optional[Union[str, "os.PathLike[str]"]] = None
    ) -> None:
        """Loads the library at `path`; without one that which the environment
        variable MV_FPI_LIBRARY names; else libmv_fpi.so.1 where the dynamic
        loader finds it. Raises `DriverLoadError`."""
        name = os.fspath(path) if path is not None else None
        name = name or os.environ.get(LIBRARY_VARIABLE) or _LIBRARY_NAME
        try:
            library = ctypes.CDLL(name)
            self._calls = {n: getattr(library, n) for n in _ARGUMENTS}
        except (OSError, AttributeError) as error:
            raise DriverLoadError(str(error)) from error
        for call_name, call in self._calls.items():
            call.argtypes = _ARGUMENTS[call_name]
            call.restype = c_int

    def version(self, port: str, *, box: str = "") -> str:
        """FG_GetDevVersion: the reader's firmware version, as "v2.15"."""
        text = ctypes.create_string_buffer(c.FG_VERSION_BYTES)
        self._call("FG_GetDevVersion", *_link(port, box), text)
        return _text_in(text)

    def serial_number(self, port: str, *, box: str = "") -> str:
        """FG_GetDevSn: the reader's serial number, up to 32 characters."""
        # A full serial number has no terminator: one zero byte more.
        text = ctypes.create_string_buffer(c.FG_SN_BYTES + 1)
        self._call("FG_GetDevSn", *_link(port, box), text)
        return _text_in(text)

    def finger_present(self, port: str, *, box: str = "") -> bool:
        """FG_CheckPressed: whether a finger lies on the sensor.

        Also False when the reader does not answer."""
        try:
            self._call("FG_CheckPressed", *_link(port, box))
        except NoFingerError:
            return False
        return True

    def capture(self, port: str, timeout_s: int, *, box: str = "") -> str:
        """FG_GetFeature: waits for a finger, returns its feature as text.

        The text is empty when the reader had nothing to give."""
        size = c.FG_FEATURE_BYTES
        return self._capture("FG_GetFeature", size, port, timeout_s, box)

    def enroll(self, port: str, timeout_s: int, *, box: str = "") -> str:
        """FG_GetTemplate: three presses within one time-out, merged into a
        template; returns its text."""
        size = c.FG_TEMPLATE_BYTES
        return self._capture("FG_GetTemplate", size, port, timeout_s, box)

    def enroll_guided(self, port: str, timeout_s: int, *, box: str = "") -> str:
        """FG_TipsGetTemplate: as `enroll`, with a prompt window.

        Raises `CancelledError` when the user closes the window."""
        size = c.FG_TEMPLATE_BYTES
        return self._capture("FG_TipsGetTemplate", size, port, timeout_s, box)

    def score(self, first: str, second: str) -> int:
        """FG_FpMatch at level 0: how alike two records are, 0 to 100.

        When one record is compared with many, let it be the first. Raises
        `NoMatchError` for a malformed record. The score of dual-feature
        records is the algorithm library's affair."""
        return self._compare(first, second, c.FG_LEVEL_SCORE)

    def matches(self, first: str, second: str, level: int) -> bool:
        """FG_FpMatch at a level from 1 to 5; a higher level accepts less.

        Also False for a malformed record."""
        if level == c.FG_LEVEL_SCORE:
            raise ValueError("level 0 decides nothing: call score")
        try:
            self._compare(first, second, level)
        except NoMatchError:
            return False
        return True

    def comm_call(
        self, request: Union[str, Mapping[str, Any]]
    ) -> Dict[str, str]:
        """DEV_CommCall: the reply to a request, which is JSON or a mapping:
        {"FunctionCode": "0001", "RequestPort": "3"} asks for information
        about the reader on /dev/COM3.

        After a failure the exception's message is the reply's."""
        if not isinstance(request, str):
            request = json.dumps(dict(request))
        reply = ctypes.create_string_buffer(c.DEV_REPLY_BYTES)
        # The reserved pointer must lead somewhere, and nothing looks there.
        reserved, length = c_uint(), c_uint()
        self._call("DEV_CommCall", _c_text(request), byref(reserved), reply,
                   byref(length), said=lambda: _error_message(reply))
        return _parsed(reply)

    def _capture(
        self, name: str, size: int, port: str, timeout_s: int, box: str
    ) -> str:
        text = ctypes.create_string_buffer(size)
        message = ctypes.create_string_buffer(c.FG_MESSAGE_BYTES)
        self._call(name, *_link(port, box), _c_int(timeout_s), text,
                   byref(c_int()), message, said=lambda: _text_in(message))
        return _text_in(text)

    def _compare(self, first: str, second: str, level: int) -> int:
        records = _c_text(first), _c_text(second)
        return self._call("FG_FpMatch", *records, _c_int(level))

    def _call(
        self, name: str, *arguments: Any, said: Callable[[], str] = _silent
    ) -> int:
        """The result; a negative one is raised with what the call `said`."""
        start = time.monotonic()
        code = int(self._calls[name](*arguments))
        if code < 0:
            elapsed_ms = (time.monotonic() - start) * 1000
            raise error_of(name, code, said(), elapsed_ms)
        return code


def _link(port: str, box: str) -> Any:
    return _c_text(port), _c_text(box), c.FG_LINK_SPEED


def _parsed(reply: Any) -> Dict[str, str]:
    fields: Dict[str, str] = json.loads(_text_in(reply))
    return fields


def _error_message(reply: Any) -> str:
    # A driver out of memory leaves the reply empty.
    return _parsed(reply)["ErrorMessage"] if reply.value else ""
