#!/usr/bin/python3
"""The recipes of examples/cluster against one run of the whole: on GNU parallel, on a Slurm of one node that is started for
it, and as the commands of a manifest for Kubernetes. On the way a process is killed, and made parts are asked for again.

usage: recipes_test.py PROGRAM   with options of unittest behind it
"""

import os
import pathlib
import socket
import subprocess
import sys
import tempfile
import time
import unittest

import kubernetes.client
import yaml

RECIPES = pathlib.Path(__file__).resolve().parents[2] / "examples" / "cluster"
OPTIONS = ["-e", "blur sigma=2", "-e", "compressor ratio=4"]  # the manifest has them, too
PATIENCE = 120


def run(*words, **options):
    return subprocess.run(words, check=True, capture_output=True, text=True, **options).stdout


def wait_for(condition, what):
    end = time.monotonic() + PATIENCE
    while not condition():
        if time.monotonic() > end:
            raise TimeoutError(what)
        time.sleep(0.2)


def find_port():
    with socket.socket() as port:
        port.bind(("127.0.0.1", 0))
        return port.getsockname()[1]


class Recipes(unittest.TestCase):
    program = "tarsel"

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        # Part 2 is killed when it is first asked for.
        commands = self.folder / "bin"
        commands.mkdir()
        tool = commands / "tarsel"
        tool.write_text(f"""#!/bin/sh
case " $* " in
*" --part 2/"*)
    if mkdir "{self.folder}/killed" 2>/dev/null; then
        "{self.program}" "$@" &
        kill -9 $!
        wait $!
        exit
    fi ;;
esac
exec "{self.program}" "$@"
""")
        tool.chmod(0o755)
        self.environment = {**os.environ, "PATH": f"{commands}:{os.environ['PATH']}"}
        run("ffmpeg", "-v", "error", "-f", "lavfi", "-i", "testsrc2=s=160x120:r=25:d=4", "-f", "lavfi", "-i",
            "anoisesrc=d=4:seed=1", "-pix_fmt", "yuv420p", "-g", "12", "-bf", "2", "-c:v", "libx264", "-c:a", "flac",
            self.folder / "film.mkv")
        run(self.program, "run", "film.mkv", "one.mkv", "--quiet", *OPTIONS, *self.lossless(), cwd=self.folder)

    @staticmethod
    def lossless():
        return ["--video-codec", "ffv1"]

    def look(self, name):
        return run("ffmpeg", "-v", "error", "-i", self.folder / name, "-map", "0", "-f", "framemd5", "-")

    def expect_whole(self, name):
        self.assertEqual(self.look(name), self.look("one.mkv"))
        self.assertTrue((self.folder / "killed").exists())

    def test_parallel(self):
        call = [RECIPES / "parallel.sh", "film.mkv", "out.mkv", "5", *OPTIONS, *self.lossless()]
        run(*call, cwd=self.folder, env=self.environment)
        self.expect_whole("out.mkv")
        self.assertFalse((self.folder / "out.mkv.parts").exists())

    def start(self, *words, ready):
        log = open(self.folder / f"{words[0]}.log", "w", encoding="utf-8")
        self.addCleanup(log.close)
        process = subprocess.Popen(words, stdout=log, stderr=log, env=self.environment)
        self.addCleanup(process.wait)
        self.addCleanup(process.terminate)

        def is_ready():
            self.assertIsNone(process.poll(), f"{words[0]} ended: {pathlib.Path(log.name).read_text()}")
            return ready()

        wait_for(is_ready, f"{words[0]} to start: {log.name}")

    def start_slurm(self):
        state = self.folder / "slurm"
        state.mkdir(mode=0o755)
        munge = state / "munge"
        munge.mkdir(mode=0o700)
        key = munge / "key"
        key.write_bytes(os.urandom(1024))
        key.chmod(0o600)
        host = socket.gethostname().split(".")[0]
        (state / "slurm.conf").write_text(f"""
ClusterName=one
SlurmctldHost={host}(127.0.0.1)
SlurmUser={run("id", "-un").strip()}
SlurmdUser={run("id", "-un").strip()}
AuthType=auth/munge
AuthInfo=socket={munge}/socket
CredType=cred/munge
StateSaveLocation={state}
SlurmdSpoolDir={state}/spool
SlurmctldPidFile={state}/slurmctld.pid
SlurmdPidFile={state}/slurmd.pid
SlurmctldPort={find_port()}
SlurmdPort={find_port()}
ProctrackType=proctrack/linuxproc
TaskPlugin=task/none
MpiDefault=none
SelectType=select/cons_tres
SelectTypeParameters=CR_Core
ReturnToService=2
KillWait=2
NodeName={host} NodeAddr=127.0.0.1 CPUs={os.cpu_count()} State=UNKNOWN
PartitionName=all Nodes=ALL Default=YES State=UP
""")
        self.environment["SLURM_CONF"] = str(state / "slurm.conf")
        slurm = {"env": self.environment}
        self.start("munged", "--foreground", "--force", f"--key-file={key}", f"--socket={munge}/socket",
                   f"--pid-file={munge}/pid", f"--log-file={munge}/log", f"--seed-file={munge}/seed",
                   ready=(munge / "socket").exists)
        self.start("slurmctld", "-D", ready=lambda: subprocess.run(
            ["scontrol", "ping"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=False, **slurm).returncode == 0)
        self.start("slurmd", "-D", "-N", host, ready=lambda: "idle" in run("sinfo", "-h", "-o", "%t", **slurm))

    def run_on_slurm(self):
        job = run(RECIPES / "slurm.sh", "film.mkv", "out.mkv", "4", *OPTIONS, *self.lossless(), cwd=self.folder,
                  env=self.environment).strip()
        wait_for(lambda: not run("squeue", "-h", env=self.environment).strip(), "the jobs to end")
        return run("scontrol", "show", "job", job, env=self.environment)

    def test_slurm(self):
        self.start_slurm()
        parts = self.folder / "out.mkv.parts"
        try:
            # One part fails, and what waits for it is given up.
            self.assertNotIn("JobState=COMPLETED", self.run_on_slurm())
            self.assertFalse((self.folder / "out.mkv").exists())
            self.assertEqual(sorted(part.name for part in parts.glob("*.mkv")), ["1.mkv", "3.mkv", "4.mkv"])
            self.assertIn("JobState=COMPLETED", self.run_on_slurm())
        except Exception:
            for log in [*self.folder.glob("*.log"), *parts.glob("*.log")]:
                print(f"== {log}\n{log.read_text()}", file=sys.stderr)
            raise
        self.expect_whole("out.mkv")

    def check_model(self, value, model, where):
        """What the manifest has is in Kubernetes' own description, of that type."""
        if model.startswith("list["):
            for index, each in enumerate(value):
                self.check_model(each, model[len("list["):-1], f"{where}[{index}]")
        elif model.startswith("dict("):
            for key, each in value.items():
                self.check_model(each, model[len("dict("):-1].split(", ")[1], f"{where}.{key}")
        elif model in ("str", "int", "bool"):
            self.assertIsInstance(value, {"str": str, "int": int, "bool": bool}[model], where)
        elif model != "object":
            described = getattr(kubernetes.client.models, model)
            names = {name: attribute for attribute, name in described.attribute_map.items()}
            for key, each in value.items():
                self.assertIn(key, names, f"{where}: {model} has no such key")
                self.check_model(each, described.openapi_types[names[key]], f"{where}.{key}")
            # The constructor refuses what lacks something.
            described(**{names[key]: each for key, each in value.items()})

    def test_kubernetes(self):
        parts, join = yaml.safe_load_all((RECIPES / "kubernetes.yaml").read_text())
        for job in (parts, join):
            self.check_model(job, "V1Job", job["metadata"]["name"])
        count = parts["spec"]["completions"]

        def run_container(job, **variables):
            container, = job["spec"]["template"]["spec"]["containers"]
            variables |= {each["name"]: each["value"] for each in container.get("env", [])}
            return subprocess.run([*container["command"], *container["args"]], cwd=self.folder, check=False,
                                  capture_output=True, env=self.environment | variables)

        indexes = [str(index) for index in range(count)]
        codes = [run_container(parts, JOB_COMPLETION_INDEX=index).returncode for index in indexes]
        self.assertEqual([index for index in indexes if codes[int(index)] != 0], ["1"])
        self.assertNotEqual(run_container(join).returncode, 0)
        made = {path: path.stat().st_mtime_ns for path in self.folder.glob("out.parts/*")}
        for index in indexes:
            again = run_container(parts, JOB_COMPLETION_INDEX=index)
            self.assertEqual(again.returncode, 0, again.stderr)
        self.assertEqual({path: path.stat().st_mtime_ns for path in made}, made)
        joined = run_container(join)
        self.assertEqual(joined.returncode, 0, joined.stderr)
        run(self.program, "run", "film.mkv", "one.mkv", "--overwrite", "--quiet", *OPTIONS, cwd=self.folder)
        # The parts were encoded with loss, each for itself: what is the same are times and audio.
        for stream, entry in (("v", "pts"), ("a", "pts,data_hash")):
            out, one = (sorted(run("ffprobe", "-v", "error", "-show_data_hash", "md5", "-select_streams", stream,
                                   "-show_entries", f"packet={entry}", "-of", "csv", self.folder / name).split())
                        for name in ("out.mkv", "one.mkv"))
            self.assertEqual(out, one)
            self.assertTrue(out)


if __name__ == "__main__":
    Recipes.program = str(pathlib.Path(sys.argv.pop(1)).resolve())
    unittest.main()
