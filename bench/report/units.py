"""Figures for people, in plain units."""


def significant(value):
    """Three significant digits, without an exponent."""
    if value == 0:
        return "0"
    size = abs(value)
    decimals = 2 if size < 10 else 1 if size < 100 else 0
    if size < 0.1:
        return f"{value:.3g}"
    return f"{value:,.{decimals}f}"


def _scaled(value, steps):
    for factor, unit in steps:
        if abs(value) >= factor:
            return f"{significant(value / factor)} {unit}"
    factor, unit = steps[-1]
    return f"{significant(value / factor)} {unit}"


def time(ns):
    return _scaled(ns, ((1e9, "s"), (1e6, "ms"), (1e3, "µs"), (1, "ns")))


def kind_of(measure):
    if measure in ("real_time", "cpu_time") or measure.endswith("_ns"):
        return "ns"
    if measure.startswith("ns_per_"):
        return "ns"
    if measure == "bytes_per_second":
        return "bytes/s"
    if measure.endswith("_per_second"):
        return "/s"
    if measure == "bytes" or measure.endswith("_bytes"):
        return "bytes"
    return "s" if measure.endswith("_s") else ""


def figure(value, measure):
    """A figure with its unit, as the measure's name tells it."""
    if value is None:
        return ""
    kind = kind_of(measure)
    if kind == "ns":
        return time(value)
    if kind == "s":
        return time(value * 1e9)
    if kind == "bytes/s":
        return _scaled(value, ((1e6, "MB/s"), (1e3, "kB/s")))
    if kind == "/s":
        return _scaled(value, ((1e6, "M/s"), (1e3, "k/s"), (1, "/s")))
    if kind == "bytes":
        return f"{value:,.0f} bytes"
    return significant(value)


def who(name):
    """A peer's name in the page."""
    return {"Ours": "ours", "Limit": "limit", "Std": "standard library",
            "Boost": "Boost", "Asio": "Asio"}.get(name, name)


def words(case):
    """`TableMerge` as "table merge"."""
    text = "".join(" " + c.lower() if c.isupper() else c for c in case)
    return text.strip()
