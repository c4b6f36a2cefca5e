#!/usr/bin/env python3
"""The tables and plots of a small result: what is in them, and what is not."""

import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

HERE = Path(__file__).resolve().parent
REPORT = HERE.parent.parent / "bench/report.py"
SVG = "{http://www.w3.org/2000/svg}"


def report(*arguments):
    return subprocess.run(
        [sys.executable, "-B", REPORT, *arguments],
        capture_output=True,
        encoding="utf-8",
        check=True,
    ).stdout


def polylines(path):
    """{class: [(x, y)]} of a plot."""
    lines = {}
    for line in ElementTree.parse(path).iter(SVG + "polyline"):
        points = [tuple(map(float, p.split(","))) for p in line.get("points").split()]
        lines[line.get("class")] = points
    return lines


class ReportTest(unittest.TestCase):
    maxDiff = None

    def test_tables_have_the_shortest_runs_ratios_and_growth(self):
        expected = (HERE / "expected.md").read_text(encoding="utf-8")
        self.assertEqual(report(HERE / "result.json"), expected)

    def test_plots_show_both_variants_of_what_was_measured(self):
        with tempfile.TemporaryDirectory() as folder:
            report(HERE / "result.json", folder)
            rules = polylines(Path(folder) / "rules.svg")
            callbacks = polylines(Path(folder) / "callbacks.svg")
        self.assertEqual(set(rules), {"line c0", "line beside c0"})
        self.assertEqual(set(callbacks), {"line c0", "line beside c0"})
        self.assertEqual(len(rules["line c0"]), 4)
        self.assertEqual(len(rules["line beside c0"]), 3)

    def test_linear_growth_is_a_straight_line_upwards(self):
        with tempfile.TemporaryDirectory() as folder:
            report(HERE / "result.json", folder)
            ours = polylines(Path(folder) / "rules.svg")["line c0"]
        slopes = [
            (y1 - y2) / (x2 - x1) for (x1, y1), (x2, y2) in zip(ours, ours[1:])
        ]
        self.assertGreater(slopes[0], 0)
        for slope in slopes[1:]:
            self.assertAlmostEqual(slope, slopes[0], delta=0.01)

    def test_the_axes_name_sizes_and_times(self):
        with tempfile.TemporaryDirectory() as folder:
            report(HERE / "result.json", folder)
            root = ElementTree.parse(Path(folder) / "rules.svg").getroot()
        texts = {text.text for text in root.iter(SVG + "text")}
        self.assertLessEqual({"10", "1,000", "100,000", "1 µs", "1 ms"}, texts)
        self.assertLessEqual({"IPv4 addresses", "plug-in", "plain walk"}, texts)


if __name__ == "__main__":
    unittest.main()
