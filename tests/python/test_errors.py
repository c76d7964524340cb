# SPDX-License-Identifier: MIT
"""What can't be is refused at the author's line, with the range and the nearest name."""

import inspect
import math
import os
import subprocess
import sys

import pytest
from hypothesis import given

import quorvale
from quorvale import (FLAT, Bitmap, Camera, Color, Document, Fog, Light, Model, Scene, ease_in, effects,
                      hold, layers, line, look, manipulators, path, recipes, spline, steps, wave)
from quorvale.facts import CATALOGUES, LIMITS, TICKS_PER_SECOND, range_text
from quorvale.images import write_png
from quorvale.meshes import Mesh, tube
from quorvale.tracker import melody
from test_curves import curves

MODULES = {"generators": quorvale.layers, "steps": quorvale.steps, "recipes": quorvale.recipes,
           "manipulators": quorvale.manipulators}
NUMBERS = ("number", "integer", "count", "color")
# Combiners are signs between layers.
SIGNS = ("add", "multiply", "maximum", "minimum")


def ranged():
    """Every number of the vocabulary that has an end, with its two ends."""
    for catalogue, module in MODULES.items():
        for row in CATALOGUES[catalogue].rows:
            for param in row.params if row.word not in SIGNS else ():
                for end, past in ((param.least, -1), (param.most, 1)):
                    if param.kind in NUMBERS and math.isfinite(end):
                        name = f"{row.word}-{param.word}-{end:g}"
                        yield pytest.param(module, row, param, end, end + past, id=name)


def call(module, row, param, value):
    """Makes a row's object with one number given; the others are as usual."""
    maker = getattr(module, row.word)
    given_ = {}
    for name, parameter in inspect.signature(maker).parameters.items():
        if parameter.default is parameter.empty:
            given_[name] = (1, 1, 1) if name == "count" and row.word.startswith("xyz") else 1
    word, _, axis = param.word.partition("_")
    if param.kind == "color":
        value = (value, 0, 0)
    if param.word in inspect.signature(maker).parameters:
        given_[param.word] = value
    else:
        given_[word] = [value if name == axis else 1 for name in "xyz"]
    return maker(**given_)


@pytest.mark.parametrize("module, row, param, end, past", ranged())
def test_every_range_of_the_vocabulary_ends_where_it_says(module, row, param, end, past):
    call(module, row, param, end)
    with pytest.raises(ValueError) as raised:
        call(module, row, param, past)
    assert str(raised.value) == (f"{row.word}(): the {param.meaning} is {range_text(param)}, "
                                 f"not {past}") or str(raised.value).startswith(f"{row.word}(): the ")


@pytest.mark.parametrize("module, row, param, end, past", ranged())
def test_curves_end_where_numbers_do(module, row, param, end, past):
    if module in (quorvale.layers, quorvale.steps):
        with pytest.raises(TypeError, match="does not move: it is a number, not a curve"):
            call(module, row, param, line(0, 1, 100))
        return
    call(module, row, param, hold(end))
    far = end + (end or 1) * 4 if past > end else end - 4
    with pytest.raises(ValueError, match=f"{row.word}.*the curve is .* at tick 30"):
        call(module, row, param, line(end, far, 30))


@given(curves)
def test_extremes_hold_all_values(curve):
    (low, first), (high, last) = curve.extremes()
    assert curve.sample(first) >= low - 1e-6 * abs(low) and low <= high
    end = min(curve.length, curve.end) if curve.loop else curve.length
    swing = max(high - low, 1e-3 * max(abs(high), abs(low), 1.0))
    for tick in range(0, end + 1, max(1, end // 300)):
        assert low - 0.02 * swing <= curve.at(tick) <= high + 0.02 * swing, tick


def test_extremes_lie_at_their_ticks():
    assert line(2, 4, 100).extremes() == ((2.0, 0), (4.0, 100))
    assert wave(0.5, 0.25, 200).extremes()[1] == (0.75, 50)
    assert ease_in(0, 1, 100).then(ease_in(1, 0, 50)).extremes()[1] == (1.0, 100)
    assert line(0, 9, 90).looped(0, 30).extremes() == ((0.0, 0), (3.0, 30))
    low, high = spline([(0, 0), (50, 1), (100, 0)]).extremes()
    assert low[0] >= -0.2 and high == (1.0, 50)


def test_strokes_may_glow():
    recipes.color((ease_in(1.4, 0, 50), 0, 0))
    with pytest.raises(ValueError, match=r"color\(\): the color is 0 to 1, and the curve is 255 at"):
        recipes.color((line(0, 255, 50), 0, 0))


def test_cameras_see_less_than_half_of_all():
    look((0, 0, 5), (0, 0, 0), line(20, 140, 100))
    with pytest.raises(ValueError, match="below 180 degrees, not 200 at tick 100"):
        look((0, 0, 5), (0, 0, 0), line(20, 200, 100))
    with pytest.raises(ValueError, match="below 180 degrees, not 0"):
        Camera((0, 0, 0), (0, 0, 0), 0)


def test_copies_are_counted_where_the_object_is_added():
    crowd = manipulators.xyz_multiplier((100, 100, 100))
    twice = manipulators.x_multiplier(line(0, 2, 100))
    Scene().add(Model("a.obj"), recipes.color(), manipulators=[crowd])
    with pytest.raises(ValueError, match="up to 1048576 copies, not 2000000"):
        Scene().add(Model("a.obj"), recipes.color(), manipulators=[crowd, twice])


def test_clips_end_with_the_timeline():
    end = LIMITS["seconds"] * TICKS_PER_SECOND
    Document().row(0).show(None, FLAT, 0, end)
    with pytest.raises(ValueError, match=f"1024 seconds, 102400 ticks, and the clip ends at {end + 1}"):
        Document().row(0).show(None, FLAT, 0, end + 1)
    row = Document().row(0)
    for k in range(LIMITS["clips"]):
        row.show(None, FLAT, 100 * k, 100 * k + 100)
    row = Document().row(0)
    for k in range(LIMITS["clips"]):
        row.show(None, FLAT, 99 * k, 99 * k + 99)
    with pytest.raises(ValueError, match="up to 1024 clips"):
        row.show(None, FLAT, 102300, 102400)


def many(count, make):
    scene = Scene()
    for k in range(count):
        if k % 512 == 0:
            scene = Scene()
        make(scene, k)
        yield scene


def written(scenes):
    document = Document()
    document.row(0).show(None, FLAT, 0, 100)
    document.keep(*dict.fromkeys(scenes))
    return document.text()


def test_limits_of_a_document_name_the_line_that_passes_them():
    def layer(scene, k):
        scene.add(Model("a.obj"), recipes.texture(texture=layers.noise(seed=k)))

    def material(scene, k):
        scene.add(Model("a.obj"), recipes.color())

    def curve(scene, k):
        scene.add(Model("a.obj"), red, scale=line(0, k, 100))

    red = recipes.color()
    assert written(many(LIMITS["layers"], layer)).count("<layer ") == 2 * LIMITS["layers"]
    for make, count, text in ((layer, LIMITS["layers"], "up to 248 different layers"),
                              (material, LIMITS["items"], "the materials are more than 4096"),
                              (curve, LIMITS["items"], "more than 4096 different curves")):
        with pytest.raises(ValueError, match=text) as raised:
            written(many(count + 1, make))
        number = make.__code__.co_firstlineno + 1
        assert str(raised.value).startswith(f"{__file__}:{number}: ")


def test_things_of_another_kind_are_refused():
    row, scene, model, red = Document().row(0), Scene(), Model("a.obj"), recipes.color()
    for make, text in (
            (lambda: row.show(model, FLAT, 0, 100), "show.*scene is a Scene or None"),
            (lambda: row.show(scene, None, 0, 100), "show.*camera is a Camera"),
            (lambda: row.show(scene, FLAT, 0, 100, fog=3), "show.*fog is a Fog"),
            (lambda: row.show(scene, FLAT, 0, 100, how="texture", target=model), "target is a Bitmap"),
            (lambda: scene.add(red, model), "an object is a Model or a generated mesh"),
            (lambda: scene.add(model, model), "the material is a Material"),
            (lambda: scene.add(model, red, visible=1), "visible is a curve"),
            (lambda: scene.add(model, red, shift=line(0, 1, 9)), '"shift" does not move'),
            (lambda: scene.add(model, red, manipulators=[steps.blur()]), "quorvale.manipulators"),
            (lambda: layers.noise() + 3, "on the right of [+] stands a layer"),
            (lambda: Fog(0, 9, recipes.wireframe()), 'of the recipe "color", not "wireframe"'),
            (lambda: Fog(0, 9, (1, 0, 0)), "that of a material, recipes.color.*, not [(]1, 0, 0"),
            (lambda: row.show(scene, FLAT, 0, 100, how=2), 'there is no pass "2"'),
            (lambda: Document(Light()), "the music is a Music or the name of a module's file, not a L"),
            (lambda: scene.add(model, red, rotation=line(0, 9, 9)), "a Curve; with one that moves"),
            (lambda: scene.add(model, red, position=0.5), "not 0.5; with this one they are [(]0.5, 0.5"),
            (lambda: look(5, (0, 0, 0)), "the eye is a point of three numbers.*not 5"),
            (lambda: path([(0, 0, 5), (0, 0, 3)]), "the eye is a point of three numbers.*not 0"),
            (lambda: path([((0, 0, 5), (0, 0, 0))] * 2), "a key is [(]tick, eye, target[)]"),
            (lambda: Color.hex("#ffbxyz"), "six digits of 0 to 9 and a to f"),
            (lambda: Mesh().face((0, 1, 2)), "face.*flat.* takes positions alone"),
            (lambda: Mesh().smooth([(0, 0, 0)] * 4, [(0, 1, 2, 3)]), "a face is a triangle"),
            (lambda: tube(Mesh(), lambda u: (u, 0, 0), lambda u: 1, rows=2), "3 corners around it"),
            (lambda: list(melody("A3 four")), 'after "A3" stands for how many rows'),
            (lambda: list(melody("A3")), '"A3" has none'),
            (lambda: write_png("a.png", 0, 9, 3, lambda x, y: (1, 1, 1)), "a pixel at least, not 0 by 9"),
            (lambda: write_png("a.png", 1, 1, 3, lambda x, y: (1, 1)), "gives 3 numbers.*not [(]1, 1"),
            (lambda: write_png("a.png", 1, 1, 3, lambda x, y: 1), "gives 3 numbers.*not 1"),
            (lambda: recipes.effect(effect=Bitmap("a.png")), "the 2D effect is an Effect"),
            (lambda: effects.plasma("fast"), "plasma.*is a number"),
            (lambda: Light((1, 2)), "three numbers or curves")):
        with pytest.raises((TypeError, ValueError), match=text):
            make()


MISTAKES = {
    "layers.mase(size=3)": "no attribute 'mase'; did you mean \"maze\"?",
    "layers.maze(sise=3)": "unexpected keyword argument 'sise'; did you mean \"size\"?",
    "Scene().add(Model('a.obj'), recipes.color(), positon=(0, 0, 0))": 'did you mean "position"?',
    "Document().row(0).show(None, FLAT, 0, 100, tarket=None)": 'did you mean "target"?',
    "linee(0, 1, 2)": "name 'linee' is not defined; did you mean \"line\"?",
    "recipes.lit_colour()": "did you mean \"lit_color\"?",
    "Document().rwo(1)": "'Document' object has no attribute 'rwo'; did you mean \"row\"?",
    "from quorvale import Documnt": 'did you mean "Document"?',
    "layers.noise(seed=123456789)":
        "a whole number that documents hold, not 123456789; the nearest is 123456792",
    "layers.maze(size=12)": "the size of the cells is 1 to 7, not 12",
    "slyce.beat(2)": "NameError: name 'slyce' is not defined; did you mean \"slice\"?",
    "tvne.beat(2)": "NameError: name 'tvne' is not defined",
    "import quorvale.mesh": "No module named 'quorvale.mesh'; did you mean \"meshes\"?",
    "Light(ambiant=(1, 1, 1))": "unexpected keyword argument 'ambiant'; did you mean \"ambient\"?",
    "import json; json.loads('{')": "(char 1)",
    "Music('mine.xm')": "\"mine.xm\" can't be read: No such file or directory. Put the module beside "
                        "piece.py, or make one: quorvale.tracker.Tune",
    "spline([(0, 1)])": "there are 2 to 12 points, not 1",
    "Document().write('out/demo.xml')": "a document shows nothing without a row of clips",
    "Scene().add('a.obj', recipes.color())": "not 'a.obj'; a file is Model(\"a.obj\")",
    "from quorvale.meshes import Mesh; Scene().add(Mesh(), recipes.color())":
        "not a Mesh; mesh.write(\"name.obj\") gives its model",
    "from quorvale.meshes import Mesh; Mesh().smooth([(0, 0, 0)] * 3, [(0, 1, 5)])":
        "a face names points by their numbers, 0 to 2, not as in (0, 1, 5)",
    "from quorvale.meshes import Mesh, torus; torus(Mesh(), columns=0)":
        "a grid has a column and a row at least, not 0 by 24",
    "Document().row(0).show(None, Light(), 0, 100)":
        "the camera is a Camera, made by look(), orbit() or path(), or FLAT, not a Light",
    "Document().row(0).show(None, FLAT, -50, 100)": "the start is a whole tick of 0 or more, not -50",
    "orbit((0, 0, 0), 5, 1, 0)": "the length is a whole number of ticks, at least 1, not 0",
    "recipes.color('#ff0000')": "a color of six digits is Color.hex(\"#ff0000\")",
    "recipes.color(alpha=(1, 0))": "the alpha is a number, not (1, 0)",
    "recipes.bitmap(bitmap='a.png')": "not 'a.png'; a file is Bitmap(\"a.png\")",
    "layers.noise() | steps.blur": "not the function blur: call it, blur(...)",
    "line(0, 1, 9) * line(0, 1, 9)": "Multiply a curve by a number, or add two",
    "Scene(name='a'": "SyntaxError: '(' was never closed",
    "xylophone()": "name 'xylophone' is not defined",
}


def test_documents_are_written_beside_the_piece(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    demo = Document()
    demo.row(0).show(None, FLAT, 0, 100)
    (tmp_path / "inner/demo.xml").mkdir(parents=True)
    (tmp_path / "file").write_text("mine")
    for path, text in (("out/demo.xml", 'there is no folder "out"; .* beside piece.py: "demo.xml"'),
                       ("file/demo.xml", '"file" is a file and no folder'),
                       ("inner/demo.xml", '"inner/demo.xml" is a folder'), ("", '"" is a folder'),
                       ("inner/", '"inner/" is a folder'), ("piece.py", "it is a program"),
                       ("de\0mo.xml", "can't be written: embedded null byte")):
        for make in (lambda: demo.write(path), lambda: Mesh().write(path),
                     lambda: write_png(path, 1, 1, 3, lambda x, y: (0, 0, 0))):
            with pytest.raises(ValueError, match=text):
                make()
    assert sorted(each.name for each in tmp_path.iterdir()) == ["file", "inner"]


def run_piece(tmp_path, text):
    (tmp_path / "piece.py").write_text("from quorvale import *\n" + text)
    return subprocess.run([sys.executable, "-B", "-m", "quorvale", "run", "piece.py"], cwd=tmp_path,
                          capture_output=True, text=True)


SHOWN = "demo = Document()\ndemo.row(0).show(None, FLAT, 0, 100)\n"


def test_a_piece_that_forgets_to_write_its_document_is_told_so(tmp_path):
    run = run_piece(tmp_path, SHOWN)
    assert run.returncode == 1
    assert run.stderr == ('piece.py:2: this document is never written to demo.xml, and the folder has '
                          'none: end with demo.write("demo.xml")\n')
    run = run_piece(tmp_path, "")
    assert run.returncode == 1
    assert run.stderr.startswith("piece.py: no document was written to demo.xml, and the folder has "
                                 "none: make one by demo = Document()")
    assert run_piece(tmp_path, SHOWN + 'demo.write("intro.xml")\n').returncode == 1
    assert run_piece(tmp_path, SHOWN + 'demo.write("demo.xml")\n').returncode == 0
    for text in (SHOWN, "", "raise SystemExit(0)\n"):
        run = run_piece(tmp_path, text)
        assert run.returncode == 1 and "the one in the folder is older" in run.stderr


def test_a_document_by_hand_may_have_a_piece_beside_it(tmp_path):
    (tmp_path / "demo.xml").write_text("<mine/>")
    assert run_piece(tmp_path, 'from quorvale.meshes import *\nbox(Mesh(), (0, 0, 0), (1, 1, 1))'
                               '.write("box.obj")\n').returncode == 0
    assert run_piece(tmp_path, SHOWN).returncode == 1
    assert (tmp_path / "demo.xml").read_text() == "<mine/>"
    assert run_piece(tmp_path, 'open("demo.xml", "w").write("<mine too/>")\n').returncode == 0


@pytest.mark.parametrize("mistake", MISTAKES)
def test_mistakes_are_told_at_the_line_with_the_nearest_name(mistake, tmp_path):
    folder = tmp_path / "größe"
    folder.mkdir()
    (folder / "piece.py").write_text(f"from quorvale import *\n\n{mistake}\n", encoding="utf-8")
    run = subprocess.run([sys.executable, "-B", "-m", "quorvale", "run", "größe/piece.py"],
                         cwd=tmp_path, capture_output=True, text=True, encoding="utf-8",
                         env=dict(os.environ, PYTHONUTF8="1"))
    assert run.returncode == 1
    first = run.stderr.splitlines()[0]
    assert first.startswith("größe/piece.py:3: ") and first.endswith(MISTAKES[mistake])
