#!/usr/bin/env python3
"""Traces of how the tree was written: documents outside it, paths of one machine, unfinished work.

usage: check-words.py [FOLDER]   (default: the tree this script lies in)

Reads every file that git knows or would add, without git every file but build and out folders. Prints
file:line: word for each find and fails if there is one.
"""

import pathlib
import re
import subprocess
import sys

# A letter in square brackets keeps this list from finding itself.
WORDS = {
    # Not the key of Kubernetes' objects.
    r"\bsp[e]c(?:s|ification|ifications)?\b(?!:$|\"\])": "the document, not the program",
    r"\bPar[t] \d+[.]\d+": "a chapter of a document outside the tree",
    r"\bse[t]tled (?:point|question)": "say what holds, not that it was decided",
    r"(?<![\w./])/wor[k]\b": "a path of one machine",
    r"(?<![\w./])/tm[p]/[\w.-]+": "a path of one machine (ask for a temporary folder)",
    r"(?<![\w./])/hom[e]/\w+": "a path of one machine",
    r"(?-i:\b(?:T[O]DO|FIX[M]E|X[X]X|HA[C]K)\b)": "unfinished work",
}

PATTERN = re.compile("|".join(f"({word})" for word in WORDS), re.IGNORECASE)
REASONS = list(WORDS.values())


def files_of(root: pathlib.Path) -> list[pathlib.Path]:
    listed = subprocess.run(
        ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        capture_output=True, check=False)
    if listed.returncode == 0:
        return [root / name for name in listed.stdout.decode().split("\0") if name]
    return [path for path in root.rglob("*")
            if path.is_file() and path.relative_to(root).parts[0] not in (".git", "build", "out")]


def main() -> int:
    root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent)
    finds = 0
    for path in sorted(files_of(root)):
        try:
            text = path.read_text(encoding="utf-8")
        except (UnicodeDecodeError, FileNotFoundError, IsADirectoryError):
            continue  # Pictures; files deleted but not yet committed; submodules.
        for number, line in enumerate([str(path.relative_to(root)), *text.splitlines()]):
            for match in PATTERN.finditer(line):
                reason = REASONS[next(i for i, g in enumerate(match.groups()) if g is not None)]
                print(f"{path.relative_to(root)}:{number}: \"{match.group()}\": {reason}")
                finds += 1
    return 1 if finds else 0


if __name__ == "__main__":
    sys.exit(main())
