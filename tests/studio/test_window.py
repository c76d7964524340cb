# SPDX-License-Identifier: MIT
"""The window: picture, transport, sound, keys, and the viewer."""

import os
import subprocess
from pathlib import Path
from typing import Any, Callable
from zlib import crc32

from drag_source import drop_file
from studio_window import QUESTIONS, STUDIO, Screen, Studio, picture, shown_window
from window_manager import close_window

DPK = os.environ["DPK"]
PACKAGE = os.environ["PACKAGE"]
SIZE = ["--size", "320x180"]
Start = Callable[..., Studio]


def opened(studio: Studio) -> None:
    studio.until(lambda now: now["loads"] == 1 and now["samples"] > 0)


def keep_picture(studio: Studio, tick: int) -> None:
    studio.until(lambda now: now["shown"] == tick)
    studio.key("s")
    path = studio.folder.resolve() / f"quorvale-{tick:06}.png"
    studio.until(lambda now: now["message"] == f"{path} is written")


def test_pictures_are_those_of_a_film(start: Start, tmp_path: Path) -> None:
    studio = start(*SIZE, "--from", "0", PACKAGE)
    opened(studio)
    # Forwards, backwards, and in steps.
    keys = [(["Right"], 500), (["Up"], 6500), (["Left"], 6000), (["shift+Left"], 5999),
            (["Home"], 0), (["End"], 11999), (["period"], 11999), (["comma"], 11997)]
    for pressed, tick in keys:
        studio.key(*pressed)
        keep_picture(studio, tick)
    ticks = sorted({str(tick) for _, tick in keys})
    subprocess.run([os.environ["STAGE_PICTURES"], PACKAGE, str(tmp_path), "320", "180", *ticks],
                   check=True)
    for number in ticks:
        shown = picture(tmp_path / f"quorvale-{int(number):06}.png")
        assert shown == picture(tmp_path / f"{number}.ppm"), number
        # A film at 100 pictures a second shows every tick.
        if number in ("500", "11997"):
            film = subprocess.run(
                [DPK, "render", PACKAGE, "-o", "-", "--size", "320x180", "--samples", "0",
                 "--fps", "100", "--from", f"{number}t", "--to", f"{int(number) + 1}t",
                 "--no-sound"],
                check=True, capture_output=True).stdout
            assert shown == film, number


def test_a_long_past_is_played_in_parts(start: Start, script: Path, tmp_path: Path) -> None:
    # Each picture shows the one before, so that one takes all before it.
    source = script / "piece.py"
    text = source.read_text().replace('demo.write("demo.xml")', """
from quorvale.images import write_png
trail = write_png("trail.png", 128, 64, 3, lambda x, y: (0, 0, 0))
old = Scene()
old.add(screen, recipes.clamped_bitmap((0.95, 0.93, 0.9), bitmap=trail),
        position=(0.5, 0.5, -0.99), scale=(1.05, 1.05, 1))
shown = Scene()
shown.add(screen, recipes.clamped_bitmap(bitmap=trail), position=(0.5, 0.5, -0.99))
demo.row(3).show(old, FLAT, 0, 400, how="texture", target=trail)
demo.row(4).show(stage, close, 0, 400, how="link")
demo.row(5).show(shown, FLAT, 0, 400)
demo.write("demo.xml")""")
    source.write_text(text)
    package = script / "trail.dpk"
    subprocess.run([DPK, "build", script, "-o", package], check=True, stdout=subprocess.DEVNULL)
    studio = start("--size", "160x90", "--from", "0", package)
    opened(studio)
    studio.click("seek", 0.24)
    state = studio.until(lambda now: now["sought"] or now["shown"] != 0)
    assert state["shown"] != 0 or "the past, " in state["sought"]
    # A machine may be fast enough to have shown it by now.
    studio.key("Escape")
    state = studio.until(lambda now: now["shown"] == now["tick"] and not now["sought"])
    assert state["shown"] == 0 or 300 < state["shown"] < 400

    def shown() -> tuple[int, int]:
        now = studio.until(lambda now: now["shown"] == now["tick"] > 0 and not now["sought"])
        return now["shown"], studio.picture()

    # Another seek takes the place of one that has just begun.
    studio.click("seek", 0.24)
    studio.click("seek", 0.12)
    pictures = [shown()]
    studio.key("F3")
    studio.until(lambda now: "cost" in now["rects"])
    studio.click("seek", 0.22)
    pictures.append(shown())
    subprocess.run([os.environ["STAGE_PICTURES"], package, str(tmp_path), "160", "90",
                    *(str(tick) for tick, _ in pictures)], check=True)
    assert pictures == [(tick, crc32(picture(tmp_path / f"{tick}.ppm"))) for tick, _ in pictures]
    assert pictures[0][0] < 250 < pictures[1][0] < 400
    # What it took is that of all parts, and each that was left took 40 ms; SDL counts whole ones.
    cost = studio.until(lambda now: now["cost"] and now["cost"]["tick"] == pictures[1][0])["cost"]
    took = cost["evaluation_ns"] + cost["simulation_ns"] + cost["call_ns"]
    assert 39_000_000 * (cost["parts"] - 1) < took < cost["swap_ns"]
    assert cost["shown_us"] == (cost["swap_ns"] // 1000 if cost["parts"] == 1 else 0)


def test_the_wave_form_is_shown_unasked(start: Start, screen: Screen, small: Path) -> None:
    start(*SIZE, "--from", "0", small)
    # Every question draws the window anew, so nothing is asked.
    wave = bytes((92, 118, 108))
    for _ in range(QUESTIONS):
        taken = subprocess.run(["import", "-window", "root", "-depth", "8", "rgb:-"], check=True,
                               capture_output=True, env=dict(os.environ, DISPLAY=screen.name))
        if taken.stdout.count(wave) > 500:
            return
    raise AssertionError("never came")


def test_no_sound_device_is_told_by_the_window_alone(start: Start, small: Path) -> None:
    studio = start(*SIZE, "--from", "0", small,
                   environment={"SDL_AUDIODRIVER": "alsa", "ALSA_CONFIG_PATH": "/dev/null"})
    opened(studio)
    studio.until(lambda now: now["sound"] == "none" and "sound" in now["rects"])
    assert "ALSA" not in studio.errors()


def test_the_mouse_seeks_and_plays(start: Start, screen: Screen, small: Path,
                                   tmp_path: Path) -> None:
    studio = start(*SIZE, "--from", "0", small)
    opened(studio)
    studio.click("seek", 0.5, 0.5)
    assert 600 < studio.until(lambda now: now["shown"] > 0)["shown"] < 1000
    studio.click("play")
    studio.until(lambda now: now["plays"])
    studio.click("play")
    studio.until(lambda now: not now["plays"])

    # The ruler, pressed and dragged; then a clip, which tells of itself.
    studio.point("timeline", 0.25, 0.05)
    studio.frame()
    screen.xdotool("mousedown", 1)
    left = studio.until(lambda now: 390 < now["shown"] < 410)["shown"]
    state = studio.state()
    apart = state["rects"]["timeline"][2] // 4
    screen.xdotool("mousemove_relative", apart, 0)
    studio.until(lambda now: left + 390 < now["shown"] < left + 410)
    screen.xdotool("mouseup", 1)
    assert studio.state()["chosen"] == -1
    studio.click("clip 2")
    state = studio.until(lambda now: now["chosen"] == 2)
    begin, end = state["chosen_ticks"]
    assert begin <= state["tick"] <= end == 800
    lines = "\n".join(state["chosen_text"])
    for word in ("row 1", "clip 1", "scene ", "pass ", "camera at ", "fog"):
        assert word in lines, lines

    # The wheel scrolls, with Ctrl it zooms at the mouse.
    studio.point("timeline", 0.5, 0.05)
    screen.xdotool("keydown", "ctrl", "click", 4, "click", 4)
    studio.until(lambda now: now["first"] > 0)
    screen.xdotool("keyup", "ctrl")
    first = studio.state()["first"]
    screen.xdotool("click", 4)
    studio.until(lambda now: now["first"] < first)

    # A package that is dropped is opened. The window is closed by its frame.
    dropped = tmp_path / "dropped here.dpk"
    dropped.write_bytes(small.read_bytes())
    window = shown_window(screen)
    drop_file(screen.name, window, str(dropped).replace(" ", "%20"), *studio.place("picture"))
    studio.until(lambda now: now["piece"] == str(dropped) and now["loads"] == 2)
    close_window(screen.name, window)
    assert studio.end() == 0


def test_rows_are_hidden_for_looking(start: Start, small: Path) -> None:
    studio = start(*SIZE, "--from", "3", small)
    opened(studio)
    whole = studio.picture()
    studio.click("hide 1")
    studio.until(lambda now: now["hidden"] == 2)
    hidden = studio.picture()
    studio.click("solo 1")
    studio.until(lambda now: now["solo"] == 2)
    alone = studio.picture()
    assert len({whole, hidden, alone}) == 3
    studio.click("solo 1")
    studio.until(lambda now: now["solo"] == 0)
    assert studio.picture() == hidden
    studio.click("hide 1")
    studio.until(lambda now: now["hidden"] == 0)
    assert studio.picture() == whole

    # A package can be tried with other values, and has no sources to write them into.
    studio.click("node row 1, clip 1", 0.8)
    studio.reveal("value clip 1 fov", "item")
    studio.drag("value clip 1 fov", 60)
    studio.drop()
    studio.until(lambda now: now["changes"])
    studio.click("write 0")
    studio.until(lambda now: now["message"] == "a package has no sources; open its folder")


def test_the_window_fits_the_screen(start: Start, screen: Screen, small: Path,
                                    tmp_path: Path) -> None:
    settings = tmp_path / "config" / "quorvale-studio" / "settings"
    settings.parent.mkdir(parents=True)
    settings.write_text("width=1600\nheight=1000\n")
    studio = start(*SIZE, "--from", "0", small)
    opened(studio)
    found = screen.xdotool("search", "--onlyvisible", "--name", " - Quorvale Studio$",
                           "getwindowgeometry", "--shell")
    numbers = dict(line.split("=") for line in found.splitlines())
    assert int(numbers["X"]) >= 0 and int(numbers["WIDTH"]) <= 1000
    assert int(numbers["Y"]) >= 0 and int(numbers["HEIGHT"]) <= 740


def test_a_small_window_cuts_no_word(start: Start, tmp_path: Path, small: Path) -> None:
    settings = tmp_path / "config" / "quorvale-studio" / "settings"
    settings.parent.mkdir(parents=True)
    settings.write_text("width=640\nheight=480\n")
    studio = start(*SIZE, "--mute", "--from", "12", small.parent)
    opened(studio)
    studio.key("bracketleft", "bracketleft", "Home", "i", "End", "o")
    texts = ["place", "row", "speed", "range", "reload time", "sound"]
    state = studio.until(lambda now: all(text in now["rects"] for text in texts))
    heights = {state["rects"][text][3] for text in texts}
    assert len(heights) == 1, state["rects"]  # the lowest would be cut first
    for text in texts:
        left, _, width, _ = state["rects"][text]
        assert left >= 8 and left + width <= 640 - 8, text
    studio.key("F1")
    studio.until(lambda now: "keys that scroll" in now["rects"])


def test_it_plays_in_step_with_the_sound(start: Start, small: Path) -> None:
    studio = start(*SIZE, "--from", "0", small)
    opened(studio)
    studio.key("space")
    state = studio.until(lambda now: now["tick"] > 50)
    assert state["plays"] and state["sound"] == "plays"
    assert abs(state["tick"] * 10 - state["sound_ms"]) <= 10
    studio.key("space")
    studio.until(lambda now: not now["plays"] and now["sound"] == "waits")


def test_speeds_and_ranges(start: Start, small: Path) -> None:
    studio = start(*SIZE, "--from", "0", small)
    opened(studio)
    studio.key("Home", "i", "Right", "o", "Left")
    studio.until(lambda now: now["range"] == [0, 500] and now["tick"] == 0)
    # A mark that passes the other one sends it back to the piece's end.
    end = studio.state()["end"]
    studio.key("Right", "Right", "i")
    studio.until(lambda now: now["range"] == [1000, end])
    studio.key("Left", "o")
    studio.until(lambda now: now["range"] == [0, 500])
    studio.key("Home")
    studio.until(lambda now: now["tick"] == 0)
    studio.key("bracketright", "bracketright", "bracketright")
    studio.until(lambda now: now["speed"] == 32)
    studio.key("space")
    studio.until(lambda now: now["plays"] and now["sound"] == "waits" and now["tick"] > 300)
    studio.until(lambda now: now["tick"] < 200)
    studio.key("BackSpace", "space")
    studio.until(lambda now: now["speed"] == 8 and not now["plays"])
    studio.key("bracketleft", "bracketleft", "bracketleft", "bracketleft", "l")
    studio.until(lambda now: now["speed"] == 1 and now["range"] is None)


def test_rows_of_the_module(start: Start, screen: Screen, small: Path) -> None:
    studio = start(*SIZE, "--from", "0", small)
    opened(studio)
    studio.key("Next")
    one = studio.until(lambda now: now["shown"] > 0)["shown"]
    studio.key("Prior")
    studio.until(lambda now: now["shown"] == 0)
    studio.key("ctrl+Next")
    four = studio.until(lambda now: now["shown"] > one)["shown"]
    assert four in range(4 * one - 4, 4 * one + 4)

    # Moments are typed. Keys are commands again as soon as the field is left.
    def press(key: str, holds: Callable[[dict[str, Any]], object]) -> None:
        screen.xdotool("keydown", key)
        studio.until(holds)
        screen.xdotool("keyup", key)

    studio.key("j")
    studio.until(lambda now: "jump" in now["rects"])
    studio.key("o", "0", "colon", "1")
    press("Return", lambda now: now["shown"] == one and "jump" not in now["rects"])
    studio.key("j")
    studio.until(lambda now: "jump" in now["rects"])
    studio.key("o", "9", "9")
    press("Return", lambda now: "jump" in now["rects"] and
          now["message"] == 'no row of the module is played at "o99"')
    # The wrong text is chosen, so the next takes its place.
    studio.key("2", "period", "5")
    press("Return", lambda now: now["shown"] == 250)
    studio.key("j")
    studio.until(lambda now: "jump" in now["rects"])
    studio.key("9")
    press("Escape", lambda now: "jump" not in now["rects"])
    studio.key("Right")
    state = studio.until(lambda now: now["shown"] == 750)
    assert state["volume"] == 100


def test_keys_panels_and_the_end(start: Start, small: Path) -> None:
    studio = start(*SIZE, "--from", "0", small)
    opened(studio)
    studio.key("F1")
    studio.until(lambda now: now["keys"] and "keys" in now["rects"])  # all of them at once
    studio.key("F1", "Tab")
    studio.until(lambda now: not now["keys"] and not now["panels"] and "play" not in now["rects"])
    studio.key("Tab", "m", "9")
    studio.until(lambda now: now["panels"] and now["muted"] and now["volume"] == 90)
    studio.key("Right")
    studio.until(lambda now: now["shown"] == 500)
    studio.key("ctrl+q")
    assert studio.end() == 0
    again = start(*SIZE, small)
    state = again.until(lambda now: now["loads"] == 1)
    assert state["tick"] == 500 and state["volume"] == 90


def test_panels_are_hidden_and_reached_by_keys(start: Start, small: Path) -> None:
    studio = start(*SIZE, "--from", "3", small)
    opened(studio)
    # A file of that name can't be made.
    (studio.folder / "small-000300.png").mkdir()
    studio.key("s")
    studio.until(lambda now: now["message"].endswith("/small-000300.png can't be written"))
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


def test_the_viewer_plays_and_ends(start: Start, small: Path) -> None:
    studio = start("--play", *SIZE, "--from", "15", small)
    assert studio.end() == 0
    assert studio.errors() == ""


def test_the_viewer_obeys_keys(start: Start, screen: Screen, small: Path, tmp_path: Path) -> None:
    studio = start("--play", "--mute", "--loop", *SIZE, small)
    studio.until(lambda now: now["plays"] and now["muted"])
    studio.key("space")
    tick = studio.until(lambda now: not now["plays"])["tick"]
    studio.key("Right")
    studio.until(lambda now: now["shown"] == tick + 500)
    studio.key("Left", "m")
    studio.until(lambda now: now["shown"] == tick and not now["muted"])
    # Nobody manages windows here: its place and size are those that it was given.
    place = studio.state()["window"]
    studio.key("f")
    studio.until(lambda now: now["window"] == [0, 0] and now["rects"]["picture"][2] == 1000)
    studio.key("f")
    studio.until(lambda now: now["window"] == place)
    dropped = tmp_path / "dropped.dpk"
    dropped.write_bytes(small.read_bytes())
    drop_file(screen.name, shown_window(screen), str(dropped), *studio.place("picture"))
    studio.until(lambda now: now["piece"] == str(dropped) and now["plays"])
    studio.key("q")
    assert studio.end() == 0


def test_the_viewer_plays_a_list(start: Start, small: Path, tmp_path: Path) -> None:
    broken = tmp_path / "broken.dpk"
    broken.write_bytes(b"nothing")
    folder = tmp_path / "folder"
    folder.mkdir()
    (folder / "piece.py").write_text("nothing_of_this_name\n")
    second = tmp_path / "second.dpk"
    second.write_bytes(small.read_bytes())
    studio = start("--play", "--no-ui", *SIZE, "--from", "15.5", small, broken, folder, second)
    studio.until(lambda now: now["piece"] == str(second) and now["plays"] and not now["panels"])
    lines = studio.errors()
    assert lines.startswith("quorvale-studio: ") and "piece.py:1: NameError" in lines
    studio.key("Up")  # to the end of the last piece
    assert studio.end() == 1


def test_keys_walk_through_a_list(start: Start, small: Path, tmp_path: Path) -> None:
    packages = [tmp_path / "one.dpk", tmp_path / "two.dpk"]
    for package in packages:
        package.write_bytes(small.read_bytes())
    one, two = map(str, packages)
    studio = start("--play", "--mute", "--loop", *SIZE, one, two)
    studio.until(lambda now: now["piece"] == one and now["plays"])
    studio.key("shift+comma")
    studio.until(lambda now: now["message"] == "there is no piece before")
    studio.key("shift+period")
    studio.until(lambda now: now["piece"] == two and now["plays"] and not now["loading"])
    studio.key("shift+period")
    studio.until(lambda now: now["message"] == "there is no other piece")
    studio.key("shift+comma")
    studio.until(lambda now: now["piece"] == one and now["plays"] and not now["loading"])
    # A list that has come to nothing ends, though it would begin anew for ever.
    for package in packages:
        package.unlink()
    studio.key("End")
    assert studio.end() == 1
    assert [name in studio.errors() for name in (one, two)] == [True, True]


def test_keys_that_are_held_and_letters_of_others(start: Start, screen: Screen,
                                                  small: Path) -> None:
    studio = start(*SIZE, "--from", "3", small)
    opened(studio)
    studio.key("alt+m", "super+m", "F1")
    studio.until(lambda now: now["keys"])
    assert not studio.state()["muted"]
    # A key that is held comes again and again: a step takes all, a switch the first alone.
    studio.point("picture")
    screen.xdotool("keydown", "shift", "keydown", "Right")
    studio.until(lambda now: now["shown"] > 303)
    screen.xdotool("keyup", "Right", "keyup", "shift", "keydown", "m")
    studio.until(lambda now: now["muted"])
    for _ in range(50):
        studio.frame()
        assert studio.state()["muted"]
    screen.xdotool("keyup", "m")


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
