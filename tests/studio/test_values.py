# SPDX-License-Identifier: MIT
"""Values that are tried with the mouse and written into the sources, and flying."""

import os
import subprocess
from pathlib import Path
from typing import Callable

from read_clipboard import clipboard
from studio_window import Screen, Studio

SIZE = ["--size", "160x90", "--from", "3"]
Start = Callable[..., Studio]


def save(path: Path, text: bytes) -> None:
    """As editors do: a new file takes the old one's name."""
    beside = path.with_name(path.name + ".new~")
    beside.write_bytes(text)
    beside.rename(path)


def opened(studio: Studio) -> None:
    studio.until(lambda now: now["loads"] == 1 and "node row 1, clip 1" in now["rects"])


def unfold(studio: Studio, node: str, child: str) -> None:
    studio.click(f"open {node}")
    studio.reveal(f"node {child}", "tree")


def look_at_the_lamp(studio: Studio) -> None:
    """Looks at the light of the piece that `dpk new` makes, where its height can be dragged."""
    opened(studio)
    studio.click("open row 0, clip 1")
    unfold(studio, 'scene 1 "stage"', "scene 1, object 1")
    unfold(studio, "scene 1, object 1", "material 1")
    unfold(studio, "material 1", "light 1")
    studio.click("node light 1", 0.8)
    studio.reveal("value position y", "item")


def is_yellow(screen: Screen, studio: Studio, part: str) -> bool:
    """Whether a part of the window shows yellow."""
    left, top = studio.place(part, 0.0, 0.0)
    right, bottom = studio.place(part, 1.0, 1.0)
    crop = f"{right - left}x{bottom - top}+{left}+{top}"
    taken = subprocess.run(["import", "-window", "root", "-crop", crop, "png:-"], check=True,
                           capture_output=True, env=dict(os.environ, DISPLAY=screen.name))
    pixels = subprocess.run(["convert", "png:-", "-depth", "8", "rgb:-"], check=True,
                            input=taken.stdout, capture_output=True).stdout
    return any(red > 200 and red > green + 20 and green > blue + 40
               for red, green, blue in zip(pixels[::3], pixels[1::3], pixels[2::3]))


def test_a_value_is_tried_and_written(start: Start, screen: Screen, script: Path) -> None:
    source = script / "piece.py"
    text = source.read_bytes()
    studio = start(*SIZE, script)
    look_at_the_lamp(studio)
    assert not is_yellow(screen, studio, "value position y")

    # The picture shows it while the mouse is down.
    before = studio.picture()
    studio.drag("value position y", 40)
    studio.until(lambda now: now["changes"] and studio.picture() != before)
    assert is_yellow(screen, studio, "value position y")
    studio.drop()
    tried = studio.picture()
    change = studio.state()["changes"][0]
    assert change.startswith("light 1, position, y: 3 -> ")
    value = change.split()[-1]

    studio.key("ctrl+z")
    studio.until(lambda now: not now["changes"] and studio.picture() == before)
    studio.key("ctrl+shift+z")
    studio.until(lambda now: now["changes"] == [change] and studio.picture() == tried)

    studio.click("copy all")
    studio.until(lambda now: now["message"] == "1 copied")
    line = text[:text.index(b"lamp = Light")].count(b"\n") + 1
    assert clipboard(screen.name) == f"piece.py:{line}  {change}\n"

    # Only its digits change in the source, and what is built from it shows the same.
    studio.click("write 0")
    studio.until(lambda now: now["loads"] == 2 and not now["changes"])
    assert source.read_bytes() == text.replace(b"400), 3, 4)", f"400), {value}, 4)".encode())
    studio.until(lambda now: studio.picture() == tried)
    state = studio.state()
    assert state["errors"] == [] and "written" in state["rects"]
    assert state["message"] == f"written to piece.py:{line}: light 1, position, y is {value}"
    assert not is_yellow(screen, studio, "value position y")

    # Where the file was changed since and has a mistake, its lines are not those of the picture.
    studio.drag("value position y", 40)
    studio.drop()
    studio.until(lambda now: now["changes"])
    broken = source.read_bytes().replace(b"lamp = Light", b"nobody\nlamp = Light")
    save(source, broken)
    studio.until(lambda now: now["errors"])
    studio.click("write 0")
    studio.until(lambda now: "piece.py is not the file" in now["message"])
    assert source.read_bytes() == broken


def test_a_tried_value_goes_with_its_item(start: Start, script: Path) -> None:
    source = script / "piece.py"
    text = source.read_text()
    studio = start(*SIZE, script)
    look_at_the_lamp(studio)
    studio.drag("value position y", 40)
    studio.drop()
    change = studio.until(lambda now: now["changes"])["changes"][0]
    assert change.startswith("light 1, position, y: 3 -> ")

    # Another lamp of the same height takes its number.
    first = ("early = Light((1, 0, 0), position=(9, 3, 9))\n"
             "dark = Scene(name=\"dark\")\n"
             "dark.add(ring, recipes.lit_texture(light=early, texture=stone))\n")
    use = "demo = Document(music)\ndemo.row(3).show(dark, FLAT, 0, 100)\n"
    at = text.index("lamp = Light")
    save(source, (text[:at] + first + text[at:].replace("demo = Document(music)\n", use)).encode())
    state = studio.until(lambda now: now["loads"] == 2 and not now["loading"])
    assert state["errors"] == []
    assert state["changes"] == [change.replace("light 1", "light 2")]
    studio.click("write 0")
    studio.until(lambda now: now["loads"] == 3 and not now["changes"])
    value = change.split()[-1]
    assert f"400), {value}, 4)" in source.read_text()
    assert "position=(9, 3, 9)" in source.read_text()

    # Without its lamp it goes, and that is told.
    studio.reveal("value position y", "item")
    studio.drag("value position y", 40)
    studio.drop()
    studio.until(lambda now: now["changes"])
    lines = source.read_text().splitlines(keepends=True)
    save(source, "".join(line for line in lines if not line.startswith(
        ("early", "dark", "demo.row(3)"))).encode())
    state = studio.until(lambda now: now["loads"] == 4 and not now["loading"])
    assert state["errors"] == [] and state["changes"] == []
    assert "position, y is not tried any more" in state["message"]


def test_values_that_change_with_a_written_one_are_counted(start: Start, script: Path) -> None:
    source = script / "piece.py"
    text = source.read_text()
    first, last = text.index("lamp = Light"), text.index("# A scene")
    lamp = text[first:last].strip().removeprefix("lamp = ")
    source.write_text(text[:first] + f"lamp, other = ({lamp} for _ in range(2))\n" + text[last:]
                      .replace("demo = Document(music)\n", "demo = Document(music)\n"
                               "dark = Scene(name=\"dark\")\n"
                               "dark.add(ring, recipes.lit_texture(light=other, texture=stone))\n"
                               "demo.row(3).show(dark, FLAT, 0, 100)\n"))
    studio = start(*SIZE, script)
    look_at_the_lamp(studio)
    studio.drag("value position y", 40)
    studio.drop()
    studio.until(lambda now: now["changes"])
    studio.click("write 0")
    state = studio.until(lambda now: now["loads"] == 2 and not now["changes"])
    assert state["message"].startswith("written to piece.py:")
    assert state["message"].endswith("; another value of the piece has changed with it")


def test_a_document_is_written(start: Start, plain: Path, tmp_path: Path) -> None:
    demo = plain / "demo.xml"
    text = demo.read_bytes().replace(b"\n", b"\r\n")  # as some editors have them
    # A second without a clip, in the middle.
    text = text.replace(b'space_before="0" length="798"', b'space_before="99" length="700"')
    text = text.replace(b'length="800"', b'length="700"')
    demo.write_bytes(text)
    studio = start(*SIZE, plain)
    opened(studio)
    studio.click("node row 1, clip 1", 0.8)
    studio.reveal("value clip 1 fov", "item")
    before = studio.picture()
    studio.drag("value clip 1 fov", 60)
    studio.drop()
    change = studio.until(lambda now: now["changes"])["changes"][0]
    tried = studio.picture()
    assert tried != before and "fov: 60 -> " in change

    def refused(words: str) -> None:
        studio.click("write 0")
        assert studio.until(lambda now: words in now["message"])["changes"] == [change]

    # A file that says something else by now is left alone, and so is one that nobody can write.
    save(demo, text.replace(b'"60"', b'"61"').replace(b"</", b"<", 1))
    studio.until(lambda now: now["errors"])
    refused("demo.xml is not the file that this picture was made from")
    gone = tmp_path / "gone"
    gone.mkdir()
    with open(gone / "demo.xml", "w+b") as file:
        file.write(text)
        file.flush()
        (gone / "demo.xml").unlink()
        gone.rmdir()
        demo.unlink()
        demo.symlink_to(f"/proc/{os.getpid()}/fd/{file.fileno()}")
        studio.until(lambda now: not now["errors"] and not now["building"])
        refused(f"{demo} can't be written")
        save(demo, text)

    studio.until(lambda now: not now["errors"] and not now["building"])
    studio.click("write 0")
    studio.until(lambda now: not now["changes"] and not now["loading"])
    written = demo.read_bytes()
    was, now = b'"60"', f'"{change.split()[-1]}"'.encode()
    assert written in [text[:at] + now + text[at + len(was):]
                       for at in range(len(text)) if text.startswith(was, at)]
    studio.until(lambda now: studio.picture() == tried)
    studio.click("seek", 0.5)
    studio.until(lambda now: 710 < now["shown"] < 790)
    studio.key("c")
    studio.until(lambda now: now["message"] == "nothing here is seen by a camera")


def test_a_flight_leaves_the_picture(start: Start, screen: Screen, script: Path) -> None:
    studio = start(*SIZE, script)
    opened(studio)
    before = studio.picture()
    studio.key("c")
    begun = studio.until(lambda now: now["fly"])["fly"]
    studio.drag("picture", 40, 20)
    studio.drop()
    turned = studio.state()["fly"]
    assert turned[:3] == begun[:3] and turned[3:] == [begun[3] + 5, begun[4] + 10, begun[5]]
    # The same with the picture alone.
    studio.key("Tab")
    studio.until(lambda now: not now["panels"])
    studio.drag("picture", 20, -20)
    studio.drop()
    assert studio.state()["fly"][3:] == [begun[3], begun[4] + 15, begun[5]]
    studio.key("Tab")
    screen.xdotool("keydown", "w")
    studio.until(lambda now: now["fly"][:3] != begun[:3])
    screen.xdotool("keyup", "w")
    studio.key("ctrl+c")
    studio.until(lambda now: now["message"] == "the view is copied as a camera")
    flown = [f"{number:.6g}" for number in studio.state()["fly"]]
    assert studio.picture() != before
    copied = clipboard(screen.name)
    assert copied.startswith(f"Camera(({', '.join(flown[:3])}), ({', '.join(flown[3:])}), ")
    assert f'<x type="static" value="{flown[0]}"/>' in copied
    studio.key("c")
    studio.until(lambda now: not now["fly"] and studio.picture() == before)


COLORED = """
from quorvale import FLAT, Document, Scene, line, look, recipes
from quorvale.loading import loading_bar
from quorvale.meshes import Mesh, square
from quorvale.tracker import Instrument, Tune, tone

screen = square(Mesh()).write("screen.obj")
tune = Tune(rows=32, channels=1, tempo=120, speed=6)
tune.instrument(Instrument("none", tone(64, (1,))))
music = tune.write("tune.xm")
things = Scene(name="a##b###c")
way = line(0, 0.5, 400)
things.add(screen, recipes.color_on_top((0.25, 0.5, 0.75)), position=(way, 0.5, -0.99))
demo = Document(music)
demo.row(0).show(things, FLAT, 0, 400)
demo.write("demo.xml")
loading_bar((1, 1, 1), music).write("loading.xml")
"""


def color_at(screen: Screen, studio: Studio, x: float, y: float) -> list[int]:
    """Red, green and blue of the picture in the window."""
    left, top = studio.place("picture", x, y)
    return list(subprocess.run(
        ["import", "-window", "root", "-crop", f"1x1+{left}+{top}", "-depth", "8", "rgb:-"],
        check=True, capture_output=True, env=dict(os.environ, DISPLAY=screen.name)).stdout)


def test_a_color_and_a_curve_are_tried(start: Start, screen: Screen, tmp_path: Path) -> None:
    folder = tmp_path / "mine"
    folder.mkdir()
    (folder / "piece.py").write_text(COLORED)
    studio = start("--size", "160x90", "--from", "2", folder)
    studio.until(lambda now: now["errors"] or "node row 0, clip 1" in now["rects"])
    assert studio.state()["errors"] == []
    before = studio.picture()
    assert color_at(screen, studio, 0.2, 0.5) == [64, 128, 191]
    assert color_at(screen, studio, 0.9, 0.5) == [0, 0, 0]

    unfold(studio, 'scene 1 "a##b###c"', "scene 1, object 1")
    unfold(studio, "scene 1, object 1", "material 1")
    studio.click("node material 1", 0.8)
    studio.reveal("value color green", "item")
    studio.drag("value color green", 40)
    studio.drop()
    change = studio.until(lambda now: now["changes"])["changes"][0]
    assert change.startswith("material 1, color green: 0.5 -> ")
    green = float(change.split()[-1])
    assert 0.55 < green < 0.75
    red, seen, blue = color_at(screen, studio, 0.2, 0.5)
    assert (red, blue) == (64, 191) and abs(seen - 255 * green) <= 1

    # The field of the color opens its picker: its three numbers change together.
    studio.click("color color red")
    left, top = studio.place("color color red", 0, 1)
    screen.xdotool("mousemove", left + 40, top + 60, "mousedown", 1)
    studio.frame()
    screen.xdotool("mousemove_relative", 20, 20)
    studio.frame()
    studio.drop()
    studio.until(lambda now: len(now["changes"]) > 1)
    changed = studio.state()["changes"]
    shown = color_at(screen, studio, 0.2, 0.5)
    for name, number in zip(("red", "green", "blue"), shown):
        value = next((line for line in changed if f", color {name}: " in line), "")
        tried = float(value.split()[-1]) if value else dict(red=0.25, blue=0.75)[name]
        assert abs(number - 255 * tried) <= 1, changed
    # One gesture is one step back.
    screen.xdotool("key", "Escape")
    studio.key("ctrl+z")
    studio.until(lambda now: now["changes"] == [change])
    studio.key("ctrl+z")
    studio.until(lambda now: not now["changes"] and studio.picture() == before)

    studio.click("node curve 1", 0.8)
    studio.reveal("value piece 1 b", "item")
    studio.drag("value piece 1 b", 60)
    studio.drop()
    change = studio.until(lambda now: now["changes"])["changes"][0]
    assert change.startswith("curve 1: x of ") and ", piece 1, b: 0 -> " in change
    assert studio.picture() != before
    # The square stands further to the right by now.
    assert color_at(screen, studio, 0.75 + float(change.split()[-1]) - 0.02, 0.5) == [64, 128, 191]
    studio.key("ctrl+z")
    studio.until(lambda now: not now["changes"] and studio.picture() == before)
