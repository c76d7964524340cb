# SPDX-License-Identifier: MIT
"""What the tests of the library share: the programs of the build, and documents to write."""

import os
import pathlib
import subprocess

import hypothesis
import pytest

# The machine that tests run on may be busy; examples are the same on every run.
hypothesis.settings.register_profile("tests", deadline=None, derandomize=True, max_examples=12,
                                     suppress_health_check=list(hypothesis.HealthCheck))
hypothesis.settings.load_profile("tests")


def program(name):
    path = os.environ.get(name)
    assert path, f"{name} names no program: run these tests by ctest"
    return path


@pytest.fixture(scope="session")
def dpk():
    return program("DPK")


@pytest.fixture(scope="session")
def engine_values():
    path = program("ENGINE_VALUES")

    def run(document, *arguments, lines=""):
        return subprocess.run([path, str(document), *arguments], input=lines, check=True,
                              capture_output=True, text=True).stdout.splitlines()

    return run


@pytest.fixture(scope="session")
def root():
    return pathlib.Path(__file__).resolve().parents[2]
