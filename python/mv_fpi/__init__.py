"""Fingerprint reader on a serial port, through the driver libmv_fpi.

`Driver` has a method for every call of mv_fpi.h; a call that fails raises a
`CallError`, which says what the result code means in that call.
"""

from .driver import LIBRARY_VARIABLE, Driver
from .errors import (
    AlgorithmLibraryError,
    ArgumentError,
    BusyError,
    CallError,
    CancelledError,
    DriverLoadError,
    FingerTimeoutError,
    MvFpiError,
    NoFingerError,
    NoMatchError,
    PortError,
    ReaderError,
    RecordError,
    SelectorError,
    SynthesisError,
)
from .meanings import Meaning, meanings_of
from .record import Minutia, Record

__all__ = [
    "LIBRARY_VARIABLE",
    "AlgorithmLibraryError",
    "ArgumentError",
    "BusyError",
    "CallError",
    "CancelledError",
    "Driver",
    "DriverLoadError",
    "FingerTimeoutError",
    "Meaning",
    "Minutia",
    "MvFpiError",
    "NoFingerError",
    "NoMatchError",
    "PortError",
    "ReaderError",
    "Record",
    "RecordError",
    "SelectorError",
    "SynthesisError",
    "meanings_of",
]
