#!/usr/bin/env python3
"""Measures what it costs to work on a video in parts, a thread each, and reckons with that for more workers.

usage: parts.py [--seconds S] [--film FILE] [--workers N]...

Prints the processor time of one run of the whole, of its parts and of joining them, and the time that two workers take
for them; then what the same shares give for N workers (100) that make one part each: work / N + what a part costs
besides its frames + joining. Processor times hold on a busy machine, too; those of workers do not.
"""
import argparse, concurrent.futures, os, pathlib, subprocess, tempfile, time

ROOT = pathlib.Path(__file__).resolve().parents[1]
TARSEL = os.environ.get("TARSEL", str(ROOT / "build/release/bin/tarsel"))
# With frames around the part, and with audio.
OPTIONS = ["-e", "deinterlace", "-e", "blur sigma=2", "-e", "compressor ratio=4", "--video-option", "preset=veryfast"]


def run(folder, *arguments):
    """The processor time."""
    process = subprocess.Popen([TARSEL, *arguments, "--threads", "1", "--quiet", "--overwrite"], cwd=folder)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        raise SystemExit(f"{' '.join(process.args)}: {process.returncode}")
    return usage.ru_utime + usage.ru_stime


def make_parts(folder, film, count, workers):
    """Their names, the time that all of them took, and their processor time."""
    names = [f"{count}-{number}.mkv" for number in range(1, count + 1)]
    for name in names:
        (folder / name).unlink(missing_ok=True)
    begin = time.perf_counter()
    with concurrent.futures.ThreadPoolExecutor(workers) as pool:
        works = list(pool.map(lambda number: run(folder, "run", film, names[number - 1], "--part", f"{number}/{count}",
                                                 *OPTIONS), range(1, count + 1)))
    return names, time.perf_counter() - begin, sum(works)


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
        begin = time.perf_counter()
        whole = run(folder, "run", film, "one.mkv", *OPTIONS)
        print(f"the whole: {time.perf_counter() - begin:.2f} s, {whole:.2f} s of processor time")
        works = {}
        for count, workers in ((1, 1), (16, 1), (2, 2), (16, 2)):
            names, took, works[count] = make_parts(folder, film, count, workers)
            begin = time.perf_counter()
            join = run(folder, "join", film, "joined.mkv", *names)
            took_join = time.perf_counter() - begin
            print(f"{count} parts, {workers} at a time: {took:.2f} s and {took_join:.2f} s to join, {works[count]:.2f} s and "
                  f"{join:.2f} s of processor time: {whole / (works[count] + join):.0%} of it for what one run does")
        besides = max(works[16] - works[1], 0) / 15  # of each part but one
        print(f"a part costs besides its frames: {besides:.3f} s of processor time")
        for workers in options.workers or [100]:
            took = works[1] / workers + besides + join
            longer = works[1] + besides + join * workers
            print(f"{workers} workers, a part each: {took:.2f} s, {whole / took:.1f} times as fast; for a film "
                  f"{workers} times as long {workers * whole / longer:.1f} times")


if __name__ == "__main__":
    main()
