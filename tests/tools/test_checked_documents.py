# SPDX-License-Identifier: MIT
"""dpk check on whole documents: many mistakes in one run, the JSON against its schema, and the
examples of the documentation."""

import json
import os
import pathlib
import re
import struct
import subprocess
import sys
import zlib

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCS = ROOT / "docs"
sys.path.insert(0, str(ROOT / "python"))

from quorvale.tracker import Instrument, Tune, tone  # noqa: E402


def module(seconds):
    """A module of silence, eight and a third rows a second."""
    tune = Tune(rows=seconds * 25 // 3, channels=2)
    tune.instrument(Instrument("none", tone(64, (1,)), loop=64))
    return tune.bytes()


def check(path, *options):
    run = subprocess.run([os.environ["DPK"], "check", "--json", *options, path],
                         stdout=subprocess.PIPE, text=True)
    report = json.loads(run.stdout)
    jsonschema.validate(report, json.loads((DOCS / "check.schema.json").read_text()))
    assert run.returncode == (0 if report["verdict"] == "valid" else 1)
    return report


def model():
    """A square of two triangles, in the form of model files: one set of coordinates."""
    corners = [(0, 0), (1, 0), (1, 1), (0, 1)]
    data = struct.pack("<IB", 4, 1)
    for x, y in corners:
        data += struct.pack("<3f", x, y, 0)
    for x, y in corners:
        data += struct.pack("<2f", x, y)
    data += struct.pack("<3f", 0, 0, 1) * 4
    data += struct.pack("<6I", 0, 1, 2, 0, 2, 3)
    return struct.pack("<I", len(data)) + zlib.compress(data)


def image():
    """4 by 4 pixels of RGBA in the Targa format."""
    return bytes([0, 0, 2] + [0] * 9 + [4, 0, 4, 0, 32, 0x20]) + bytes([64, 64, 64, 255]) * 16


def write_piece(folder, demo, loading=None):
    folder.mkdir(exist_ok=True)
    (folder / "demo.xml").write_text(demo)
    (folder / "loading.xml").write_text(demo if loading is None else loading)
    (folder / "square.model").write_bytes(model())
    (folder / "image.tga").write_bytes(image())
    (folder / "song.xm").write_bytes(b"Extended Module: " + bytes(600))


def values(*names):
    return "".join(f'<{name} type="static" value="1"/>' for name in names)


PLACE = values("x", "y", "z") + values("rx", "ry", "rz") + values("sx", "sy", "sz")
TAIL = '<visible value="0"/><shift value="0"/>'
COLOR = '<p type="static" value="1"/>' * 4

# Each line of the document, and the rule that is broken in it; none in most.
MISTAKES = [
    ('<?xml version="1.0"?>', None),
    ("<layers>", None),
    ('<layer type="0"><p>1</p><p>0.5</p><p>0</p></layer>', None),
    ('<layer type="9"><p>1</p></layer>', "unknown-type"),
    ('<layer type="0"><p>1</p><p>0.5</p></layer>', "parameter-count"),
    ('<layer type="0"><p>1,5</p><p>0.5</p><p>0</p></layer>', "comma-decimal"),
    ('<layer type="0"><p>1.5</p><p>0.5</p><p>0</p></layer>', "parameter-out-of-range"),
    ('<layer type="0"><p/><p>0.5</p><p>0</p></layer>', "missing-text"),
    ("</layers>", None),
    ("<textures>", None),
    ('<texture><layer type="101" id="0"><p>1</p><p>1</p></layer></texture>', None),
    ('<texture><layer type="101" id="77"><p>1</p><p>1</p></layer></texture>', "dangling-reference"),
    ('<texture><layer type="999" id="0"><p>1</p><p>1</p></layer></texture>', "unknown-type"),
    ('<texture><filter type="201x"/></texture>', "rubbish-after-number"),
    ("</textures>", None),
    ("<models>", None),
    ('<model filename="square.model"/>', None),
    ('<model filename="sqare.model"/>', "missing-entry"),
    ('<model file="square.model"/>', "missing-attribute"),
    ('<model filename="image.tga"/>', "damaged-entry"),
    ("</models>", None),
    ("<envelopes>", None),
    ('<envelope type="0" loop_type="0" loop_begin="0" loop_end="0">', None),
    ('<piece type="1" length="200"><p>0.01</p><p>1</p></piece></envelope>', None),
    ('<envelope type="0" loop_type="7" loop_begin="0" loop_end="0">', "unknown-type"),
    ('<piece type="17" length="200"><p>0.01</p><p>1</p></piece>', "unknown-type"),
    ('<piece type="1" length="20000000000"><p>1</p><p>1</p></piece>', "number-out-of-range"),
    ('<piece type="1"><p>1</p><p>1</p></piece></envelope>', "missing-attribute"),
    ('<envelope type="0" loop_type="1" loop_begin="100" loop_end="50">', "empty-loop"),
    ('<piece type="5" length="200">' + "<p>0</p>" * 23 + "</piece></envelope>", "parameter-count"),
    ("</envelopes>", None),
    ("<lights>", None),
    ("<light><ambient>" + values("r", "g", "b") + "</ambient><diffuse>" + values("r", "g", "b"),
     None),
    ('</diffuse><position><x type="Dynamic" value="1"/>', "unknown-word"),
    ('<y type="dynamic" value="77"/><z type="static" value="1"/></position></light>',
     "dangling-reference"),
    ("<light><ambient>" + values("r", "g", "b") + "</ambient><diffuse>" + values("r", "g", "b"),
     None),
    ("</diffuse><position>" + values("x", "y"), "missing-child"),
    ("</position></light>", None),
    ("</lights>", None),
    ("<effects>", None),
    ('<effect name="e" type="3" resolution="64x64" bpp="24"><p>1</p></effect>', None),
    ('<effect name="e" type="3" resolution="64x46" bpp="24"><p>1</p></effect>', "unknown-word"),
    ('<effect name="e" type="30" resolution="64x64" bpp="24"><p>1</p></effect>', "unknown-type"),
    ('<effect name="e" type="3" resolution="64x64" bpp="32"><p>1</p></effect>', "unknown-word"),
    ("</effects>", None),
    ("<bitmaps>", None),
    ('<bitmap filename="image.tga"/>', None),
    ('<bitmap filename="imag.tga"/>', "missing-entry"),
    ('<bitmap filename="image.tga" filter="1"/>', "unknown-attribute"),
    ("</bitmaps>", None),
    ("<materials>", None),
    (f'<material type="1">{COLOR}<light value="1"/></material>', None),
    (f'<material type="60">{COLOR}<light value="1"/></material>', "unknown-type"),
    (f'<material type="1">{COLOR}<light value="77"/></material>', "dangling-reference"),
    (f'<material type="1">{COLOR}</material>', "missing-reference"),
    (f'<material type="2">{COLOR}<effect2d value="1"/></material>', "wrong-reference"),
    ('<material type="1">' + '<p type="static" value="half"/>' + '<p type="static" value="1"/>' * 3
     + '<light value="1"/></material>', "not-a-number"),
    ('<material type="1">' + '<p type="dynamic" value="77"/>' + '<p type="static" value="1"/>' * 3
     + '<light value="1"/></material>', "dangling-reference"),
    ("</materials>", None),
    ("<genmeshes>", None),
    ('<genmesh type="1"><p>1</p></genmesh>', None),
    ('<genmesh type="40"><p>1</p></genmesh>', "unknown-type"),
    ('<genmesh type="1"><p>77</p></genmesh>', "dangling-reference"),
    ("</genmeshes>", None),
    ("<scenes>", None),
    ('<scene name="hall">', None),
    (f'<object type="0" object="1" material="1">{PLACE}{TAIL}</object>', None),
    (f'<object type="0" object="77" material="1">{PLACE}{TAIL}</object>', "dangling-reference"),
    (f'<object type="0" object="1" material="77">{PLACE}{TAIL}</object>', "dangling-reference"),
    (f'<object type="0" object="1" material="0">{PLACE}{TAIL}</object>', "missing-reference"),
    (f'<object type="7" object="1" material="1">{PLACE}{TAIL}</object>', "unknown-type"),
    (f'<object type="0" object="1" material="1" materiel="1">{PLACE}{TAIL}</object>',
     "unknown-attribute"),
    ('<object type="0" object="1" material="1">' + values("x", "y", "z", "rx", "ry", "rz")
     + '<sx type="static" value="0"/><sy type="static" value="0"/><sz type="static" value="0"/>'
     + TAIL + "</object>", "no-scale"),
    ('<object type="0" object="1" material="1">'
     + PLACE.replace('value="1"', 'value="nan"', 1) + TAIL + "</object>", "not-finite"),
    (f'<object type="0" object="1" material="1">{PLACE}{TAIL}', None),
    ('<manipulator type="22"><p type="static" value="0"/></manipulator></object>', "unknown-type"),
    ("</scene>", None),
    ('<scene name="cellar">', None),
    (f'<object type="0" object="1" material="1"><!-- turned -->{PLACE}{TAIL}</object>',
     "not-an-element"),
    ("</scene>", None),
    ("</scenes>", None),
    ("<timeline>", None),
    ("<row>", None),
    ('<clip id="1" space_before="0" length="100" offset="0" type="3">' + values("x", "y", "z")
     + values("rx", "ry", "rz") + '<fov type="static" value="60"/><fog type="0"/></clip>', None),
    ('<clip id="77" space_before="0" length="100" offset="0" type="3">' + values("x", "y", "z")
     + values("rx", "ry", "rz") + '<fov type="static" value="60"/><fog type="0"/></clip>',
     "dangling-reference"),
    ('<clip id="1" space_before="0" length="100" offset="0x10" type="3">' + values("x", "y", "z")
     + values("rx", "ry", "rz") + '<fov type="static" value="60"/><fog type="0"/></clip>',
     "hex-number"),
    ('<clip id="1" space_before="0" length="100" offset="-7" type="3">' + values("x", "y", "z")
     + values("rx", "ry", "rz") + '<fov type="static" value="60"/><fog type="0"/></clip>',
     "negative-ticks"),
    ('<clip id="1" space_before="0" length="100" offset="0" type="30">' + values("x", "y", "z")
     + values("rx", "ry", "rz") + '<fov type="static" value="60"/><fog type="0"/></clip>',
     "unknown-type"),
    ('<clip id="1" space_before="0" length="100" type="3">' + values("x", "y", "z")
     + values("rx", "ry", "rz") + '<fov type="static" value="60"/><fog type="0"/></clip>',
     "missing-attribute"),
    ("</row>", None),
    ("</timeline>", None),
    ('<music file="gone.xm"/>', "missing-music"),
    ("<more/>", "extra-node"),
]


def test_all_mistakes_are_told_in_one_run(tmp_path):
    demo = "\n".join(line for line, _ in MISTAKES) + "\n"
    write_piece(tmp_path / "piece", demo, loading=EMPTY)
    report = check(tmp_path / "piece")
    found = {(f.get("line"), f["rule"]) for f in report["findings"]
             if f.get("document") == "demo.xml" and f.get("column", 0) >= 1}
    lacking = [(n, rule, line) for n, (line, rule) in enumerate(MISTAKES, 1)
               if rule is not None and (n, rule) not in found]
    assert not lacking
    assert sum(rule is not None for _, rule in MISTAKES) >= 49
    assert report["verdict"] == "not valid"
    # Nothing is told twice, and nothing of lines that are right but by what is missing around them.
    places = [(f.get("line"), f.get("column"), f["rule"], f["text"]) for f in report["findings"]]
    assert len(places) == len(set(places))
    wrong = [f for f in report["findings"] if f["severity"] == "error" and f.get("line")
             and MISTAKES[f["line"] - 1][1] is None]
    assert not wrong


EMPTY = ('<?xml version="1.0"?>\n<layers/><textures/><models/><envelopes/><lights/><effects/>'
         "<bitmaps/><materials/><genmeshes/><scenes/><timeline><row/></timeline><music/>\n")


def test_a_document_that_does_not_parse_is_told_at_its_place(tmp_path):
    write_piece(tmp_path / "piece", EMPTY.replace("<lights/>", "\n <lights"), loading=EMPTY)
    report = check(tmp_path / "piece")
    assert report["verdict"] == "not valid"
    assert [f["line"] for f in report["findings"] if f["rule"] == "unreadable-text"] == [3]


def test_the_schema_knows_every_word():
    schema = json.loads((DOCS / "check.schema.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    rules = set(re.findall(r"^### ([a-z-]+)$", (DOCS / "rules.md").read_text(), re.M))
    pattern = schema["properties"]["findings"]["items"]["properties"]["rule"]["pattern"]
    assert len(rules) >= 59 and all(re.fullmatch(pattern, rule) for rule in rules)


def test_a_package_is_told_with_the_lines_of_its_text(tmp_path):
    demo = EMPTY.replace("<lights/>", "\n<lights><light/></lights>")
    write_piece(tmp_path / "piece", demo, loading=EMPTY)
    package = tmp_path / "p.dpk"
    subprocess.run([os.environ["DPK"], "build", "--force", "-o", package, tmp_path / "piece"],
                   check=True, stdout=subprocess.DEVNULL)
    found = [(f["document"], f["line"], f["severity"]) for f in check(package)["findings"]
             if f.get("section") == "lights"]
    assert ("demo.xmlz", 3, "error") in found


def examples():
    """All whole documents in the documentation, under the headings that name their files."""
    for page in sorted(DOCS.rglob("*.md")):
        text = page.read_text()
        # Parts of a document are held to one that is written, by the test of the handbook.
        for found in re.finditer(r"^```xml\n(<\?xml .*?)^```$", text, re.M | re.S):
            head = re.findall(r"^#+ .*?(\w+\.xml)", text[:found.start()], re.M)
            yield page, head[-1] if head else None, found.group(1)


def test_examples_of_the_documentation_are_checked(tmp_path):
    pages = {}
    for page, name, text in examples():
        assert name in ("loading.xml", "demo.xml"), f"{page}: XML of no named file"
        pages.setdefault(page, {})[name] = text
    assert pages
    for page, documents in pages.items():
        folder = tmp_path / page.stem
        folder.mkdir()
        for name, text in documents.items():
            (folder / name).write_text(text)
        music = re.search(r'<music file="([^"]+)"', documents["demo.xml"])
        if music:
            (folder / music.group(1)).write_bytes(module(20))
        report = check(folder, "--pictures")
        assert (report["errors"], report["warnings"]) == (0, 0), report["findings"]
