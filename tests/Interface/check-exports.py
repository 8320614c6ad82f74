#!/usr/bin/env python3
"""What a shared library exports is what its list names, no more and no less.

usage: check-exports.py LIBRARY LIST

LIST has one regular expression a line, each for whole demangled names ("vtable for X" and the like count as
names); '#' starts a comment. Every exported symbol has to match one line and every line a symbol.
"""

import re
import subprocess
import sys


def exported(library: str) -> list[str]:
    table = subprocess.run(["nm", "--dynamic", "--defined-only", "--demangle", library],
                           capture_output=True, check=True, text=True).stdout
    # "<address> <type> <name>"; absolute symbols (A) are the names of symbol versions.
    rows = (line.split(" ", 2) for line in table.splitlines())
    return sorted({name for _, kind, name in rows if kind != "A"})


def main() -> int:
    library, list_file = sys.argv[1:]
    with open(list_file, encoding="utf-8") as lines:
        patterns = [re.compile(line.strip()) for line in lines if line.strip() and not line.startswith("#")]
    names = exported(library)
    strays = [name for name in names if not any(pattern.fullmatch(name) for pattern in patterns)]
    missing = [pattern.pattern for pattern in patterns if not any(map(pattern.fullmatch, names))]
    for name in strays:
        print(f"exported, but not in {list_file}: {name}")
    for pattern in missing:
        print(f"in {list_file}, but not exported: {pattern}")
    print(f"{len(names)} symbols, {len(strays)} too many; {len(missing)} of {len(patterns)} lines unmatched")
    return 1 if strays or missing else 0


if __name__ == "__main__":
    sys.exit(main())
