# SPDX-License-Identifier: MIT
from pathlib import Path
from typing import Any, Callable, Iterator

import pytest

from studio_window import Screen, Studio


@pytest.fixture
def screen() -> Iterator[Screen]:
    made = Screen()
    yield made
    made.close()


@pytest.fixture
def start(screen: Screen, tmp_path: Path) -> Iterator[Callable[..., Studio]]:
    """Starts the studio; it is ended after the test."""
    started: list[Studio] = []

    def begin(*arguments: object, **more: Any) -> Studio:
        started.append(Studio(screen, tmp_path, *arguments, **more))
        return started[-1]

    yield begin
    for studio in started:
        studio.close()
