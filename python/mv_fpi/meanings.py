"""Result codes in words: one entry for each thing that a number can mean.

The same number means different things in different calls, and some numbers
mean two things in one call.
"""

from __future__ import annotations

import json
from pathlib import Path
from typing import Any, Dict, FrozenSet, NamedTuple, Optional, Tuple


class Meaning(NamedTuple):
    functions: FrozenSet[str]  # C names of the calls that can give it
    code: int
    name: str  # its constant in mv_fpi.h
    at_once: bool  # else only after the call began to talk to the reader
    status: str  # what the call's message then says; "" when nothing
    meaning: str
    cause: str
    remedy: str

    @classmethod
    def of(cls, row: Dict[str, Any]) -> Meaning:
        """From its row in the table, which the tool mvfp reads too."""
        return cls(
            frozenset(row["calls"]), row["code"], row["name"],
            row["at_once"], row["message"], row["meaning"],
            row["cause"], row["remedy"],
        )


def _load() -> Tuple[Meaning, ...]:
    table = Path(__file__).with_name("result_codes.json")
    rows = json.loads(table.read_text(encoding="utf-8"))
    return tuple(map(Meaning.of, rows))


MEANINGS = _load()

# No call talks to the reader before its first pause is over.
_FIRST_PAUSE_MS = 250

# The calls whose message tells causes apart.
_CAPTURES = ("FG_GetFeature", "FG_GetTemplate", "FG_TipsGetTemplate")


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
