#!/usr/bin/env python3
"""The tables of a small result: what is in them, and what is not."""

import subprocess
import sys
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
REPORT = HERE.parent.parent / "bench/report.py"


class ReportTest(unittest.TestCase):
    maxDiff = None

    def test_tables_have_the_shortest_runs_ratios_and_growth(self):
        result = subprocess.run(
            [sys.executable, "-B", REPORT, HERE / "result.json"],
            capture_output=True,
            encoding="utf-8",
            check=True,
        )
        expected = (HERE / "expected.md").read_text(encoding="utf-8")
        self.assertEqual(result.stdout, expected)


if __name__ == "__main__":
    unittest.main()
