"""Fingerprint records: the bytes behind a feature or template text."""

from __future__ import annotations

import base64
from dataclasses import dataclass
from typing import Tuple, Union

from .errors import RecordError

_TAG = 18
_DUAL_FEATURE_CLASSES = frozenset({128, 129, 130, 131, 136})
_HEAD_BYTES = 3
_MINUTIA_BYTES = 5
_MAX_MINUTIAE = 50


def _check(name: str, value: int, least: int, most: int) -> None:
    if not least <= value <= most:
        raise RecordError(f"{name} {value} is not in {least} to {most}")


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
        try:
            encoded = text if isinstance(text, bytes) else text.encode("ascii")
            data = base64.b64decode(encoded, validate=True)
        except ValueError as error:
            raise RecordError(f"not Base64: {error}") from None
        if base64.b64encode(data) != encoded:
            raise RecordError("not Base64: wrong padding")
        return cls.from_bytes(data)

    def to_bytes(self) -> bytes:
        head = bytes((_TAG, self.header_class, len(self.minutiae)))
        return head + b"".join(m._to_bytes() for m in self.minutiae)

    def to_text(self) -> str:
        """The text that the comparison takes."""
        return base64.b64encode(self.to_bytes()).decode("ascii")
