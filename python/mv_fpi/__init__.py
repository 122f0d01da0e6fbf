"""Fingerprint reader on a serial port, through the driver libmv_fpi.

`Driver` has a method for every call of mv_fpi.h; a call that fails raises a
`CallError`, which says what the result code means in that call. The same calls
in a process of their own, so that Ctrl-C or a deadline ends them, has
`WorkerDriver`.
"""

from .driver import LIBRARY_VARIABLE, Driver
from .errors import (
    AlgorithmLibraryError,
    ArgumentError,
    BusyError,
    CallError,
    CancelledError,
    DeadlineError,
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
    WorkerError,
)
from .meanings import Meaning, meanings_of
from .record import Minutia, Record, read_record
from .worker import WorkerDriver

__version__ = "1.0.0"

__all__ = [
    "LIBRARY_VARIABLE",
    "AlgorithmLibraryError",
    "ArgumentError",
    "BusyError",
    "CallError",
    "CancelledError",
    "DeadlineError",
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
    "WorkerDriver",
    "WorkerError",
    "__version__",
    "meanings_of",
    "read_record",
]
