# SPDX-License-Identifier: MIT
"""A folder of sources in the window: what is saved is shown, and mistakes leave the picture."""

import os
import shutil
import signal
import subprocess
from pathlib import Path
from typing import Any, Callable

from drag_source import drop_file
from studio_window import Screen, Studio, picture, shown_window

DPK = os.environ["DPK"]
SIZE = ["--size", "160x90"]
Start = Callable[..., Studio]


def save(path: Path, text: str) -> None:
    """As editors do: a new file takes the old one's name."""
    beside = path.with_name(path.name + ".new~")
    beside.write_text(text)
    beside.rename(path)


def shown(studio: Studio, loads: int) -> dict[str, Any]:
    return studio.until(lambda now: now["loads"] == loads and not now["loading"])


def memory(studio: Studio) -> int:
    """Bytes that the program holds."""
    pages = Path(f"/proc/{studio.process.pid}/statm").read_text().split()[1]
    return int(pages) * 4096


def threads(studio: Studio) -> int:
    return len(list(Path(f"/proc/{studio.process.pid}/task").iterdir()))


def children(studio: Studio) -> int:
    tasks = Path(f"/proc/{studio.process.pid}/task").glob("*/children")
    return sum(len(path.read_text().split()) for path in tasks)


def test_good_and_broken_saves_take_turns(start: Start, plain: Path) -> None:
    demo = plain / "demo.xml"
    text = demo.read_text()
    studio = start(*SIZE, "--from", "2", plain)
    state = shown(studio, 1)
    assert state["tick"] == 200
    names = None
    held = running = 0
    for turn in range(20):
        builds = studio.state()["builds"]
        save(demo, text.replace("</", "<", 1))
        state = studio.until(lambda now: now["builds"] > builds and now["errors"])
        assert state["loads"] == turn + 1 and state["tick"] == 200
        save(demo, text + f"<!-- {turn} -->\n")
        state = shown(studio, turn + 2)
        assert state["errors"] == [] and state["tick"] == 200 and state["made"] <= 2
        assert state["items_made"] == 0 and state["items_kept"] > 0  # of the picture nothing changed
        if names is None:
            names = studio.ask("names")
        if turn == 9:
            held = memory(studio)
            running = threads(studio)
    assert studio.ask("names") == names
    assert memory(studio) < held + 16 * 1024 * 1024
    assert threads(studio) == running
    assert children(studio) <= 1  # the builder, which waits
    studio.key("ctrl+q")
    assert studio.end() == 0


def test_the_picture_is_that_of_the_saved_piece(start: Start, plain: Path, tmp_path: Path) -> None:
    studio = start(*SIZE, "--from", "2", plain)
    shown(studio, 1)
    save(plain / "demo.xml", (plain / "demo.xml").read_text() + "<!-- saved -->\n")
    shown(studio, 2)
    studio.key("s")
    studio.until(lambda now: "written" in now["message"])
    package = tmp_path / "same.dpk"
    subprocess.run([DPK, "build", str(plain), "-o", str(package)], check=True,
                   stdout=subprocess.DEVNULL)
    subprocess.run([os.environ["STAGE_PICTURES"], str(package), str(tmp_path), "160", "90", "200"],
                   check=True)
    assert picture(tmp_path / "200.ppm") == picture(tmp_path / "mine-000200.png")


def test_a_program_that_goes_wrong_is_told(start: Start, script: Path) -> None:
    source = script / "piece.py"
    text = source.read_text()
    studio = start(*SIZE, "--from", "0", script)
    shown(studio, 1)

    def told(more: str, words: str) -> None:
        save(source, text + more)
        studio.until(lambda now: any(words in error for error in now["errors"]))

    line = len(text.splitlines()) + 2
    told("\nnothing_of_this_name\n", f"piece.py:{line}: NameError")
    told("\nwhile True:\n    print('again and again')\n",
         "piece.py prints without end; it was stopped")
    told("\nimport os, signal\nos.kill(os.getppid(), signal.SIGKILL)\n", "killed")

    # Somebody kills the builder itself.
    builds = studio.state()["builds"]
    save(source, text + "\nimport time\ntime.sleep(600)\n")
    studio.until(lambda now: now["building"])
    found = Path(f"/proc/{studio.process.pid}/task/{studio.process.pid}/children").read_text()
    builder = [child for child in found.split()
               if b"--builder" in Path(f"/proc/{child}/cmdline").read_bytes()]
    os.kill(int(builder[0]), signal.SIGKILL)
    state = studio.until(lambda now: now["builds"] > builds)
    assert state["errors"] == ["the build was killed"] and state["loads"] == 1

    save(source, text + "\n# good again\n")
    studio.until(lambda now: not now["errors"] and not now["building"])
    assert children(studio) <= 1


def test_a_program_that_never_ends_is_stopped(start: Start, script: Path) -> None:
    source = script / "piece.py"
    text = source.read_text()
    studio = start(*SIZE, "--from", "0", script)
    shown(studio, 1)
    save(source, text + "\nwhile True:\n    pass\n")
    begun = studio.until(lambda now: now["building"])
    studio.key("space")
    studio.until(lambda now: now["tick"] > begun["tick"] + 20)
    studio.key("space")
    state = studio.until(lambda now: any("it was stopped" in error for error in now["errors"]))
    assert state["loads"] == 1
    # The next one is given up as soon as a better one is saved.
    save(source, text + "\nwhile True:\n    pass  # still\n")
    studio.until(lambda now: now["building"])
    save(source, text)
    studio.until(lambda now: not now["errors"] and not now["building"])
    assert children(studio) <= 1


def test_a_mistake_in_a_late_clip_is_told_at_the_save(start: Start, plain: Path) -> None:
    demo = plain / "demo.xml"
    text = demo.read_text()
    studio = start(*SIZE, "--from", "0", plain, environment={"VISUAL": ""})
    shown(studio, 1)
    at = text.rindex('<clip id="') + len('<clip id="')
    save(demo, text[:at] + "99" + text[text.index('"', at):])
    state = studio.until(lambda now: now["errors"])
    assert "scene 99" in state["errors"][0] and state["loads"] == 1
    studio.key("Return")
    studio.until(lambda now: now["message"]
                 == 'no editor: set VISUAL, or "editor" in the settings')
    # It was loaded while it was checked, and never takes over.
    state = studio.until(lambda now: not now["loading"])
    assert state["loads"] == 1 and state["shown"] == 0
    save(demo, text + "<!-- good again -->\n")
    assert shown(studio, 2)["errors"] == []


def test_the_editor_opens_at_a_mistake(start: Start, plain: Path, tmp_path: Path) -> None:
    editor = tmp_path / "editor"
    editor.write_text('#!/bin/sh\necho "$@" > "$(dirname "$0")/opened.new"\n'
                      'mv "$(dirname "$0")/opened.new" "$(dirname "$0")/opened"\n')
    editor.chmod(0o755)
    demo = plain / "demo.xml"
    studio = start(*SIZE, "--from", "0", plain, environment={"VISUAL": str(editor)})
    shown(studio, 1)
    save(demo, demo.read_text().replace("</", "<", 1))
    studio.until(lambda now: now["errors"])
    opened = tmp_path / "opened"
    studio.key("Return")
    studio.until(lambda now: opened.exists())
    line, path = opened.read_text().split()
    assert path == str(demo) and line.startswith("+")
    opened.unlink()
    studio.click("finding 0", 0.1)
    studio.until(lambda now: opened.exists())


def test_a_folder_that_goes_and_comes_back(start: Start, plain: Path, tmp_path: Path) -> None:
    studio = start(*SIZE, "--from", "0", plain)
    shown(studio, 1)
    kept = tmp_path / "kept"
    shutil.copytree(plain, kept)
    shutil.rmtree(plain)
    studio.until(lambda now: any("the folder is gone" in error for error in now["errors"]))
    save(kept / "demo.xml", (kept / "demo.xml").read_text() + "<!-- back -->\n")
    kept.rename(plain)
    state = shown(studio, 2)
    assert state["errors"] == []
    save(plain / "demo.xml", (plain / "demo.xml").read_text() + "<!-- more -->\n")
    shown(studio, 3)


def test_files_are_saved_by_every_way_and_in_folders_below(start: Start, script: Path) -> None:
    source = script / "piece.py"
    text = source.read_text()
    studio = start(*SIZE, "--from", "5", script)
    shown(studio, 1)
    first = studio.picture()
    # In place: the file stays the same one.
    source.write_text(text.replace("400), 3, 4)", "400), 2, 4)"))
    assert shown(studio, 2)["errors"] == []
    second = studio.picture()
    assert second != first

    # A folder that comes while the window is open, one in it, and a file there that is saved later.
    lamps = script / "parts" / "lamps" / "high.py"
    lamps.parent.mkdir(parents=True)
    lamps.write_text("HEIGHT = 3\n")
    source.write_text("from parts.lamps.high import HEIGHT\n"
                      + text.replace("400), 3, 4)", "400), HEIGHT, 4)"))
    assert shown(studio, 3)["errors"] == []
    assert studio.picture() == first
    lamps.write_text("HEIGHT = 2  # in place\n")
    assert shown(studio, 4)["errors"] == []
    assert studio.picture() == second
    save(lamps, "HEIGHT = 3\n")
    assert shown(studio, 5)["errors"] == []
    assert studio.picture() == first


def test_a_module_of_the_same_bytes_plays_on(start: Start, script: Path) -> None:
    source = script / "piece.py"
    text = source.read_text()
    studio = start(*SIZE, "--from", "0", script)
    shown(studio, 1)
    studio.until(lambda now: now["samples"] > 0 and not now["loading"])
    studio.key("space")
    studio.until(lambda now: now["sound"] == "plays" and now["tick"] > 20)
    node = (script / "tune.xm").stat()

    seen = set()

    def saved(loads: int) -> Callable[[dict[str, Any]], bool]:
        def holds(now: dict[str, Any]) -> bool:
            seen.add((now["samples"] > 0, now["sound"]))
            return bool(now["loads"] == loads and now["samples"] > 0)

        return holds

    save(source, text.replace("position=(wave(0, 4, 400), 3, 4)", "position=(1, 2, 3)"))
    studio.until(saved(2))
    assert (script / "tune.xm").stat().st_mtime_ns != node.st_mtime_ns  # it was written anew
    for _ in range(20):
        studio.until(saved(2))
    assert seen == {(True, "plays")}

    # Another module is played beforehand; until then there is silence.
    save(source, text.replace('"A-2"', '"C-2"'))
    studio.until(saved(3))
    assert seen > {(True, "plays")}


def test_what_is_no_piece_leaves_the_one_that_is_shown(start: Start, screen: Screen, plain: Path,
                                                       small: Path, tmp_path: Path) -> None:
    demo = plain / "demo.xml"
    text = demo.read_text()
    studio = start(*SIZE, "--from", "0", plain)
    shown(studio, 1)
    window = shown_window(screen)

    def drop(path: Path) -> None:
        drop_file(screen.name, window, str(path), *studio.place("picture"))

    (tmp_path / "empty").mkdir()
    (tmp_path / "note.txt").write_text("no piece")
    for turn, (name, words) in enumerate((("empty", "neither piece.py nor demo.xml"),
                                          ("note.txt", "note.txt"), ("nowhere.dpk", "nowhere"))):
        drop(tmp_path / name)
        studio.until(lambda now: any(words in error for error in now["errors"]))
        save(demo, text + f"<!-- {turn} -->\n")
        state = shown(studio, turn + 2)
        assert state["errors"] == [] and state["piece"] == str(plain)

    # A package takes over, and the folder is left.
    drop(small)
    state = studio.until(lambda now: now["loads"] == 5 and now["piece"] == str(small))
    save(demo, text.replace("</", "<", 1))
    studio.frame()
    studio.frame()
    state = studio.state()
    assert state["errors"] == [] and state["loads"] == 5 and not state["building"]
