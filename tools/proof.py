#!/usr/bin/env python3
"""Attacks the built libraries and the program, and writes what came of it on a page.

usage: proof.py [--long] [--page FILE] [STAGE...]

Runs all stages, or those named, in minutes, and writes out/proof.md; --long runs them for hours and writes
docs/proof.md. Rows of stages that did not run stay on the page as they are. Ends with 1 when a stage found something.
"""
import argparse, datetime, json, pathlib, re, subprocess, sys
from dataclasses import dataclass
from typing import Callable

ROOT = pathlib.Path(__file__).resolve().parents[1]
TARSEL = "build/release/bin/tarsel"

HEAD = """\
# What was tried, and what came of it

`./dev proof --long` writes this page; a row names the command that repeats it. `./dev proof STAGE` runs one stage in
its short form.

| stage | what is tried | result | command | date |
|---|---|---|---|---|
"""


# What fails for a reason of the libraries': effect, check ("" for any), and what the finding says. Elbg reads a fourth
# byte of each pixel of rgb24, behind rows too, so that the same frames give a few other colors. Gblur adds memory that
# it never set to pictures of one row. Vid.stab doesn't look whether it got the memory it asked for.
KNOWN = [
    ("posterize", "", "with other content$"),
    ("blur", "rows-everywhere", "^[^:]* [0-9]+x1, .* with other content$"),
    ("stabilizer", "memory-short", "signal 11"),
]


def figures(output):
    """The line of figures at an attack's end."""
    return json.loads(output.strip().splitlines()[-1])


def is_known(row):
    return any(row["effect"] == effect and check in ("", row["check"]) and re.search(words, row["text"])
               for effect, check, words in KNOWN)


def read_checks(output):
    report = json.loads(output)
    outcomes = [row["outcome"] for row in report["results"]]
    bad = [row for row in report["results"] if row["outcome"] in ("failed", "crashed", "hung")]
    if new := sorted(f"{row['effect']} {row['check']}" for row in bad if not is_known(row)):
        raise ValueError("failed: " + ", ".join(new))
    names = len({row["check"] for row in report["results"]})
    return (f"{names} checks, {len(report['effects'])} effects: {outcomes.count('passed')} passed, "
            f"{outcomes.count('skipped')} do not apply, {len(bad)} failed"
            + (f", all of {', '.join(sorted({row['effect'] for row in bad}))}, for reasons of the libraries" if bad else ""))


def read_mutants(output):
    report = json.loads(output)
    found = {row["effect"] for row in report["results"] if row["outcome"] in ("failed", "crashed", "hung")}
    wrong = {effect["id"] for effect in report["effects"]} - {"good"}
    missed = sorted(wrong - found) + (["good is not good"] if "good" in found else [])
    if missed:
        raise ValueError(f"not found: {', '.join(missed)}")
    return f"{len(wrong)} of {len(wrong)} found, and nothing in the good one"


def read_tests(output):
    return re.search(r"\d+% tests passed, \d+ tests failed out of \d+", output)[0]


def read_faults(output):
    sums = [dict(re.findall(r"([\w.]+)=(\d+)", line)) for line in re.findall(r"faults: (operations=.*)", output)]
    total = lambda name: sum(int(each.get(name, 0)) for each in sums)
    of_libraries = sum(int(count) for each in sums for name, count in each.items() if "." in name)
    return (f"{total('operations')} operations, {total('failures')} failed allocations, "
            f"{of_libraries} faults of FFmpeg and vid.stab; {read_tests(output)}")


def read_fuzz(output):
    row = dict(re.findall(r"stat::(\w+):\s+(\d+)", output))
    return f"{row['number_of_executed_units']} inputs, the slowest {row['slowest_unit_time_sec']} s, 0 faults"


def read_signals(output):
    row = figures(output)
    return f"{row['runs']} runs, {row['ended']} ended early, {row['faults']} faults"


def read_media(output):
    row = figures(output)
    codes = ", ".join(f"code {code}: {count}" for code, count in sorted(row["codes"].items()))
    return (f"{row['files']} files of {row['kinds']} kinds, {codes}; {row['told']} told of damage, {row['untold']} lost "
            f"something that ffmpeg doesn't notice either; {row['faults']} faults")


def read_soak(output):
    row = figures(output)
    return (f"{row['effects']} effects, {row['frames']} frames or {row['blocks']} blocks each; "
            f"{row['faults']} take more than 1 MiB")


def read_valgrind(output):
    row = figures(output)
    return f"{row['runs']} runs, {row['errors']} errors"


@dataclass
class Stage:
    name: str
    what: str
    short: str
    long: str
    read: Callable[[str], str]
    # What the command ends with when all is well.
    codes: tuple = (0,)


# As the build has them.
FUZZ_TARGETS = re.findall(r"^lumenta_fuzz\((\w+)", (ROOT / "tests/Fuzz/CMakeLists.txt").read_text(), re.MULTILINE)

STAGES = [
    Stage("checks", "every effect against the rules of the contract", f"{TARSEL} check lumenta --json --level 2",
          f"{TARSEL} check lumenta --json --level 10 --limit 120", read_checks, (0, 3)),
    Stage("bad-effects", "effects that break one rule each", *[
        f"{TARSEL} check build/release/lib/libtest_bad_effects.so --json --level 4 --limit 10"] * 2, read_mutants, (3,)),
    Stage("signals", "INT, TERM, HUP, PIPE, KILL at random moments", "tests/Proof/signals.py --rounds 3",
          "tests/Proof/signals.py --rounds 100", read_signals),
    Stage("media", "damaged media files", "tests/Proof/media.py --files 60", "tests/Proof/media.py --files 1000",
          read_media),
    Stage("soak", "memory over long streams", "build/release/bin/proof_soak 1000 5000",
          "build/release/bin/proof_soak 100000 1000000", read_soak),
    Stage("faults", "each operation with its first, second, ... allocation failing", *[
        f"{full}ctest --preset release -L faults -V" for full in ("", "LUMENTA_TEST_FULL=1 ")], read_faults),
    *[Stage(f"fuzz-{target}", "whatever libFuzzer makes up", "", f"./dev fuzz {target} 1200", read_fuzz)
      for target in FUZZ_TARGETS],
    Stage("valgrind", "runs of the program under valgrind", *["tests/Proof/valgrind.py"] * 2, read_valgrind),
    Stage("asan", "addresses, leaks, undefined behavior: all tests", "", "./dev test asan", read_tests),
    Stage("tsan", "data races: the tests of the rooms with threads", "", "./dev test tsan", read_tests),
    Stage("trixie", "all tests on Debian 13", "", "./dev on trixie test", read_tests),
    Stage("arm64", "all tests in an emulator of arm64", "", "./dev on arm64 test", read_tests),
]


def run(stage, command):
    print(f"== {stage.name}: {command}", flush=True)
    done = subprocess.run(command, shell=True, cwd=ROOT, capture_output=True, text=True, errors="replace")
    try:
        result = stage.read(done.stdout + (done.stderr if stage.name.startswith("fuzz") else ""))
    except (ValueError, TypeError, KeyError, IndexError) as error:
        result = f"no result: {error}"
        done.returncode = -1
    good = done.returncode in stage.codes
    if not good:
        print(done.stdout[-4000:] if not done.stdout.startswith("{") else "", done.stderr[-4000:], sep="\n")
    print(f"   {result}{'' if good else f' (ended with {done.returncode})'}", flush=True)
    return result, good


def read_page(page):
    rows = {}
    if page.exists():
        for line in page.read_text().splitlines():
            cells = [cell.strip() for cell in line.strip("|").split("|")]
            if line.startswith("| ") and len(cells) == 5 and cells[0] != "stage":
                rows[cells[0]] = line
    return rows


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--long", action="store_true")
    parser.add_argument("--page", type=pathlib.Path)
    parser.add_argument("stages", nargs="*", metavar="STAGE",
                        help=", ".join(stage.name for stage in STAGES))
    options = parser.parse_args()
    if options.page is None:
        options.page = ROOT / ("docs/proof.md" if options.long else "out/proof.md")
    unknown = set(options.stages) - {stage.name for stage in STAGES}
    if unknown:
        parser.error(f"there is no stage {', '.join(sorted(unknown))}: choose "
                     + ", ".join(stage.name for stage in STAGES))
    bad = []
    for stage in STAGES:
        command = stage.long if options.long else stage.short
        if not command or (options.stages and stage.name not in options.stages):
            continue
        result, good = run(stage, command)
        if not good:
            bad.append(stage.name)
        rows = read_page(options.page)  # others may have written meanwhile
        rows[stage.name] = (f"| {stage.name} | {stage.what} | {result} | `{command}` | "
                            f"{datetime.date.today().isoformat()} |")
        options.page.parent.mkdir(parents=True, exist_ok=True)
        options.page.write_text(HEAD + "".join(rows[each.name] + "\n" for each in STAGES if each.name in rows))
    if bad:
        sys.exit(f"proof: something was found in {', '.join(bad)}")


main()
