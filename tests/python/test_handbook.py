# SPDX-License-Identifier: MIT
"""Commands and listings of the handbook do what it says."""

import html.parser
import importlib
import inspect
import json
import os
import pathlib
import re
import subprocess
import sys
import urllib.parse

import pytest

from conftest import program
from quorvale.facts import CATALOGUES
from quorvale.meshes import Mesh, sphere, square
from test_gallery import decode_png

BOOK = pathlib.Path(__file__).resolve().parents[2] / "docs/handbook"


def blocks(page, language):
    text = (BOOK / page).read_text(encoding="utf-8")
    return re.findall(rf"^```{language}\n(.*?)^```", text, re.MULTILINE | re.DOTALL)


def matches(expected, got):
    """Whether lines are as expected, where "..." stands for any text, on a line of its own for any
    lines."""
    pattern = ""
    for line in expected.splitlines():
        words = ".*".join(map(re.escape, line.split("...")))
        pattern += "(?:.*\n)*" if line == "..." else words + "\n"
    return re.fullmatch(pattern, got) is not None


def test_commands_run_as_printed(tmp_path):
    path = os.path.dirname(program("DPK")) + os.pathsep + os.environ["PATH"]
    for block in (blocks("ten-minutes.md", "console") + blocks("how-to.md", "console") +
                  blocks("old-documents.md", "console")):
        for part in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", block, re.MULTILINE):
            command, expected = part
            run = subprocess.run(command, shell=True, cwd=tmp_path, env=dict(os.environ, PATH=path),
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            assert matches(expected, run.stdout), f"{command}\n{run.stdout}"
    kept, made = (decode_png(path.read_bytes()) for path in (BOOK / "first-piece.png",
                                                             tmp_path / "sheet.png"))
    assert kept[:2] == made[:2]
    difference = sum(map(abs, map(int.__sub__, kept[2], made[2]))) / len(kept[2])
    assert difference < 3.0, f"{difference} on average; keep the sheet.png of the ten minutes"


def test_xml_of_old_documents_stands_in_the_document(tmp_path):
    dpk = program("DPK")
    subprocess.run([dpk, "new", "mine"], cwd=tmp_path, check=True, capture_output=True)
    subprocess.run([dpk, "build", "mine"], cwd=tmp_path, check=True, capture_output=True)
    document = (tmp_path / "mine/demo.xml").read_text(encoding="utf-8")
    samples = blocks("old-documents.md", "xml")
    assert len(samples) == 2 and all(sample in document for sample in samples)
    sections = re.findall(r"^<([a-z_]+)", document, re.MULTILINE)
    told = re.search(r"stand in one order: ([a-z,\s]+)\.", 
                     (BOOK / "old-documents.md").read_text("utf-8"))
    assert len(re.split(r",\s", told[1])) == len(sections), sections


def run_listing(code, folder):
    return subprocess.run([sys.executable, "-B", "-c", code], cwd=folder, capture_output=True,
                          text=True)


@pytest.mark.parametrize("number", range(len(blocks("ten-minutes.md", "python"))))
def test_listings_of_the_ten_minutes_run(number, tmp_path):
    run = run_listing(blocks("ten-minutes.md", "python")[number], tmp_path)
    assert run.returncode == 0, run.stderr
    if number == 0:
        assert run.stdout == "0.5 0.25 4.0\n"


@pytest.mark.parametrize("number", range(1, len(blocks("how-to.md", "python"))))
def test_snippets_of_the_how_to_make_documents_that_read_back(number, tmp_path, engine_values):
    page = blocks("how-to.md", "python")
    for name, make in (("square", square), ("ball", sphere)):
        mesh = Mesh()
        make(mesh)
        mesh.write(str(tmp_path / f"{name}.obj"))
    code = page[0] + page[number] + "\nif demo._rows:\n    demo.write('demo.xml')\n"
    run = run_listing(code, tmp_path)
    assert run.returncode == 0, run.stderr
    written = tmp_path / ("demo.xml" if (tmp_path / "demo.xml").exists() else "loading.xml")
    assert any(line.startswith("clip ") for line in engine_values(written))


def test_links_between_pages_lead_somewhere():
    for page in BOOK.glob("*.md"):
        for target in re.findall(r"\]\(([^)#]+)\)", page.read_text(encoding="utf-8")):
            assert (BOOK / target).exists(), f"{page.name}: {target}"


@pytest.fixture(scope="module")
def site(tmp_path_factory):
    """The handbook as web pages, made by the command that its first page prints."""
    folder = tmp_path_factory.mktemp("site")
    command = next(line.split() for line in (BOOK / "index.md").read_text("utf-8").splitlines()
                   if line.startswith("    mkdocs build "))
    command[-1] = str(folder)
    run = subprocess.run(command, cwd=BOOK.parents[1], capture_output=True, text=True)
    assert run.returncode == 0 and "WARNING" not in run.stderr, run.stderr
    return folder


class Links(html.parser.HTMLParser):
    """What a page names and what it leads to."""

    def __init__(self, path):
        super().__init__()
        self.ids, self.links, self.parts = set(), [], []
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attributes):
        words = dict(attributes)
        self.ids.add(words.get("id"))
        if tag == "a":
            self.links.append(words.get("href") or "")
        elif tag in ("link", "script", "img"):
            self.parts.append(words.get("href") or words.get("src") or "")


def test_links_and_parts_of_the_web_pages_are_there(site):
    pages = {path.name: Links(path) for path in site.glob("*.html") if path.name != "404.html"}
    assert {"index.html", "ten-minutes.html", "how-to.html", "gallery.html",
            "reference.html"} <= set(pages)
    for name, page in pages.items():
        for link in page.links + page.parts:
            target = urllib.parse.urlsplit(link)
            if target.scheme or link in ("", "#"):
                # Nothing that shows a page comes from elsewhere.
                assert link not in page.parts or not target.scheme, f"{name}: {link}"
                continue
            path = urllib.parse.unquote(target.path) or name
            assert path == "." or (site / path).exists(), f"{name}: {link}"
            if target.fragment and path in pages:
                assert urllib.parse.unquote(target.fragment) in pages[path].ids, f"{name}: {link}"


def test_the_search_of_the_web_pages_knows_every_function(site):
    index = json.loads((site / "search/search_index.json").read_text(encoding="utf-8"))
    titles = {entry["title"] for entry in index["docs"]}
    assert {"x_multiplier", "lit_color", "Scene.add", "Feed a picture back"} <= titles
    assert (site / "search/worker.js").exists() and (site / "search/lunr.js").exists()


# Names that only the library itself makes and calls, of an author's words.
INNER = {"lies_unseen", "unreached", "make_manipulator", "entry_name", "make_layer", "make_step",
         "make_curve", "make_effect", "make_genmesh", "make_material", "checked_value",
         "checked_triple", "checked_number", "range_text", "passes", "here", "Catalogue", "Glyph", "Item",
         "Origin", "OriginError", "Piece", "Placed", "Row of the vocabulary", "Verbatim"}


def examples_of(thing):
    """The lines of a docstring that are code."""
    return "\n".join(line for line in (inspect.getdoc(thing) or "").splitlines()
                     if line.startswith((">>> ", "... ", "    ")))


def public(module):
    """A module's functions, classes and methods: (name, thing), a method with its class."""
    for name, thing in vars(module).items():
        if name.startswith("_") or getattr(thing, "__module__", "") != module.__name__:
            continue
        if inspect.isfunction(thing) or inspect.isclass(thing):
            yield name, thing
        for method, value in vars(thing).items() if inspect.isclass(thing) else ():
            function = value.__func__ if isinstance(value, (staticmethod, classmethod)) else value
            if not method.startswith("_") and (inspect.isfunction(function)
                                               or isinstance(function, property)):
                yield f"{name}.{method}", function


def test_every_public_name_for_authors_has_an_example():
    pages = ("gallery.md", "how-to.md", "ten-minutes.md")
    listings = "\n".join(code for page in pages for code in blocks(page, "python"))
    without = set()
    for path in (BOOK.parents[1] / "python/quorvale").glob("[a-z]*.py"):
        if path.stem in ("arguments", "files", "unbuild", "vocabulary"):
            continue
        module = importlib.import_module(f"quorvale.{path.stem}")
        own = list(public(module))
        # An example of a module's text or of another name of it counts as well.
        examples = "\n".join([examples_of(module), *(examples_of(thing) for _, thing in own)])
        for name, thing in own:
            pattern = rf"\.{name.partition('.')[2]}\b" if "." in name else rf"\b{name}\b"
            if not re.search(pattern, listings + examples):
                inner = "Row of the vocabulary" if (path.stem, name) == ("facts", "Row") else name
                without.add(inner)
    assert without == INNER


def test_the_reference_shows_what_the_gallery_shows():
    page = (BOOK / "reference.md").read_text(encoding="utf-8")
    for row in [row for name in ("generators", "recipes", "effects", "genmeshes", "manipulators")
                for row in CATALOGUES[name].rows]:
        assert re.search(rf"^### {row.word}\n(?:(?!^##).*\n)*?!\[", page, re.MULTILINE), row.word


def test_the_reference_is_the_librarys_words(root, tmp_path):
    kept = BOOK / "reference.md"
    subprocess.run([sys.executable, root / "scripts/make-reference", tmp_path / "reference.md"],
                   check=True)
    assert (tmp_path / "reference.md").read_text("utf-8") == kept.read_text("utf-8"), \
        "run scripts/make-reference"
