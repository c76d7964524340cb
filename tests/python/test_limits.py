# SPDX-License-Identifier: MIT
"""Every limit of the vocabulary is where the engine's readers have it."""

import subprocess

import pytest

from conftest import program
from quorvale.facts import LIMITS

STATIC = '<p type="static" value="0"/>'
ANIMATED = STATIC * 9 + '<v value="0"/><v value="0"/>'
CAMERA = STATIC * 6 + '<fov type="ortographic"/><fog type="0"/>'
CLIP = f'<clip id="0" space_before="0" length="1" offset="0" type="0">{CAMERA}</clip>'
NUMBERS = "<p>0</p>"
NAMES = ("layers", "textures", "models", "envelopes", "lights", "effects", "bitmaps", "materials",
         "meshes", "scenes", "timeline")


def document(section, items):
    """A document of one section's items, and a row."""
    texts = dict.fromkeys(NAMES, "")
    texts["timeline"] = "<row/>"
    texts[section] = items
    return '<?xml version="1.0"?>' + "".join(f"<{n}>{t}</{n}>" for n, t in texts.items()) + "<music/>"


ENVELOPE = '<e type="0" loop_type="0" loop_begin="0" loop_end="0">{}</e>'
EFFECT = '<e name="{}" type="9" resolution="64x64" bpp="8">{}</e>'
OBJECT = '<o type="0" object="0" material="0">{}{}</o>'

# Makers of n things, by the word of their limit.
CASES = {
    "items": lambda n: document("materials", f'<m type="0">{STATIC}</m>' * n),
    "layers": lambda n: document("layers", '<l type="9"/>' * n),
    "layer_params": lambda n: document("layers", f'<l type="9">{NUMBERS * n}</l>'),
    "steps": lambda n: document("textures", "<t>" + '<filter type="205"/>' * n + "</t>"),
    "pieces": lambda n: document("envelopes", ENVELOPE.format('<p type="0" length="1"/>' * n)),
    "piece_params": lambda n: document("envelopes", ENVELOPE.format(
        f'<p type="0" length="1">{NUMBERS * n}</p>')),
    "effect_params": lambda n: document("effects", EFFECT.format("a", NUMBERS * n)),
    "material_params": lambda n: document("materials", f'<m type="0">{STATIC * n}</m>'),
    "material_refs": lambda n: document("materials",
                                        '<m type="0">' + '<light value="0"/>' * n + "</m>"),
    "genmesh_params": lambda n: document("meshes", f'<m type="9">{NUMBERS * n}</m>'),
    "objects": lambda n: document("scenes", f"<s>{OBJECT.format(ANIMATED, '') * n}</s>"),
    "manipulators": lambda n: document("scenes", "<s>" + OBJECT.format(
        ANIMATED, '<m type="2"/>' * n) + "</s>"),
    "manipulator_params": lambda n: document("scenes", "<s>" + OBJECT.format(
        ANIMATED, f'<m type="2">{STATIC * n}</m>') + "</s>"),
    "rows": lambda n: document("timeline", f"<row>{CLIP}</row>" * n),
    "clips": lambda n: document("timeline", f"<row>{CLIP * n}</row>"),
}
IGNORED = {"rows"}
# A step's parameters, a name's bytes, copies and seconds leave no fault of their own.
ELSEWHERE = {"step_params", "effect_name", "instances", "seconds"}


def test_every_limit_has_a_case():
    assert set(CASES) | ELSEWHERE == set(LIMITS)


@pytest.mark.parametrize("word", CASES)
def test_the_limit_is_read_and_one_more_is_not(word, tmp_path):
    for extra in (0, 1):
        path = tmp_path / f"{extra}.xml"
        path.write_text(CASES[word](LIMITS[word] + extra), encoding="utf-8")
        run = subprocess.run([program("ENGINE_VALUES"), path], capture_output=True, text=True)
        fails = extra == 1 and word not in IGNORED
        assert run.returncode == (1 if fails else 0), run.stderr
        if fails:
            assert str(LIMITS[word]) in run.stderr, run.stderr
        if word in IGNORED:
            assert sum(line.startswith("clip ") for line in run.stdout.splitlines()) == LIMITS[word]
