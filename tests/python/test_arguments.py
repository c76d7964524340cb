# SPDX-License-Identifier: MIT
"""Each parameter of each public function refuses what it can't take, in the library's own words.

Functions that are called for every corner or sample do so where the call fails: they take NaN and
truths as the numbers that those are."""

import importlib
import inspect
import math
import re
import types
import typing
from collections.abc import Callable, Iterable, Sequence

import pytest

from quorvale import *
from quorvale.arguments import _OFTEN, _fits
from quorvale.exact import Noise
from quorvale.facts import told
from quorvale.fonts import Font
from quorvale.images import Clouds
from quorvale.items import Step
from quorvale.meshes import Mesh
from quorvale.tracker import Instrument, Tune, tone
from quorvale.values import Color

MODULES = ("cameras", "curves", "document", "effects", "exact", "fonts", "images", "items", "layers",
           "loading", "manipulators", "meshes", "music", "recipes", "scenes", "sounds", "steps",
           "tracker", "values", "waters")
BAD = ((1, 2), "text", None, math.nan, True, math.inf)
# Made of an author's words by the library itself, or kept by it.
INNER = {"make_manipulator", "make_layer", "make_step", "make_curve", "make_effect", "make_genmesh",
         "make_material", "material", "checked_value", "checked_param", "checked_triple", "Placed",
         "Clip", "Verbatim", "Piece", "Layer", "ScaledLayer", "Step", "Effect", "GenMesh", "Material",
         "Manipulator", "SoundingRow", "Glyph", "Item", "lies_unseen", "unreached", "number_text",
         "written", "entry_name", "Row", "Texture", "Curve", "Color"}


def functions():
    for stem in MODULES:
        module = importlib.import_module(f"quorvale.{stem}")
        for name, thing in vars(module).items():
            if name.startswith("_") or getattr(thing, "__module__", "") != module.__name__:
                continue
            if inspect.isfunction(thing) and name not in INNER:
                yield f"{stem}.{name}", thing, None
            for word, method in vars(thing).items() if inspect.isclass(thing) else ():
                made = word == "__init__" and name not in INNER
                if made or not word.startswith("_") and name not in ("Placed", "Verbatim", "Step"):
                    if inspect.isfunction(method):
                        yield f"{stem}.{name}.{word}", method, thing
                    elif isinstance(method, staticmethod):
                        yield f"{stem}.{name}.{word}", method.__func__, None


def tune():
    made = Tune(rows=64, channels=2)
    made.instrument(Instrument("one", tone(64, (1,)), loop=64))
    return made


THINGS = {Scene: Scene, Mesh: Mesh, Light: Light, Document: Document, Curve: lambda: line(0, 1, 100),
          Camera: lambda: look((0, 0, 5), (0, 0, 0)), Noise: lambda: Noise(1), Tune: tune,
          Color: lambda: Color(1.0, 0.5, 0.25), Model: lambda: Model("a.obj"),
          Bitmap: lambda: Bitmap("a.png"), Clouds: lambda: Clouds(1),
          # Refused before the file would be looked at.
          Font: lambda: Font.__new__(Font), Music: lambda: Music.__new__(Music),
          Material: recipes.color, Texture: lambda: Texture.of(layers.noise()), Layer: layers.noise,
          Row: lambda: Document().row(0), Step: steps.blur, Effect: effects.plasma,
          Fog: lambda: Fog(1, 2), GenMesh: waters.lake_water,
          Instrument: lambda: Instrument("one", tone(64, (1,))),
          Manipulator: lambda: manipulators.x_multiplier(2)}
# Facts that an annotation alone does not tell, by the parameter.
VALUES = {"end": 500, "how": "simple", "recipe": "color", "function": lambda u, v: (u, v, 0.5),
          "center": (1.0, 2.0, 3.0), "word": "linear", "keys": [(0, (0, 0, 5), (0, 0, 0)), (99, (1, 0, 5), (0, 0, 0))],
          "points": [(0, 1.0), (100, 2.0)], "fov": 60.0, "volume": 32, "channel": 1, "row": 3,
          "tempo": 125, "length": 256, "size": 64, "note": "C-4", "faces": [(0, 0, 1)]}


def value_of(hint, name, maker):
    if name in VALUES and not (name == "center" and maker == "tube") \
            and not (name == "points" and maker == "smooth") and _fits(hint, VALUES[name]):
        return VALUES[name]
    union = typing.get_origin(hint) in (typing.Union, types.UnionType)
    alternatives = typing.get_args(hint) if union else (hint,)
    hint = alternatives[0]
    origin, inner = typing.get_origin(hint), typing.get_args(hint)
    if origin is typing.Literal:
        return inner[0]
    if origin is tuple:
        return tuple(value_of(each, "", maker) for each in inner if each is not Ellipsis)
    if origin in (list, Sequence, Iterable):
        return [value_of(inner[0], "", maker)] * 3
    if origin is Callable:
        return lambda *given: (1.0, 2.0, 3.0)
    plain = {float: 1.0, int: 2, str: "a", bool: False, type(None): None}
    return plain[hint] if hint in plain else THINGS[hint]()


def cases():
    for place, function, made in functions():
        try:
            hints = typing.get_type_hints(inspect.unwrap(function))
        except TypeError:
            continue
        parameters = list(inspect.signature(function).parameters.values())
        for parameter in parameters[1 if made else 0:]:
            if parameter.kind in (parameter.POSITIONAL_OR_KEYWORD, parameter.KEYWORD_ONLY):
                for bad in (*BAD, 2.5):
                    hint = hints.get(parameter.name, object)
                    harmless = f"quorvale.{place}" in _OFTEN and isinstance(bad, (bool, float))
                    if not harmless and not _fits(hint, bad):
                        yield place, function, made, parameter.name, bad


def refusal(place, function, made, name, bad):
    """The text of the error of a call with one bad argument."""
    maker = made.__name__ if place.endswith("__init__") else function.__name__
    hints = typing.get_type_hints(inspect.unwrap(function))
    arguments = {}
    for parameter in inspect.signature(function).parameters.values():
        if parameter.name == name:
            arguments[name] = bad
        elif parameter.default is parameter.empty and parameter.name != "self" \
                and parameter.kind in (parameter.POSITIONAL_OR_KEYWORD, parameter.KEYWORD_ONLY):
            arguments[parameter.name] = value_of(hints[parameter.name], parameter.name, maker)
    call = function
    if made is not None:
        call = made if place.endswith("__init__") else getattr(THINGS[made](), function.__name__)
    try:
        call(**arguments)
    except (TypeError, ValueError) as error:
        text = str(error)
        parts = (bad, *bad) if isinstance(bad, tuple) else (bad,)
        if text.startswith(f"{maker}(): ") and any(
                re.search(f"not (.* and )?{re.escape(told(part))}", text) for part in parts):
            return None
        return f"{place}({name}={bad!r}): {type(error).__name__}: {text}"
    except Exception as error:
        return f"{place}({name}={bad!r}): {type(error).__name__}: {error}"
    return f"{place}({name}={bad!r}) is taken"


def test_every_parameter_refuses_what_it_can_not_take(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    found = list(cases())
    assert len(found) > 1000
    wrong = [text for text in (refusal(*case) for case in found) if text is not None]
    assert not wrong, "\n".join(wrong)
    assert not list(tmp_path.iterdir())


def test_whole_numbers_may_come_of_a_division():
    def text(whole):
        demo = Document(digits=whole(9))
        scene = Scene()
        moving = levels([(0, 1), (whole(50), 2)]).looped(whole(10), whole(60))
        scene.add(Model("a.obj"), recipes.effect(effect=effects.plasma(moving, size=whole(64))),
                  position=(moving, spline([(0, 1), (whole(90), 2)], length=whole(80)), 0))
        demo.row(whole(2)).show(scene, look((0, 0, 5), (0, 0, 0)), whole(100), whole(200),
                                offset=whole(20))
        demo.row(2).after(scene, orbit((0, 0, 0), 5, 1, whole(300)).later(whole(5)), whole(300))
        return demo.text()

    assert text(float) == text(int)
    assert Tune(rows=64.0, channels=2.0, speed=3.0).bytes is not None
    assert line(0, 1, 100).at(25.0) == 0.25
    with pytest.raises(TypeError, match=r"row\(\): the parameter \"number\" is a whole number, not 0.5"):
        Document().row(0.5)


@pytest.mark.parametrize("make", (
    lambda curve, bad: curve * bad, lambda curve, bad: bad * curve, lambda curve, bad: curve + bad,
    lambda curve, bad: bad + curve, lambda curve, bad: curve - bad, lambda curve, bad: bad - curve,
    lambda curve, bad: curve / bad))
def test_curves_are_reckoned_with_numbers_alone(make):
    for bad in BAD:
        with pytest.raises((TypeError, ValueError), match="^a curve is .* number, not "):
            make(line(0, 1, 100), bad)
    with pytest.raises(ValueError, match="not 0$"):
        line(0, 1, 100) / 0
