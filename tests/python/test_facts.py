# SPDX-License-Identifier: MIT
"""The library's vocabulary is the engine's, and its docstrings tell the truth."""

import doctest
import importlib
import pkgutil
import re
import subprocess
import sys

import pytest

import quorvale
from quorvale.facts import CATALOGUES

MODULES = [info.name for info in pkgutil.iter_modules(quorvale.__path__)]


def test_generated_modules_are_what_the_engine_says(dpk, root, tmp_path):
    subprocess.run([sys.executable, "-B", root / "scripts/make-python-words", dpk, tmp_path], check=True)
    written = sorted(tmp_path.iterdir())
    assert len(written) == 7
    for path in written:
        kept = root / "python/quorvale" / path.name
        assert kept.read_bytes() == path.read_bytes(), f"{path.name}: run scripts/make-python-words"


@pytest.mark.parametrize("name", MODULES)
def test_examples_of_a_module_hold(name):
    module = importlib.import_module("quorvale." + name)
    failed, _ = doctest.testmod(module, optionflags=doctest.ELLIPSIS)
    assert failed == 0


@pytest.mark.parametrize("name", MODULES)
def test_every_public_name_of_a_module_is_documented(name):
    module = importlib.import_module("quorvale." + name)
    assert module.__doc__
    for word, thing in vars(module).items():
        if word.startswith("_") or getattr(thing, "__module__", None) != module.__name__:
            continue
        if callable(thing):
            assert thing.__doc__, f"{name}.{word}"
        if isinstance(thing, type):
            for method, value in vars(thing).items():
                public = not method.startswith("_")
                if public and (callable(value) or isinstance(value, property)):
                    assert value.__doc__, f"{name}.{word}.{method}"


def test_every_row_has_a_function():
    for catalogue, module in (("generators", "layers"), ("recipes", "recipes"),
                              ("effects", "effects"), ("genmeshes", "waters"),
                              ("manipulators", "manipulators")):
        made = importlib.import_module("quorvale." + module)
        for row in CATALOGUES[catalogue].rows:
            assert callable(getattr(made, row.word))


def test_no_line_is_longer_than_the_page(root):
    for path in (root / "python/quorvale").glob("*.py"):
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            assert len(line) <= 100, f"{path.name}:{number}"
            assert not re.search(r"\s$", line), f"{path.name}:{number}"
