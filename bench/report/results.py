"""Results of Google Benchmark: read from its JSON, kept by executable, found by case."""

import json
from pathlib import Path

from errors import BenchError

# What the library adds to a benchmark's name, and what it reports besides counters.
_SUFFIXES = ("real_time", "process_time", "manual_time")
_PREFIXES = ("threads:", "iterations:", "repeats:", "min_time:", "min_warmup_time:")
_FIELDS = frozenset((
    "name", "family_index", "per_family_instance_index", "run_name", "run_type", "repetitions",
    "repetition_index", "threads", "iterations", "real_time", "cpu_time", "time_unit",
    "error_occurred", "error_message", "label", "items_per_second", "bytes_per_second"))
_NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}


def split_name(name):
    """("Case", "Who", "arg") of a benchmark's name; arg is "" without one."""
    parts = [part for part in name.split("/")
             if part not in _SUFFIXES and not part.startswith(_PREFIXES)]
    if len(parts) < 2:
        raise BenchError(f"the benchmark {name} is not called Case/Who or Case/Who/arg")
    return parts[0], parts[1], "/".join(part.split(":")[-1] for part in parts[2:])


class Series:
    """The repetitions of one benchmark."""

    def __init__(self, run_name):
        self.run_name = run_name
        self.runs = {}  # by index of the repetition
        self.error = ""

    def add(self, run):
        if run.get("error_occurred"):
            self.error = run.get("error_message") or "it failed"
            return
        scale = _NANOSECONDS[run["time_unit"]]
        self.runs[run.get("repetition_index", 0)] = {
            key: value * scale if key in ("real_time", "cpu_time") else value
            for key, value in run.items()}

    def values(self, measure):
        """The measure in each repetition: times in nanoseconds. KeyError when there is none."""
        return {index: float(run[measure]) for index, run in self.runs.items()}

    def has(self, measure):
        return any(measure in run for run in self.runs.values())

    def counters(self):
        return [key for key in next(iter(self.runs.values()), {}) if key not in _FIELDS]

    def items_per_iteration(self):
        """How many items one iteration handles, 1 when the benchmark does not say."""
        run = next(iter(self.runs.values()), {})
        clock = "real_time" if self.run_name.split("/")[-1] in _SUFFIXES else "cpu_time"
        items = run.get("items_per_second", 0.0) * run.get(clock, 0.0) * 1e-9
        return max(1, round(items))


class Results:
    """The results of one executable, with where and when they were measured."""

    def __init__(self, document):
        self.measured = document.get("measured", {})
        self.series = {}
        for run in document["benchmarks"]:
            if run.get("run_type", "iteration") != "iteration":
                continue
            key = split_name(run["run_name"])
            series = self.series.setdefault(key, Series(run["run_name"]))
            if series.run_name != run["run_name"]:
                raise BenchError(f"{run['run_name']} and {series.run_name} have the same name")
            series.add(run)

    def find(self, case, who, arg=None):
        """Null when there is none that was measured."""
        series = self.series.get((case, who, "" if arg is None else str(arg)))
        return series if series and series.runs else None


class Store:
    """What was measured, one file for each executable, until it is measured again."""

    def __init__(self, folder: Path):
        self.folder = folder
        self._read = {}

    def path(self, benchmark):
        return self.folder / f"{benchmark}.json"

    def keep(self, benchmark, document, measured):
        self.folder.mkdir(parents=True, exist_ok=True)
        kept = {"measured": measured, "benchmarks": document["benchmarks"]}
        self.path(benchmark).write_text(json.dumps(kept, indent=1), encoding="utf-8")
        self._read.pop(benchmark, None)

    def get(self, benchmark):
        """Null when it was not measured yet."""
        if benchmark not in self._read:
            path = self.path(benchmark)
            self._read[benchmark] = (
                Results(json.loads(path.read_text(encoding="utf-8"))) if path.exists() else None)
        return self._read[benchmark]
