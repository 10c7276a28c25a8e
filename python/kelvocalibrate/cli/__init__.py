"""The ``kelvo`` command: everyday calibration jobs from files.

Each subcommand is a module of this package with ``COMMAND``, a
:class:`~kelvocalibrate.cli._common.Command`; adding one is adding its
module name to :data:`SUBCOMMANDS`.
"""

from __future__ import annotations

import argparse
import importlib
import sys
from typing import NoReturn, Sequence

from .._native import ModuleNotFound
from ..description import DescriptionError
from ..errors import KelvoError
from ._common import CliError, Command, write_json

SUBCOMMANDS: tuple[str, ...] = (
    "fit",
    "convert",
    "axis",
    "steps",
    "peaks",
    "glue",
    "optimise",
)


class _Parser(argparse.ArgumentParser):
    """Usage errors as one line (and exit status 2), like every other error."""

    def error(self, message: str) -> NoReturn:
        self.exit(2, f"{self.prog}: error: {message}\n")


def commands() -> list[Command]:
    """The registered subcommands, in order."""
    return [importlib.import_module(f"{__name__}.{name}").COMMAND for name in SUBCOMMANDS]


def build_parser() -> argparse.ArgumentParser:
    parser = _Parser(
        prog="kelvo",
        description="Wavelength calibration from files: fits, unit conversion, "
        "spectrograph axes and steps, peaks, glue and dispersion optimisation.",
    )
    sub = parser.add_subparsers(dest="command", metavar="COMMAND", parser_class=_Parser)
    sub.required = True
    for command in commands():
        p = sub.add_parser(command.name, help=command.help, description=command.help)
        command.add_arguments(p)
        p.set_defaults(_command=command)
    return parser


def main(argv: Sequence[str] | None = None) -> int:
    """Runs ``kelvo``; returns the exit status (0 ok, 1 failed, 2 usage)."""
    parser = build_parser()
    args = parser.parse_args(argv)
    command: Command = args._command
    prog = f"kelvo {command.name}"
    try:
        report = command.run(args)
        target = getattr(args, "json", None)
        if target is None or target != "-":
            print(report.text)
        if target is not None:
            write_json(target, report.data)
    except (CliError, DescriptionError, ModuleNotFound) as exc:
        print(f"{prog}: error: {exc}", file=sys.stderr)
        return 1
    except (KelvoError, ValueError) as exc:  # values the package refused
        print(f"{prog}: error: {exc}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    except BrokenPipeError:
        return 0
    return 0
