"""What the package raises."""

from __future__ import annotations

from typing import Tuple, Type

from .meanings import Meaning, meanings_of


class MvFpiError(Exception):
    """Base of everything that the package raises on its own account."""


class DriverLoadError(MvFpiError, OSError):
    """The driver library cannot be loaded."""


class RecordError(MvFpiError, ValueError):
    """A text or bytes are no well-formed record."""


class DeadlineError(MvFpiError, TimeoutError):
    """A call took longer than its `WorkerDriver` allows, and was ended."""


class WorkerError(MvFpiError):
    """The process of a `WorkerDriver` ended in the midst of a call."""


class CallError(MvFpiError):
    """A call of the driver gave a negative result.

    The class is that of the likeliest meaning; `meanings` has them all.
    """

    def __init__(
        self,
        function: str,
        code: int,
        message: str = "",
        meanings: Tuple[Meaning, ...] = (),
        port: str = "",
    ) -> None:
        super().__init__(function, code, message, meanings, port)
        self.function = function  # C name of the call
        self.port = port  # below /dev; "" of a comparison
        self.code = code
        self.message = message  # the driver's own words, or ""
        self.meanings = meanings  # the likeliest first; empty: unknown code

    def __str__(self) -> str:
        said = f" [{self.message}]" if self.message else ""
        known = ", or ".join(f"{m.meaning} ({m.name})" for m in self.meanings)
        meaning = known or "a code that this call has no meaning for"
        where = f" on {self.port}" if self.port else ""
        return f"{self.function}{where}: {self.code}{said}: {meaning}"


class ArgumentError(CallError, ValueError):
    """An argument, or a field of a request, breaks its rule."""


class FingerTimeoutError(CallError, TimeoutError):
    """No finger, or not all presses, in time."""


class PortError(CallError):
    """The port could not be opened as a terminal."""


class NoFingerError(CallError):
    """No finger on the sensor; `Driver.finger_present` says False instead."""


class NoMatchError(CallError):
    """No match or a malformed record; `Driver.matches` says False instead."""


class SelectorError(CallError):
    """The switch box did not take the selector."""


class BusyError(CallError):
    """Another call, on this machine, holds the reader."""


class CancelledError(CallError):
    """The user closed the prompt window."""


class AlgorithmLibraryError(CallError):
    """The library for dual-feature records cannot be loaded."""


class SynthesisError(CallError):
    """The presses of an enrolment do not agree."""


class ReaderError(CallError):
    """The exchange with the reader failed."""


# By the constant; what is not here is trouble with the reader.
_KINDS = {
    "FG_ERR_ARGUMENT": ArgumentError,
    "FG_ERR_TIMEOUT": FingerTimeoutError,
    "FG_ERR_PORT": PortError,
    "FG_ERR_NO_FINGER": NoFingerError,
    "FG_ERR_NO_MATCH": NoMatchError,
    "FG_ERR_SELECTOR": SelectorError,
    "FG_ERR_BUSY": BusyError,
    "FG_ERR_CANCELLED": CancelledError,
    "FG_ERR_NO_LIBRARY": AlgorithmLibraryError,
    "FG_ERR_SYNTHESIS": SynthesisError,
    "FG_ERR_GUIDED_SYNTHESIS": SynthesisError,
    "-99": ArgumentError,  # of DEV_CommCall, which has no constant for it
}
_SPEED_REFUSED = "设备串口波特率失败"


def _kind_of(meaning: Meaning) -> Type[CallError]:
    # Under the number of the switch box, but no fault of its.
    if meaning.status == _SPEED_REFUSED:
        return ReaderError
    return _KINDS.get(meaning.name, ReaderError)


def error_of(
    function: str, code: int, message: str, elapsed_ms: float, port: str = ""
) -> CallError:
    """The exception for a failed call."""
    found = meanings_of(function, code, message, elapsed_ms)
    kind = _kind_of(found[0]) if found else CallError
    return kind(function, code, message, found, port)
