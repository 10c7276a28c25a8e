"""Shared fixtures: the package from this tree, the shipped examples, and
``kelvo`` run in-process."""

import pathlib
import sys

import pytest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "python"))
EXAMPLES = ROOT / "examples"


@pytest.fixture
def examples() -> pathlib.Path:
    return EXAMPLES


@pytest.fixture
def kelvo(capsys):
    """kelvo(*args) -> (exit status, stdout, stderr)."""
    from kelvocalibrate.cli import main

    def run(*args):
        try:
            code = main([str(a) for a in args])
        except SystemExit as exc:  # usage errors leave through argparse
            code = exc.code
        out, err = capsys.readouterr()
        return code, out, err

    return run
