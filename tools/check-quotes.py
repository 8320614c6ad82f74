#!/usr/bin/env python3
"""Code that pages quote is the code that is built.

usage: check-quotes.py [FOLDER]   (default: the tree this script lies in)

A comment <!-- from PATH --> right before a block of code in README.md or docs/*.md says where it is from; its
lines have to stand in that file one after the other, up to indentation. Every C++ block needs one.
"""

import pathlib
import re
import sys
import textwrap

BLOCK = re.compile(r"(?:<!-- from (?P<path>\S+) -->\n)?^```(?P<language>\w*)\n(?P<code>.*?)^```$", re.M | re.S)


def lines(text: str) -> str:
    return "\n".join(line.strip() for line in textwrap.dedent(text).splitlines())


def main() -> int:
    tree = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent)
    finds = 0
    for page in [tree / "README.md", *sorted((tree / "docs").glob("*.md"))]:
        text = page.read_text(encoding="utf-8")
        for block in BLOCK.finditer(text):
            path, code = block["path"], lines(block["code"])
            where = f"{page.relative_to(tree)}:{text.count(chr(10), 0, block.start()) + 1}"
            if path is None:
                if block["language"] in ("cpp", "cmake"):
                    print(f"{where}: code without <!-- from ... -->")
                    finds += 1
            elif not (tree / path).is_file():
                print(f"{where}: {path} does not exist")
                finds += 1
            elif code + "\n" not in lines((tree / path).read_text(encoding="utf-8")) + "\n":
                print(f"{where}: differs from {path}")
                finds += 1
    return 1 if finds else 0


if __name__ == "__main__":
    sys.exit(main())
