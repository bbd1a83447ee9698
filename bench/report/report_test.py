"""The way from what a benchmark prints to the lines of the page."""

import tempfile
import unittest
from pathlib import Path

import page
from goals import Goal, Suite
from ratios import line_of
from results import Store, split_name

BENCH = Path(__file__).resolve().parents[1]


def runs(name, values, measure="real_time", **more):
    return [{"name": name, "run_name": name, "run_type": "iteration", "repetition_index": i,
             "iterations": 1, "real_time": 1.0, "cpu_time": 1.0, "time_unit": "us",
             **more, measure: value} for i, value in enumerate(values)]


class LineTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.store = Store(Path(folder.name))

    def line(self, measured, **goal):
        if measured:
            self.store.keep("B", {"benchmarks": measured}, {})
        return line_of(Goal(**{"group": "text", "title": "T", "benchmark": "B", "case": "Case",
                               "against": "Limit", "measure": "real_time", **goal}), self.store)

    def test_ratio_is_the_median_of_the_ratios_of_the_same_repetitions(self):
        line = self.line(runs("Case/Ours/manual_time", [2, 20, 6]) +
                         runs("Case/Limit/manual_time", [1, 10, 2]), at_most=1.5)
        self.assertEqual(line.ratio, 2)
        self.assertEqual(line.spread, 0.5)
        self.assertEqual(line.ours, 6000)  # nanoseconds
        self.assertFalse(line.met())
        self.assertFalse(line.missed_beyond_spread())
        self.assertEqual(page.verdict(line), "no, within the spread")

    def test_rates_have_a_lower_bound(self):
        rates = {"measure": "items_per_second"}
        measured = (runs("Case/Ours", [80, 80], **rates) + runs("Case/Limit", [100, 100], **rates))
        self.assertTrue(self.line(measured, at_least=0.8, **rates).met())
        self.assertTrue(self.line(measured, at_least=0.9, **rates).missed_beyond_spread())

    def test_figures_are_for_one_item_where_both_handle_the_same_number(self):
        line = self.line(runs("Case/Ours", [1], "cpu_time", items_per_second=1e7) +
                         runs("Case/Limit", [2], "cpu_time", items_per_second=5e6),
                         measure="cpu_time")
        self.assertEqual((line.ours, line.other, line.ratio), (100, 200, 0.5))

    def test_finds_other_cases_and_arguments(self):
        line = self.line(runs("Case/Ours/rows:1000", [6]) + runs("Other/Std/10/real_time", [2]),
                         arg=1000, against="Other/Std/10")
        self.assertAlmostEqual(line.ratio, 3)

    def test_geometric_mean_of_cases(self):
        line = self.line(runs("A/Ours", [1]) + runs("A/Limit", [4]) +
                         runs("B/Ours", [4]) + runs("B/Limit", [4]),
                         case="", geometric_mean_of=("A", "B"))
        self.assertAlmostEqual(line.ratio, 0.5)

    def test_says_what_is_missing(self):
        self.assertEqual(self.line([]).missing, "not measured yet")
        self.assertIn("Case/Limit", self.line(runs("Case/Ours", [1])).missing)
        failed = runs("Case/Limit", [1], error_occurred=True, error_message="no network")
        self.assertIn("no network", self.line(runs("Case/Ours", [1]) + failed).missing)

    def test_takes_apart_the_names_of_benchmarks(self):
        self.assertEqual(split_name("Case/Ours/min_time:0.5/64/manual_time/threads:4"),
                         ("Case", "Ours", "64"))


class SuiteTest(unittest.TestCase):
    def test_every_benchmark_that_is_named_is_there(self):
        suite = Suite(BENCH)
        for row in suite.goals + suite.pictures + suite.tables:
            self.assertTrue(list(BENCH.glob(f"*/{row.benchmark}.cpp")), row.benchmark)


if __name__ == "__main__":
    unittest.main()
