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
from xml.etree import ElementTree

import jsonschema

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "e2e"))
import cases

ROOT = pathlib.Path(__file__).resolve().parents[2]
CASES = ROOT / "tests/planner/cases"
SCHEMA = json.loads((ROOT / "docs/plan.schema.json").read_text("utf-8"))


# A case in which each commit needs the one before it.
CHAIN = "vrf-changed-with-ospf"


def run(folder, *command):
    """Runs a command in the folder; returns its status and what it prints."""
    result = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, encoding="utf-8",
                            check=False)
    return result.returncode, result.stdout


def commit_all(ipav, folder, reached, output):
    """Commits step after step; returns what is wrong."""
    plan = json.loads((folder / "steps/plan.json").read_text("utf-8"))
    jsonschema.validate(plan, SCHEMA)
    if (plan["reached"] != reached or not (reached or plan["leftOut"])
            or not output.startswith(f"candidate.xml: {plan['result']}\n")):
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
    wrong = commit_all(ipav, folder, reached, output)
    if wrong:
        return wrong
    # As many commits as possible reach the goal as well, or do not.
    shutil.rmtree(folder / "steps")
    status, output = run(folder, *plan, "--each", "--output", "steps")
    if status != (0 if reached else 1):
        return f"--each: exit status {status}: {output}"
    return commit_all(ipav, folder, reached, output)


def lacks(page, text):
    """Says what the page lacks, if it does."""
    shown = " ".join(" ".join(page.itertext()).replace(" :", ":").split())
    return None if text in shown else f"the page lacks: {text}"


def check_page(file, plans):
    """Compares the page with the plans; returns what is wrong."""
    page = ElementTree.parse(file).getroot()

    def count(top, tag, name):
        return sum(node.get("class") == name for node in top.iter(tag))

    for plan in plans:
        section = next(node for node in page.iter("section")
                       if node.get("id") == f"d{plan['number']}")
        refused = plan.get("refused", [])
        findings = [finding for core in refused
                    for finding in core["refusal"]["findings"]]
        expected = {
            ("article", "step"): len(plan.get("commits", [])),
            ("div", "bracket"): len(plan.get("detours", [])),
            ("section", "core"): len(refused),
            ("article", "finding"): len(findings),
            ("li", "side"): sum(len(finding.get("culprits", []))
                                for finding in findings),
        }
        drawn = {kind: count(section, *kind) for kind in expected}
        if drawn != expected:
            return f"{plan['goal']} is drawn as {drawn}, not {expected}"
    return lacks(page, "Commit 2 is refused together with commit 1: vlan 10 "
                       "cannot be changed")


def check_all(ipav, folder):
    """Plans all cases in one run; returns what is wrong."""
    (folder / "z.xml").write_text("<", "utf-8")
    _, output = run(folder, ipav, "plan", "--format", "json", "--report",
                    "page.html",
                    *(case.name for case in sorted(CASES.iterdir())), "z.xml")
    plans = json.loads(output)
    jsonschema.validate(plans, SCHEMA)
    reached = [plan.get("reached") for plan in plans["devices"]]
    expected = ["refused in any order" not in
                (case / "plan.txt").read_text("utf-8")
                for case in sorted(CASES.iterdir())]
    if reached != expected + [None]:
        return f"reached: {reached}"
    wrong = check_page(folder / "page.html", plans["devices"])
    if wrong:
        return wrong
    run(folder / CHAIN, ipav, "plan", "--each", "--running", "running.xml",
        "--report", "each.html", "candidate.xml")
    return lacks(ElementTree.parse(folder / CHAIN / "each.html").getroot(),
                 "Commit 3 is refused before commit 2: l3 lab vrf red and "
                 "router ospf 10 vrf global")


def main(ipav, folder):
    status = 0
    for case in sorted(CASES.iterdir()):
        wrong = check(ipav, pathlib.Path(folder, case.name), case)
        print(f"{'not ok' if wrong else 'ok'} {case.name}")
        if wrong:
            print(wrong)
            status = 1
    wrong = check_all(ipav, pathlib.Path(folder))
    print(f"{'not ok: ' + wrong if wrong else 'ok'} all cases as a fleet")
    return 1 if wrong else status


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
