#!/usr/bin/env python3
"""Measures what it costs to work on a video in parts, on one processor each, and reckons with that for more machines.

usage: parts.py [--seconds S] [--film FILE] [--workers N]...

Prints the time of one run of the whole, that of its parts one after the other and two at a time, that of joining them,
and what the same shares give for N workers (100) that each make one part: work / N + what a part costs besides + joining.
"""
import argparse, concurrent.futures, os, pathlib, subprocess, sys, tempfile, time

ROOT = pathlib.Path(__file__).resolve().parents[1]
TARSEL = os.environ.get("TARSEL", str(ROOT / "build/release/bin/tarsel"))
# With frames around the part, and with audio.
OPTIONS = ["-e", "deinterlace", "-e", "blur sigma=2", "-e", "compressor ratio=4", "--video-option", "preset=veryfast"]


def run(folder, *arguments):
    begin = time.perf_counter()
    subprocess.run([TARSEL, *arguments, "--threads", "1", "--quiet", "--overwrite"], cwd=folder, check=True)
    return time.perf_counter() - begin


def make_parts(folder, film, count, workers):
    """How long all took, and each."""
    def make(number):
        return run(folder, "run", film, f"{count}-{number}.mkv", "--part", f"{number}/{count}", *OPTIONS)

    for part in folder.glob("*-*.mkv*"):
        part.unlink()
    begin = time.perf_counter()
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        each = list(pool.map(make, range(1, count + 1)))
    return time.perf_counter() - begin, each


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("usage: ")[1].split("\n")[0])
    parser.add_argument("--seconds", type=int, default=60)
    parser.add_argument("--film")
    parser.add_argument("--workers", type=int, action="append")
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        film = os.path.abspath(options.film) if options.film else "film.mp4"
        if not options.film:
            subprocess.run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i",
                            f"testsrc2=s=1280x720:r=25:d={options.seconds},noise=alls=6:allf=t", "-f", "lavfi", "-i",
                            f"anoisesrc=d={options.seconds}:seed=1", "-pix_fmt", "yuv420p", "-g", "50", "-c:v", "libx264",
                            "-preset", "veryfast", "-c:a", "aac", folder / film], check=True)
        works = {}
        whole = run(folder, "run", film, "one.mkv", *OPTIONS)
        print(f"one run of the whole:            {whole:8.2f} s")
        for count, workers in ((1, 1), (2, 1), (8, 1), (2, 2), (8, 2)):
            took, each = make_parts(folder, film, count, workers)
            names = [f"{count}-{number}.mkv" for number in range(1, count + 1)]
            join = run(folder, "join", film, "joined.mkv", *names)
            efficiency = whole / (workers * (took + join))
            print(f"{count:2} parts, {workers} at a time:           {took:8.2f} s, joining {join:.2f} s, "
                  f"efficiency {efficiency:.0%}")
            if workers == 1:
                works[count] = sum(each)
        fixed = max(works[8] - works[1], 0) / 7  # of each part but one
        print(f"besides its frames a part costs: {fixed:8.2f} s")
        for workers in options.workers or [100]:
            took = (works[1] - fixed) / workers + fixed + join
            print(f"{workers:4} workers, one part each:     {took:8.2f} s, efficiency {whole / (workers * took):.0%}; "
                  f"for a film {workers} times as long {whole / (works[1] + fixed + join * workers):.0%}")


if __name__ == "__main__":
    main()
