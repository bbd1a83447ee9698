"""Where and from what the figures come."""

import datetime
import os
import platform
import re
import subprocess
from pathlib import Path


def _output(*words, cwd=None):
    try:
        return subprocess.run(words, cwd=cwd, capture_output=True, text=True,
                              check=True).stdout.strip()
    except (OSError, subprocess.CalledProcessError):
        return ""


def _cpu_model():
    for line in Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def _compiler(build):
    cache = build / "CMakeCache.txt"
    if cache.exists():
        for line in cache.read_text(encoding="utf-8").splitlines():
            if line.startswith("CMAKE_CXX_COMPILER:"):
                version = _output(line.split("=", 1)[1], "--version")
                return version.splitlines()[0] if version else ""
    return ""


def description(build):
    """Pairs of what and which, without anything that tells whose machine it is."""
    system = next((line.split("=", 1)[1].strip('"')
                   for line in Path("/etc/os-release").read_text(encoding="utf-8").splitlines()
                   if line.startswith("PRETTY_NAME=")), "")
    kernel = re.match(r"[0-9.]+", platform.release())
    return [("Processor", f"{_cpu_model()}, {len(os.sched_getaffinity(0))} usable CPUs"),
            ("System", f"{system}, Linux {kernel.group() if kernel else platform.system()}"),
            ("Compiler", f"{_compiler(build)}, Release build")]


def now(root):
    """The commit and the day, for what is being measured."""
    commit = _output("git", "rev-parse", "--short=10", "HEAD", cwd=root) or "unknown"
    changed = _output("git", "status", "--porcelain", "--", ".", ":!docs", cwd=root)
    return {"commit": commit, "changed": bool(changed),
            "date": datetime.date.today().isoformat()}


def measured_text(measured):
    changed = " and changes that were not committed" if measured.get("changed") else ""
    return f"{measured.get('date', '?')}, commit {measured.get('commit', '?')}{changed}"
