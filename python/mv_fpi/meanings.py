"""Result codes in words: one row for each thing that a number can mean.

The same number means different things in different calls, and some numbers
mean two things in one call.
"""

from __future__ import annotations

from typing import FrozenSet, NamedTuple, Optional, Tuple, Type

from . import constants as c
from . import errors


class Meaning(NamedTuple):
    functions: FrozenSet[str]  # C names of the calls that can give it
    code: int
    name: str  # its constant in mv_fpi.h
    at_once: bool  # else only after the call began to talk to the reader
    status: str  # what the call's message then says; "" when nothing
    meaning: str
    cause: str
    error: Type[errors.CallError]


# No call talks to the reader before its first pause is over.
_FIRST_PAUSE_MS = 250

_VERSION = frozenset({"FG_GetDevVersion"})
_SN = frozenset({"FG_GetDevSn"})
_PROBE = frozenset({"FG_CheckPressed"})
_FEATURE = frozenset({"FG_GetFeature"})
_TEMPLATE = frozenset({"FG_GetTemplate"})
_GUIDED = frozenset({"FG_TipsGetTemplate"})
_MATCH = frozenset({"FG_FpMatch"})
_COMM = frozenset({"DEV_CommCall"})

_ENROLMENTS = _TEMPLATE | _GUIDED
_CAPTURES = _FEATURE | _ENROLMENTS
# The probe call reports any trouble of the exchange as "no finger".
_EXCHANGES = _VERSION | _SN | _COMM | _CAPTURES
_DEVICE_CALLS = _EXCHANGES | _PROBE

_AT_ONCE = True
_TALKING = False

MEANINGS: Tuple[Meaning, ...] = (
    Meaning(_DEVICE_CALLS - _COMM, c.FG_ERR_ARGUMENT, "FG_ERR_ARGUMENT",
            _AT_ONCE, "", "an argument breaks its rule",
            "a NULL pointer, a link speed other than 9600, or a time-out out "
            "of range", errors.ArgumentError),
    Meaning(_COMM, c.FG_ERR_ARGUMENT, "FG_ERR_ARGUMENT", _AT_ONCE, "",
            "an argument or a field of the request breaks its rule",
            'a NULL pointer, a "FunctionCode" that is no string, or a '
            '"RequestPort" that is no string of 1 to 40 characters',
            errors.ArgumentError),
    Meaning(_MATCH, c.FG_ERR_ARGUMENT, "FG_ERR_ARGUMENT", _AT_ONCE, "",
            "an argument breaks its rule",
            "a NULL record, or a level outside 0 to 5", errors.ArgumentError),
    Meaning(_FEATURE, c.FG_ERR_TIMEOUT, "FG_ERR_TIMEOUT", _AT_ONCE,
            "采集指纹特征超时", "no finger came in time",
            "nobody pressed, or the finger was too dry or too short on the "
            "sensor", errors.FingerTimeoutError),
    Meaning(_ENROLMENTS, c.FG_ERR_TIMEOUT, "FG_ERR_TIMEOUT", _AT_ONCE,
            "采集指纹模板超时", "not all three presses came in time",
            "the time-out covers all three presses together",
            errors.FingerTimeoutError),
    Meaning(_DEVICE_CALLS, c.FG_ERR_PORT, "FG_ERR_PORT", _AT_ONCE,
            "打开串口失败", "the port could not be opened as a terminal",
            "no such device, no right to open it, or not a serial port",
            errors.PortError),
    Meaning(_EXCHANGES, c.FG_DEV_TOO_LONG, "FG_DEV_TOO_LONG", _TALKING, "",
            "the reader's reply is too long",
            "noise on the line, another device on the port, or a record that "
            "does not fit a feature text", errors.ReaderError),
    Meaning(_PROBE, c.FG_ERR_NO_FINGER, "FG_ERR_NO_FINGER", _TALKING, "",
            "no finger lies on the sensor, or the probe failed",
            "the call gives one answer for both", errors.NoFingerError),
    Meaning(_EXCHANGES, c.FG_DEV_BAD_CRC, "FG_DEV_BAD_CRC", _TALKING, "",
            "the checksum of the reader's reply is wrong",
            "noise on the line", errors.ReaderError),
    Meaning(_MATCH, c.FG_ERR_NO_MATCH, "FG_ERR_NO_MATCH", _AT_ONCE, "",
            "the records do not match, or one is malformed",
            "the call gives one answer for both", errors.NoMatchError),
    Meaning(_DEVICE_CALLS, c.FG_ERR_SELECTOR, "FG_ERR_SELECTOR", _TALKING,
            "下发BP盒指令失败", "the switch box did not take the selector",
            "a selector other than A, B, C or K, or a port that takes no data",
            errors.SelectorError),
    Meaning(_FEATURE, c.FG_ERR_SELECTOR, "FG_ERR_SELECTOR", _TALKING,
            "设备串口波特率失败", "the reader did not take its link speed",
            "the reader is off, not on this port, or behind a switch box",
            errors.ReaderError),
    Meaning(_EXCHANGES, c.FG_DEV_WRITE, "FG_DEV_WRITE", _TALKING, "",
            "the request could not be written to the port",
            "the adapter was unplugged, or its output is blocked",
            errors.ReaderError),
    Meaning(_EXCHANGES, c.FG_DEV_READ, "FG_DEV_READ", _TALKING, "",
            "the reader did not answer, or its reply broke off",
            "the reader is off, not on this port, or behind a switch box",
            errors.ReaderError),
    Meaning(_DEVICE_CALLS, c.FG_ERR_BUSY, "FG_ERR_BUSY", _AT_ONCE, "",
            "another call holds the reader",
            "one call at a time runs on the whole machine; or the lock file "
            "/tmp/cx_nrbk_drv_file_mutex.lock cannot be opened",
            errors.BusyError),
    Meaning(_EXCHANGES, c.FG_DEV_BAD_HEADER, "FG_DEV_BAD_HEADER", _TALKING, "",
            "the reader refused, or the reply was not to this request",
            "a status from the reader, noise, or another device on the port",
            errors.ReaderError),
    Meaning(_GUIDED, c.FG_ERR_CANCELLED, "FG_ERR_CANCELLED", _TALKING,
            "取消采集指纹模板", "the user closed the prompt window",
            "the enrolment was given up", errors.CancelledError),
    Meaning(_ENROLMENTS | _MATCH, c.FG_ERR_NO_LIBRARY, "FG_ERR_NO_LIBRARY",
            _AT_ONCE, "", "the algorithm library cannot be loaded",
            "dual-feature records need a library that is not part of the "
            "driver", errors.AlgorithmLibraryError),
    Meaning(_TEMPLATE, c.FG_ERR_SYNTHESIS, "FG_ERR_SYNTHESIS", _TALKING,
            "合成指纹模板失败", "the three presses do not agree",
            "different fingers, or presses too light or too far off centre",
            errors.SynthesisError),
    Meaning(_GUIDED, c.FG_ERR_GUIDED_SYNTHESIS, "FG_ERR_GUIDED_SYNTHESIS",
            _TALKING, "合成指纹模板失败", "the three presses do not agree",
            "different fingers, or presses too light or too far off centre",
            errors.SynthesisError),
    Meaning(_COMM, -99, "-99", _AT_ONCE, "",
            'the request is no JSON object with a "FunctionCode"',
            "a malformed request", errors.ArgumentError),
    Meaning(_EXCHANGES, c.FG_DEV_NO_MEMORY, "FG_DEV_NO_MEMORY", _TALKING, "",
            "there is no memory for the reader's reply",
            "the machine is out of memory", errors.ReaderError),
)


def meanings_of(
    function: str,
    code: int,
    message: Optional[str] = None,
    elapsed_ms: Optional[float] = None,
) -> Tuple[Meaning, ...]:
    """What `code` can mean in the call of that C name, the likeliest first.

    The call's message and duration, when given, rule meanings out. Empty for
    a number that the call never gives.
    """
    found = [m for m in MEANINGS if function in m.functions and m.code == code]
    if message is not None and function in _CAPTURES:
        # A cause that has a text of its own would have said it.
        speaking = [m for m in found if m.status == message]
        found = speaking or [m for m in found if not m.status] or found
    if elapsed_ms is not None:
        if elapsed_ms < _FIRST_PAUSE_MS:
            found = [m for m in found if m.at_once] or found
        # A busy machine may be late with any answer, so this is but likelier.
        found.sort(key=lambda m: m.at_once)
    return tuple(found)


def error_of(
    function: str, code: int, message: str, elapsed_ms: float
) -> errors.CallError:
    """The exception for a failed call."""
    found = meanings_of(function, code, message, elapsed_ms)
    kind = found[0].error if found else errors.CallError
    return kind(function, code, message, found)
