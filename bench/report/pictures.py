"""The pictures of the page, as SVG that follows the light or dark scheme of whoever looks."""

import re

import units
from ratios import median, spread

_TEXT, _GROUND, _GRID = "#1f2328", "#ffffff", "#d0d7de"
_DARK = {_TEXT: "#e6edf3", _GROUND: "#0d1117", _GRID: "#30363d"}
_COLOURS = {"Ours": "#2f81f7", "Limit": "#8b949e", "Std": "#d9730d", "Asio": "#2da44e",
            "Boost": "#a371f7", "Abseil": "#bf3989", "Spdlog": "#2da44e"}
_WIDTH, _HEIGHT = 11.5, 5.2  # inches at 72 dots: the width of a README
_UNITS = ((1e9, "s"), (1e6, "ms"), (1e3, "µs"), (1, "ns"))


def _plot():
    """pyplot, which is loaded only when pictures are drawn."""
    import matplotlib
    matplotlib.use("svg")
    from matplotlib import pyplot
    pyplot.rcParams.update({
        "svg.fonttype": "none", "svg.hashsalt": "pictures", "font.family": "sans-serif",
        "font.size": 15, "text.color": _TEXT, "axes.edgecolor": _GRID, "axes.labelcolor": _TEXT,
        "axes.titlesize": 17, "axes.titleweight": "bold", "axes.titlelocation": "left",
        "axes.facecolor": _GROUND, "figure.facecolor": _GROUND, "savefig.facecolor": _GROUND,
        "xtick.color": _TEXT, "ytick.color": _TEXT, "grid.color": _GRID, "legend.frameon": False})
    return pyplot


def _colour(who):
    return _COLOURS.get(who, "#bf8700")


def _save(pyplot, path):
    """Writes the figure, and the colours of the dark scheme into it."""
    pyplot.tight_layout()
    pyplot.savefig(path, metadata={"Date": None, "Creator": None})
    pyplot.close()
    rules = "".join(f'[style*="{what}: {light}"]{{{what}:{dark} !important}}'
                    for light, dark in _DARK.items() for what in ("fill", "stroke"))
    style = f"<style>@media (prefers-color-scheme: dark){{{rules}}}</style>"
    text = path.read_text(encoding="utf-8")
    text = re.sub(r"(<svg\b[^>]*>)", lambda match: match.group(1) + "\n " + style, text, count=1)
    path.write_text(text, encoding="utf-8")


def _curve(results, picture, who):
    """Arguments, medians and spreads; times in nanoseconds."""
    points = []
    for (case, name, arg), series in results.series.items():
        if case != picture.case or name != who or not series.has(picture.measure):
            continue
        x = float(arg.split("/")[0] or 1)
        scale = 1 / x if picture.per_arg else 1
        values = [value * scale for value in series.values(picture.measure).values()]
        points.append((x, median(values), spread(values)))
    return sorted(points)


def _scale(measure, largest):
    """A divisor and a unit for an axis."""
    kind = units.kind_of(measure)
    if kind in ("ns", "s"):
        largest_ns = largest * (1e9 if kind == "s" else 1)
        factor, unit = next((step for step in _UNITS if largest_ns >= step[0]), _UNITS[-1])
        return factor / (1e9 if kind == "s" else 1), unit
    return {"bytes/s": (1e6, "MB/s"), "bytes": (1, "bytes")}.get(kind, (1, kind))


def _wide(values):
    values = [value for value in values if value > 0]
    return bool(values) and max(values) / min(values) > 15


def _axes(pyplot, xs, ys):
    axes = pyplot.gca()
    plain = pyplot.matplotlib.ticker.FuncFormatter(lambda value, _: f"{value:,.10g}")
    for axis, values, set_scale in ((axes.xaxis, xs, axes.set_xscale),
                                    (axes.yaxis, ys, axes.set_yscale)):
        if _wide(values):
            set_scale("log")
        axis.set_major_formatter(plain)
    if not _wide(ys):
        axes.set_ylim(bottom=0)
    axes.grid(True)
    axes.set_axisbelow(True)
    axes.minorticks_off()
    for side in ("top", "right"):
        axes.spines[side].set_visible(False)
    return axes


def growth(picture, results, folder):
    """Draws one curve for each who; the bars are the spread."""
    whos = sorted({who for case, who, _ in results.series if case == picture.case},
                  key=lambda who: (who != "Ours", who))
    curves = {who: curve for who in whos if (curve := _curve(results, picture, who))}
    if not curves:
        return
    pyplot = _plot()
    factor, unit = _scale(picture.measure, max(y for c in curves.values() for _, y, _ in c))
    pyplot.figure(figsize=(_WIDTH, _HEIGHT))
    for who, curve in curves.items():
        xs, ys, bars = zip(*((x, y / factor, s / factor / 2) for x, y, s in curve))
        pyplot.errorbar(xs, ys, yerr=[[min(b, y * 0.9) for b, y in zip(bars, ys)], bars],
                        label=units.who(who), color=_colour(who), marker="o", markersize=7,
                        linewidth=2.5, capsize=3)
    axes = _axes(pyplot, [x for c in curves.values() for x, _, _ in c],
                 [y / factor for c in curves.values() for _, y, _ in c])
    axes.set_xticks(sorted({x for curve in curves.values() for x, _, _ in curve}))
    axes.set_title(picture.title)
    axes.set_xlabel(picture.x)
    per = f" for each of the {picture.x}" if picture.per_arg else ""
    axes.set_ylabel(f"{unit}{per}")
    axes.legend()
    _save(pyplot, folder / f"{picture.file}.svg")


def latency(rows, folder):
    """`rows` are a label, a who, and three percentiles in nanoseconds."""
    if not rows:
        return
    pyplot = _plot()
    pyplot.figure(figsize=(_WIDTH, 1.6 + 0.42 * len(rows)))
    for index, (_, who, percentiles) in enumerate(rows):
        y = len(rows) - index
        pyplot.plot([percentiles[0] / 1e3, percentiles[-1] / 1e3], [y, y], color=_colour(who),
                    linewidth=2.5, alpha=0.6)
        for value, marker in zip(percentiles, "o|D"):
            pyplot.plot(value / 1e3, y, marker=marker, markersize=9, color=_colour(who),
                        markeredgewidth=2.5)
    axes = _axes(pyplot, [p for _, _, ps in rows for p in ps], [1])
    axes.set_ylim(0.3, len(rows) + 0.7)
    axes.set_yticks(range(len(rows), 0, -1), [f"{label}: {units.who(who)}" for label, who, _ in rows])
    axes.set_xlabel("µs: 50 % (circle), 99 % (bar), 99.9 % (diamond)")
    axes.set_title("Latency")
    _save(pyplot, folder / "latency.svg")
