"""What the process of a `WorkerDriver` does: calls, one after the other."""

from __future__ import annotations

import ctypes
import os
import pickle
import sys
from typing import Any, Dict, Tuple

from .driver import load_library, run_timed
from .errors import DriverLoadError


def serve() -> None:
    """Answers until the other side is gone."""
    # The driver, or a library beside it, may print: not among the replies.
    requests = os.fdopen(os.dup(0), "rb")
    replies = os.fdopen(os.dup(1), "wb")
    os.dup2(os.open(os.devnull, os.O_RDONLY), 0)
    os.dup2(2, 1)
    try:
        calls = load_library(sys.argv[1])
    except DriverLoadError as error:
        pickle.dump(error, replies)
        replies.flush()
        return
    while True:
        try:
            name, arguments = pickle.load(requests)
        except EOFError:
            return
        pickle.dump(_run(calls, name, arguments), replies)
        replies.flush()


def _run(calls: Dict[str, Any], name: str, sent: Any) -> Tuple[Any, ...]:
    """Result, duration, and what the call wrote into its buffers."""
    arguments = [(a[0] * a[1])() if isinstance(a, tuple) else a for a in sent]
    code, elapsed_ms = run_timed(calls[name], tuple(arguments))
    buffers = (a for a in arguments if isinstance(a, ctypes.Array))
    return code, elapsed_ms, [bytes(buffer) for buffer in buffers]
