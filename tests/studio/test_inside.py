# SPDX-License-Identifier: MIT
"""Looking inside a piece: the tree of what is drawn, values, curves, pictures and meshes."""

from pathlib import Path
from typing import Any, Callable

from studio_window import Studio

SIZE = ["--size", "160x90"]
Start = Callable[..., Studio]


def look(studio: Studio, node: str, title: str) -> dict[str, Any]:
    """Clicks a node or value until its item is looked at."""
    studio.click(node, 0.8)
    state = studio.until(lambda now: now["inside"] and now["inside"]["title"].startswith(title))
    inside: dict[str, Any] = state["inside"]
    return inside


def test_what_is_drawn_is_seen_from_inside(start: Start, script: Path) -> None:
    studio = start(*SIZE, "--from", "3", script)
    studio.until(lambda now: now["loads"] == 1 and 'node scene 1 "stage"' in now["rects"])
    lines = (script / "piece.py").read_text().splitlines()

    # Its object has a mesh, a material and curves. The clip before is folded, to leave room.
    studio.click("open row 0, clip 1")
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
    # The mouse turns it, and the wheel zooms it and does not scroll the panel.
    assert mesh["yaw"] == 30 and mesh["zoom_percent"] == 100
    place = studio.state()["rects"]["look"]
    studio.drag("look", 40)
    studio.drop()
    studio.until(lambda now: now["inside"]["yaw"] == 50)
    studio.screen.xdotool("click", 5, "click", 5)
    studio.until(lambda now: now["inside"]["zoom_percent"] == 82)
    studio.screen.xdotool("click", 4)
    studio.until(lambda now: now["inside"]["zoom_percent"] == 90)
    assert studio.state()["rects"]["look"] == place
    assert studio.state()["errors"] == []


def unfold(studio: Studio, node: str, child: str) -> None:
    studio.click(f"open {node}")
    studio.reveal(f"node {child}", "tree")


def pixel(studio: Studio, x: float, y: float) -> list[int]:
    """Red, green, blue and alpha of the picture under the mouse."""
    studio.point("look", x, y)
    state = studio.until(lambda now: now["inside"]["pixel"])
    studio.frame()
    text = str(studio.state()["inside"]["pixel"])
    assert text.startswith("x ") and ", y " in text, state
    return [int(number) for number in text.split(": ")[1].split()]


def test_textures_show_step_by_step(start: Start, script: Path) -> None:
    studio = start(*SIZE, "--from", "3", script)
    studio.until(lambda now: now["loads"] == 1 and 'open scene 1 "stage"' in now["rects"])
    studio.click("open row 0, clip 1")
    studio.until(lambda now: 'node scene 2 "sky"' not in now["rects"])
    unfold(studio, 'scene 1 "stage"', "scene 1, object 1")
    unfold(studio, "scene 1, object 1", "material 1")
    unfold(studio, "material 1", "texture 1")
    look(studio, "node texture 1", "texture 1")
    pictures = studio.until(lambda now: now["inside"]["pictures"])["inside"]["pictures"]
    assert pictures[0].startswith("layer 1: maze") and pictures[1].startswith("step 1: add layer 1")
    # The layer of one color, (0.3, 0.25, 0.2) of 255.
    place = next(i for i, title in enumerate(pictures) if title.startswith("layer 3: color"))
    studio.reveal(f"step {place}", "item")
    studio.click(f"step {place}")
    studio.screen.xdotool("click", 4, "click", 4, "click", 4, "click", 4)
    studio.until(lambda now: "look" in now["rects"])
    assert pixel(studio, 0.3, 0.3) == [76, 63, 51, 255]


BITMAPS = """
from quorvale import FLAT, Bitmap, Document, Scene, effects, line, look, recipes
from quorvale.images import write_png
from quorvale.loading import loading_bar
from quorvale.meshes import Mesh, square
from quorvale.tracker import Instrument, Tune, tone

four = [[(1, 0, 0), (0, 1, 0)], [(0, 0, 1), (0.2, 0.4, 0.6)]]
write_png("four.png", 4, 4, 3, lambda x, y: four[y // 2][x // 2])
write_png("target.png", 4, 4, 3, lambda x, y: (0, 0, 0))
screen = square(Mesh()).write("screen.obj")
tune = Tune(rows=32, channels=1, tempo=120, speed=6)
tune.instrument(Instrument("none", tone(64, (1,))))
music = tune.write("tune.xm")
target = Bitmap("target.png")
things = Scene(name="things")
for material in (recipes.bitmap(bitmap=Bitmap("four.png")), recipes.bitmap(bitmap=target),
                 recipes.effect(effect=effects.plasma(line(0, 1, 400), gray=True))):
    things.add(screen, material)
lower = Scene(name="lower")
lower.add(screen, recipes.color_on_top((0, 1, 0)), position=(0.5, 1, 0))
demo = Document(music)
demo.row(0).show(lower, FLAT, 0, 400, how="texture", target=target)
demo.row(1).show(things, look((0, 0, 3), (0, 0, 0)), 0, 400)
demo.write("demo.xml")
loading_bar((1, 1, 1), music).write("loading.xml")
"""


def test_pixels_of_bitmaps_targets_and_effects(start: Start, tmp_path: Path) -> None:
    folder = tmp_path / "mine"
    folder.mkdir()
    (folder / "piece.py").write_text(BITMAPS)
    studio = start(*SIZE, "--from", "2", folder)
    studio.until(lambda now: now["errors"] or now["loads"] == 1 and "node row 1, clip 1" in now["rects"])
    assert studio.state()["errors"] == []
    # The target of the pass is part of its clip. The panel shows its upper rows: the green square
    # lies over the lower half, where y is 1.
    look(studio, 'node bitmap 1 "target.png"', "bitmap 1")
    rows = [pixel(studio, 0.5, y) for y in (0.1, 0.98)]
    assert rows == [[0, 0, 0, 255], [0, 255, 0, 255]]

    studio.click("open row 0, clip 1")
    unfold(studio, 'scene 1 "things"', "scene 1, object 3")
    unfold(studio, "scene 1, object 3", "material 3")
    unfold(studio, "material 3", 'effect 1 "plasma 1"')
    look(studio, 'node effect 1 "plasma 1"', "effect 1")
    red, green, blue, alpha = pixel(studio, 0.5, 0.5)
    assert red == green == blue and alpha == 255
    unfold(studio, "scene 1, object 1", "material 1")
    unfold(studio, "material 1", 'bitmap 2 "four.png"')
    look(studio, 'node bitmap 2 "four.png"', "bitmap 2")
    corners = [pixel(studio, x, y) for y in (0.1, 0.98) for x in (0.25, 0.75)]
    assert corners == [[255, 0, 0, 255], [0, 255, 0, 255], [0, 0, 255, 255], [51, 102, 153, 255]]


def test_reloads_leave_nothing(start: Start, plain: Path) -> None:
    demo = plain / "demo.xml"
    text = demo.read_text()
    studio = start(*SIZE, "--from", "3", plain)
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
