"""What the package raises."""

from __future__ import annotations

from typing import TYPE_CHECKING, Tuple

if TYPE_CHECKING:
    from .meanings import Meaning


class MvFpiError(Exception):
    """Base of everything that the package raises on its own account."""


class DriverLoadError(MvFpiError, OSError):
    """The driver library cannot be loaded."""


class RecordError(MvFpiError, ValueError):
    """A text or bytes are no well-formed record."""


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
    ) -> None:
        super().__init__(function, code, message, meanings)
        self.function = function  # C name of the call
        self.code = code
        self.message = message  # the driver's own words, or ""
        self.meanings = meanings  # the likeliest first; empty: unknown code

    def __str__(self) -> str:
        said = f" [{self.message}]" if self.message else ""
        known = ", or ".join(f"{m.meaning} ({m.name})" for m in self.meanings)
        meaning = known or "a code that this call has no meaning for"
        return f"{self.function}: {self.code}{said}: {meaning}"


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
