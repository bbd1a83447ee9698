"""The lines of the table, as Markdown for the page and as text for the terminal."""

import re

import machine
import units
from ratios import NOT_MEASURED, line_of, median

_HEADINGS = {
    "text": "Text and messages", "containers": "Containers, locks and clocks", "net": "Network",
    "transport": "DIS and shared memory", "fom": "Merging FOM modules", "memory": "Memory"}

_INTRODUCTION = """\
# Performance

<!-- Written by scripts/bench; changes here are lost. -->

What the library costs beside the least that the machine has to do for the same work, and beside
other libraries that do it.

## How to read the tables

Every line sets two programs side by side that do the same work with the same data: **ours**, and
one of

- *limit*: the bare system calls, or the bare data structure, with nothing around them. It cannot be
  beaten by much; the ratio says what our layer costs.
- *standard library*, *Asio*, *spdlog*, *Abseil*, *Boost*: what one would use instead.

The **ratio** is our figure divided by the other one. Of times, less is better, and 1.10 means a
tenth more time; of rates (.../s), more is better. **Goal** is the bound we set ourselves, and
**met** says whether the ratio keeps it. Figures are for one operation, or for one item where an
operation handles several. They hold for this machine; the ratios carry over, the figures do not.

## How it is measured

`scripts/bench` builds everything in Release mode and runs each benchmark {repetitions} times. A case
and what it is compared with run in the same program, in random order, so that what else the machine
does meets both alike. The ratio is the median of the ratios of the repetitions, and the **spread**
is the interquartile range: half of the repetitions lie that close together. A goal that is missed
by less than the spread may as well have been kept; `scripts/bench --check` fails for the others.

Network and shared-memory cases run over loopback, between threads or processes. Where two processes
stream to each other, each has a CPU of its own; where they take turns, both have the same one.
`cpu` behind a case means processor time, otherwise it is the time on the wall.
"""


class Report:
    """All lines of the groups, and what is said about them."""

    def __init__(self, suite, store, groups):
        self.suite, self.store, self.groups = suite, store, groups
        self.lines = [line_of(goal, store) for goal in suite.goals if goal.group in groups]
        order = list(dict.fromkeys(_title(line) for line in self.lines))
        self.lines.sort(key=lambda line: (groups.index(line.goal.group), order.index(_title(line))))

    def lines_of(self, group):
        return [line for line in self.lines if line.goal.group == group]

    def missed(self):
        return [line for line in self.lines if line.missed_beyond_spread()]

    def unmeasured(self):
        return [line for line in self.lines if line.missing and line.has_goal()]

    def latencies(self):
        """Label, who, and the 50th, 99th and 99.9th percentile in nanoseconds, of every benchmark
        that reports them."""
        for benchmark in self.suite.benchmarks(self.groups):
            results = self.store.get(benchmark)
            found = results.series.items() if results else ()
            for (case, who, arg), series in sorted(
                    found, key=lambda item: (item[0][0], item[0][2], item[0][1] != "Ours")):
                if series.has("p50_ns"):
                    yield (self._title_of(benchmark, case, arg), who,
                           [median(series.values(name).values())
                            for name in ("p50_ns", "p99_ns", "p999_ns")])

    def _title_of(self, benchmark, case, arg):
        """What the goals call a case."""
        for goal in self.suite.goals:
            if goal.benchmark == benchmark and goal.case == case and str(goal.arg or "") == arg:
                return re.sub(r", [0-9.]+th percentile", "", goal.title)
        return units.words(case) + (f", {arg}" if arg else "")


# -------------------------------------------------------------------------------------------------


def verdict(line):
    if line.missing:
        return "not measured"
    if not line.has_goal():
        return ""
    if line.met():
        return "yes"
    return "no" if line.missed_beyond_spread() else "no, within the spread"


def _title(line):
    return line.goal.title + (" (cpu)" if line.goal.measure == "cpu_time" else "")


def _other(line):
    name = units.who(line.other_name)
    if "/" in line.goal.against:
        parts = line.goal.against.split("/")
        return f"{name}, {units.words(parts[0])} {'/'.join(parts[2:])}".rstrip()
    return name


def cells(line):
    """Case, ours, beside, its figure, ratio, spread, goal, met."""
    goal = line.goal
    return [_title(line), units.figure(line.ours, goal.measure), _other(line),
            units.figure(line.other, goal.measure),
            f"{line.ratio:.2f}" if line.ratio is not None else "",
            f"{line.spread:.2f}" if line.ratio is not None else "", goal.text(), verdict(line)]


_LEFT = {0, 2, 6, 7}  # columns that are texts
_COLUMNS = ["Case", "Ours", "Beside", "Its figure", "Ratio", "Spread", "Goal", "Met"]


def _markdown_row(row):
    return "| " + " | ".join(cell.replace("|", "\\|") for cell in row) + " |"


def _markdown_table(columns, rows, left):
    """`left` columns are aligned to the left, the others to the right."""
    marks = [":--" if i in left else "--:" for i in range(len(columns))]
    return "\n".join(_markdown_row(row) for row in [columns, marks] + rows) + "\n"


def _lines_table(lines):
    rows, previous = [], None
    for line in lines:
        row = cells(line)
        if row[0] == previous:
            row[0] = ""
        else:
            previous = row[0]
        if row[7] == "no":
            row[7] = "**no**"
        rows.append(row)
    return _markdown_table(_COLUMNS, rows, _LEFT)


def _reasons(lines):
    """Why a goal is missed, or a line of a benchmark that ran has no figures."""
    texts = []
    for line in lines:
        missed = line.has_goal() and not line.met() and not line.missing
        reason = line.goal.why_missed if missed else line.missing
        if reason and reason != NOT_MEASURED:
            texts.append(f"- {line.goal.title}, beside {_other(line)}: {reason}")
    return "\n".join(texts) + "\n" if texts else ""


def _measured(report, group):
    stores = [report.store.get(name) for name in report.suite.benchmarks([group])]
    texts = dict.fromkeys(machine.measured_text(r.measured) for r in stores if r)
    return "Measured on " + "; ".join(texts) + ".\n" if texts else ""


def _pictures(report, group):
    return [f"![{picture.title}](pictures/{picture.file}.svg)\n"
            for picture in report.suite.pictures
            if picture.group == group and report.store.get(picture.benchmark)]


def _memory_rows(results, table):
    sides = [(who, series) for (case, who, arg), series in results.series.items()
             if case == table.case and series.runs]
    names = dict.fromkeys(name for _, series in sides for name in series.counters())
    columns = [""] + [units.who(who) + ", bytes" if len(sides) > 1 else "Bytes"
                      for who, _ in sides]
    rows = [[name] + [f"{median(series.values(name).values()):,.0f}" if series.has(name) else ""
                      for _, series in sides] for name in names]
    return columns, rows


def _memory_tables(report, group):
    """Text, columns and rows of each table of the group."""
    for table in report.suite.tables:
        results = report.store.get(table.benchmark)
        if table.group == group and results is not None:
            columns, rows = _memory_rows(results, table)
            yield table.text, [table.title] + columns[1:], rows


_LATENCY_COLUMNS = ["Latency", "", "50 %", "99 %", "99.9 %"]


def _latency_rows(report):
    return [[label, units.who(who)] + [units.time(value) for value in percentiles]
            for label, who, percentiles in report.latencies()]


def _latency(report):
    rows = _latency_rows(report)
    if not rows:
        return []
    return ["## Latency\n",
            "Half of all messages take at most the time under 50 %, 99 of 100 that under 99 %, and "
            "999 of\n1,000 that under 99.9 %.\n",
            _markdown_table(_LATENCY_COLUMNS, rows, {0, 1}),
            "![Latency percentiles](pictures/latency.svg)\n"]


def _summary(report):
    lines = [line for line in report.lines if line.has_goal()]
    met = sum(line.met() for line in lines)
    missed = report.missed()
    unmeasured = report.unmeasured()
    near = len(lines) - met - len(missed) - len(unmeasured)
    text = f"Of {len(lines)} goals {met} are met"
    if near:
        text += f", {near} missed by less than the spread"
    if missed:
        text += f", {len(missed)} missed"
    if unmeasured:
        text += f", {len(unmeasured)} not measured"
    return text + ".\n"


def markdown(report, build, repetitions):
    """The whole page."""
    parts = [_INTRODUCTION.format(repetitions=repetitions), "## Result\n", _summary(report)]
    for group in report.groups:
        lines = report.lines_of(group)
        measured = _measured(report, group)
        if not measured:
            continue
        parts += [f"## {_HEADINGS[group]}\n", measured]
        if lines:
            parts += [_lines_table(lines), _reasons(lines)]
        for text, columns, rows in _memory_tables(report, group):
            parts += [text + "\n" if text else "", _markdown_table(columns, rows, {0})]
        parts += _pictures(report, group)
    parts += _latency(report)
    parts += ["## Machine\n", _markdown_table(["", ""], [list(pair) for pair in
                                                         machine.description(build)], {0, 1})]
    return "\n".join(part for part in parts if part)


def _text_table(columns, rows, left):
    if not rows:
        return ""
    widths = [max(len(row[i]) for row in [columns] + rows) for i in range(len(columns))]
    return "".join("  ".join(cell.ljust(width) if i in left else cell.rjust(width)
                             for i, (cell, width) in enumerate(zip(row, widths))).rstrip() + "\n"
                   for row in [columns] + rows)


def terminal(report):
    """The same lines for a terminal, and the summary."""
    parts = [_text_table(_COLUMNS, [cells(line) for line in report.lines], _LEFT)]
    parts += [_text_table(columns, rows, {0})
              for group in report.groups for _, columns, rows in _memory_tables(report, group)]
    parts += [_text_table(_LATENCY_COLUMNS, _latency_rows(report), {0, 1})]
    parts += [_reasons(report.lines) + _summary(report)]
    return "\n".join(part for part in parts if part)
