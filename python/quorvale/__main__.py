# SPDX-License-Identifier: MIT
"""The library as a command.

    python3 -m quorvale run FOLDER/piece.py    runs it in its folder, with short tracebacks
    python3 -m quorvale new FOLDER             makes a folder with a piece that plays
    python3 -m quorvale unbuild FOLDER         turns a folder's documents into a piece.py
"""

from __future__ import annotations

import builtins
import difflib
import inspect
import os
import pkgutil
import re
import runpy
import sys
import traceback

from quorvale.facts import nearest
from quorvale.files import demo_stamp, missing_demo
from quorvale.origin import OriginError
from quorvale.unbuild import unbuild

_HERE = os.path.dirname(os.path.abspath(__file__)) + os.sep
_PYTHON = os.path.dirname(os.path.abspath(os.__file__)) + os.sep
_NEAR_BUILTIN = 0.8  # of 1: names of Python's own are less often meant than the author's


def _authors(frame: traceback.FrameSummary) -> bool:
    path = os.path.abspath(frame.filename)
    return not frame.filename.startswith("<") and not path.startswith(_HERE) \
        and (not path.startswith(_PYTHON) or f"{os.sep}dist-packages{os.sep}" in path
             or f"{os.sep}site-packages{os.sep}" in path)


def _parameters(maker: str) -> list[str]:
    """The parameters of a function of the library, such as "maze" or "Scene.add"."""
    for name, module in list(sys.modules.items()):
        if name.partition(".")[0] == "quorvale":
            found: object = module
            for word in maker.split("."):
                found = getattr(found, word, None) if found is not None else None
            if callable(found):
                return list(inspect.signature(found).parameters)
    return []


def _words_of(error: BaseException) -> tuple[str, list[str]] | None:
    """A name that an error is about, and the names that there are; None for any other error."""
    text = str(error)
    keyword = re.search(r"([\w.]+)\(\) got an unexpected keyword argument '(\w+)'", text)
    if isinstance(error, TypeError) and keyword is not None:
        return keyword[2], _parameters(keyword[1])
    missing = re.search(r"cannot import name '(\w+)' from '([\w.]+)'", text)
    if isinstance(error, ImportError) and missing is not None:
        return missing[1], dir(sys.modules.get(missing[2]))
    if isinstance(error, AttributeError) and error.name is not None:
        return error.name, dir(error.obj)
    if isinstance(error, NameError) and error.name is not None and error.__traceback__ is not None:
        *_, (frame, _) = traceback.walk_tb(error.__traceback__)
        near = difflib.get_close_matches(error.name, dir(builtins), 1, _NEAR_BUILTIN)
        return error.name, [*frame.f_locals, *frame.f_globals, *near]
    module = re.search(r"No module named 'quorvale\.(\w+)'", text)
    if isinstance(error, ModuleNotFoundError) and module is not None:
        return module[1], [found.name for found in pkgutil.iter_modules([_HERE])]
    return None


def _shown(path: str, folder: str) -> str:
    inside = os.path.relpath(path)
    return path if inside.startswith(os.pardir) else os.path.join(folder, inside)


def report(error: BaseException, folder: str = "") -> str:
    """What went wrong, and the author's own lines that led there, the last one first to read.

    `folder` leads from where the reader stands to the working directory.
    """

    def shown(path: str) -> str:
        return _shown(path, folder)

    frames = [frame for frame in traceback.extract_tb(error.__traceback__) if _authors(frame)]
    lines = traceback.format_exception_only(type(error), error)
    if isinstance(error, OriginError):
        lines = [f"{shown(error.origin.file)}:{error.origin.line}: ValueError: {error.text}\n"]
    elif isinstance(error, SyntaxError) and error.filename is not None:
        lines = [f"{shown(error.filename)}:{error.lineno}: {lines[-1]}", *lines[1:-1]]
    elif frames:
        words = _words_of(error)
        near = nearest(*words) if words is not None else ""
        lines[-1] = f"{lines[-1].rstrip()}{near}\n"
        lines[0] = f"{shown(frames[-1].filename)}:{frames[-1].lineno}: {lines[0]}"
    for frame, text in zip(frames, traceback.format_list(frames)):
        lines.append(text.replace(f'"{frame.filename}"', f'"{shown(frame.filename)}"', 1))
    return "".join(lines)


def run(path: str) -> int:
    """Runs a piece in its folder. 1 after an error, which is told on standard error."""
    given, name = os.path.split(path)
    folder = os.path.abspath(given)
    before = None
    try:
        os.chdir(folder)
        sys.path.insert(0, folder)
        before = demo_stamp()
        runpy.run_path(name, run_name="__main__")
    except SystemExit as end:
        if not isinstance(end.code, (int, type(None))):
            sys.stderr.write(f"{end.code}\n")
        if end.code:
            return end.code if isinstance(end.code, int) else 1
    except KeyboardInterrupt:
        return 130
    except Exception as error:  # noqa: every fault of a piece is the author's to read
        sys.stderr.write(report(error, given))
        return 1
    missing = missing_demo(before)
    if missing is not None:
        line, text = missing
        place = path if line is None else f"{_shown(line.file, given)}:{line.line}"
        sys.stderr.write(f"{place}: {text}\n")
    return 0 if missing is None else 1


def new(folder: str) -> int:
    """Makes a folder with `piece.py` in it. 1 if it has one already."""
    path = os.path.join(folder, "piece.py")
    try:
        os.makedirs(folder, exist_ok=True)
        with open(os.path.join(_HERE, "template", "piece.py"), encoding="utf-8") as stream:
            text = stream.read()
        with open(path, "x", encoding="utf-8", newline="\n") as stream:
            stream.write(text)
    except FileExistsError:
        what = f'"{path}" is there already: build it by dpk build {folder}, or give another name'
        if not os.path.isdir(folder):
            what = f'"{folder}" is a file: give another name'
        sys.stderr.write(f"dpk: {what}\n")
        return 1
    except OSError as error:
        sys.stderr.write(f"dpk: {error.filename}: {error.strerror}\n")
        return 1
    print(f"{path}: a piece to change; now: dpk build {folder}")
    return 0


def main(arguments: list[str]) -> int:
    """Runs a command: its exit code, 2 for one that makes no sense."""
    commands = {"run": run, "new": new, "unbuild": unbuild}
    if len(arguments) != 2 or arguments[0] not in commands:
        sys.stderr.write((__doc__ or "").partition("\n\n")[2])
        return 2
    return commands[arguments[0]](arguments[1])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
