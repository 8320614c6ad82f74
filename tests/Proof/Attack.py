"""What the attacks on the program share: running it, its private folders, and the line of figures at the end."""
import argparse, json, os, pathlib, random, subprocess, sys, tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
TARSEL = os.environ.get("TARSEL", str(ROOT / "build/release/bin/tarsel"))


def parse(description, **counts):
    """The command line of an attack: a count for each of its figures that can grow, and the seed."""
    parser = argparse.ArgumentParser(description=description, epilog="TARSEL names the program to attack.")
    for name, value in counts.items():
        parser.add_argument(f"--{name}", type=int, default=value, help=f"default {value}")
    parser.add_argument("--seed", type=int, default=1, help="another one draws other values; default 1")
    options = parser.parse_args()
    options.random = random.Random(options.seed)
    return options


def make(path, arguments):
    """A media file made by the ffmpeg program."""
    subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-y", *arguments, str(path)], check=True)
    return path


def frames_of(path):
    """(decoded frames or samples, what ffmpeg complains of) of all video and audio streams."""
    done = subprocess.run(["ffmpeg", "-nostdin", "-v", "error", "-i", str(path), "-map", "0:v?", "-map", "0:a?",
                           "-f", "framecrc", "-"], capture_output=True, timeout=120)
    lines = done.stdout.decode().splitlines()
    kinds = dict(line.removeprefix("#media_type ").split(": ") for line in lines if line.startswith("#media_type "))
    rows = [line.split(",") for line in lines if line and not line.startswith("#")]
    video = sum(1 for row in rows if kinds[row[0].strip()] == "video")
    audio = sum(int(row[3]) for row in rows if kinds[row[0].strip()] == "audio")
    return video, audio, done.stderr.decode(errors="replace")


class Workshop:
    """A folder for the files and one for what the program keeps private; both are gone afterwards."""

    def __enter__(self):
        self._folder = tempfile.TemporaryDirectory(prefix="proof-")
        self.files = pathlib.Path(self._folder.name) / "files"
        self.private = pathlib.Path(self._folder.name) / "private"
        self.files.mkdir()
        self.private.mkdir()
        self.environment = {**os.environ, "TMPDIR": str(self.private)}
        return self

    def __exit__(self, *_):
        self._folder.cleanup()

    def start(self, *arguments, **more):
        return subprocess.Popen([TARSEL, *map(str, arguments)], cwd=self.files, env=self.environment,
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, **more)

    def leftovers(self, expected):
        """Files besides the expected ones."""
        found = {p.name for p in self.files.iterdir()} - set(expected)
        return sorted(found) + sorted(p.name for p in self.private.iterdir())


def finish(name, faults, **figures):
    """Prints what was found and, as the last line, the figures for programs; ends the process."""
    for fault in faults:
        print(fault)
    print(json.dumps({"attack": name, **figures, "faults": len(faults)}))
    sys.exit(1 if faults else 0)
