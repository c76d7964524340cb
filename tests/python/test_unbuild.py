# SPDX-License-Identifier: MIT
"""Documents become Python that makes them again.

QUORVALE_PIECES is the number of random pieces that are taken apart, 100 without it.
"""

import os
import re
import subprocess

import pytest

from conftest import program
from quorvale import (FLAT, Curve, Document, Light, Model, Scene, Texture, hold, layers, line, look,
                      manipulators, recipes, steps)
from quorvale.unbuild import curve_words, parse, piece_text, unbuild_document, wrapped
from quorvale.verbatim import verbatim

PIECES = int(os.environ.get("QUORVALE_PIECES", "100"))
HEAD = '<?xml version="1.0" encoding="UTF-8"?>\n'


def made_by(statements):
    """The document that a function's statements make."""
    code = piece_text({"demo": statements}).replace('demo().write("demo.xml")', "made = demo()")
    space = {}
    exec(compile(code, "piece.py", "exec"), space)
    return space["made"].text()


def document(**sections):
    """A document of empty sections, except for some."""
    names = ("layers", "textures", "models", "envelopes", "lights", "effects", "bitmaps",
             "materials", "meshes", "scenes", "timeline")
    sections.setdefault("timeline", "<row/>")
    return HEAD + "".join(f"<{name}>{sections.get(name, '')}</{name}>\n" for name in names) \
        + '<music file="a.xm"/>'


def envelope(pieces, **loop):
    words = {"loop_type": 0, "loop_begin": 0, "loop_end": 0, **loop}
    attributes = " ".join(f'{name}="{value}"' for name, value in words.items())
    body = "".join(f'<piece type="{kind}" length="{length}">'
                   + "".join(f"<p>{number}</p>" for number in numbers) + "</piece>"
                   for kind, length, *numbers in pieces)
    return f'<envelope type="0" {attributes}>{body}</envelope>'


def words_of(*pieces, digits=7, **loop):
    return curve_words(parse(document(envelopes=envelope(pieces, **loop)))[3][0], digits)


@pytest.fixture(scope="module")
def sample(tmp_path_factory):
    folder = tmp_path_factory.mktemp("sample")
    for name in ("demo", "loading"):
        subprocess.run([program("DPK"), "extract", "-o", folder, program("PIECE"), f"{name}.xmlz"],
                       check=True, capture_output=True)
        subprocess.run([program("DPK"), "decompress", folder / f"{name}.xmlz",
                        folder / f"{name}.xml"], check=True)
    return folder


# Curves


@pytest.mark.parametrize("pieces, words", [
    ([(0, 100, 0.5)], "hold(0.5)"),
    ([(0, 30, 2)], "hold(2, 30)"),
    ([(1, 200, 0.01, 1)], "line(1, 3, 200)"),
    ([(1, 3, -0.3333333, 1)], "line(1, 0, 3)"),
    ([(2, 50, -0.0004, 0, 2)], "ease_in(2, 1, 50)"),
    ([(2, 50, 0.0004, 50, 2)], "ease_out(3, 2, 50)"),
    ([(2, 50, 0.0004, 0, 0), (2, 50, -0.0004, 50, 2)], "ease(0, 2, 100)"),
    ([(2, 50, 0.0004, 20, 2)], 'function("quadratic", 50, 0.0004, 20, 2)'),
    ([(3, 10000, 0.5, 0.03141593, 0, 1)], "wave(1, 0.5, 200)"),
    ([(3, 400, 0.5, 0.03141593, -1.570796, 1)], "wave(1, 0.5, 200, turns=0.25, length=400)"),
    ([(5, 100, -0.02, 0.1256637, 0, 1, 2)], "ring_down(1, 2, 50, 100)"),
    ([(4, 200, 0, 0, 100, 1, 200, 0, *[0] * 18)], "spline([(0, 0), (100, 1), (200, 0)])"),
    ([(4, 300, 0, 0, 200, 1, *[0] * 20)], "spline([(0, 0), (200, 1)], 300)"),
    ([(0, 40, 0), (0, 60, 1), (0, 100, 0)], "span(40, 100)"),
    ([(0, 40, 0.5), (0, 100, 1)], "levels([(0, 0.5), (40, 1)])"),
    ([(0, 40, 0), (1, 50, 0.02, 0)], "hold(0, 40).then(line(0, 1, 50))"),
])
def test_a_curve_is_written_by_the_function_that_makes_it(pieces, words):
    assert words_of(*pieces) == words


def test_a_curve_that_loops_says_so():
    assert words_of((1, 50, 0.02, 0), loop_type=1, loop_end=50) == "line(0, 1, 50).looped()"
    assert words_of((0, 50, 1), loop_type=2, loop_begin=10, loop_end=40) == \
        "hold(1, 50).swinging(10, 40)"
    assert words_of((0, 100, 1), loop_end=40) == "Curve(hold(1).pieces, begin=0, end=40)"


def test_nine_digits_are_kept_where_the_text_has_them():
    text = document(envelopes=envelope([(0, 100, 0.123456789)]))
    statements, count = unbuild_document(text)
    assert count == 0
    assert any("digits=9" in line for line in statements)
    assert "<p>0.123456789</p>" in made_by(statements)


# Whole documents


def test_the_sample_piece_comes_back_to_the_byte(sample):
    for name in ("demo", "loading"):
        text = (sample / f"{name}.xml").read_text(encoding="utf-8")
        statements, count = unbuild_document(text)
        assert count == 0
        assert made_by(statements) == text


def test_the_samples_code_is_one_to_edit(sample):
    statements, _ = unbuild_document((sample / "demo.xml").read_text(encoding="utf-8"))
    lines = piece_text({"demo": statements}).splitlines()
    assert '    hero = Scene(name="hero")' in lines
    assert "    hero_amplitude = ease_out(0.13, 0.03, 50).looped()" in lines
    assert max(map(len, lines)) <= 100


@pytest.mark.parametrize("first", range(1, PIECES + 1, 50))
def test_random_pieces_come_back_as_the_same_records(tmp_path, first):
    subprocess.run([program("RANDOM_DOCUMENTS"), tmp_path, str(first), str(first + 49)], check=True)
    said = 0

    def records(path):
        run = subprocess.run([program("ENGINE_VALUES"), path], capture_output=True)
        return run.returncode, run.stdout

    for path in sorted(tmp_path.glob("*.xml")):
        try:
            statements, _ = unbuild_document(path.read_text(encoding="utf-8"))
        except ValueError:
            continue  # a faulty document stays as it is
        said += 1
        made = tmp_path / "made"
        made.write_text(made_by(statements), encoding="utf-8")
        assert records(made) == records(path), path.name
        assert unbuild_document(made.read_text(encoding="utf-8"))[0] == statements, path.name
    assert said > 75


def test_what_has_no_words_stands_as_its_element():
    light = '<light name="odd"><ambient /></light>'
    statements, count = unbuild_document(document(lights=light))
    assert count == 1
    assert any(line.startswith("odd = verbatim(Light, ") for line in statements)
    assert light in made_by(statements)


def test_ids_stay_where_others_are_not_used():
    curves = "".join(envelope([(0, 100, k)]) for k in range(3))
    light = '<light>' + "".join(
        f"<{group}>" + '<v type="dynamic" value="2"/>' * 3 + f"</{group}>"
        for group in ("ambient", "diffuse", "position")) + "</light>"
    made = parse(made_by(unbuild_document(document(envelopes=curves, lights=light))[0]))
    assert [item[0][0].text for item in made[3]] == ["0", "1", "2"]
    assert made[4][0][0][0].get("value") == "2"


@pytest.mark.parametrize("text, reason", [
    ("<layers/>", "XML declaration"),
    (HEAD + "<layers/>", "it has 1 nodes"),
    (HEAD + "<layers>", "does not parse"),
    (document().replace("<row/>", ""), "no row"),
    (document(layers="<!-- x -->"), "comments"),
    (document(layers="x<layer/>"), "text between"),
    (document(models='<model filename="a\nb"/>'), "several lines"),
])
def test_a_document_that_is_not_plain_is_refused_with_a_reason(text, reason):
    with pytest.raises(ValueError, match=reason):
        unbuild_document(text)


def test_texts_of_a_document_never_become_code():
    name = "x'); import os; os.abort() #\\\" "
    shown = name.replace('"', "&quot;")
    numbers = "<p>1</p>" * 4
    text = document(layers=f'<layer type="5" name="{shown}">{numbers}</layer>')
    statements, count = unbuild_document(text)
    assert count == 0
    assert parse(made_by(statements))[0][0].get("name") == name


# The parts of the library that taking apart needs


def test_a_document_that_shares_nothing_keeps_equal_things_apart():
    def written(**options):
        made = Document(**options)
        scene = Scene()
        made.row(0).verbatim("<row/>")
        made.keep(scene, layers.noise(), layers.noise(), hold(1), hold(1))
        sections = parse(made.text())
        return [len(sections[0]), len(sections[3]), len(sections[9])]

    assert written() == [1, 1, 1]
    assert written(shared=False) == [2, 2, 1]


def test_an_element_is_written_as_it_stands():
    made = Document(shared=False)
    made.row(0).verbatim('<row a="1"/>')
    scene = Scene()
    scene.verbatim("<object/>")
    made.keep(scene, verbatim(Light, "<light/>"), verbatim(Curve, "<envelope/>"),
              recipes.lit_color(light=verbatim(Light, "<light b='2'/>")))
    text = made.text()
    for element in ('<row a="1"/>', "<object/>", "<light/>", "<light b='2'/>", "<envelope/>"):
        assert element in text


ELEMENT = verbatim(Curve, "<envelope/>")
TEXTURE = verbatim(Texture, "<texture/>")


@pytest.mark.parametrize("change", [
    lambda: ELEMENT * 2, lambda: 2 - ELEMENT, lambda: ELEMENT / 2, lambda: ELEMENT + line(0, 1, 9),
    lambda: line(0, 1, 9) + ELEMENT, lambda: ELEMENT.then(1), lambda: line(0, 1, 9).then(ELEMENT),
    lambda: ELEMENT.delayed(5), lambda: ELEMENT.looped(0, 5), lambda: ELEMENT.swinging(0, 5),
    lambda: ELEMENT.sampled(100), lambda: ELEMENT.sample(1), lambda: ELEMENT.at(1),
    lambda: ELEMENT.extremes(), lambda: look((0, 0, 5), (0, 0, 0), roll=ELEMENT).later(5),
    lambda: look((0, 0, 5), (0, 0, 0), roll=ELEMENT).facing(50),
    lambda: TEXTURE | steps.blur(), lambda: TEXTURE * 0.5, lambda: 0.5 * TEXTURE,
    lambda: TEXTURE + layers.noise(), lambda: TEXTURE * layers.noise(),
    lambda: layers.noise() + TEXTURE, lambda: layers.noise() * TEXTURE,
    lambda: TEXTURE.maximum(layers.noise()), lambda: TEXTURE.minimum(layers.noise()),
    lambda: TEXTURE.named("stone"),
    lambda: verbatim(Scene, "<scene/>").add(Model("a.obj"), recipes.color()),
    lambda: verbatim(Scene, "<scene/>").verbatim("<object/>")])
def test_an_element_is_not_changed_into_something_else(change):
    with pytest.raises(ValueError, match="given as its element"):
        change()


def test_an_element_stands_where_a_moving_value_can():
    scene = Scene()
    scene.add(Model("a.obj"), recipes.wireframe((ELEMENT, 0, 0), width=ELEMENT), visible=ELEMENT,
              manipulators=[manipulators.x_multiplier(ELEMENT)])
    made = Document(shared=False)
    made.row(0).show(scene, look((0, 0, 5), (0, 0, 0), fov=ELEMENT).later(0), 0, 100)
    assert made.text().count("<envelope/>") == 1


def test_a_row_is_an_element_or_has_clips():
    made = Document()
    made.row(0).verbatim("<row/>")
    with pytest.raises(ValueError, match="row 0 is given as its element"):
        made.row(0).show(None, FLAT, 0, 100)
    made.row(1).show(None, FLAT, 0, 100)
    with pytest.raises(ValueError, match="row 1 has clips already, the first made at .*test_unbuild"):
        made.row(1).verbatim("<row/>")


def test_long_statements_break_inside_their_brackets():
    lines = wrapped("a = f(" + ", ".join(f"argument_{k}" for k in range(30)) + ")", "    ")
    assert max(map(len, lines)) <= 96
    assert all(line.startswith("        ") for line in lines[1:])
    assert re.sub(r"\s+", "", "".join(lines)) == "a=f(" + ",".join(
        f"argument_{k}" for k in range(30)) + ")"


# The command


def test_the_command_writes_a_piece_that_builds_to_the_same_bytes(tmp_path):
    dpk, piece = program("DPK"), program("PIECE")
    said = subprocess.run([dpk, "unbuild", "--python", piece, "-o", tmp_path / "s"], check=True,
                          capture_output=True, text=True).stdout
    assert said.endswith("; a build gives the same bytes\n")
    assert (tmp_path / "s" / "piece.py").is_file()
    os.remove(tmp_path / "s" / "demo.xml")
    subprocess.run([dpk, "build", tmp_path / "s", "-o", tmp_path / "again.dpk"], check=True,
                   capture_output=True)
    assert (tmp_path / "again.dpk").read_bytes() == open(piece, "rb").read()


def test_the_command_leaves_a_document_that_it_cannot_say(tmp_path):
    (tmp_path / "a").mkdir()
    (tmp_path / "a" / "demo.xml").write_text("<a/>")
    (tmp_path / "a" / "quorvale.py").write_text("raise SystemExit('never run')")
    dpk = program("DPK")
    subprocess.run([dpk, "build", tmp_path / "a", "-o", tmp_path / "a.dpk", "--force"], check=True,
                   capture_output=True)
    said = subprocess.run([dpk, "unbuild", "--python", tmp_path / "a.dpk", "-o", tmp_path / "s"],
                          check=True, capture_output=True, text=True).stdout
    assert said.splitlines()[0] == \
        "demo.xml stays as it is: it does not begin with an XML declaration"
    assert (tmp_path / "s" / "demo.xml").is_file()
    assert not (tmp_path / "s" / "piece.py").exists()
