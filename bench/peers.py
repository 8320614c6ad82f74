#!/usr/bin/env python3
"""Times the program against ffmpeg on the same work, in turns, and writes the medians and ratios on a page.

usage: peers.py [--rounds N] [--seconds S] [--page FILE] [SECTION...]

Sections: effects, chain, fast-ways, audio, files, start; all of them without a name. Every video effect of the plug-in
has a row: one that is missing from the table below ends the program. The first round warms up and does not count.
"""
import argparse, datetime, json, os, pathlib, platform, statistics, subprocess, sys, tempfile, time
from dataclasses import dataclass

ROOT = pathlib.Path(__file__).resolve().parents[1]
TARSEL = os.environ.get("TARSEL", str(ROOT / "build/release/bin/tarsel"))
SIZE, RATE = "1920x1080", 25

# Settings with which each effect works, and the filter that does the same where the effect does not name one.
EFFECTS = {
    "flip": ("horizontal=1", ""), "transpose": ("step=1", ""), "display-matrix": ("matrix=6", ""),
    "deshake": ("", ""), "stabilizer": ("detect=1 path=motions.trf", ""),
    "pixel-format": ("formats=rgb24", "scale=flags=bicubic+accurate_rnd,format=rgb24"), # for the same bits
    "denoise-chroma-luma": ("luma-spatial=4 chroma-spatial=3 luma-temporal=6 chroma-temporal=4.5", ""),
    "denoise-dct": ("sigma=4.5", ""), "denoise-wavelet": ("luma=5 chroma=5", ""),
    "edge-detect": ("low=0.1 high=0.4", ""), "emboss": ("", ""), "balance-chroma": ("red-shadows=30", ""),
    "blur": ("sigma=2", ""), "color-channel-mixer": ("rg=0.2", ""), "negate": ("", ""),
    "noise": ("strength=20", ""), "border": ("left=10 right=10", ""), "posterize": ("seed=3", ""),
    "remove-grain": ("m0=2 m1=2", ""), "midequalizer": (None, "midequalizer"), "deinterlace": ("", ""),
    "resize": ("width=1280 height=720", "scale=1280:720:flags=bicubic"),
    "resize-complex": ("width=1280 height=720", "scale=1280:720:flags=bicubic"),
    "rotate": ("angle=7", "rotate=7*PI/180"), "color-balance": ("brightness=20 contrast=10", "eq=brightness=0.08:contrast=1.1"),
    "smart-blur": ("luma-radius=2 luma-strength=80", ""),
}
CHAIN = ["negate", "blur sigma=1", "smart-blur luma-radius=2 luma-strength=80", "edge-detect low=0.1 high=0.4"]
FAST = ["emboss", "denoise-wavelet luma=5 chroma=5", "edge-detect low=0.1 high=0.4", "balance-chroma red-shadows=30"]
AUDIO = [["echo echos=500/0.5"], ["reverb"], ["compressor ratio=4"], ["equalizer bands=1000/6"],
         ["flanger", "chorus voices=40/0.4/0.25/2"]]


@dataclass
class Cost:
    wall: float
    processor: float
    memory: int


def run(command, folder):
    begin = time.perf_counter()
    process = subprocess.Popen(command, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                               stderr=subprocess.PIPE)
    errors = process.stderr.read()
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        sys.exit(f"{' '.join(command)}\n{errors.decode(errors='replace')}")
    return Cost(time.perf_counter() - begin, usage.ru_utime + usage.ru_stime, usage.ru_maxrss // 1024)


def ask(*arguments):
    done = subprocess.run([TARSEL, *arguments, "--json"], capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(done.stderr)
    return json.loads(done.stdout)


def text_of(steps, form):
    """The filter text of the steps, as the program tells it."""
    arguments = [word for step in steps for word in ("-e", step)]
    return ",".join(step["description"] for step in ask("explain", *arguments, *form)["steps"])


class Bench:
    def __init__(self, options, folder):
        self.options, self.folder, self.lines = options, folder, []

    def film(self, frames):
        name = f"film{frames}.mp4"
        if not (self.folder / name).exists():
            run(["ffmpeg", "-v", "error", "-f", "lavfi", "-i", f"testsrc2=s={SIZE}:r={RATE}", "-frames:v", str(frames),
                 "-vf", "noise=alls=6:allf=t,format=yuv420p", "-c:v", "libx264", "-preset", "ultrafast", "-qp", "20", name],
                self.folder)
        return name

    def length(self, make):
        """Frames with which ffmpeg takes about as long as was asked for."""
        short, longer = (run(make(self.film(frames)), self.folder).wall for frames in (2, 6))
        each = max((longer - short) / 4, 1e-3)
        return max(4, min(int(self.options.seconds / each), 250))

    def row(self, name, ours, theirs, note=""):
        costs = [[], []]
        for turn in range(self.options.rounds + 1):
            for cost, command in zip(costs, (ours, theirs)):
                result = run(command, self.folder)
                if turn > 0:
                    cost.append(result)
        (wall, processor, memory), (wall2, processor2, memory2) = (
            [statistics.median(getattr(each, part) for each in cost) for part in ("wall", "processor", "memory")]
            for cost in costs)
        self.lines.append(f"| {name} | {wall:.2f} | {wall2:.2f} | **{wall / wall2:.2f}** | {processor / max(processor2, 1e-3):.2f} "
                          f"| {memory / memory2:.2f} | {note} |")
        print(self.lines[-1], flush=True)

    def head(self, title, text):
        self.lines += ["", f"## {title}", "", text, "",
                       "| | tarsel, s | other, s | ratio | of processor time | of peak memory | |", "|---|---|---|---|---|---|---|"]
        print(f"== {title}", flush=True)

    def effects(self):
        self.head("Effects on video", f"Decode {SIZE}, one effect, discard: `tarsel bench` against `ffmpeg -vf ... -f null`.")
        known = [effect["id"] for effect in ask("list")["effects"] if "video" in effect["kind"]]
        if missing := set(known) - set(EFFECTS):
            sys.exit(f"peers.py has no row for {', '.join(sorted(missing))}")
        for name in known:
            settings, peer = EFFECTS[name]
            step = f"{name} {settings or ''}".strip()
            if settings is None: # on two films
                other = lambda film: ["ffmpeg", "-v", "error", "-i", film, "-i", film, "-lavfi", peer, "-f", "null", "-"]
            else:
                text = peer or text_of([step], ["--frame", f"{SIZE}:yuv420p"])
                other = lambda film: ["ffmpeg", "-v", "error", "-i", film, "-vf", text, "-f", "null", "-"]
            frames = self.length(other)
            film = self.film(frames)
            if settings is None:
                step = f"{name} reference={film}"
            self.row(f"`{step}`", [TARSEL, "bench", film, "-e", step], other(film), f"{frames} frames")

    def chain(self):
        self.head("Four effects one after the other", "None of them needs another frame.")
        text = text_of(CHAIN, ["--frame", f"{SIZE}:yuv420p"])
        film = self.film(50)
        steps = [word for step in CHAIN for word in ("-e", step)]
        self.row("decode, effects, discard", [TARSEL, "bench", film, *steps],
                 ["ffmpeg", "-v", "error", "-i", film, "-vf", text, "-f", "null", "-"])

    def fast_ways(self):
        self.head("Fast ways", "`tarsel bench --threads 1` against the same with `--filters-only`: what the effect saves beside "
                               "the filter, bit for bit; decoding included.")
        for step in FAST:
            ours = lambda film: [TARSEL, "bench", film, "-e", step, "--threads", "1"]
            film = self.film(self.length(lambda film: [*ours(film), "--filters-only"]))
            self.row(f"`{step}`", ours(film), [*ours(film), "--filters-only"])

    def audio(self):
        self.head("Effects on audio", "Five minutes of stereo, wav to wav.")
        run(["ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", "anoisesrc=d=300:r=48000:a=0.3", "-ac", "2", "in.wav"], self.folder)
        for steps in AUDIO:
            text = text_of(steps, ["--audio", "48000:s16:stereo"])
            self.row(f"`{'`, `'.join(steps)}`",
                     [TARSEL, "run", "in.wav", "out.wav", "--overwrite", *[word for step in steps for word in ("-e", step)]],
                     ["ffmpeg", "-v", "error", "-y", "-i", "in.wav", "-af", text, "out2.wav"])

    def files(self):
        self.head("Whole commands", "Read, work, write a file.")
        film = self.film(75)
        self.row("flip, x264 veryfast",
                 [TARSEL, "run", film, "out.mp4", "--overwrite", "-e", "flip horizontal=1", "--video-codec", "libx264",
                  "--video-option", "preset=veryfast"],
                 ["ffmpeg", "-v", "error", "-y", "-i", film, "-vf", "hflip", "-c:v", "libx264", "-preset", "veryfast", "-crf", "18",
                  "out2.mp4"])
        self.row("copy", [TARSEL, "run", film, "out.mkv", "--overwrite"],
                 ["ffmpeg", "-v", "error", "-y", "-i", film, "-map", "0", "-c", "copy", "out2.mkv"])

    def start(self):
        self.head("Start", "Programs that have next to nothing to do.")
        self.row("`list` / `-filters`", [TARSEL, "list"], ["ffmpeg", "-v", "error", "-filters"])
        self.row("`explain` / `-filters`", [TARSEL, "explain", "-e", "blur sigma=2", "--frame", "640x480:yuv420p"],
                 ["ffmpeg", "-v", "error", "-filters"])
        film = self.film(2)
        self.row("a film of two frames", [TARSEL, "run", film, "out.mkv", "--overwrite", "-e", "negate", "--video-codec", "ffv1"],
                 ["ffmpeg", "-v", "error", "-y", "-i", film, "-vf", "lutrgb=r=negval:g=negval:b=negval", "-c:v", "ffv1", "out2.mkv"])


def processor_name():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def main():
    sections = ["effects", "chain", "fast-ways", "audio", "files", "start"]
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--seconds", type=float, default=2, help="for one command of ffmpeg, about")
    parser.add_argument("--page", type=pathlib.Path)
    parser.add_argument("sections", nargs="*", metavar="SECTION", default=[])
    options = parser.parse_args()
    if unknown := set(options.sections) - set(sections):
        parser.error(f"there is no section {', '.join(sorted(unknown))}: choose {', '.join(sections)}")
    versions = subprocess.run([TARSEL, "--version"], capture_output=True, text=True, check=True).stdout.strip()
    with tempfile.TemporaryDirectory(prefix="peers-") as folder:
        bench = Bench(options, pathlib.Path(folder))
        for name in options.sections or sections:
            getattr(bench, name.replace("-", "_"))()
    if options.page:
        options.page.write_text(
            "# How fast it is\n\n`./dev bench peers` writes this page: commands in turns, the medians of "
            f"{options.rounds} runs each, and their ratios; below 1 is faster than the other.\n\n"
            f"{datetime.date.today().isoformat()}, {processor_name()}, {os.cpu_count()} threads.\n\n```\n{versions}\n```\n"
            + "\n".join(bench.lines) + "\n")


main()
