# SPDX-License-Identifier: MIT
"""Arguments of public functions, held to their annotations where they are called.

A tuple in the place of a number fails somewhere inside, in words of Python's own. `check_arguments`
lays a check around all public functions, so that the message names the function and the parameter
as those of ranges do:

    >>> from quorvale import ease
    >>> ease((0, 1), 1, 100)
    Traceback (most recent call last):
    TypeError: ease(): the parameter "first" is a number, not (0, 1)

Numbers and texts are looked at first. Anything else is left to the function, whose own message is
better where it has one. Where a whole number is asked for, 200.0 becomes 200 on the way.
"""

from __future__ import annotations

import functools
import inspect
import math
import re
import types
import typing
from collections.abc import Callable, Iterable, Sequence
from typing import Any, Final, Union

from quorvale.facts import checked_number, told

# Called for every corner and sample: these look at their arguments only when they have failed.
_OFTEN: Final = frozenset((
    "quorvale.curves.Curve.at", "quorvale.curves.Curve.sample",
    "quorvale.exact.Noise.between", "quorvale.exact.Noise.next", "quorvale.exact.atan2_degrees",
    "quorvale.exact.cos_degrees", "quorvale.exact.cos_turns", "quorvale.exact.f32",
    "quorvale.exact.sin_degrees", "quorvale.exact.sin_turns", "quorvale.exact.sine32",
    "quorvale.images.Clouds.at", "quorvale.images.Clouds.octave", "quorvale.images.clamp",
    "quorvale.images.mix", "quorvale.images.ramp", "quorvale.images.smooth",
    "quorvale.meshes.Mesh.face", "quorvale.meshes.add", "quorvale.meshes.cross",
    "quorvale.meshes.dot", "quorvale.meshes.scale", "quorvale.meshes.subtract",
    "quorvale.meshes.unit", "quorvale.sounds.decay", "quorvale.sounds.drive",
    "quorvale.sounds.sine"))
# Their functions look at numbers themselves, by the ranges of the vocabulary.
_OF_WORDS: Final = frozenset(f"quorvale.{word}" for word in (
    "effects", "layers", "manipulators", "recipes", "steps", "waters"))


_PLAIN: Final = (bool, int, float, str, tuple, list, dict, types.NoneType)
_TEXTS: Final = (str, bool, Union[str, None])  # looked at first, as numbers are


def _is_curve(value: object) -> bool:
    return hasattr(value, "pieces")


def _alternatives(hint: object) -> tuple[object, ...]:
    union = typing.get_origin(hint) in (typing.Union, types.UnionType)
    return typing.get_args(hint) if union else (hint,)


def _is_number(value: object, whole: bool) -> bool:
    if isinstance(value, bool) or not isinstance(value, (int, float)) or not math.isfinite(value):
        return False
    return not whole or value == math.floor(value)


def _fits_all(hints: tuple[object, ...], values: object) -> bool:
    if not isinstance(values, (tuple, list)):
        return False
    if len(hints) == 2 and hints[1] is Ellipsis:
        return all(_fits(hints[0], value) for value in values)
    return len(hints) == len(values) and all(map(_fits, hints, values))


def _fits_one(hint: Any, value: object) -> bool:
    origin, inner = typing.get_origin(hint), typing.get_args(hint)
    if hint is Any:
        return True
    if hint in (float, int):
        return _is_number(value, whole=hint is int)
    if hint is None or hint is types.NoneType:
        return value is None
    if hint is bool:
        return isinstance(value, bool) or value in (0, 1)
    if origin is tuple:
        return _fits_all(inner, value)
    if origin in (list, Sequence, Iterable):
        if isinstance(value, (tuple, list, range)):
            return all(_fits(inner[0], each) for each in value)
        return isinstance(value, Iterable) and not isinstance(value, (str, dict))
    if hint is Callable or origin is Callable:
        return callable(value)
    return not isinstance(hint, type) or isinstance(value, hint)


def _fits(hint: object, value: object) -> bool:
    """Whether a value is what an annotation says. Whole floats pass as ints, and lists as
    tuples."""
    return any(_fits_one(each, value) for each in _alternatives(hint))


def _as_whole(hint: object, value: Any) -> Any:
    """A whole float as the int that an annotation asks for; anything else as it is."""
    if not isinstance(value, float) or not value.is_integer():
        return value
    kinds = _alternatives(hint)
    if typing.get_origin(hint) is typing.Literal:
        kinds = tuple(map(type, typing.get_args(hint)))
    return int(value) if int in kinds and float not in kinds else value


def _words_of(hint: Any, many: bool = False) -> str:
    """An annotation in a message: "a number or a curve", "a list of numbers"."""
    plain = {float: ("a number", "numbers"), int: ("a whole number", "whole numbers"),
             str: ("a text", "texts"), bool: ("True or False", "True or False"),
             types.NoneType: ("None", "None")}
    origin, inner = typing.get_origin(hint), typing.get_args(hint)
    alternatives = _alternatives(hint)
    if len(alternatives) > 1:
        return " or ".join(dict.fromkeys(_words_of(each, many) for each in alternatives))
    if hint in plain:
        return plain[hint][many]
    if origin is tuple and inner[-1] is not Ellipsis:
        group = f"({', '.join(re.sub('^an? ', '', _words_of(each)) for each in inner)})"
        return group if not many else f"groups {group}"
    if inner and origin in (tuple, list, Sequence, Iterable):
        return f"{'lists' if many else 'a list'} of {_words_of(inner[0], True)}"
    if hint is Callable or origin is Callable:
        return "functions" if many else "a function"
    name = getattr(hint, "__name__", str(hint))
    return name + "s" if many else f"{'an' if name[0] in 'AEIOU' else 'a'} {name}"


def _check_plain(maker: str, word: str, hint: object, value: object) -> None:
    """Refuses what is no number, or no whole one, where only such a number or a curve can stand."""
    kinds = set(_alternatives(hint))
    if value is None and types.NoneType in kinds:
        return
    if not isinstance(value, _PLAIN) and not _is_curve(value):
        return  # the function may know what the author meant
    kinds -= {types.NoneType}
    names = {getattr(kind, "__name__", "") for kind in kinds}
    if kinds <= {float, int} or (names <= {"float", "int", "Curve"} and not _is_curve(value)):
        checked_number(maker, f'parameter "{word}"', value)
        if int in kinds and float not in kinds:
            _check_fit(maker, word, hint, value)


def _check_fit(maker: str, word: str, hint: object, value: object) -> None:
    if not _fits(hint, value):
        raise TypeError(f'{maker}(): the parameter "{word}" is {_words_of(hint)}, not '
                        f"{told(value)}")


class _Taken:
    """What a function takes: found at its first call, when all modules are there."""

    def __init__(self, maker: str, function: Callable[..., Any], skipped: int) -> None:
        self.maker = maker
        self.function = function
        self.skipped = skipped  # 1 for self

    @functools.cached_property
    def hints(self) -> dict[str, object]:
        hints: dict[str, object] = {}
        found = typing.get_type_hints(self.function)
        for parameter in list(inspect.signature(self.function).parameters.values())[self.skipped:]:
            if parameter.kind in (parameter.POSITIONAL_OR_KEYWORD, parameter.KEYWORD_ONLY):
                hints[parameter.name] = found.get(parameter.name, object)
        return hints

    def given(self, arguments: tuple[Any, ...], words: dict[str, Any],
              ) -> list[tuple[str, object, object]]:
        """The arguments of a call, each with its name and annotation."""
        pairs = [*zip(self.hints, arguments[self.skipped:]), *words.items()]
        return [(word, self.hints[word], value) for word, value in pairs if word in self.hints]

    def whole(self, arguments: tuple[Any, ...], words: dict[str, Any],
              ) -> tuple[tuple[Any, ...], dict[str, Any]]:
        """The same arguments, with ints for whole floats where the function asks for ints."""
        first = self.skipped
        hints = list(self.hints.values())
        return (arguments[:first] + tuple(map(_as_whole, hints, arguments[first:])) +
                arguments[first + len(hints):],
                {word: _as_whole(self.hints.get(word), value) for word, value in words.items()})


def _tells(text: str, maker: str, value: object) -> bool:
    """Whether a message is the function's own, of this value or of something in it."""
    return text.startswith(f"{maker}(): ") and (
        isinstance(value, (tuple, list)) or _is_curve(value) or told(value) in text)


def _called(taken: _Taken, function: Callable[..., Any], often: bool,
            arguments: tuple[Any, ...], words: dict[str, Any]) -> Any:
    given = [] if often else taken.given(arguments, words)
    if any(isinstance(value, float) for _, _, value in given):
        arguments, words = taken.whole(arguments, words)
        given = taken.given(arguments, words)
    for word, hint, value in given:
        if hint in _TEXTS:
            _check_fit(taken.maker, word, hint, value)
        elif function.__module__ not in _OF_WORDS:
            _check_plain(taken.maker, word, hint, value)
    try:
        result = function(*arguments, **words)
    except Exception as error:  # noqa: whatever came of an argument that should not be there
        for word, hint, value in taken.given(arguments, words):
            if not _tells(str(error), taken.maker, value):
                _check_fit(taken.maker, word, hint, value)
        raise
    for word, hint, value in given:
        _check_fit(taken.maker, word, hint, value)
    return result


def _wrapped(function: types.FunctionType, place: str, maker: str,
             skipped: int) -> types.FunctionType:
    taken = _Taken(maker, function, skipped)
    often = place in _OFTEN
    call = _called

    def wrapper(*arguments: Any, **words: Any) -> Any:
        return call(taken, function, often, arguments, words)

    # With the globals of its module it belongs there, for doctest and others who look.
    named = types.FunctionType(wrapper.__code__, function.__globals__, function.__name__,
                               None, wrapper.__closure__)
    functools.update_wrapper(named, function)
    return named


def _check_class(module: str, made: type) -> None:
    for word, method in list(vars(made).items()):
        place = f"{module}.{made.__name__}.{word}"
        public = word == "__init__" or not word.startswith("_")
        maker = made.__name__ if word == "__init__" else word
        if public and isinstance(method, types.FunctionType):
            setattr(made, word, _wrapped(method, place, maker, 1))
        elif public and isinstance(method, staticmethod):
            inside = method.__func__
            assert isinstance(inside, types.FunctionType)
            setattr(made, word, staticmethod(_wrapped(inside, place, maker, 0)))


def check_arguments(modules: Iterable[types.ModuleType], package: types.ModuleType) -> None:
    """Lays the check around the public functions and methods of modules, and of a package that
    shows their names. What modules have imported of each other before stays as it is."""
    changed: dict[int, types.FunctionType] = {}
    for module in modules:
        for word, thing in list(vars(module).items()):
            if word.startswith("_") or getattr(thing, "__module__", "") != module.__name__:
                continue
            if isinstance(thing, types.FunctionType):
                changed[id(thing)] = _wrapped(thing, f"{module.__name__}.{word}", word, 0)
                setattr(module, word, changed[id(thing)])
            elif isinstance(thing, type) and not issubclass(thing, tuple):
                _check_class(module.__name__, thing)
    for word, thing in list(vars(package).items()):
        if id(thing) in changed:
            setattr(package, word, changed[id(thing)])
