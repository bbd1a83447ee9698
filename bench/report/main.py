"""scripts/bench: builds the benchmarks, runs them, and writes docs/performance.md."""

import argparse
import json
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import machine
import page
import pictures
import units
from errors import BenchError
from goals import GROUPS, Suite
from results import Store

ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build" / "bench"
DOCS = ROOT / "docs"

FULL = {"repetitions": 11, "min_time": "0.05"}
QUICK = {"repetitions": 5, "min_time": "0.01"}


class Parser(argparse.ArgumentParser):
    def error(self, message):
        print(f"scripts/bench: {message}\nTry scripts/bench --help", file=sys.stderr)
        sys.exit(64)


def arguments(words):
    parser = Parser(
        prog="scripts/bench", formatter_class=argparse.RawDescriptionHelpFormatter,
        description="Measures the library beside the bare system calls and other libraries, and "
                    "writes\ndocs/performance.md. Figures of groups that are not named stay as "
                    "they were measured last.",
        epilog="Exit status: 0 done, 1 something failed or, with --check, a goal is missed,\n"
               "64 wrong arguments.")
    parser.add_argument("groups", nargs="*", metavar="GROUP",
                        help="what to measure: " + ", ".join(GROUPS) + "; all without")
    parser.add_argument("--quick", action="store_true",
                        help="measure less, print the table, write nothing into docs")
    parser.add_argument("--check", action="store_true",
                        help="fail when a ratio misses its goal by more than its spread")
    parser.add_argument("--report", action="store_true",
                        help="measure nothing: use what was measured last")
    options = parser.parse_args(words)
    for group in options.groups:
        if group not in GROUPS:
            parser.error(f"there is no group \"{group}\"; groups are {', '.join(GROUPS)}")
    if options.quick and options.report:
        parser.error("--quick measures and --report does not")
    options.groups = [group for group in GROUPS if not options.groups or group in options.groups]
    return options


def run(words, failure):
    """Runs a command whose output is for the terminal."""
    if subprocess.run(words, cwd=ROOT, check=False).returncode != 0:
        raise BenchError(failure)


def measure(benchmark, settings):
    """Google Benchmark's JSON document of one executable."""
    with tempfile.TemporaryDirectory() as folder:
        out = Path(folder) / "out.json"
        begin = time.monotonic()
        words = [str(BUILD / "bench" / benchmark), f"--benchmark_out={out}",
                 "--benchmark_out_format=json", "--benchmark_enable_random_interleaving=true",
                 f"--benchmark_repetitions={settings['repetitions']}",
                 f"--benchmark_min_time={settings['min_time']}"]
        done = subprocess.run(words, cwd=folder, capture_output=True, text=True, check=False)
        if done.returncode != 0 or not out.exists():
            raise BenchError(f"{benchmark} failed:\n{done.stdout}{done.stderr}")
        print(f"{benchmark}: {time.monotonic() - begin:.0f} s", flush=True)
        return json.loads(out.read_text(encoding="utf-8"))


def measure_all(suite, groups, store, settings):
    benchmarks = suite.benchmarks(groups)
    run(["scripts/setup", "bench"], "packages are missing")
    run(["scripts/build", "bench", *benchmarks], "the benchmarks do not build")
    measured = machine.now(ROOT)
    for benchmark in benchmarks:
        store.keep(benchmark, measure(benchmark, settings), measured)


def write_page(suite, store):
    """docs/performance.md and its pictures, from all that was measured."""
    report = page.Report(suite, store, GROUPS)
    folder = DOCS / "pictures"
    folder.mkdir(parents=True, exist_ok=True)
    for picture in suite.pictures:
        results = store.get(picture.benchmark)
        if results:
            pictures.growth(picture, results, folder)
    pictures.latency(list(report.latencies()), folder)
    (DOCS / "performance.md").write_text(page.markdown(report, BUILD, FULL["repetitions"]),
                                         encoding="utf-8")
    print("docs/performance.md is written.")


def check(report):
    """Names every goal that is missed; whether there is none."""
    for line in report.missed():
        other = units.who(line.other_name)
        print(f"missed: {line.goal.title}, beside {other}: {line.ratio:.2f} (spread "
              f"{line.spread:.2f}), goal {line.goal.text()}", file=sys.stderr)
    for line in report.unmeasured():
        print(f"not measured: {line.goal.title}: {line.missing}", file=sys.stderr)
    return not report.missed() and not report.unmeasured()


def bench(options):
    suite = Suite(ROOT / "bench")
    with tempfile.TemporaryDirectory() as quick_folder:
        store = Store(Path(quick_folder) if options.quick else BUILD / "results")
        if not options.report:
            measure_all(suite, options.groups, store, QUICK if options.quick else FULL)
        report = page.Report(suite, store, options.groups)
        print("\n" + page.terminal(report))
        if not options.quick:
            write_page(suite, store)
        return 1 if options.check and not check(report) else 0


def main():
    try:
        return bench(arguments(sys.argv[1:]))
    except BenchError as error:
        print(f"scripts/bench: {error}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130


if __name__ == "__main__":
    sys.exit(main())
