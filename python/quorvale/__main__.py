"""The library as a command.

    python3 -m quorvale run FOLDER/piece.py    runs it in its folder, with short tracebacks
    python3 -m quorvale new FOLDER             makes a folder with a piece that plays
"""

from __future__ import annotations

import os
import runpy
import sys
import traceback

_HERE = os.path.dirname(os.path.abspath(__file__)) + os.sep


def _authors(frame: traceback.FrameSummary) -> bool:
    path = os.path.abspath(frame.filename)
    return not frame.filename.startswith("<") and not path.startswith(_HERE) \
        and os.path.basename(path) != "runpy.py"


def report(error: BaseException) -> str:
    """What went wrong, and the author's own lines that led there, the last one first to read."""
    frames = [frame for frame in traceback.extract_tb(error.__traceback__) if _authors(frame)]
    lines = traceback.format_exception_only(type(error), error)
    if frames and not isinstance(error, SyntaxError):
        place = f"{os.path.basename(frames[-1].filename)}:{frames[-1].lineno}: "
        lines = [place + lines[0], *lines[1:], *traceback.format_list(frames)]
    return "".join(lines)


def run(path: str) -> int:
    """Runs a piece in its folder. 1 after an error, which is told on standard error."""
    folder, name = os.path.split(os.path.abspath(path))
    try:
        os.chdir(folder)
        sys.path.insert(0, folder)
        runpy.run_path(name, run_name="__main__")
    except SystemExit as end:
        return end.code if isinstance(end.code, int) else 0 if end.code is None else 1
    except KeyboardInterrupt:
        return 130
    except Exception as error:  # noqa: every fault of a piece is the author's to read
        sys.stderr.write(report(error))
        return 1
    return 0


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
        sys.stderr.write(f'"{path}" is there already\n')
        return 1
    except OSError as error:
        sys.stderr.write(f"{error.filename}: {error.strerror}\n")
        return 1
    print(f"{path}: a piece to change; now: dpk build {folder}")
    return 0


def main(arguments: list[str]) -> int:
    """Runs a command: its exit code, 2 for one that makes no sense."""
    commands = {"run": run, "new": new}
    if len(arguments) != 2 or arguments[0] not in commands:
        sys.stderr.write((__doc__ or "").partition("\n\n")[2])
        return 2
    return commands[arguments[0]](arguments[1])


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
