# SPDX-License-Identifier: MIT
import os
import shutil
import subprocess
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


@pytest.fixture(scope="session")
def small(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A package of 16 seconds beside its sources, whose module it plays. It is opened much sooner
    than the sample."""
    folder = tmp_path_factory.mktemp("sources") / "mine"
    package = folder / "small.dpk"
    for words in (["new", folder], ["build", folder, "-o", package]):
        subprocess.run([os.environ["DPK"], *map(str, words)], check=True,
                       stdout=subprocess.DEVNULL)
    return package


@pytest.fixture
def script(small: Path, tmp_path: Path) -> Path:
    """A folder with a piece.py, and all that it has written."""
    return Path(shutil.copytree(small.parent, tmp_path / "mine",
                                ignore=shutil.ignore_patterns("*.dpk")))


@pytest.fixture
def plain(script: Path) -> Path:
    """A folder of documents, without a program."""
    (script / "piece.py").unlink()
    return script
