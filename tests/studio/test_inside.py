# SPDX-License-Identifier: MIT
"""Looking inside a piece: the tree of what is drawn, values, curves, pictures and meshes."""

import os
import subprocess
from pathlib import Path
from typing import Any, Callable

from studio_window import Studio

DPK = os.environ["DPK"]
SIZE = ["--size", "160x90"]
Start = Callable[..., Studio]


def new_piece(tmp_path: Path) -> Path:
    folder = tmp_path / "mine"
    subprocess.run([DPK, "new", str(folder)], check=True, stdout=subprocess.DEVNULL)
    return folder


def look(studio: Studio, node: str, title: str) -> dict[str, Any]:
    """Clicks a node or value until its item is looked at."""
    studio.click(node, 0.8)
    state = studio.until(lambda now: now["inside"] and now["inside"]["title"].startswith(title))
    inside: dict[str, Any] = state["inside"]
    return inside


def test_what_is_drawn_is_seen_from_inside(start: Start, tmp_path: Path) -> None:
    folder = new_piece(tmp_path)
    studio = start(*SIZE, "--from", "3", folder)
    studio.until(lambda now: now["loads"] == 1 and 'node scene 1 "stage"' in now["rects"])
    lines = (folder / "piece.py").read_text().splitlines()

    # Its object has a mesh, a material and curves. The clip before is folded, to leave room.
    studio.click("open row 1, clip 1")
    studio.until(lambda now: 'node scene 2 "sky"' not in now["rects"])
    studio.click('open scene 1 "stage"')
    studio.until(lambda now: "node scene 1, object 1" in now["rects"])
    thing = look(studio, "node scene 1, object 1", "scene 1, object 1")
    made = int(thing["source"].split(":")[-1])
    assert "piece.py:" in thing["source"] and "stage.add(ring" in lines[made - 1]
    assert thing["time"] == 300 and thing["curves"] >= 4
    turned = next(value for value in thing["values"] if " rx " in value)
    # line(0, 360, 1600) at tick 300.
    assert 60 < float(turned.split()[-1]) < 75

    studio.click("open scene 1, object 1")
    studio.until(lambda now: any(name.startswith("node model") for name in now["rects"]))
    model = next(name for name in studio.state()["rects"] if name.startswith("node model"))
    mesh = look(studio, model, "model")
    mesh = studio.until(lambda now: now["inside"]["pictures"])["inside"]
    assert mesh["pictures"] == ["1225 vertices, 2304 triangles"]
    assert mesh["users"] == ["scene 1, object 1"]
    assert studio.state()["errors"] == []


def test_textures_show_step_by_step(start: Start, tmp_path: Path) -> None:
    studio = start(*SIZE, "--from", "3", new_piece(tmp_path))
    studio.until(lambda now: now["loads"] == 1 and 'open scene 1 "stage"' in now["rects"])
    studio.click("open row 1, clip 1")
    studio.until(lambda now: 'node scene 2 "sky"' not in now["rects"])
    studio.click('open scene 1 "stage"')
    studio.until(lambda now: "open scene 1, object 1" in now["rects"])
    studio.click("open scene 1, object 1")
    studio.until(lambda now: any(name.startswith("open material") for name in now["rects"]))
    material = next(name for name in studio.state()["rects"] if name.startswith("open material"))
    studio.click(material)
    studio.until(lambda now: "node texture 1" in now["rects"])
    look(studio, "node texture 1", "texture 1")
    pictures = studio.until(lambda now: now["inside"]["pictures"])["inside"]["pictures"]
    assert pictures[0].startswith("layer 1: maze") and pictures[1].startswith("step 1: add layer 1")


def test_reloads_leave_nothing(start: Start, tmp_path: Path) -> None:
    folder = new_piece(tmp_path)
    subprocess.run([DPK, "build", str(folder)], check=True, stdout=subprocess.DEVNULL)
    (folder / "piece.py").unlink()
    demo = folder / "demo.xml"
    text = demo.read_text()
    studio = start(*SIZE, "--from", "3", folder)
    studio.until(lambda now: now["loads"] == 1)

    def names_after(reloads: int) -> object:
        for _ in range(reloads):
            loads = studio.state()["loads"]
            beside = demo.with_name("demo.xml~")
            beside.write_text(f"{text}<!-- {loads} -->\n")
            beside.rename(demo)
            studio.until(lambda now: now["loads"] > loads and not now["loading"])
        return studio.ask("names")

    def children() -> list[str]:
        tasks = Path(f"/proc/{studio.process.pid}/task")
        return [child for task in tasks.iterdir() for child in (task / "children").read_text().split()]

    first = names_after(2)
    assert names_after(6) == first
    studio.until(lambda now: len(children()) == 1)  # the builder that the next save will find
