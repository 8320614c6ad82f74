#!/usr/bin/env python3
"""Holds the rooms under src/ to their arrows: who may include whom, and where FFmpeg's headers may stand.

usage: check-includes.py [FOLDER]   (default: the tree this script lies in)

Prints file:line: what is wrong for each find and fails if there is one.
"""

import pathlib
import re
import sys

CONTRACT = ["Core", "Conf", "Proc/Interfaces"]
SDK = [*CONTRACT, "Proc/Settings", "Proc/Wrappers", "Proc/Data"]
EFFECTS = [*SDK, "Proc/Algorithms"]
# Behind the installed headers, which lie in Host itself; nobody else knows them.
HOST = ["Host/Chain", "Host/Watch"]
# Behind the installed headers, which lie in Media itself: each knows those before it.
MEDIA = ["Media/Base", "Media/Range", "Media/Container", "Media/Codec", "Media/Read", "Media/Run"]
# The command-line tool, in the same way; its main function comes last.
TOOL = [f"Tools/Tarsel/{room}" for room in ("Console", "Audio", "Chain", "Catalog", "Arguments", "Work", "Parts", "Batch", "Preview", "Gallery",
                                           "Try", "Verbs", "Main.cpp")]

# Within the plug-in. The classes of graphs, EffectFFMPEG and those derived from it, lie at its root with what is
# exported; whatever else is there knows all.
LUMENTA = "Proc/Effects/Lumenta"
API, CLASSES = f"{LUMENTA}/Api.h", f"{LUMENTA}/EffectFFMPEG*"
PIXELS, KERNELS, GRAPH, PICTURE, BASE, FAMILIES = (
    f"{LUMENTA}/{room}" for room in ("Pixels", "Kernels", "Graph", "Picture", "Base", "Effects"))
INSIDE = {
    PIXELS: [*CONTRACT, API, PIXELS],
    KERNELS: [*CONTRACT, API, PIXELS, KERNELS],
    GRAPH: [*SDK, API, GRAPH],
    CLASSES: [*SDK, API, GRAPH, CLASSES],
    PICTURE: [*SDK, API, PIXELS, GRAPH, PICTURE],
    BASE: [*EFFECTS, API, PIXELS, GRAPH, PICTURE, CLASSES, BASE],
    FAMILIES: [*EFFECTS, API, PIXELS, KERNELS, GRAPH, PICTURE, CLASSES, BASE, FAMILIES],
}

# Each room and the rooms that it may include; the first name that a path starts with counts. A name is a folder, a file,
# or with a * the beginning of one.
MAY_INCLUDE = {
    "Core": ["Core"],
    "Conf": ["Core", "Conf"],
    "Proc/Interfaces": CONTRACT,
    "Proc/Settings": [*CONTRACT, "Proc/Settings"],
    "Proc/Wrappers": [*CONTRACT, "Proc/Wrappers"],
    "Proc/Data": [*CONTRACT, "Proc/Wrappers", "Proc/Data"],
    "Proc/Algorithms": EFFECTS,
    API: ["Proc/Algorithms"],
    **INSIDE,
    LUMENTA: [*EFFECTS, API, *INSIDE, LUMENTA],
    **{room: [*SDK, "Host", room] for room in HOST},
    "Host": [*SDK, "Host", *HOST],
    **{room: [*SDK, "Host", "Media", *MEDIA[: index + 1]] for index, room in enumerate(MEDIA)},
    "Check": [*SDK, "Host", "Check"],
    "Media": [*SDK, "Host", "Media"],
    **{room: [*EFFECTS, "Host", "Check", "Media", *TOOL[: index + 1]] for index, room in enumerate(TOOL)},
}

# FFmpeg's libraries and the rooms that may use them; the SDK and the effects must not pull in more than they
# link.
FFMPEG = {
    "libavutil": list(MAY_INCLUDE),
    "libswscale": ["Proc/Wrappers", *INSIDE, LUMENTA, "Conf", *MEDIA],
    "libswresample": ["Proc/Wrappers", *INSIDE, LUMENTA, *MEDIA],
    "libavfilter": [*INSIDE, LUMENTA],
    "libavcodec": MEDIA,
    "libavformat": MEDIA,
}

# What a header may include of FFmpeg's, because no forward declaration does: enumerations and small structures
# passed by value.
FFMPEG_IN_HEADERS = {"libavcodec/packet.h", "libavutil/pixfmt.h", "libavutil/rational.h", "libavutil/samplefmt.h"}

INCLUDE = re.compile(r'\s*#\s*include\s*([<"])([^>"]+)[>"]')


def room_of(path: str) -> str | None:
    def is_in(room: str) -> bool:
        return path.startswith(room[:-1]) if room.endswith("*") else path == room or path.startswith(room + "/")

    return next((room for room in MAY_INCLUDE if is_in(room)), None)


def check(source: pathlib.Path, root: pathlib.Path) -> list[tuple[int, str]]:
    finds = []
    room = room_of(str(source.relative_to(root)))
    if room is None:
        return [(1, f"lies in no room ({', '.join(MAY_INCLUDE)})")]
    in_c = False  # Inside extern "C" { }.
    for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
        if line.startswith('extern "C" {'):
            in_c = True
        elif line.startswith("}"):
            in_c = False
        match = INCLUDE.match(line)
        if not match:
            continue
        bracket, name = match.groups()
        library = name.split("/")[0]
        if library in FFMPEG:
            if room not in FFMPEG[library]:
                finds.append((number, f"{room} does not use {library}"))
            if not in_c:
                finds.append((number, f'{name} stands outside extern "C"'))
            if source.suffix == ".h" and name not in FFMPEG_IN_HEADERS:
                finds.append((number, f"a header includes {name}: declare forward instead"))
        elif bracket == '"':
            target = room_of(name)
            if not (root / name).is_file():
                finds.append((number, f"\"{name}\" does not exist below src/"))
            elif target not in MAY_INCLUDE[room]:
                finds.append((number, f"{room} must not know {target}"))
    return finds


def main() -> int:
    tree = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else pathlib.Path(__file__).parent.parent)
    root = tree / "src"
    finds = 0
    for source in sorted([*root.rglob("*.h"), *root.rglob("*.cpp")]):
        for number, what in check(source, root):
            print(f"{source.relative_to(tree)}:{number}: {what}")
            finds += 1
    return 1 if finds else 0


if __name__ == "__main__":
    sys.exit(main())
