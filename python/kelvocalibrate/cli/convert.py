"""``kelvo convert VALUE... --from UNIT --to UNIT``."""

from __future__ import annotations

import argparse

from ..units import UNIT_NAMES, convert
from ._common import CliError, Command, Report, add_common, finite_float


def add_arguments(p: argparse.ArgumentParser) -> None:
    p.add_argument("values", nargs="+", type=finite_float, metavar="VALUE")
    p.add_argument("--from", dest="source", required=True, choices=list(UNIT_NAMES), metavar="UNIT",
                   help=f"unit of the values ({', '.join(UNIT_NAMES)})")
    p.add_argument("--to", dest="target", required=True, choices=list(UNIT_NAMES), metavar="UNIT",
                   help="unit to convert to")
    p.add_argument("--laser", type=finite_float, metavar="NM", help="laser line for Raman shifts (raman)")
    add_common(p, plot=False)


def run(args: argparse.Namespace) -> Report:
    results = []
    for value in args.values:
        try:
            results.append(convert(value, args.source, args.target, args.laser))
        except ValueError as exc:
            raise CliError(str(exc)) from None
    lines = [f"{v:.10g} {args.source} = {r:.10g} {args.target}" for v, r in zip(args.values, results)]
    data = {
        "from": args.source,
        "to": args.target,
        "laser_nm": args.laser,
        "values": [{"input": v, "output": r} for v, r in zip(args.values, results)],
    }
    return Report("\n".join(lines), data)


COMMAND = Command("convert", "convert values between nm, cm-1, Raman shift, eV, angstrom and micron", add_arguments, run)
