"""From results to lines of the table: ratios of repetitions, their median and their spread."""

import math
import statistics
from dataclasses import dataclass

from goals import Goal
from results import split_name


def median(values):
    return statistics.median(values)


def spread(values):
    """The interquartile range; 0 for a single value."""
    values = list(values)
    if len(values) < 2:
        return 0.0
    quartiles = statistics.quantiles(values, n=4, method="inclusive")
    return quartiles[2] - quartiles[0]


NOT_MEASURED = "not measured yet"


@dataclass
class Line:
    """One line of the table. Without a ratio `missing` says why."""

    goal: Goal
    other_name: str
    ours: float | None = None
    other: float | None = None
    ratio: float | None = None
    spread: float = 0.0
    missing: str = ""

    def has_goal(self):
        return bool(self.goal.text())

    def met(self):
        return self.ratio is not None and self.goal.excess(self.ratio) <= 0

    def missed_beyond_spread(self):
        return self.ratio is not None and self.goal.excess(self.ratio) > self.spread


def _other_key(goal, case):
    if "/" in goal.against:
        return split_name(goal.against)
    return case, goal.against, "" if goal.arg is None else str(goal.arg)


def _ratios(ours, other, measure):
    left, right = ours.values(measure), other.values(measure)
    return {i: left[i] / right[i] for i in left.keys() & right.keys() if right[i] != 0}


def _geometric_mean(by_case):
    if len(by_case) == 1:
        return by_case[0]  # which may be 0
    common = set.intersection(*(set(ratios) for ratios in by_case))
    return {i: math.exp(sum(math.log(ratios[i]) for ratios in by_case) / len(by_case))
            for i in common}


def _figures(ours, other, measure):
    """Medians; times by item where both handle the same number of items in an iteration."""
    items = ours.items_per_iteration()
    if measure not in ("real_time", "cpu_time") or items != other.items_per_iteration():
        items = 1
    return (median(ours.values(measure).values()) / items,
            median(other.values(measure).values()) / items)


def _missing(results, key, measure):
    case, who, arg = key
    series = results.series.get(key)
    name = "/".join(part for part in (case, who, arg) if part)
    if series is None:
        return f"there is no benchmark {name}"
    if not series.runs:
        return f"{name}: {series.error}"
    return "" if series.has(measure) else f"{name} does not report {measure}"


def line_of(goal, store):
    """The goal's line of the table."""
    line = Line(goal, _other_key(goal, goal.case)[1])
    results = store.get(goal.benchmark)
    if results is None:
        line.missing = NOT_MEASURED
        return line
    by_case = []
    for case in goal.cases():
        own_key = (case, "Ours", "" if goal.arg is None else str(goal.arg))
        other_key = _other_key(goal, case)
        line.missing = _missing(results, own_key, goal.measure) or _missing(results, other_key,
                                                                            goal.measure)
        if line.missing:
            return line
        ours, other = results.series[own_key], results.series[other_key]
        by_case.append(_ratios(ours, other, goal.measure))
        line.ours, line.other = _figures(ours, other, goal.measure)
    ratios = _geometric_mean(by_case)
    if not ratios:
        line.missing = "nothing to divide by"
        return line
    if goal.geometric_mean_of:
        line.ours = line.other = None
    line.ratio, line.spread = median(ratios.values()), spread(ratios.values())
    return line
