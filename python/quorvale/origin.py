# SPDX-License-Identifier: MIT
"""Where the author made something: the file and line that messages name."""

from __future__ import annotations

import dataclasses
import functools
import itertools
import os
import sys
from typing import Final

_LIBRARY: Final = os.path.dirname(os.path.abspath(__file__)) + os.sep
_order: Final = itertools.count()


@dataclasses.dataclass(frozen=True)
class Origin:
    """A line of the author's, and the lines that called it, innermost first.

    `order` grows with every object, so that a document's items stand in the order in which they
    were made.
    """

    file: str
    line: int
    callers: tuple[tuple[str, int], ...]
    order: int

    def __str__(self) -> str:
        return f"{self.file}:{self.line}"


class OriginError(ValueError):
    """A ValueError that is found when a document is written, and belongs to a line before that."""

    def __init__(self, origin: Origin, text: str) -> None:
        super().__init__(f"{origin}: {text}")
        self.origin = origin
        self.text = text


@functools.cache
def _is_authors(path: str) -> bool:
    # dataclasses.replace stands between the library and itself.
    return not path.startswith("<") and path != dataclasses.__file__ \
        and not os.path.abspath(path).startswith(_LIBRARY)


def here() -> Origin:
    """The place in the author's code from which the library was called."""
    lines: list[tuple[str, int]] = []
    frame = sys._getframe(1)
    while frame is not None:
        path = frame.f_code.co_filename
        if _is_authors(path):
            lines.append((path, frame.f_lineno))
        following = frame.f_back
        if following is None:
            break
        frame = following
    if not lines:
        return Origin("?", 0, (), next(_order))
    return Origin(lines[0][0], lines[0][1], tuple(lines[1:4]), next(_order))
