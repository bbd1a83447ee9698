"""scripts/soak: runs the programs under load and faults, and judges what they hold and count."""

import argparse
import glob
import os
import random
import signal
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

import programs
import scenes
import system
import traffic
from judge import Judge


class Soak:
    """What the scenes share."""

    def __init__(self, tools, scratch, seed):
        self.tools = tools
        self.capture = scratch / "traffic.pcap"
        traffic.write_capture(self.capture)
        self.seed = seed
        self.key = 10000 + os.getpid() % 90000
        self.judge = Judge()
        self.stop = threading.Event()
        self._objects_before = system.ipc_objects()

    def client(self, name, words):
        return programs.Listener(name, self.tools,
                                 ["--via-server", self.key, "--wait", *words])

    def new_ipc_objects(self):
        return system.ipc_objects() - self._objects_before

    def left_files(self):
        return [*glob.glob(f"/tmp/rtiqn-packets-{self.key}-*"), *glob.glob(f"/tmp/qn?-{self.key}")]

    def run(self, title, scene, seconds):
        if self.stop.is_set():
            return
        print(f"\n{title}, {seconds:.0f} s", flush=True)
        try:
            scene(self, seconds)
            left = sorted(self.new_ipc_objects()) + self.left_files()
            self.judge.holds(not left, f"no segment, semaphores or file is left {left or ''}")
        except programs.Failure as problem:
            self.judge.holds(False, str(problem))
        finally:
            programs.kill_all()
            for file in self.left_files():
                os.unlink(file)

    def interrupt(self, *_):
        """The first signal ends all in order, the next one at once."""
        self.stop.set()
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, signal.default_int_handler)


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/soak", description=__doc__)
    parser.add_argument("minutes", type=int, help="for all of it, 1 at least")
    parser.add_argument("--seed", type=int, default=random.randrange(1 << 32),
                        help="of what happens to clients and datagrams; when stays by chance")
    parser.add_argument("--tools", type=Path, required=True, help="folder of the built programs")
    parser.add_argument("--apart", action="store_true",
                        help="the namespaces of network and IPC are its own")
    options = parser.parse_args()
    if options.minutes < 1:
        parser.error("at least one minute")
    return options


def run_all(soak, options):
    half_s = options.minutes * 60 / 2
    print(f"seed {soak.seed}, key {soak.key}")
    soak.run("Full rate over loopback", scenes.local, half_s)
    if not options.apart:
        print("\nSkipped: two network namespaces. That needs root or user namespaces.")
    else:
        soak.run("Loss, reordering, duplication, delay between two network namespaces",
                 scenes.impaired, half_s)


def main():
    options = arguments()
    start = time.monotonic()
    if options.apart:
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
    with tempfile.TemporaryDirectory() as scratch:
        soak = Soak(options.tools, Path(scratch), options.seed)
        for number in (signal.SIGINT, signal.SIGTERM):
            signal.signal(number, soak.interrupt)
        try:
            run_all(soak, options)
        except KeyboardInterrupt:
            sys.exit("scripts/soak: given up")
    minutes = (time.monotonic() - start) / 60
    judge = soak.judge
    print(f"\n{'Interrupted after' if soak.stop.is_set() else 'In'} {minutes:.1f} minutes: "
          f"{judge.held} findings hold, {len(judge.faults)} do not")
    for fault in judge.faults:
        print("  " + fault)
    sys.exit(1 if judge.faults else 0)


if __name__ == "__main__":
    main()
