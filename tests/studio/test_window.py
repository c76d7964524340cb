# SPDX-License-Identifier: MIT
"""The window: picture, transport, sound, keys, and the viewer."""

import os
import subprocess
from pathlib import Path
from typing import Callable

from drag_source import drop_file
from studio_window import STUDIO, Screen, Studio, picture

DPK = os.environ["DPK"]
PACKAGE = os.environ["PACKAGE"]
SIZE = ["--size", "320x180"]
Start = Callable[..., Studio]


def opened(studio: Studio) -> None:
    studio.until(lambda now: now["loads"] == 1 and now["samples"] > 0)


def keep_picture(studio: Studio, tick: int) -> None:
    studio.until(lambda now: now["shown"] == tick)
    studio.key("s")
    studio.until(lambda now: now["message"] == f"quorvale-{tick:06}.png is written")


def test_pictures_are_those_of_a_film(start: Start, tmp_path: Path) -> None:
    studio = start(*SIZE, PACKAGE)
    opened(studio)
    # Forwards, backwards, and in steps.
    keys = [(["Right"], 500), (["Up"], 6500), (["Left"], 6000), (["shift+Left"], 5999),
            (["Home"], 0), (["End"], 11999), (["period"], 11999), (["comma"], 11997)]
    for pressed, tick in keys:
        studio.key(*pressed)
        keep_picture(studio, tick)
    ticks = [str(tick) for tick in {tick for _, tick in keys}]
    subprocess.run([os.environ["STAGE_PICTURES"], PACKAGE, str(tmp_path), "320", "180", *ticks],
                   check=True)
    for tick in ticks:
        shown = picture(tmp_path / f"quorvale-{int(tick):06}.png")
        assert shown == picture(tmp_path / f"{tick}.ppm"), tick
        # A film at 100 pictures a second shows every tick.
        if tick in ("500", "5999", "11997"):
            film = subprocess.run(
                [DPK, "render", PACKAGE, "-o", "-", "--size", "320x180", "--samples", "0",
                 "--fps", "100", "--from", f"{tick}t", "--to", f"{int(tick) + 1}t", "--no-sound"],
                check=True, capture_output=True).stdout
            assert shown == film, tick


def test_a_clip_that_is_clicked_tells_of_itself(start: Start) -> None:
    studio = start(*SIZE, PACKAGE)
    opened(studio)
    place = studio.until(lambda now: "clip 3" in now["rects"])["rects"]["clip 3"]
    studio.click("clip 3")
    state = studio.until(lambda now: now["chosen"] == 3)
    begin, end = state["chosen_ticks"]
    assert begin <= state["tick"] <= end and place[2] > 0
    lines = "\n".join(state["chosen_text"])
    for word in ("row ", "clip ", "scene ", "pass ", "camera at ", "fog"):
        assert word in lines, lines


def test_a_package_that_is_dropped_is_opened(start: Start, screen: Screen, tmp_path: Path) -> None:
    dropped = tmp_path / "dropped here.dpk"
    dropped.write_bytes(Path(PACKAGE).read_bytes())
    studio = start(*SIZE, PACKAGE)
    opened(studio)
    window = int(screen.xdotool("search", "--onlyvisible", "--name", " - Quorvale Studio$").split()[0])
    drop_file(screen.name, window, str(dropped).replace(" ", "%20"), *studio.place("picture"))
    studio.until(lambda now: now["piece"] == str(dropped) and now["loads"] == 2)


def test_the_window_fits_the_screen(start: Start, screen: Screen, tmp_path: Path) -> None:
    settings = tmp_path / "config" / "quorvale-studio" / "settings"
    settings.parent.mkdir(parents=True)
    settings.write_text("width=1600\nheight=1000\n")
    studio = start(*SIZE, PACKAGE)
    opened(studio)
    found = screen.xdotool("search", "--onlyvisible", "--name", " - Quorvale Studio$",
                           "getwindowgeometry", "--shell")
    numbers = dict(line.split("=") for line in found.splitlines())
    assert int(numbers["X"]) >= 0 and int(numbers["WIDTH"]) <= 1000
    assert int(numbers["Y"]) >= 0 and int(numbers["HEIGHT"]) <= 740


def test_it_plays_in_step_with_the_sound(start: Start) -> None:
    studio = start(*SIZE, PACKAGE)
    opened(studio)
    studio.key("space")
    state = studio.until(lambda now: now["tick"] > 50)
    assert state["plays"] and state["sound"] == "plays"
    assert abs(state["tick"] * 10 - state["sound_ms"]) <= 10
    studio.key("space")
    studio.until(lambda now: not now["plays"] and now["sound"] == "waits")


def test_speeds_and_ranges(start: Start) -> None:
    studio = start(*SIZE, PACKAGE)
    opened(studio)
    studio.key("bracketright", "bracketright")
    studio.until(lambda now: now["speed"] == 32)
    studio.key("space")
    studio.until(lambda now: now["plays"] and now["sound"] == "waits" and now["tick"] > 100)
    studio.key("BackSpace", "space")
    studio.until(lambda now: now["speed"] == 8 and not now["plays"])
    studio.key("Home", "i", "Right", "o", "Left")
    studio.until(lambda now: now["range"] == [0, 500] and now["tick"] == 0)
    studio.key("bracketright", "bracketright", "space")
    studio.until(lambda now: now["tick"] > 300)
    studio.until(lambda now: now["tick"] < 200)
    studio.key("l")
    studio.until(lambda now: now["range"] is None)


def test_rows_of_the_module(start: Start) -> None:
    studio = start(*SIZE, PACKAGE)
    opened(studio)
    studio.key("Next")
    one = studio.until(lambda now: now["shown"] > 0)["shown"]
    studio.key("Prior")
    studio.until(lambda now: now["shown"] == 0)
    studio.key("ctrl+Next")
    assert studio.until(lambda now: now["shown"] > one)["shown"] in range(4 * one - 4, 4 * one + 4)


def test_the_mouse_seeks_and_plays(start: Start) -> None:
    studio = start(*SIZE, PACKAGE)
    opened(studio)
    studio.click("seek", 0.5, 0.5)
    assert 5000 < studio.until(lambda now: now["shown"] > 0)["shown"] < 7000
    studio.click("play")
    studio.until(lambda now: now["plays"])
    studio.click("play")
    studio.until(lambda now: not now["plays"])


def test_keys_panels_and_the_end(start: Start) -> None:
    studio = start(*SIZE, PACKAGE)
    opened(studio)
    studio.key("F1")
    studio.until(lambda now: now["keys"] and "keys" in now["rects"])
    studio.key("F1", "Tab")
    studio.until(lambda now: not now["keys"] and not now["panels"] and "play" not in now["rects"])
    studio.key("Tab", "m", "9")
    studio.until(lambda now: now["panels"] and now["muted"] and now["volume"] == 90)
    studio.key("Right")
    studio.until(lambda now: now["shown"] == 500)
    studio.key("ctrl+q")
    assert studio.end() == 0
    again = start(*SIZE, PACKAGE)
    state = again.until(lambda now: now["loads"] == 1)
    assert state["tick"] == 500 and state["volume"] == 90


def test_panels_are_hidden_and_reached_by_keys(start: Start) -> None:
    studio = start(*SIZE, "--from", "3", PACKAGE)
    opened(studio)
    for key, part in (("F2", "tree"), ("F4", "timeline"), ("F5", "play")):
        studio.until(lambda now: part in now["rects"])
        studio.key(key)
        studio.until(lambda now: part not in now["rects"])
    studio.key("F2", "F4", "F5")
    studio.until(lambda now: "tree" in now["rects"] and "timeline" in now["rects"])
    # Arrows walk through the tree, and leave the piece where it is.
    tick = studio.state()["tick"]
    studio.key("F6")
    studio.until(lambda now: now["reaches"])
    for key in ("Down", "Down"):
        studio.key(key)
        studio.frame()
    state = studio.until(lambda now: now["inside"])
    assert state["tick"] == tick and not state["plays"]
    studio.key("F6", "Right")
    studio.until(lambda now: not now["reaches"] and now["tick"] == tick + 500)


def test_the_viewer_plays_and_ends(start: Start) -> None:
    studio = start("--play", *SIZE, "--from", "112", PACKAGE)
    studio.until(lambda now: now["plays"] and now["shown"] > 11200 and not now["panels"])
    assert studio.end() == 0
    assert studio.errors() == ""


def test_the_viewer_obeys_keys(start: Start) -> None:
    studio = start("--play", "--mute", *SIZE, PACKAGE)
    studio.until(lambda now: now["plays"] and now["muted"])
    studio.key("space")
    studio.until(lambda now: not now["plays"])
    studio.key("Up")
    studio.until(lambda now: now["shown"] >= 6000)
    studio.key("Escape")
    assert studio.end() == 0


def test_the_viewer_plays_a_list(start: Start, tmp_path: Path) -> None:
    broken = tmp_path / "broken.dpk"
    broken.write_bytes(b"nothing")
    second = tmp_path / "second.dpk"
    second.write_bytes(Path(PACKAGE).read_bytes())
    studio = start("--play", *SIZE, "--from", "95", PACKAGE, broken, second)
    studio.until(lambda now: now["piece"] == str(second) and now["plays"])
    assert studio.errors().startswith("quorvale-studio: ")
    studio.key("Escape")
    assert studio.end() == 1


def test_help_version_and_mistakes() -> None:
    done = subprocess.run([STUDIO, "--help"], capture_output=True, text=True)
    assert done.returncode == 0 and "--play" in done.stdout
    done = subprocess.run([STUDIO, "--version"], capture_output=True, text=True)
    assert done.returncode == 0 and done.stdout.startswith("quorvale-studio 0.")
    done = subprocess.run([STUDIO, "--nothing"], capture_output=True, text=True)
    assert done.returncode == 2 and done.stderr.startswith("quorvale-studio: there is no option")
    done = subprocess.run([STUDIO], capture_output=True, text=True,
                          env={key: value for key, value in os.environ.items()
                               if key not in ("DISPLAY", "WAYLAND_DISPLAY")})
    assert done.returncode == 1 and "quorvale-studio: can't open a " in done.stderr
