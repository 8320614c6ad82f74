#!/usr/bin/env python3
"""Damages media files at random and runs effects on them. The program ends in time with a code of its own, leaves no
partial file, and what is lost is told wherever ffmpeg has something to tell of the file."""
import resource, shutil, subprocess

from Attack import ROOT, Workshop, finish, frames_of, make, parse

VIDEO = ["-f", "lavfi", "-i", "testsrc2=size=96x64:rate=25:duration=1"]
AUDIO = ["-f", "lavfi", "-i", "sine=duration=1"]
KINDS = {
    "mp4": [*VIDEO, *AUDIO, "-c:v", "libx264", "-c:a", "aac"],
    "mkv": [*VIDEO, *AUDIO, "-c:v", "libx264", "-c:a", "flac"],
    "webm": [*VIDEO, *AUDIO, "-c:v", "libvpx", "-c:a", "libopus"],
    "avi": [*VIDEO, *AUDIO, "-c:v", "mpeg4", "-c:a", "mp3"],
    "ts": [*VIDEO, *AUDIO, "-c:v", "mpeg2video", "-c:a", "mp2"],
    "ogv": [*VIDEO, *AUDIO, "-c:v", "libtheora", "-c:a", "libvorbis"],
    "gif": VIDEO,
    "png": [*VIDEO, "-frames:v", "1", "-update", "1"],
    "jpg": [*VIDEO, "-frames:v", "1", "-update", "1"],
    "wav": AUDIO,
    "flac": AUDIO,
    "mp3": AUDIO,
}
CHAINS = {False: "flip horizontal=1", True: "echo echos=100/0.5"}
CODES = {0, 2, 3, 4}
LIMIT = 60
MEMORY = 4 << 30


def damage(data, random):
    data = bytearray(data)
    for _ in range(random.choice((1, 1, 2, 8))):
        start = random.randrange(len(data))
        length = min(random.choice((1, 4, 64, len(data) // 8 + 1)), len(data) - start)
        match random.randrange(6):
            case 0:
                data[start] ^= 1 << random.randrange(8)
            case 1:
                data[start:start + length] = random.randbytes(length)
            case 2:
                data[start:start + length] = bytes(length)
            case 3:
                del data[start:start + length]
            case 4:
                data[start:start] = data[start:start + length]
            case 5:
                del data[max(start, 1):]
        if not data:
            data = bytearray(b"\0")
    return bytes(data)


def main():
    options = parse(__doc__, files=120)
    limit = lambda: resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    faults, codes, told, untold = [], {}, 0, 0
    with Workshop() as shop:
        whole, usual = {}, {}
        for kind, arguments in KINDS.items():
            path = make(shop.files / f"in.{kind}", arguments)
            whole[kind] = path.read_bytes(), frames_of(path)[:2]
            # What is said of a file that is whole tells of no damage.
            run = shop.start("run", path.name, f"out.{kind}", "-e", CHAINS[AUDIO is arguments])
            usual[kind] = set(run.communicate()[1].decode().splitlines())
            for made in shop.files.iterdir():
                made.unlink()
        for number in range(options.files):
            kind = list(KINDS)[number % len(KINDS)]
            source, output = shop.files / f"in.{kind}", shop.files / f"out.{kind}"
            source.write_bytes(damage(whole[kind][0], options.random))
            run = shop.start("run", source.name, output.name, "-e", CHAINS[KINDS[kind] is AUDIO], preexec_fn=limit)
            try:
                words = run.communicate(timeout=LIMIT)[1].decode(errors="replace")
            except subprocess.TimeoutExpired:
                run.kill()
                run.communicate()
                words = "it did not end in time"
            code = run.returncode
            codes[code] = codes.get(code, 0) + 1
            problem = ""
            if code not in CODES:
                problem = f"code {code}: {words}"
            elif (left := shop.leftovers([source.name] + ([output.name] if code == 0 else []))):
                problem = f"left {', '.join(left)}"
            elif code == 0:
                silent = usual[kind].issuperset(words.splitlines())
                told += not silent
                medium = 1 if KINDS[kind] is AUDIO else 0  # other streams are copied with their damage
                seen, due = frames_of(output)[medium], whole[kind][1][medium]
                if silent and seen < due:
                    complaint = frames_of(source)[2].strip()
                    untold += not complaint
                    if complaint:
                        problem = (f"{seen} of {due} frames or samples are left and nothing is said; "
                                   f"ffmpeg says: {complaint.splitlines()[0]}")
            if problem:
                keep = ROOT / f"out/damaged/{options.seed}-{number}.{kind}"
                keep.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy(source, keep)
                faults.append(f"{keep}: {problem}")
            for path in (source, output):
                path.unlink(missing_ok=True)
    finish("media", faults, files=options.files, kinds=len(KINDS), told=told, untold=untold, codes=codes)


main()
