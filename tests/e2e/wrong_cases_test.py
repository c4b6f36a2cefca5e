#!/usr/bin/env python3
"""e2e_test.py reports each kind of wrong case.

  wrong_cases_test.py IPAV
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile

CASES = pathlib.Path(__file__).resolve().parent
POINT = "validate_ipv6_nd_ra_interval"
REFUSED = CASES / POINT / "l3-max-200-min-151"


def replace(file, old, new):
    """Replaces a text that the file must have."""
    text = file.read_text("utf-8")
    assert old in text, f"{file} has no {old}"
    file.write_text(text.replace(old, new), "utf-8")


# What is done to a copy of the refused case, and what must be reported.
MISTAKES = {
    "right": (lambda case: None, None),
    "accepted": (lambda case: [(case / "expect.txt").unlink(),
                               (case / "findings.txt").unlink()],
                 "refused, must be accepted"),
    "wrong-text": (lambda case: replace(case / "expect.txt", "0.75", "0.76"),
                   "must be: Minimum interval must be no greater than maximum "
                   "interval * 0.76"),
    "wrong-finding": (lambda case: replace(case / "findings.txt", ":61", ":62"),
                      "differs from findings.txt"),
    "no-patch": (lambda case: (case / "case.patch").unlink(),
                 "there is no case.patch"),
    "wrong-context": (lambda case: replace(case / "case.patch", "\n- ", "\n-x"),
                      "does not fit small-router.xml"),
    "wrong-base": (lambda case: replace(case / "case.patch", "--- ", "--- x"),
                   "there is no base configuration xsmall-router.xml"),
    "no-comment": (lambda case: replace(case / "case.patch", "\n\n---",
                                        "\ntwice\n---"),
                   "must begin with one line of comment"),
    "extra-file": (lambda case: (case / "running.xml").touch(),
                   "the folder has more than a case: running.xml"),
}


def main(ipav):
    """Judges the wrong cases; returns the exit status."""
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        shutil.copytree(CASES / "base", folder / "base")
        for script in CASES.glob("*.py"):
            shutil.copy(script, folder)
        for case, (make_mistake, _) in MISTAKES.items():
            shutil.copytree(REFUSED, folder / POINT / case)
            make_mistake(folder / POINT / case)
        result = subprocess.run(
            [sys.executable, folder / "e2e_test.py", ipav, folder / "out",
             POINT], stdout=subprocess.PIPE, encoding="utf-8", check=False)
    reports = {}
    for line in result.stdout.splitlines():
        if line.startswith(("ok ", "FAILED ")):
            case = reports.setdefault(line.partition("/")[2], [])
        case.append(line)
    print(result.stdout)
    failed = [case for case, (_, fault) in MISTAKES.items()
              if (fault or f"ok {POINT}/") not in "\n".join(reports[case])]
    print(f"not reported: {failed}")
    return 1 if failed or result.returncode != 1 else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
