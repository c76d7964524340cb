# SPDX-License-Identifier: MIT
"""What is written reads back through the engine as what was meant."""

import json
import math
import os
import re
import subprocess
import sys
import zlib

import pytest
from hypothesis import given
from hypothesis import strategies as st

from quorvale import (FLAT, Bitmap, Camera, Color, Curve, Document, Fog, Light, Model, Scene, Texture,
                      effects, hold, layers, line, look, manipulators, material, orbit, path, recipes,
                      steps, waters)
from quorvale.cameras import heading
from quorvale.curves import written
from quorvale.exact import cos_turns, f32, sin_turns
from quorvale.facts import CATALOGUES
from quorvale.images import write_png
from quorvale.items import RECIPES
from quorvale.meshes import Mesh, square
from test_curves import single


def plain_document(scene=None):
    if scene is None:
        scene = Scene()
        scene.add(Model("square.obj"), recipes.color((1, 0.5, 0)))
    document = Document()
    document.row(0).show(scene, FLAT, 0, 200)
    return document


class Records:
    """The engine's records by kind, as lists of words."""

    def __init__(self, lines):
        self.lines = [line.split() for line in lines]

    def of(self, kind):
        return [words[1:] for words in self.lines if words[0] == kind]

    def curve(self, number):
        """An envelope without its id."""
        return self.of("envelope")[number - 1][1:]


def expected_curve(curve):
    words = [str(curve.loop), "%.9g" % curve.begin, "%.9g" % curve.end]
    for piece in curve.pieces:
        params = [written(p) for p in piece.params] + [0.0] * (24 - len(piece.params))
        words += ["piece", str(piece.function), str(piece.length)]
        words += ["%.9g" % (p + 0.0) for p in params]
    return words


def check_values(records, words, values):
    """Compares pairs of words, such as "s 0.5" or "d 3", with numbers and curves."""
    for (kind, word), value in zip(zip(words[0::2], words[1::2]), values, strict=True):
        if kind == "d":
            assert records.curve(int(word)) == expected_curve(value)
        else:
            assert f32(float(word)) == written(value)


numbers = st.floats(-1e3, 1e3)
values = st.one_of(numbers, single)


def into(curve, first, last):
    """A curve moved and scaled to a range."""
    (low, _), (high, _) = curve.extremes()
    scale = (last - first) / (high - low) if high - low > 1e-3 else 0.0
    return (curve - low) * scale + first


channels = st.one_of(st.floats(0, 1), single.map(lambda curve: into(curve, 0, 1)))
views = st.one_of(st.floats(1, 179), single.map(lambda curve: into(curve, 20, 120)))


@given(st.sampled_from(RECIPES), st.tuples(channels, channels, channels), channels, st.data())
def test_materials_read_back(engine_values, tmp_path_factory, recipe, color, alpha, data):
    row = next(row for row in CATALOGUES["recipes"].rows if row.word == recipe)
    words = [param.word for param in row.params]
    light, texture = Light(), layers.noise() * layers.maze()
    bitmaps = [Bitmap("a.png"), Bitmap("b.png")]
    effect = effects.plasma(line(0, 1, 100))
    given_values = {"color": color, "light": light, "texture": texture, "effect": effect,
                    "bitmap": bitmaps[0], "bitmap2": bitmaps[1], "alpha": alpha, "turns": True,
                    "width": 2.0}
    made = material(recipe, **{word: given_values[word] for word in words})
    scene = Scene()
    scene.add(Model("m.obj"), made)
    path_ = tmp_path_factory.mktemp("materials") / "demo.xml"
    document = plain_document(scene)
    document.keep(*bitmaps)
    document.write(str(path_))
    records = Records(engine_values(path_))
    (words_,) = records.of("material")
    assert words_[:2] == ["1", str(row.number)]
    extra = 1.0 if "turns" in words else 2.0 if "width" in words else 0.0
    check_values(records, words_[2:12], [*color, alpha if "alpha" in words else 1.0, extra])
    kinds = sorted((p.kind for p in row.params if p.kind in ("light", "texture", "bitmap")),
                   key=lambda kind: kind != "light")
    expected, bitmap = [], 0
    for kind in kinds:
        bitmap += kind == "bitmap"
        expected.append(str(bitmap if kind == "bitmap" else 1))
    assert words_[12:15] == (expected + ["0"] * 3)[:3]
    assert words_[15] == ("1" if "effect" in words else "0")


@given(*[st.tuples(values, values, values)] * 3)
def test_lights_read_back(engine_values, tmp_path_factory, ambient, diffuse, position):
    scene = Scene()
    scene.add(Model("m.obj"), recipes.lit_color(light=Light(diffuse, position, ambient)))
    path_ = tmp_path_factory.mktemp("lights") / "demo.xml"
    plain_document(scene).write(str(path_))
    records = Records(engine_values(path_))
    (words,) = records.of("light")
    assert words[0] == "1"
    check_values(records, words[1:], [*ambient, *diffuse, *position])


@given(st.sampled_from(CATALOGUES["effects"].rows), st.lists(values, min_size=4, max_size=4),
       st.sampled_from((64, 128, 256, 512)), st.booleans())
def test_effects_read_back(engine_values, tmp_path_factory, row, given_values, size, gray):
    given_values = given_values[:len(row.params)]
    scene = Scene()
    made = getattr(effects, row.word)(*given_values, size=size, gray=gray)
    scene.add(Model("m.obj"), recipes.effect(effect=made))
    path_ = tmp_path_factory.mktemp("effects") / "demo.xml"
    plain_document(scene).write(str(path_))
    records = Records(engine_values(path_))
    (words,) = records.of("effect")
    assert words[:4] == ["1", str(row.number), str(size), "8" if gray else "24"]
    for word, value in zip(words[4:], given_values):
        assert records.curve(int(word)) == expected_curve(
            hold(value) if isinstance(value, float) else value)


kernels = st.lists(numbers, min_size=9, max_size=9)
plain_steps = st.one_of(
    st.just(steps.invert()), st.just(steps.blur()), st.builds(steps.scale, numbers),
    st.builds(steps.offset, st.integers(-255, 255), st.integers(-255, 255)),
    st.builds(steps.emboss, st.integers(1, 4)), st.builds(lambda m: steps.convolution(*m), kernels))
stacked = st.lists(st.tuples(st.sampled_from("+*<>|"), st.integers(0, 3), numbers, plain_steps),
                   max_size=15)


@given(stacked)
def test_textures_read_back(engine_values, tmp_path_factory, parts):
    seeds = [layers.noise(seed=k) for k in range(4)]
    texture = layers.maze() * 0.5 + seeds[0]
    for sign, k, number, step in parts:
        texture = {"+": lambda: texture + seeds[k] * number, "*": lambda: texture * seeds[k],
                   "<": lambda: texture.minimum(seeds[k]), ">": lambda: texture.maximum(seeds[k]),
                   "|": lambda: texture | step}[sign]()
    scene = Scene()
    scene.add(Model("m.obj"), recipes.texture(texture=texture))
    path_ = tmp_path_factory.mktemp("textures") / "demo.xml"
    plain_document(scene).write(str(path_))
    ((_, *words),) = Records(engine_values(path_)).of("texture")
    finished = texture.finished()
    used = sorted({step.layer.origin.order for step in finished if step.layer})
    read = [words[i:i + 12] for i in range(0, len(words), 12)]
    for step, (_, kind, layer, *params) in zip(finished, read, strict=True):
        assert int(kind) == step.row.number
        if step.layer is not None:
            assert int(layer) == used.index(step.layer.origin.order)
        for word, number in zip(params, step.numbers):
            assert f32(float(word)) == written(number)


@given(st.lists(values, min_size=9, max_size=9), st.one_of(st.none(), single),
       st.integers(-5000, 5000), st.lists(values, min_size=3, max_size=3))
def test_objects_read_back(engine_values, tmp_path_factory, nine, visible, shift, three):
    mesh = waters.lake_water(line(0, 9, 100))
    model = Model("m.obj")
    scene = Scene()
    scene.add(model, recipes.color(), position=nine[:3], rotation=nine[3:6], scale=nine[6:],
              visible=visible, shift=shift,
              manipulators=[manipulators.rippler(*three), manipulators.model_placer(mesh)])
    scene.add(mesh, recipes.color())
    path_ = tmp_path_factory.mktemp("objects") / "demo.xml"
    plain_document(scene).write(str(path_))
    records = Records(engine_values(path_))
    first, second = records.of("object")
    assert first[:3] == ["0", "1", "1"] and second[:3] == ["1", "1", "2"]
    check_values(records, first[3:21], nine)
    if visible is None:
        assert first[21] == "0"
    else:
        assert records.curve(int(first[21])) == expected_curve(visible)
    assert float(first[22]) == shift and first[23] == "2"
    ripple, placer = records.of("manipulator")
    assert ripple[:3] == ["2", "0", "0"] and placer[:3] == ["3", "1", "1"]
    check_values(records, ripple[3:], three)


@given(st.lists(st.tuples(st.integers(1, 9), st.integers(1, 9)), min_size=1, max_size=20),
       st.lists(values, min_size=6, max_size=6), views)
def test_clips_read_back(engine_values, tmp_path_factory, gaps, six, fov):
    camera = Camera(tuple(six[:3]), tuple(six[3:]), fov)
    document = plain_document()
    row = document.row(3)
    tick, clips = 0, []
    for gap, length in gaps:
        tick += gap * 100
        clips.append((tick, tick + length * 100))
        row.show(None, camera, *clips[-1], how="clear_depth", offset=gap, fog=Fog(1.0, 50.0))
        tick += length * 100
    path_ = tmp_path_factory.mktemp("clips") / "demo.xml"
    document.write(str(path_))
    records = Records(engine_values(path_))
    read = [words for words in records.of("clip") if words[0] == "3"]
    running = 0
    for words, (start, end), (gap, _) in zip(read, clips, gaps, strict=True):
        assert running + int(words[2]) == start
        # The engine gives a clip its last tick still.
        assert int(words[3]) in (end - start, end - start - 1)
        running = start + int(words[3])
        assert words[1] == "0" and words[4:7] == [str(gap), "3", "0"]
        check_values(records, words[7:19], six)
        assert words[19] == "projection"
        check_values(records, words[21:23], [fov])
        assert words[23:25] == ["fog", "1"] and words[25:] == ["s", "1", "s", "50", "0"]


def test_clips_that_the_engine_would_not_find_are_refused():
    document = plain_document()
    row = document.row(1)
    row.show(None, FLAT, 0, 50)
    row.show(None, FLAT, 60, 90)
    with pytest.raises(ValueError, match=r"test_document.py:\d+: the clip from 60 to 90 lies inside"):
        document.text()


def test_a_row_shows_one_clip_at_a_time():
    row = Document().row(0)
    row.show(None, FLAT, 0, 100)
    with pytest.raises(ValueError, match="row 0 shows another scene from 0 to 100"):
        row.show(None, FLAT, 99, 200)
    row.after(None, FLAT, 50)
    assert row.clips[-1].start == 100 and row.clips[-1].end == 150


def test_a_cut_goes_on_with_its_scene():
    scene, turning = Scene(), orbit((0, 0, 0), 5, 1, 300)
    still = look((0, 0, 5), (0, 0, 0))
    clips = Document().row(0).cut(scene, [(100, still), (250, turning)], 500, how="clear_depth",
                                  offset=30)
    assert [(clip.start, clip.end, clip.offset) for clip in clips] == [(100, 250, 30), (250, 500, 180)]
    assert clips[0].camera == still and clips[1].how == "clear_depth"
    # The clip's time is ahead by its offset, and the camera begins where it is cut to.
    assert clips[1].camera.position[0].at(180 + 20) == turning.position[0].at(20)
    with pytest.raises(ValueError, match="one camera at least"):
        Document().row(0).cut(scene, [], 100)


def test_pieces_may_lie_in_folders_of_any_script(dpk, tmp_path):
    for command in (["new", "пьеса ü"], ["build", "пьеса ü"], ["check", "пьеса ü"]):
        run = subprocess.run([dpk, *command], cwd=tmp_path, capture_output=True)
        assert run.returncode == 0, run.stderr
    assert (tmp_path / "пьеса ü/пьеса ü.dpk").exists()


def found(dpk, folder):
    """The findings of a folder's check that are no figures, by their rules."""
    run = subprocess.run([dpk, "check", "--json", str(folder)], capture_output=True, text=True)
    return {finding["rule"]: finding for finding in json.loads(run.stdout)["findings"]
            if finding["rule"] not in ("size", "dearest-tick", "missing-document")}


def written_piece(folder, *clips):
    write_png(str(folder / "image.png"), 4, 4, 3, lambda x, y: (1, 1, 1))
    square(Mesh()).write(str(folder / "square.obj"))
    demo = Document()
    for row, arguments in clips:
        demo.row(row).show(*arguments[:4], **(arguments[4] if len(arguments) > 4 else {}))
    demo.write(str(folder / "demo.xml"))
    return folder


def flat_scene(material):
    scene = Scene()
    scene.add(Model("square.obj"), material, position=(0.5, 0.5, -0.5))
    return scene


def test_a_clip_after_the_end_is_told_in_the_authors_words(dpk, tmp_path):
    red = flat_scene(recipes.color((1, 0, 0)))
    clips = [(0, (red, FLAT, 0, 6000)), (0, (red, FLAT, 7500, 8000)), (1, (red, FLAT, 7600, 7900))]
    late = found(dpk, written_piece(tmp_path, *clips))["early-end"]
    begun = int(re.search(r"begins at tick (\d+) ", late["text"])[1])
    assert late["text"].startswith("the clip is never shown, nor is 1 later clip: it begins at ")
    assert abs(begun - 7500) <= 1 and "the piece ends at tick 60" in late["text"]
    assert "demo.row(0).show(Scene(), FLAT, 60" in late["cure"]
    assert late["author"][0]["file"].endswith("test_document.py")
    # By its own cure the piece goes on, and black that is meant is no warning.
    gap = tuple(map(int, re.search(r"FLAT, (\d+), (\d+)\)", late["cure"]).groups()))
    rest = found(dpk, written_piece(tmp_path, *clips, (0, (Scene(), FLAT, gap[0], 7500))))
    assert "early-end" not in rest and rest["empty-clip"]["severity"] == "note"
    # Without a line of Python it is the language of the document.
    (tmp_path / ".demo.origins").unlink()
    written_piece(tmp_path, *clips)
    (tmp_path / ".demo.origins").unlink()
    assert "space_before" in found(dpk, tmp_path)["early-end"]["cure"]


def test_feedback_that_is_seen_is_no_finding(dpk, tmp_path):
    image = Bitmap("image.png")
    fed = flat_scene(recipes.clamped_bitmap(bitmap=image))
    into = {"how": "texture", "target": image}
    clips = [(0, (fed, FLAT, 0, 400, into)), (1, (flat_scene(recipes.color()), FLAT, 0, 400))]
    assert set(found(dpk, written_piece(tmp_path, *clips))) == {"target-feeds-itself"}
    shown = (2, (flat_scene(recipes.clamped_bitmap(bitmap=image)), FLAT, 0, 400))
    assert not found(dpk, written_piece(tmp_path, *clips, shown))
    write_png(str(tmp_path / "image.png"), 2048, 2, 3, lambda x, y: (1, 1, 1))
    large = found(dpk, tmp_path)["large-target"]
    assert "2048x2 pixels" in large["text"] and "a window of 1024x768 cuts" in large["text"]
    write_png(str(tmp_path / "image.png"), 5, 4, 3, lambda x, y: (1, 1, 1))
    assert found(dpk, tmp_path)["odd-sides"]["cure"] == "scale it to 8x4"
    (tmp_path / "image.png").write_text("no image")
    assert "PNG, JPEG, TGA or BMP" in found(dpk, tmp_path)["damaged-entry"]["cure"]


def test_a_missing_mesh_is_not_taken_for_another(dpk, tmp_path):
    scene = flat_scene(recipes.color())
    scene.add(Model("sail.obj"), recipes.color(), position=(0.5, 0.5, -0.5))
    written_piece(tmp_path, (0, (scene, FLAT, 0, 400)))
    for near, text in (("snail.obj", 'an entry "snail.model"'), ("ship.obj", "Mesh().write")):
        square(Mesh()).write(str(tmp_path / near))
        assert text in found(dpk, tmp_path)["missing-entry"]["cure"]
        (tmp_path / near).unlink()


def test_passes_have_targets_or_none():
    row = Document().row(0)
    with pytest.raises(ValueError, match='"texture" needs a target'):
        row.show(None, FLAT, 0, 100, how="texture")
    with pytest.raises(ValueError, match="takes no target"):
        row.show(None, FLAT, 0, 100, target=Bitmap("a.png"))
    with pytest.raises(ValueError, match='did you mean "clear_depth"'):
        row.show(None, FLAT, 0, 100, how="clear_deph")


def test_limits_hold_where_things_are_made():
    with pytest.raises(ValueError, match=r"maze\(\): the size of the cells is 1 to 7, not 12"):
        layers.maze(size=12)
    with pytest.raises(ValueError, match=r"maze\(\): the fullness is 0 to 1, not 1.5"):
        layers.maze(fullness=1.5)
    with pytest.raises(ValueError, match=r"color\(\): the color is 0 to 1, not 2"):
        layers.color((2, 0, 0))
    with pytest.raises(ValueError, match="whole number, not 2.5"):
        layers.noise(seed=2.5)
    with pytest.raises(ValueError, match=r"emboss\(\): the direction is 1 to 4, not 5"):
        steps.emboss(5)
    with pytest.raises(ValueError, match="up to 32 steps, not 33"):
        texture = layers.noise() * 1.0 | steps.blur()
        for _ in range(31):
            texture = texture | steps.blur()
    with pytest.raises(ValueError, match="a row is 0 to 31, not 32"):
        Document().row(32)
    with pytest.raises(ValueError, match='no "lit_colour" among the recipes; did you mean "lit_color"'):
        material("lit_colour")
    with pytest.raises(TypeError, match='no parameter "ligth"; did you mean "light"'):
        material("lit_color", ligth=Light())
    with pytest.raises(TypeError, match="the light is a Light, not"):
        recipes.lit_color(light=Bitmap("a.png"))
    with pytest.raises(ValueError, match="1 to 32 bytes"):
        Model("a" * 40 + ".obj")
    scene = Scene()
    model, plain = Model("m.obj"), recipes.color()
    for _ in range(512):
        scene.add(model, plain)
    with pytest.raises(ValueError, match="up to 512 objects"):
        scene.add(model, plain)
    with pytest.raises(ValueError, match="up to 7 manipulators, not 8"):
        Scene().add(model, plain, manipulators=[manipulators.rippler()] * 8)


def test_textures_are_expressions_of_layers_and_steps():
    noise, maze = layers.noise(seed=3), layers.maze()
    texture = ((noise * 0.5 + maze | steps.blur()) * 0.8 + maze * 0.2) * (noise * 2) | steps.emboss(2)
    words = [(step.row.word, step.numbers, step.layer) for step in texture.finished()]
    assert words == [("add", (1.0, 0.5), noise), ("add", (1.0, 1.0), maze), ("blur", (), None),
                     ("add", (0.8, 0.2), maze), ("multiply", (2 / 255,), noise),
                     ("emboss", (2.0,), None)]
    scaled = (noise + maze) * 0.5
    assert [step.row.word for step in scaled.finished()] == ["add", "add", "scale"]
    with pytest.raises(ValueError, match="there is one image to work on"):
        noise + (maze | steps.blur())


def test_equal_layers_and_textures_are_shared():
    scene = Scene()
    model = Model("m.obj")
    for _ in range(3):
        texture = layers.noise(seed=3) * layers.maze()
        scene.add(model, recipes.texture(texture=texture))
        scene.add(Model("m.obj"), recipes.texture(texture=texture))
    text = plain_document(scene).text()
    assert text.count("<layer type=\"5\"") == 1 and text.count("<texture>") == 1
    assert text.count("<model ") == 1 and text.count("<material ") == 6


def test_equal_curves_share_an_envelope():
    scene = Scene()
    for _ in range(3):
        scene.add(Model("m.obj"), recipes.color(alpha=line(0, 1, 100)), scale=line(0, 1, 100))
    assert plain_document(scene).text().count("<envelope ") == 1


def test_items_stand_in_the_order_in_which_they_were_made():
    red = recipes.color((1, 0, 0), name="red")
    green = recipes.color((0, 1, 0), name="green")
    scene = Scene()
    scene.add(Model("m.obj"), green)
    scene.add(Model("m.obj"), red)
    text = plain_document(scene).text()
    assert text.index('name="red"') < text.index('name="green"')


def test_names_and_files_may_be_in_any_script(engine_values, tmp_path):
    folder = tmp_path / "пьеса ü"
    folder.mkdir()
    scene = Scene(name='Straße & "Nebel" <1>')
    scene.add(Model("glück.obj"), recipes.color())
    document = plain_document(scene)
    document.music = "ünïcode.xm"
    document.write(str(folder / "demo.xml"))
    assert Records(engine_values(folder / "demo.xml")).of("scene") == [["1", "1"]]


def test_origins_name_the_authors_lines(tmp_path):
    def helper():
        return recipes.color()

    fade = line(0, 1, 100)
    scene = Scene(name="Straße")
    texture = layers.noise() * 0.5
    texture = texture + layers.maze()
    texture = texture | steps.blur()
    scene.add(Model("m.obj"), helper(), scale=fade)
    scene.add(Model("m.obj"), recipes.texture(texture=texture), scale=fade * 2)
    plain_document(scene).write(str(tmp_path / "demo.xml"))
    head, *table = (tmp_path / ".demo.origins").read_text(encoding="utf-8").splitlines()
    text = (tmp_path / "demo.xml").read_bytes()
    assert head == f"text\t{len(text)}\t{zlib.crc32(text)}"
    entries = {tuple(map(int, words[:3])): words[3:] for words in (e.split("\t") for e in table)}
    here = os.path.relpath(__file__, tmp_path)
    lines = entries[7, 1, 0]
    source = open(__file__, encoding="utf-8").read().splitlines()
    assert lines[0].rsplit(":", 1)[0] == here
    assert "return recipes.color()" in source[int(lines[0].rsplit(":", 1)[1]) - 1]
    assert "helper(), " in source[int(lines[1].rsplit(":", 1)[1]) - 1]
    assert (9, 1, 1) in entries and (10, 1, 1) in entries

    def made(section, item, part=0):
        return source[int(entries[section, item, part][0].rsplit(":", 1)[1]) - 1].strip()

    assert made(1, 1, 1) == "texture = texture + layers.maze()"
    assert made(1, 1, 3) == "texture = texture | steps.blur()"
    assert made(3, 1) == "fade = line(0, 1, 100)"
    assert made(3, 2).startswith('scene.add(Model("m.obj"), recipes.texture')


PROGRAM = """
import sys
from quorvale import *
scene = Scene()
for k in range(20):
    scene.add(Model("m%d.obj" % k), recipes.color(alpha=wave(0.5, 0.25, 100 + k)),
              position=(line(0, k, 50), 0, 0))
demo = Document()
demo.row(0).show(scene, orbit((0, 0, 0), 5, 2, 300), 0, 300)
sys.stdout.write(demo.text())
"""


def test_text_is_the_same_at_any_hash_seed_and_locale():
    texts = set()
    for seed, locale in (("0", "C"), ("1", "C.UTF-8"), ("77", "de_DE.UTF-8")):
        environment = dict(os.environ, PYTHONHASHSEED=seed, LC_ALL=locale)
        texts.add(subprocess.run([sys.executable, "-B", "-c", PROGRAM], env=environment, check=True,
                                 capture_output=True).stdout)
    assert len(texts) == 1


def test_cameras_look_where_they_say():
    camera = look((0, 0, 5), (0, 0, 0))
    assert camera.position == (0.0, 0.0, -5.0) and camera.rotation[:2] == (0.0, 0.0)
    assert look((5, 0, 0), (0, 0, 0)).rotation[1] == -90.0
    moving = path([(0, (0, 0, 5), (0, 0, 0)), (100, (0, 0, 9), (0, 0, 0))], 50)
    assert moving.position[2].at(100) == -9.0 and moving.rotation[0] == 0.0
    assert moving.later(50).position[2].at(50) == -5.0
    turning = orbit((0, 0, 0), 5, 0, 300)
    assert abs(turning.position[0].at(75) + 5.0) < 1e-5  # a quarter
    facing = turning.facing(300)
    assert abs(facing[1].at(150) - turning.rotation[1].at(150) * -1.0) < 1e-3
    with pytest.raises(ValueError, match="above 0 and below 180 degrees, not 180"):
        look((0, 0, 1), (0, 0, 0), 180)


@pytest.mark.parametrize("digits", (7, 9))
def test_whole_numbers_of_layers_and_steps_keep_all_digits(digits):
    demo = plain_document()
    demo.digits = digits
    seeds = (12345678, 12345679, 16777216, -9999999, 2 ** 40, 0)
    texture = Texture()
    for seed in seeds:
        texture += layers.noise(seed=seed)
    demo.keep(texture | steps.ripple(waves_x=12345678))
    assert re.findall(r"(?<=<p>)-?\d+(?=</p>\n  </layer>)", demo.text()) == list(map(str, seeds))
    assert "<p>12345678</p>" in demo.text().partition("<filter")[2]


def at(value, tick):
    return value.at(tick) if isinstance(value, Curve) else value


@pytest.mark.parametrize("turns, length", [(1, 300), (-1, 300), (0, 40), (0.25, 3), (1, 1), (5.5, 800),
                                           (-20, 800), (100, 6000)])
def test_an_orbit_goes_round_as_often_as_it_says(turns, length):
    camera = orbit((1, 2, 3), 5, 1, length, turns=turns, start=0.3)
    for tick in range(0, length + 1, max(1, length // 150)):
        turn = 0.3 + turns * tick / length
        eye = (1 + 5 * sin_turns(turn), 3, 3 + 5 * cos_turns(turn))
        assert [-at(value, tick) for value in camera.position] == pytest.approx(eye, abs=2e-3)
        off = at(camera.rotation[1], tick) - heading(eye, (1, 2, 3))[1]
        assert abs((off + 180) % 360 - 180) < 0.03
        assert at(camera.rotation[0], tick) == pytest.approx(heading(eye, (1, 2, 3))[0])
        # Nowhere else after its end than at it.
        assert at(camera.position[0], length + 50) == at(camera.position[0], length)


@pytest.mark.parametrize("turns, length", [(1, 800), (1.4, 800), (3, 800), (9, 800), (1, 7), (1, 1)])
def test_what_faces_an_orbit_does_so_all_the_time(turns, length):
    camera = orbit((0, 0, 0), 5, 2, length, turns=turns)
    facing = camera.facing(length)
    for tick in range(length + 1):
        rx, ry = (at(value, tick) / 360.0 for value in facing[:2])
        front = (sin_turns(ry), -sin_turns(rx) * cos_turns(ry), cos_turns(rx) * cos_turns(ry))
        eye = [-at(value, tick) for value in camera.position]
        assert math.dist(front, [value / math.hypot(*eye) for value in eye]) < 0.08
    with pytest.raises(ValueError, match=r"facing\(\): the camera turns too fast .* 14400 degrees in 800"):
        orbit((0, 0, 0), 5, 2, 800, turns=40).facing(800)
    with pytest.raises(ValueError, match=r"facing\(\): the length is 1 tick at least, not 0"):
        camera.facing(0)


def test_what_faces_a_camera_follows_its_loops_and_its_end():
    rolling = look((0, 0, 5), (0, 0, 0), roll=line(0, 90, 100).looped())
    assert rolling.facing(250)[2].at(250) == pytest.approx(-45.0)
    still = orbit((0, 0, 0), 5, 0, 100, turns=0.25).facing(300)[1]
    assert still.at(100) == pytest.approx(90.0, abs=5) and still.at(300) == pytest.approx(90.0)


def test_keys_of_a_path_are_told_with_their_ticks():
    def going(*ticks):
        return path([(tick, (k, 0, 5), (0, 0, 0)) for k, tick in enumerate(ticks)])

    assert going(0.0, 100.0) == going(0, 100)
    for length in range(1, 30):
        assert going(0, length).position[0].at(length) == -1.0
    for ticks, text in (((10, 100), "the first key lies at tick 0, not 10"),
                        ((0, 100, 50), "50 stands after 100"), ((0, 5, 5), "5 stands after 5"),
                        ((0, 5.5), "a key is [(]tick, eye, target[)].*not [(]5.5"), ((0,), "not 1"),
                        (range(13), "2 to 12 keys, not 13")):
        with pytest.raises(ValueError, match=r"^path\(\): .*" + text):
            going(*ticks)


def test_colors_scale_and_mix():
    assert Color.hex("#ff8000") * 0.5 == Color(0.5, 128 / 510, 0.0)
    assert (hold(2.0) * Color(1, 0.5, 0)).g.at(0) == 1.0
    mixed = Color(0, 0, 0).mixed((1, 0.5, 0.25), line(0, 1, 100))
    assert mixed.b.at(100) == 0.25
