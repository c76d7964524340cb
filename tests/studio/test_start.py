# SPDX-License-Identifier: MIT
"""The start page."""

import os
import subprocess
from pathlib import Path
from typing import Callable

from studio_window import STUDIO, Screen, Studio

PACKAGE = os.environ["PACKAGE"]
SIZE = ["--size", "160x90"]
Start = Callable[..., Studio]


def test_the_window_is_as_large_as_the_desktops(start: Start, screen: Screen) -> None:
    subprocess.run(["xprop", "-root", "-f", "RESOURCE_MANAGER", "8s", "-set", "RESOURCE_MANAGER",
                    "Xft.dpi:\t192\n"], check=True, env=dict(os.environ, DISPLAY=screen.name))
    studio = start(*SIZE)
    state = studio.until(lambda now: "new piece" in now["rects"])
    assert state["scale"] == 2 and state["rects"]["new piece"][3] >= 40


def test_the_start_page_offers_pieces(start: Start, tmp_path: Path) -> None:
    settings = tmp_path / "config" / "quorvale-studio" / "settings"
    settings.parent.mkdir(parents=True)
    gone = tmp_path / "gone.dpk"
    settings.write_text(f"width=960\nheight=700\npiece=500 {PACKAGE}\npiece=0 {gone}\n")
    studio = start(*SIZE)
    state = studio.until(lambda now: "new piece" in now["rects"])
    assert "sample" in state["rects"] and "recent 0" in state["rects"]
    # One that is there no more is told, and the others are still offered.
    studio.click("recent 1", 0.1)
    state = studio.until(lambda now: now["errors"] and "new piece" in now["rects"])
    assert state["errors"] == [f"{gone}: No such file or directory"] and state["loads"] == 0
    studio.click("new piece")
    state = studio.until(lambda now: now["loads"] == 1)
    assert state["piece"] == str(tmp_path / "my-piece") and state["errors"] == []
    assert (tmp_path / "my-piece" / "piece.py").exists()
    # One that nobody has seen yet plays, as it begins with black.
    studio.until(lambda now: now["plays"] and now["shown"] > 0)


def test_folders_that_are_no_pieces_are_told(start: Start, tmp_path: Path) -> None:
    empty = tmp_path / "empty"
    empty.mkdir()
    studio = start(*SIZE, empty)
    state = studio.until(lambda now: now["errors"])
    assert state["errors"] == [f"{empty}: there is no demo.xml, so the package is no piece yet"]
    assert state["loads"] == 0


def test_a_new_piece_leaves_the_one_that_is_there(start: Start, tmp_path: Path) -> None:
    there = tmp_path / "my-piece" / "piece.py"
    there.parent.mkdir()
    there.write_text("# mine\n")
    studio = start(*SIZE)
    studio.click("new piece")
    state = studio.until(lambda now: now["errors"])
    assert state["errors"] == [f"{there.parent}: no piece can be made there; is there one already?"]
    assert there.read_text() == "# mine\n"


def test_a_module_that_is_not_there_is_told(tmp_path: Path) -> None:
    path = tmp_path / "none.xm"
    done = subprocess.run([STUDIO, "--musician", str(path)], capture_output=True, text=True)
    assert done.returncode != 0 and done.stderr == f'there is no module "{path}"\n'


def test_a_file_is_no_control_socket(screen: Screen, tmp_path: Path) -> None:
    note = tmp_path / "note.txt"
    note.write_text("mine\n")
    ended = subprocess.run([STUDIO, "--control", str(note)], capture_output=True, text=True,
                           env=dict(os.environ, DISPLAY=screen.name, HOME=str(tmp_path),
                                    XDG_CONFIG_HOME=str(tmp_path), SDL_AUDIODRIVER="dummy"),
                           timeout=60)
    assert ended.returncode == 1
    assert ended.stderr == f"quorvale-studio: {note} is there, and no socket; it is left alone\n"
    assert note.read_text() == "mine\n"


def test_settings_that_others_write_meanwhile_stay(start: Start, tmp_path: Path) -> None:
    settings = tmp_path / "config" / "quorvale-studio" / "settings"
    settings.parent.mkdir(parents=True)
    settings.write_text("width=2000\nheight=1500\nvolume=40\n")  # larger than this screen
    studio = start("--size", "160x90")
    studio.key("9")
    studio.until(lambda now: now["volume"] == 30)
    settings.write_text(f"# by hand\neditor=vi\nwidth=2000\nheight=1500\nvolume=40\n"
                        f"piece=500 {PACKAGE}\n")
    studio.key("ctrl+q")
    assert studio.end() == 0
    lines = settings.read_text().splitlines()
    for line in ("# by hand", "editor=vi", "width=2000", "height=1500", "volume=30",
                 f"piece=500 {PACKAGE}"):
        assert line in lines
