#!/usr/bin/env python3
"""Runs effects of the library's own algorithms, and what reads and writes files around them, under valgrind: no use of
memory that was never set, and no access outside of any block."""
import re, subprocess

from Attack import ROOT, TARSEL, Workshop, finish, make, parse

CHAINS = [
    ["color-balance brightness=20", "rotate angle=30", "smart-blur luma-strength=50", "blur sigma=2", "flip horizontal=1"],
    ["resize width=40 height=30 fit=pad", "pixel-format formats=rgba"],
    ["posterize colors=8"],
    ["echo echos=500/0.5", "resample rate=22050", "distortion amount=0.8"],
]


def main():
    parse(__doc__)
    faults, errors = [], 0
    with Workshop() as shop:
        make(shop.files / "in.mkv", ["-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=0.2", "-f", "lavfi",
                                     "-i", "sine=duration=0.2", "-c:v", "ffv1", "-c:a", "flac"])
        for chain in CHAINS:
            effects = [word for effect in chain for word in ("-e", effect)]
            done = subprocess.run(["valgrind", "--error-exitcode=99", f"--suppressions={ROOT}/cmake/valgrind.supp", TARSEL,
                                   "run", "in.mkv", "out.mkv", *effects, "--overwrite", "--video-codec", "ffv1",
                                   "--audio-codec", "flac"],
                                  cwd=shop.files, env=shop.environment, capture_output=True, text=True)
            summary = re.search(r"ERROR SUMMARY: (\d+) errors", done.stderr)
            errors += int(summary[1]) if summary else 0
            if done.returncode != 0 or not summary:
                faults.append(f"{chain}: code {done.returncode}\n{done.stderr[-6000:]}")
    finish("valgrind", faults, runs=len(CHAINS), errors=errors)


main()
