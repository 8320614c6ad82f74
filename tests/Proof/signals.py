#!/usr/bin/env python3
"""Ends runs of the program by signals at random moments. Whatever the moment, the file under the output's name is the
old one, none, or a whole new one; the exit code says which; and nothing else is left behind, by SIGKILL only until
the next run. The program ignores SIGPIPE from its first line on; before that it ends as any does."""
import signal, subprocess, time

from Attack import Workshop, finish, frames_of, make, parse

SIGNALS = [signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGPIPE, signal.SIGKILL]
COMMANDS = {
    "run": ["run", "in.mkv", "out.mkv", "-e", "blur sigma=2", "--overwrite", "--quiet"],
    "stabilize": ["stabilize", "in.mkv", "out.mkv", "--overwrite", "--quiet"],
}
OLD = b"the file of before"


def main():
    options = parse(__doc__, rounds=5)
    faults, ended = [], 0
    with Workshop() as shop:
        make(shop.files / "in.mkv", ["-f", "lavfi", "-i", "testsrc2=size=320x240:rate=25:duration=2", "-f", "lavfi",
                                     "-i", "sine=duration=2", "-c:v", "libx264", "-c:a", "flac"])
        output = shop.files / "out.mkv"
        for verb, command in COMMANDS.items():
            began = time.monotonic()
            if shop.start(*command).wait() != 0:
                faults.append(f"{verb} fails without a signal")
            whole, length = frames_of(output)[:2], time.monotonic() - began
            for number in SIGNALS:
                for turn in range(options.rounds):
                    had = options.random.random() < 0.5
                    output.unlink(missing_ok=True)
                    if had:
                        output.write_bytes(OLD)
                    delay = options.random.uniform(0, 1.1 * length)
                    run = shop.start(*command)
                    time.sleep(delay)
                    run.send_signal(number)
                    try:
                        complaint = run.communicate(timeout=60)[1].decode(errors="replace").strip()
                    except subprocess.TimeoutExpired:
                        run.kill()
                        complaint = "it did not end within a minute"
                    code = 128 - run.returncode if run.returncode < 0 else run.returncode
                    ended += code != 0
                    content = output.read_bytes() if output.exists() else None
                    is_old = content == (OLD if had else None)
                    good = {0: lambda: frames_of(output)[:2] == whole,
                            # Killed between the last step, that gives the file its name, and the end.
                            128 + number: lambda: is_old or (number == signal.SIGKILL
                                                             and frames_of(output)[:2] == whole)}
                    where = f"{verb} {signal.Signals(number).name} after {delay:.3f} s (seed {options.seed}, round {turn})"
                    if code not in good or not good[code]():
                        faults.append(f"{where}: code {code}, output of {len(content or b'')} bytes: {complaint}")
                    left = shop.leftovers(["in.mkv", "out.mkv"])
                    if left and number != signal.SIGKILL:
                        faults.append(f"{where}: left {', '.join(left)}")
            if shop.start(*command).wait() != 0 or shop.leftovers(["in.mkv", "out.mkv"]):
                faults.append(f"{verb}: after SIGKILL the next run left {shop.leftovers(['in.mkv', 'out.mkv'])}")
    finish("signals", faults, runs=len(COMMANDS) * len(SIGNALS) * options.rounds, ended=ended)


main()
