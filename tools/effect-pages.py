#!/usr/bin/env python3
"""Writes the reference of the effects from what they tell about themselves.

usage: effect-pages.py TARSEL PAGE [--check]

Runs `TARSEL list --json` and writes PAGE; with --check it only compares and fails when PAGE is not current.
"""

import json
import pathlib
import subprocess
import sys

HEAD = """\
# Effects

Every effect with its parameters. `./dev docs` generates this page; `tarsel list --all` prints the same.
"""


def cell(text: object) -> str:
    return str(text).replace("|", "\\|")


def number(value: float) -> str:
    return f"{value:g}" if abs(value) < 1e6 and float(f"{value:g}") == value else repr(value)


def plain(value: object) -> str:
    """A default as one types it."""
    if isinstance(value, bool):
        return "1" if value else "0"
    if isinstance(value, (int, float)):
        return number(value)
    return str(value)


def legal(row: dict) -> str:
    if row.get("words"):
        return ", ".join(f"`{word['word']}`" for word in row["words"])
    if row["kind"] == "flag":
        return "0 or 1"
    low, high = row["minimum"], row["maximum"]
    if low is None and high is None:
        return ""
    if high is None:
        return f"from {number(low)}"
    if low is None:
        return f"to {number(high)}"
    return f"{number(low)} to {number(high)}"


def parameters(rows: list[dict]) -> list[str]:
    if not rows:
        return ["No parameters."]
    lines = ["| parameter | default | legal | unit | |", "|---|---|---|---|---|"]
    for row in rows:
        default = plain(row["default"])
        lines.append("| " + " | ".join([
            f"`{row['key']}` ({row['kind']})", f"`{cell(default)}`" if default else "", cell(legal(row)),
            cell(row["unit"]), cell(row["help"])]) + " |")
    for row in rows:
        words = [word for word in row["words"] if word["help"]]
        if words:
            lines += ["", f"Words of `{row['key']}`:", ""]
            lines += [f"- `{word['word']}`: {word['help']}" for word in words]
        if row["columns"]:
            lines += ["", f"Each entry of `{row['key']}`:", ""]
            for column in row["columns"]:
                facts = ", ".join(fact for fact in (legal(column), column["unit"]) if fact)
                lines.append(f"- `{column['key']}`: {column['help']}" + (f" ({facts})" if facts else ""))
    return lines


def page(catalog: dict) -> str:
    blocks = [HEAD]
    kinds = sorted({effect["kind"] for effect in catalog["effects"]},
                   key=["video", "two-input video", "audio", "two-input audio"].index)
    for kind in kinds:
        blocks.append(f"## {kind[0].upper()}{kind[1:]}\n")
        for effect in (effect for effect in catalog["effects"] if effect["kind"] == kind):
            lines = [f"### {effect['id']}", ""]
            if effect["summary"]:
                summary = effect["summary"]
                lines += [f"{summary[0].upper()}{summary[1:]}.", ""]
            if effect["facts"]:
                lines += [f"It {'; '.join(effect['facts'])}.", ""]
            lines += parameters(effect["parameters"])
            if effect["examples"]:
                lines += [""] + ["    " + example for example in effect["examples"]]
            blocks.append("\n".join(lines) + "\n")
    return "\n".join(blocks)


def main() -> int:
    tool, target = sys.argv[1], pathlib.Path(sys.argv[2])
    listing = subprocess.run([tool, "list", "--json"], capture_output=True, check=True, text=True).stdout
    text = page(json.loads(listing))
    if "--check" not in sys.argv[3:]:
        target.write_text(text, encoding="utf-8")
        print(f"{target}: written")
        return 0
    if target.is_file() and target.read_text(encoding="utf-8") == text:
        print(f"{target}: current")
        return 0
    print(f"{target}: not what the effects tell; run ./dev docs and commit")
    return 1


if __name__ == "__main__":
    sys.exit(main())
