"""Fingerprint records: the bytes behind a feature or template text."""

from __future__ import annotations

import base64
import os
import struct
from dataclasses import dataclass
from pathlib import Path
from typing import Tuple, Union

from .errors import RecordError

_TAG = 18
_DUAL_FEATURE_CLASSES = frozenset({128, 129, 130, 131, 136})
_DUAL_FEATURE_HEADS = frozenset(bytes((c,)) for c in _DUAL_FEATURE_CLASSES)
_HEAD_BYTES = 3
_MINUTIA_BYTES = 5
_MAX_MINUTIAE = 50


def _check(name: str, value: int, least: int, most: int) -> None:
    if not least <= value <= most:
        raise RecordError(f"{name} {value} is not in {least} to {most}")


def _decoded(text: Union[str, bytes]) -> bytes:
    try:
        encoded = text if isinstance(text, bytes) else text.encode("ascii")
        data = base64.b64decode(encoded, validate=True)
    except ValueError as error:
        raise RecordError(f"not Base64: {error}") from None
    if base64.b64encode(data) != encoded:
        raise RecordError("not Base64: wrong padding")
    return data


@dataclass(frozen=True)
class Minutia:
    """A ridge ending or fork. The fields cannot break their rules."""

    x: int  # 0 to 255
    y: int  # 0 to 255, grows downwards
    direction: int  # 0 to 359 degrees, counter-clockwise seen with y upwards
    weight: int  # 0 to 100
    kind: int  # 1 or 2
    auxiliary: int = 0  # 0 to 100; no comparison looks at it

    def __post_init__(self) -> None:
        _check("x", self.x, 0, 255)
        _check("y", self.y, 0, 255)
        _check("direction", self.direction, 0, 359)
        _check("weight", self.weight, 0, 100)
        _check("kind", self.kind, 1, 2)
        _check("auxiliary", self.auxiliary, 0, 100)

    @classmethod
    def _from_bytes(cls, data: bytes) -> Minutia:
        word = data[2] | data[3] << 8
        last = data[4]
        return cls(
            x=data[0],
            y=data[1],
            direction=word & 0x1FF,
            weight=word >> 9,
            kind=2 if last & 0x80 else 1,
            auxiliary=last & 0x7F,
        )

    def _to_bytes(self) -> bytes:
        word = self.direction | self.weight << 9
        last = self.auxiliary | (0x80 if self.kind == 2 else 0)
        return bytes((self.x, self.y, word & 0xFF, word >> 8, last))


@dataclass(frozen=True)
class Record:
    """A feature or template that the driver compares by itself.

    Parsing is strict: what the driver would put up with, such as bytes behind
    the last minutia, raises `RecordError`. So does a dual-feature record: its
    body belongs to the algorithm library.
    """

    minutiae: Tuple[Minutia, ...]
    header_class: int = 0

    def __post_init__(self) -> None:
        object.__setattr__(self, "minutiae", tuple(self.minutiae))
        _check("count", len(self.minutiae), 0, _MAX_MINUTIAE)
        _check("header class", self.header_class, 0, 255)
        if self.header_class in _DUAL_FEATURE_CLASSES:
            raise RecordError("dual-feature records cannot be read")

    @classmethod
    def from_bytes(cls, data: bytes) -> Record:
        if len(data) < _HEAD_BYTES:
            raise RecordError(f"{len(data)} bytes are too few for a record")
        tag, header_class, count = data[:_HEAD_BYTES]
        _check("format tag", tag, _TAG, _TAG)
        if header_class in _DUAL_FEATURE_CLASSES:
            raise RecordError("dual-feature records cannot be read")
        expected = _HEAD_BYTES + _MINUTIA_BYTES * count
        if len(data) != expected:
            raise RecordError(
                f"{count} minutiae take {expected} bytes, not {len(data)}"
            )
        starts = range(_HEAD_BYTES, expected, _MINUTIA_BYTES)
        minutiae = tuple(
            Minutia._from_bytes(data[at : at + _MINUTIA_BYTES])
            for at in starts
        )
        return cls(minutiae, header_class)

    @classmethod
    def from_text(cls, text: Union[str, bytes]) -> Record:
        """Reads the text of a feature or template."""
        return cls.from_bytes(_decoded(text))

    def to_bytes(self) -> bytes:
        head = bytes((_TAG, self.header_class, len(self.minutiae)))
        return head + b"".join(m._to_bytes() for m in self.minutiae)

    def to_text(self) -> str:
        """The text that the comparison takes."""
        return base64.b64encode(self.to_bytes()).decode("ascii")


def check_text(text: str) -> None:
    """Raises `RecordError` unless `text` is one whole record.

    The driver compares what it can read of any text: of one that was cut or
    broken into lines, a part of the finger. Of a dual-feature record only the
    head is looked at."""
    data = _decoded(text)
    if data[:1] == bytes((_TAG,)) and data[1:2] in _DUAL_FEATURE_HEADS:
        return
    if not _is_whole(data):
        Record.from_bytes(data)  # says why


def _is_whole(data: bytes) -> bool:
    """Whether `Record.from_bytes` would take it, in a tenth of its time:
    many records may have to be compared."""
    if len(data) < _HEAD_BYTES or data[0] != _TAG:
        return False
    count = data[2]
    length = _HEAD_BYTES + _MINUTIA_BYTES * count
    if count > _MAX_MINUTIAE or len(data) != length:
        return False
    return all(
        word & 0x1FF < 360 and word >> 9 <= 100 and last & 0x7F <= 100
        for word, last in struct.iter_unpack("<xxHB", data[_HEAD_BYTES:])
    )


def read_record(path: Union[str, "os.PathLike[str]"]) -> str:
    """The text of the one record in a file, which may be broken into lines, as
    mail does. Raises `RecordError` for anything else."""
    lines = Path(path).read_bytes().splitlines()
    text = b"".join(map(bytes.strip, lines)).decode("latin-1")
    try:
        check_text(text)
    except RecordError as error:
        raise RecordError(f"{os.fspath(path)}: {error}") from None
    return text
