# SPDX-License-Identifier: MIT
"""The studio as a program on an X server of its own, with real keys and a real mouse.

Nothing here waits for a time: the program tells its state when it is asked, and a test asks until
the state is the one that it wants."""

import json
import os
import socket
import subprocess
import time
from pathlib import Path
from typing import Any, Callable

STUDIO = os.environ["STUDIO"]
POLL = 0.02  # seconds from question to question
QUESTIONS = int(os.environ.get("STUDIO_QUESTIONS", "15000"))  # before a test gives up: the machine may be busy


class Screen:
    """An X server that nobody sees."""

    def __init__(self, width: int = 1000, height: int = 740) -> None:
        read, write = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", f"{width}x{height}x24",
             "-noreset", "-nolisten", "tcp"],
            pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as stream:
            self.name = ":" + stream.readline().strip()

    def xdotool(self, *words: object) -> str:
        return subprocess.run(["xdotool", *map(str, words)], check=True, capture_output=True,
                              text=True, env=dict(os.environ, DISPLAY=self.name)).stdout

    def close(self) -> None:
        self.server.terminate()
        self.server.wait()


class Studio:
    """The program. Ends with `close`."""

    def __init__(self, screen: Screen, folder: Path, *arguments: object,
                 environment: dict[str, str] | None = None) -> None:
        self.screen = screen
        self.folder = folder
        self.path = folder / "control"
        self.lines = open(folder / "errors", "w+b")
        settings = folder / "config" / "quorvale-studio" / "settings"
        if not settings.exists():
            settings.parent.mkdir(parents=True)
            settings.write_text("width=960\nheight=700\n")
        self.stream: Any = None
        everything = dict(os.environ, DISPLAY=screen.name, HOME=str(folder),
                          XDG_CONFIG_HOME=str(folder / "config"), SDL_AUDIODRIVER="dummy")
        everything.update(environment or {})
        self.process = subprocess.Popen(
            [STUDIO, "--control", str(self.path), *map(str, arguments)], cwd=folder,
            env=everything, stderr=self.lines)

    def state(self) -> dict[str, Any]:
        return self.ask("state")

    def ask(self, question: str) -> dict[str, Any]:
        while self.stream is None:
            assert self.process.poll() is None, self.errors()
            try:
                connection = socket.socket(socket.AF_UNIX)
                connection.connect(str(self.path))
                self.stream = connection.makefile("rw")
            except OSError:
                time.sleep(POLL)
        self.stream.write(question + "\n")
        self.stream.flush()
        answer: dict[str, Any] = json.loads(self.stream.readline())
        return answer

    def until(self, holds: Callable[[dict[str, Any]], object]) -> dict[str, Any]:
        """Asks until a state holds, and gives it."""
        state = {}
        for _ in range(QUESTIONS):
            state = self.state()
            if holds(state):
                return state
            time.sleep(POLL)
        raise AssertionError(f"never came: {state}")

    def errors(self) -> str:
        self.lines.flush()
        return Path(self.lines.name).read_text()

    def key(self, *keys: str) -> None:
        self.point("picture")
        self.screen.xdotool("key", *keys)

    def place(self, part: str, x: float = 0.5, y: float = 0.5) -> tuple[int, int]:
        """A point of a part of the window, on the screen; x and y from 0 to 1."""
        state = self.until(lambda now: part in now["rects"])
        left, top, width, height = state["rects"][part]
        return (state["window"][0] + left + int(width * x),
                state["window"][1] + top + int(height * y))

    def point(self, part: str, x: float = 0.5, y: float = 0.5) -> None:
        left, top = self.place(part, x, y)
        # A jump of the pointer is no movement of a mouse, which the program waits for.
        self.screen.xdotool("mousemove", left - 1, top, "mousemove_relative", 1, 0)

    def click(self, part: str, x: float = 0.5, y: float = 0.5) -> None:
        """Presses and lets go, with a frame of the window between."""
        self.point(part, x, y)
        self.frame()
        self.screen.xdotool("mousedown", 1)
        self.frame()
        self.screen.xdotool("mouseup", 1)
        self.frame()

    def reveal(self, part: str, pane: str) -> None:
        """Turns the wheel over a pane until a part of it is seen, with what lies around it."""
        seen = []
        for _ in range(40):
            seen = list(self.state()["rects"])
            if part in seen:
                return
            self.point(pane, 0.9)
            self.screen.xdotool("click", 5)
            self.frame()
        raise AssertionError(f"never seen: {part} among {seen}")

    def drag(self, part: str, right: int, down: int = 0) -> None:
        """Presses the button on a part and moves; it stays pressed until `drop`."""
        self.point(part, 0.3)
        self.frame()
        self.screen.xdotool("mousedown", 1)
        self.frame()
        self.screen.xdotool("mousemove_relative", "--", right, down)
        self.frame()

    def drop(self) -> None:
        self.screen.xdotool("mouseup", 1)
        self.frame()

    def picture(self) -> int:
        """The checksum of the picture that is shown."""
        return int(self.ask("picture")["crc32"])

    def frame(self) -> None:
        """Waits until the window was drawn a few times more."""
        drawn = self.state()["redraws"]
        self.until(lambda now: now["redraws"] >= drawn + 3)

    def end(self) -> int:
        """Waits until the program has ended by itself."""
        return self.process.wait()

    def close(self) -> None:
        if self.process.poll() is None:
            self.process.kill()
            self.process.wait()
        self.lines.close()


def shown_window(screen: Screen) -> int:
    """The program's window, for a program that wants its number."""
    found = screen.xdotool("search", "--onlyvisible", "--name", " - Quorvale Studio$")
    return int(found.split()[0])


def picture(path: Path) -> bytes:
    """The pixels of an image file."""
    return subprocess.run(["convert", str(path), "-depth", "8", "rgb:-"], check=True,
                          capture_output=True).stdout
