"""What is to be shown: the JSON files beside the benchmarks.

bench/<room>/goals.json, a line of the table each:
    group, title, benchmark (the executable), case, arg (null without), against (another `Who` of
    the case, or a whole name with slashes), measure; at_most or at_least, or neither; why_missed.
    With geometric_mean_of, a list of cases, instead of case: the mean of their ratios.
bench/<room>/pictures.json, a curve for each `Who` of a case:
    file, title, benchmark, case, x (what the argument counts), measure, per_arg (divide by it).
bench/<room>/memory.json, a table of the counters of a case, one row each:
    title, benchmark, case, text (what to know about it).
"""

import json
from dataclasses import dataclass
from pathlib import Path

from errors import BenchError

GROUPS = ("text", "containers", "net", "transport", "fom", "memory")


@dataclass(frozen=True)
class Goal:
    group: str
    title: str
    benchmark: str
    against: str
    measure: str
    case: str = ""
    arg: object = None
    geometric_mean_of: tuple = ()
    at_most: float | None = None
    at_least: float | None = None
    why_missed: str = ""

    def cases(self):
        return self.geometric_mean_of or (self.case,)

    def text(self):
        if self.at_most is not None:
            return f"at most {self.at_most:.2f}"
        return f"at least {self.at_least:.2f}" if self.at_least is not None else ""

    def excess(self, ratio):
        """By how much the ratio misses the bound; not above 0 when it is kept or there is none."""
        if self.at_most is not None:
            return ratio - self.at_most
        return self.at_least - ratio if self.at_least is not None else 0.0


@dataclass(frozen=True)
class Picture:
    file: str
    title: str
    benchmark: str
    case: str
    x: str
    measure: str
    per_arg: bool = False
    group: str = ""


@dataclass(frozen=True)
class MemoryTable:
    title: str
    benchmark: str
    case: str
    text: str = ""
    group: str = ""


def _load(kind, path, **extra):
    try:
        rows = json.loads(path.read_text(encoding="utf-8"))
        made = []
        for row in rows:
            row = {**extra, **row}
            if "geometric_mean_of" in row:
                row["geometric_mean_of"] = tuple(row["geometric_mean_of"])
            made.append(kind(**row))
        return made
    except (TypeError, ValueError) as error:
        raise BenchError(f"{path}: {error}") from error


class Suite:
    """All goals, pictures and memory tables below a folder of benchmarks."""

    def __init__(self, folder: Path):
        self.goals, self.pictures, self.tables = [], [], []
        for group in GROUPS:
            for name, kind, rows in (("goals", Goal, self.goals), ("pictures", Picture, self.pictures),
                                     ("memory", MemoryTable, self.tables)):
                path = folder / group / f"{name}.json"
                if path.exists():
                    rows += _load(kind, path, group=group)
        for goal in self.goals:
            if goal.group not in GROUPS:
                raise BenchError(f"{goal.title}: there is no group {goal.group}")

    def rows(self, groups):
        return [row for row in self.goals + self.pictures + self.tables if row.group in groups]

    def benchmarks(self, groups):
        """The executables of the groups, in the order in which they are named first."""
        return list(dict.fromkeys(row.benchmark for row in self.rows(groups)))
