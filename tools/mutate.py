#!/usr/bin/python3
"""Fault-injection check: does the test suite notice small faults?

Applies the deliberate faults listed in tests/mutation/faults.txt to the
library sources one at a time, rebuilds the two test binaries in a build
folder of its own, runs them, and records whether the suite caught the fault.
The source file is always restored (also on Ctrl-C or an error), and at the
end `git diff` must show src/ and include/ unchanged.

    nice -n 10 /usr/bin/python3 tools/mutate.py             # every fault
    /usr/bin/python3 tools/mutate.py --only 'det-*' cal-07  # a subset
    /usr/bin/python3 tools/mutate.py --check                # anchors only
    /usr/bin/python3 tools/mutate.py --summary              # print results

Results go to tests/mutation/results.txt (one line per fault: id, outcome,
detail). A run skips the faults already in the results file, so an
interrupted run resumes where it stopped; --fresh starts over.

Outcomes: caught (a test failed or a binary crashed), timeout (a binary ran
past its time limit: counted as caught), survived (every test passed),
invalid (the fault does not compile: replace it in the list).
"""

import argparse
import fnmatch
import os
import re
import shutil
import signal
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
DEFAULT_FAULTS = ROOT / "tests" / "mutation" / "faults.txt"
DEFAULT_RESULTS = ROOT / "tests" / "mutation" / "results.txt"
DEFAULT_BUILD = ROOT / "build-mut"
BINARIES = ("kvx_tests", "kvx_unit_tests")
# The library builds the test binaries use; a fault changes only these.
# The build links the module again whenever the core library is newer than
# its last link, so a kept module is put in place after the build (the
# black-box tests load it when they start).
CORE, MODULE = "libkvx_core.a", "KelvoCalibrate.kvx"
LIBRARIES = (CORE, MODULE)
KINDS = {"flip", "bound", "swap", "drop", "const"}
HEADER_RE = re.compile(r"^([a-z]+-\d+) (\w+) (\S+)$")


@dataclass
class Fault:
    ident: str
    kind: str
    path: str
    anchor: str
    replacement: str
    line: int  # where the fault starts in the list


class FaultListError(Exception):
    pass


def parse_faults(path):
    """Reads the fault list; raises FaultListError on a malformed entry."""
    lines = path.read_text(encoding="utf-8").splitlines()
    faults = []
    seen = set()
    i = 0
    while i < len(lines):
        text = lines[i]
        if not text.strip() or text.startswith("#"):
            i += 1
            continue
        where = f"{path.name}:{i + 1}"
        match = HEADER_RE.match(text)
        if not match or i + 2 >= len(lines):
            raise FaultListError(f"{where}: expected '<id> <kind> <file>'")
        ident, kind, file = match.groups()
        anchor, replacement = lines[i + 1], lines[i + 2]
        if kind not in KINDS:
            raise FaultListError(f"{where}: unknown kind '{kind}'")
        if ident in seen:
            raise FaultListError(f"{where}: duplicate id '{ident}'")
        if not anchor.startswith("- ") or len(anchor.strip()) < 3:
            raise FaultListError(f"{where}: second line must be '- <anchor>'")
        if not (replacement == "+" or replacement.startswith("+ ")):
            raise FaultListError(f"{where}: third line must be '+ <text>'")
        seen.add(ident)
        faults.append(
            Fault(ident, kind, file, anchor[2:].rstrip(),
                  replacement[2:].rstrip(), i + 1))
        i += 3
    return faults


def locate(fault):
    """The file text and the anchor's offset; raises FaultListError unless
    the anchor occurs exactly once."""
    path = ROOT / fault.path
    if not path.is_file():
        raise FaultListError(f"{fault.ident}: no file {fault.path}")
    text = path.read_text(encoding="utf-8")
    count = text.count(fault.anchor)
    if count != 1:
        state = "not found" if count == 0 else f"found {count} times"
        raise FaultListError(f"{fault.ident}: anchor {state} in {fault.path}")
    return text, text.index(fault.anchor)


def run(command, cwd, timeout):
    """(returncode or None on timeout, combined output)."""
    try:
        done = subprocess.run(command, cwd=cwd, timeout=timeout,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, errors="replace")
        return done.returncode, done.stdout
    except subprocess.TimeoutExpired as expired:
        out = expired.stdout or ""
        if isinstance(out, bytes):
            out = out.decode(errors="replace")
        return None, out


def configure(build):
    if (build / "build.ninja").exists():
        return
    code, out = run(["cmake", "-S", str(ROOT), "-B", str(build), "-G", "Ninja",
                     "-DCMAKE_BUILD_TYPE=Debug", "-DKVX_SANITIZE=OFF",
                     "-DKVX_BUILD_TESTS=ON", "-DKVX_BUILD_TOOLS=OFF",
                     "-DKVX_BUILD_BENCH=OFF"], ROOT, 600)
    if code != 0:
        sys.exit(f"configuring {build} failed:\n{out}")


def build_tests(build, jobs, targets=BINARIES):
    code, out = run(["cmake", "--build", str(build), "-j", str(jobs),
                     "--target", *targets], ROOT, 1200)
    return code == 0, out


def first_failure(output):
    match = re.search(r"^\[  FAILED  \] ([^\s,]+)", output, re.MULTILINE)
    return match.group(1) if match else None


def run_tests(build, timeout, every=None):
    """('caught' | 'timeout' | 'survived', detail). Stops at the first
    failing test of the first failing binary, unless `every` is a list: then
    both binaries run whole and every failing test is appended to it."""
    tests = build / "tests"
    verdict = ("survived", "")
    for binary in BINARIES:
        flags = ["--gtest_brief=1"]
        if every is None:
            flags.append("--gtest_fail_fast")
        code, out = run([str(tests / binary), *flags], tests, timeout)
        if code is None:
            if every is not None:
                every.append(f"{binary}:TIMEOUT")
            if verdict[0] == "survived":
                verdict = ("timeout", binary)
        elif code != 0:
            failed = sorted({f"{binary}:{name}" for name in re.findall(
                r"^\[  FAILED  \] ([^\s,]+\.[^\s,]+)", out, re.MULTILINE)})
            first = first_failure(out)
            if first is None:
                first = f"exit {code}" if code > 0 else \
                    f"signal {signal.Signals(-code).name}"
                failed = [f"{binary}:CRASH"]
            if every is not None:
                every.extend(failed)
            if verdict[0] == "survived":
                verdict = ("caught", f"{binary}:{first}")
        if verdict[0] != "survived" and every is None:
            break
    return verdict


def store_libraries(source, target, names=LIBRARIES):
    """Copies the library builds from folder `source` to folder `target`."""
    target.mkdir(parents=True, exist_ok=True)
    for name in names:
        shutil.copy2(source / name, target / name)
        os.utime(target / name)  # newer than what was linked against them


def read_results(path):
    results = {}
    if path.exists():
        for line in path.read_text(encoding="utf-8").splitlines():
            if line and not line.startswith("#"):
                parts = line.split("\t")
                results[parts[0]] = (parts[1], parts[2] if len(parts) > 2
                                     else "")
    return results


def write_results(path, faults, results):
    order = {f.ident: n for n, f in enumerate(faults)}
    lines = ["# fault\toutcome\tdetail (written by tools/mutate.py)"]
    for ident in sorted(results, key=lambda k: order.get(k, len(order))):
        outcome, detail = results[ident]
        lines.append(f"{ident}\t{outcome}\t{detail}")
    path.write_text("\n".join(lines) + "\n", encoding="utf-8")


def summarise(faults, results):
    listed = [f for f in faults if f.ident in results]
    outcomes = [results[f.ident][0] for f in listed]
    caught = outcomes.count("caught") + outcomes.count("timeout")
    valid = len(outcomes) - outcomes.count("invalid")
    print(f"caught {caught} of {valid} "
          f"({outcomes.count('timeout')} by timeout; "
          f"{outcomes.count('survived')} survived, "
          f"{outcomes.count('invalid')} invalid; "
          f"{len(faults) - len(listed)} not run)")
    for f in listed:
        if results[f.ident][0] in ("survived", "invalid"):
            print(f"  {results[f.ident][0]:8} {f.ident:8} {f.path}: "
                  f"{f.anchor.strip()}")


def source_tree_clean():
    code, _ = run(["git", "diff", "--quiet", "--", "src", "include"], ROOT, 60)
    return code == 0


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--faults", type=Path, default=DEFAULT_FAULTS)
    parser.add_argument("--results", type=Path, default=DEFAULT_RESULTS)
    parser.add_argument("--build", type=Path, default=DEFAULT_BUILD)
    parser.add_argument("--only", nargs="+", metavar="ID",
                        help="fault ids or patterns (e.g. 'det-*')")
    parser.add_argument("--fresh", action="store_true",
                        help="run every selected fault again")
    parser.add_argument("--check", action="store_true",
                        help="only check that every anchor matches once")
    parser.add_argument("--summary", action="store_true",
                        help="only print the summary of the results file")
    parser.add_argument("--timeout", type=int, default=120,
                        help="seconds per test binary (default 120)")
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--cache", type=Path,
                        help="keep each fault's library builds here and, when "
                        "a later run finds them, use them instead of "
                        "rebuilding (for a second run with changed tests)")
    parser.add_argument("--matrix", type=Path,
                        help="run every test for every fault and append the "
                        "failing tests per fault to this file")
    args = parser.parse_args()

    try:
        faults = parse_faults(args.faults)
        problems = []
        for fault in faults:
            try:
                locate(fault)
            except FaultListError as error:
                problems.append(str(error))
        if problems:
            raise FaultListError("\n".join(problems))
    except FaultListError as error:
        sys.exit(f"fault list refused:\n{error}")
    if args.check:
        print(f"{len(faults)} faults, every anchor matches exactly once")
        return
    results = read_results(args.results)
    if args.summary:
        summarise(faults, results)
        return

    selected = faults
    if args.only:
        selected = [f for f in faults
                    if any(fnmatch.fnmatch(f.ident, p) for p in args.only)]
    if args.fresh:
        for f in selected:
            results.pop(f.ident, None)
    pending = [f for f in selected if f.ident not in results]
    if not source_tree_clean():
        sys.exit("src/ or include/ has local changes: commit or stash first")
    if os.nice(0) < 10:
        os.nice(10 - os.nice(0))

    build = args.build.resolve()
    configure(build)
    ok, out = build_tests(build, args.jobs)
    if not ok:
        sys.exit(f"the unchanged tree does not build:\n{out}")
    outcome, detail = run_tests(build, args.timeout)
    if outcome != "survived":
        sys.exit(f"the unchanged tree fails its tests ({outcome} {detail})")

    # Ctrl-C and a plain kill both end the run through the finally clauses,
    # so the file being mutated is put back (a shell may start this in the
    # background with SIGINT ignored).
    def stop(signum, frame):
        raise KeyboardInterrupt

    signal.signal(signal.SIGINT, stop)
    signal.signal(signal.SIGTERM, stop)
    clean = None
    if args.cache:
        clean = args.cache / "clean"
        store_libraries(build, clean)
    started = time.monotonic()
    try:
        for n, fault in enumerate(pending, 1):
            path = ROOT / fault.path
            original, at = locate(fault)
            mutated = (original[:at] + fault.replacement +
                       original[at + len(fault.anchor):])
            cached = args.cache / fault.ident if args.cache else None
            try:
                if cached and cached.is_dir():
                    # Same library as a build from the mutated source; only
                    # the test binaries are linked again. The tree is brought
                    # up to date first so the build keeps the copies.
                    build_tests(build, args.jobs, ("KelvoCalibrate", "kvx_core"))
                    store_libraries(cached, build, (CORE,))
                else:
                    path.write_text(mutated, encoding="utf-8")
                ok, out = build_tests(build, args.jobs)
                if ok and cached and cached.is_dir():
                    store_libraries(cached, build, (MODULE,))
                if ok and cached and not cached.is_dir():
                    store_libraries(build, cached)
                if ok:
                    every = [] if args.matrix else None
                    outcome, detail = run_tests(build, args.timeout, every)
                    if args.matrix:
                        with args.matrix.open("a", encoding="utf-8") as out:
                            out.write(f"{fault.ident}\t{' '.join(every)}\n")
                else:
                    outcome, detail = "invalid", "does not build"
            finally:
                if path.read_text(encoding="utf-8") != original:
                    path.write_text(original, encoding="utf-8")
                if clean:
                    store_libraries(clean, build)
            results[fault.ident] = (outcome, detail)
            write_results(args.results, faults, results)
            print(f"[{n}/{len(pending)}] {fault.ident:8} {outcome:8} {detail}",
                  flush=True)
    except KeyboardInterrupt:
        print("interrupted; the results so far are kept", file=sys.stderr)
    finally:
        if not source_tree_clean():
            sys.exit("ERROR: src/ or include/ differs from git after the run")
    minutes = (time.monotonic() - started) / 60.0
    print(f"{len(pending)} faults run in {minutes:.1f} min")
    summarise(faults, results)


if __name__ == "__main__":
    main()
