#!/usr/bin/env python3
"""Plans the cases of this folder, and commits each plan with ipav check.

  plan_cases_test.py IPAV FOLDER

A case is a folder in cases/: case.patch makes the running configuration and the
goal (as "candidate") of a base configuration, as for end-to-end cases; plan.txt
is what ipav plan prints. Writes the configurations into FOLDER and exits with 1
if a case does not end as its folder says.
"""

import difflib
import json
import pathlib
import shutil
import subprocess
import sys

import jsonschema

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "e2e"))
import cases

ROOT = pathlib.Path(__file__).resolve().parents[2]
CASES = ROOT / "tests/planner/cases"
SCHEMA = json.loads((ROOT / "docs/plan.schema.json").read_text("utf-8"))


def run(folder, *command):
    """Runs a command in the folder; returns its status and what it prints."""
    result = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, encoding="utf-8",
                            check=False)
    return result.returncode, result.stdout


def commit_all(ipav, folder, reached):
    """Commits step after step; returns what is wrong."""
    plan = json.loads((folder / "steps/plan.json").read_text("utf-8"))
    jsonschema.validate(plan, SCHEMA)
    if plan["reached"] != reached or not (reached or plan["leftOut"]):
        return "plan.json says something else"
    running = "running.xml"
    for number in range(1, len(plan["commits"]) + 1):
        step = f"steps/step-{number}.xml"
        status, output = run(folder, ipav, "check", "--running", running, step)
        if status != 0:
            return f"commit {number}: {output}"
        running = step
    status, output = run(folder, ipav, "diff", running, "candidate.xml")
    if reached and not output.startswith("no changes\n"):
        return f"the last commit is not the goal: {output}"
    return None


def check(ipav, folder, case):
    """Plans a case; returns what is wrong."""
    files = cases.configurations((case / "case.patch").read_text("utf-8"))
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    for name, text in files.items():
        (folder / name).write_text(text, "utf-8")
    plan = [ipav, "plan", "--timeout", "0", "--running", "running.xml",
            "candidate.xml"]
    status, output = run(folder, *plan, "--output", "steps")
    expected = (case / "plan.txt").read_text("utf-8")
    if output != expected:
        return "".join(difflib.unified_diff(
            expected.splitlines(True), output.splitlines(True), "plan.txt",
            "ipav plan"))
    reached = "refused in any order" not in expected
    if status != (0 if reached else 1):
        return f"exit status {status}"
    wrong = commit_all(ipav, folder, reached)
    if wrong:
        return wrong
    # As many commits as possible reach the goal as well, or do not.
    shutil.rmtree(folder / "steps")
    status, output = run(folder, *plan, "--each", "--output", "steps")
    if status != (0 if reached else 1):
        return f"--each: exit status {status}: {output}"
    return commit_all(ipav, folder, reached)


def check_all(ipav, folder):
    """Plans all cases in one run; returns what is wrong."""
    (pathlib.Path(folder) / "z.xml").write_text("<", "utf-8")
    _, output = run(folder, ipav, "plan", "--format", "json",
                    *(case.name for case in sorted(CASES.iterdir())), "z.xml")
    plans = json.loads(output)
    jsonschema.validate(plans, SCHEMA)
    reached = [plan.get("reached") for plan in plans["devices"]]
    expected = ["refused in any order" not in
                (case / "plan.txt").read_text("utf-8")
                for case in sorted(CASES.iterdir())]
    if reached != expected + [None]:
        return f"reached: {reached}"
    return None


def main(ipav, folder):
    status = 0
    for case in sorted(CASES.iterdir()):
        wrong = check(ipav, pathlib.Path(folder, case.name), case)
        print(f"{'not ok' if wrong else 'ok'} {case.name}")
        if wrong:
            print(wrong)
            status = 1
    wrong = check_all(ipav, folder)
    print(f"{'not ok: ' + wrong if wrong else 'ok'} all cases as a fleet")
    return 1 if wrong else status


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
