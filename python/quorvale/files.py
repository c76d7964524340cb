# SPDX-License-Identifier: MIT
"""Files that a piece writes, and which of them its folder still lacks."""

from __future__ import annotations

import os
import zlib
from typing import Final

from quorvale.origin import Origin

DEMO: Final = "demo.xml"

_written: Final[set[str]] = set()  # whole paths
_unwritten: Final[dict[int, Origin]] = {}  # lines that made documents, by their order


def write_file(maker: str, path: str, data: bytes) -> None:
    """Writes a file over an old one; ValueError, in words on the path, where it can't be.

    >>> write_file("write", "piece.py", b"")
    Traceback (most recent call last):
    ValueError: write(): "piece.py" would be written over: it is a program
    """
    name = os.path.basename(path)
    folder = os.path.dirname(os.path.abspath(path))
    beside = f'; a piece has its files beside piece.py: "{name}"' if name else ""
    if name.endswith(".py"):
        raise ValueError(f'{maker}(): "{path}" would be written over: it is a program')
    if os.path.exists(folder) and not os.path.isdir(folder):
        raise ValueError(f'{maker}(): "{os.path.dirname(path)}" is a file and no folder{beside}')
    if not os.path.isdir(folder):
        raise ValueError(f'{maker}(): there is no folder "{os.path.dirname(path)}"{beside}')
    if not name or os.path.isdir(path):
        raise ValueError(f'{maker}(): "{path}" is a folder: give the name of a file')
    try:
        with open(path, "wb") as stream:
            stream.write(data)
    except (OSError, ValueError) as error:
        reason = error.strerror if isinstance(error, OSError) else str(error)
        raise ValueError(f'{maker}(): "{path}" can\'t be written: {reason}') from None
    _written.add(os.path.abspath(path))


def note_document(origin: Origin, has_text: bool) -> None:
    """Keeps in mind that a document was made, or that its text was asked for."""
    if has_text:
        _unwritten.pop(origin.order, None)
    else:
        _unwritten[origin.order] = origin


def demo_stamp() -> tuple[int, int, int] | None:
    """Changes when `demo.xml` of the working directory is written; None without one.

    >>> demo_stamp() is None
    True
    """
    try:
        state = os.stat(DEMO)
    except OSError:
        return None
    return state.st_mtime_ns, state.st_ino, state.st_size


def _is_by_hand() -> bool:
    """Whether `demo.xml` is there and not as a Document wrote it."""
    try:
        with open(DEMO, "rb") as stream:
            text = stream.read()
    except OSError:
        return False
    try:
        with open(".demo.origins", encoding="utf-8", errors="replace") as table:
            return table.readline() != f"text\t{len(text)}\t{zlib.crc32(text)}\n"
    except OSError:
        return True


def missing_demo(before: tuple[int, int, int] | None) -> tuple[Origin | None, str] | None:
    """Why a piece that has run left no `demo.xml` of its own: the line of a document that it did
    not write, if there is one, and a sentence. None where all is well: also where an author's
    hand-written `demo.xml` lies there, and the piece makes other files.

    `before` is what `demo_stamp` gave before the piece ran.
    """
    if os.path.abspath(DEMO) in _written or demo_stamp() != before:
        return None
    forgotten = list(_unwritten.values())
    if not forgotten and _is_by_hand():
        return None
    state = "the folder has none" if before is None else "the one in the folder is older"
    if forgotten:
        return forgotten[-1], (f'this document is never written to demo.xml, and {state}: end with '
                               f'demo.write("{DEMO}")')
    return None, (f'no document was written to demo.xml, and {state}: make one by '
                  f'demo = Document() and end with demo.write("{DEMO}")')
