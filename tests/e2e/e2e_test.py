#!/usr/bin/env python3
"""Judges all cases of a validation point with one run of ipav check.

  e2e_test.py IPAV FOLDER POINT

Writes the configurations of the cases into FOLDER/POINT, prints a line for each
case and exits with 1 if a case does not end as its folder says.

  e2e_test.py IPAV

Checks that the points of the data model, and no others, have cases.
"""

import json
import pathlib
import re
import shutil
import subprocess
import sys

sys.dont_write_bytecode = True
from cases import (BASES, CASES, CaseError, configurations, find_cases,
                   make_patch, patch_of, write)

FEWEST_CASES = 731
FILES = {"case.patch", "expect.txt", "findings.txt"}

# The fewest nodes that a finding of the rule has; two for all other rules.
FEWEST_NODES = {
    "l3-too-many": 0, "route-too-many": 0, "l3-name-too-long": 1,
    "l3-name-too-short": 1, "l3-name-characters": 1, "address-is-network": 1,
    "address-is-broadcast": 1, "ra-timer-missing": 1}

# Refused cases whose commit changes none of the nodes that are wrong, beside
# those with "standing" in their names.
UNTOUCHED = {
    "l3-259-interfaces-two-removed", "route-removed-1002-to-1001",
    "l3-unchanged-min-beside-changed-lifetime",
    "l3-unchanged-lifetime-beside-changed-min"}


def run(folder, *command):
    """Runs ipav in the folder; returns its status and what it prints."""
    result = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE,
                            stderr=subprocess.STDOUT, encoding="utf-8",
                            check=False)
    return result.returncode, result.stdout


def marked(place):
    """The characters of the source line that the place marks."""
    begin = place["column"] - 1 - place["skipped"]
    return place["sourceLine"][begin:begin + place["length"]]


def described(finding):
    """The finding as it stands in findings.txt."""
    text = finding["rule"] + "\n"
    for node in finding.get("culprits", []):
        place = node["place"]
        file = pathlib.Path(place["file"]).name
        text += (f"{node['role']}, {node['novelty']}: {marked(place)}\n"
                 f"  {file}:{place['line']} {node['path']}\n")
    if "note" in finding:
        text += f"note: {finding['note']}\n"
    return text


def node_faults(name, finding):
    """What is wrong with the nodes of any finding."""
    nodes = finding.get("culprits", [])
    if len(nodes) < FEWEST_NODES.get(finding["rule"], 2):
        yield f"the finding has only {len(nodes)} nodes"
    for node in nodes:
        value = node.get("value", "")
        # A value with colons may be spelled otherwise in the file.
        if value and ":" not in value and (
                marked(node["place"]).strip('"') != value):
            yield f"the place of {node['path']} does not show {value}"
    touched = any(node["novelty"] != "unchanged" for node in nodes)
    if finding.get("standing", False) == touched:
        yield "whether the fault was there before is not told"
    vrf = re.search(" vrf (.*) ipv4 address .* overlaps with ", finding["text"])
    if vrf and ("one address space" in finding["advice"]) != (
            vrf[1] in ("global", "mgmt")):
        yield f"the advice for VRF {vrf[1]} is: {finding['advice']}"
    if not touched and "standing" not in name and name not in UNTOUCHED:
        yield "the commit changed no node of the finding"


def refusal_faults(folder, device, text, plain):
    """How the refusal differs from the files of the case folder."""
    if device["verdict"] != "refused":
        yield f"{device['verdict']}, must be refused"
        return
    finding, *others = device["findings"]
    if others:
        yield f"{len(others) + 1} findings instead of one"
    if finding["text"] + "\n" != text:
        yield f"text: {finding['text']}\n  must be: {text.rstrip()}"
    if finding["point"] != folder.parent.name:
        yield f"refused by {finding['point']}"
    place = f"{text}  validation point: {folder.parent.name}\n"
    if not plain.partition("\n")[2].startswith(place):
        yield f"plain text:\n{plain}"
    standing = "  not caused by this change: the fault was there before\n"
    if (standing in plain) != finding.get("standing", False):
        yield f"plain text:\n{plain}"
    yield from node_faults(folder.name, finding)
    expected = folder / "findings.txt"
    if expected.exists():
        if described(finding) != expected.read_text("utf-8"):
            yield f"differs from findings.txt:\n{described(finding)}"
    elif not finding.get("culprits"):
        yield "a refusal without nodes needs a findings.txt"


def case_faults(folder, device, plain):
    """How the verdict differs from what the case folder says."""
    extra = {file.name for file in folder.iterdir()} - FILES
    if extra:
        yield f"the folder has more than a case: {', '.join(sorted(extra))}"
    if device is None:
        yield "not judged"
        return
    expect = folder / "expect.txt"
    verdict = "refused" if expect.exists() else "accepted"
    if not plain.startswith(f"{device['candidate']}: {verdict} ("):
        yield f"plain text:\n{plain}"
    if expect.exists():
        yield from refusal_faults(folder, device, expect.read_text("utf-8"),
                                  plain)
    elif (folder / "findings.txt").exists():
        yield "an accepted case has a findings.txt"
    elif device["verdict"] != "accepted":
        yield f"{device['verdict']}, must be accepted"


def judge(ipav, folder, point):
    """Judges all written cases; their devices and plain texts, by name."""
    report = folder / f"{point}.json"
    status, printed = run(folder, ipav, "check", "--format", "json",
                          "--output", report, point)
    devices = {pathlib.Path(device["candidate"]).parent.name: device
               for device in json.loads(report.read_text("utf-8"))["devices"]}
    plain = run(folder, ipav, "summarize", report)[1]
    plain = re.sub(r"\d+ devices?: .*\n\Z", "", plain)
    plains = {}
    for name, device in reversed(devices.items()):
        plain, line, rest = plain.rpartition(device["candidate"] + ": ")
        plains[name] = line + rest
    return devices, plains, status, printed


def save_faults(folder, point, faults):
    """Whether saving the first right case would change it."""
    case = next((f"{point}/{name}" for name in faults if not faults[name]), "")
    if case and configurations(make_patch(folder, case)) != (
            configurations(patch_of(case))):
        yield f"cases.py save changes {case}"


def point_faults(ipav, folder, devices, plains, outcome):
    """What is wrong with the run and its plain text."""
    refused = [n for n, d in devices.items() if d["verdict"] == "refused"]
    if outcome != (1 if refused else 0, ""):
        yield f"ipav check ended with {outcome[0]} and printed: {outcome[1]}"
    # The plain text of a report is that of the check itself.
    for name in refused[:1]:
        device = devices[name]
        plain = run(folder, ipav, "check", "--running", device["running"],
                    device["candidate"])[1]
        if plain != plains[name]:
            yield f"ipav check and ipav summarize differ:\n{plain}"


def write_cases(folder, point):
    """Writes the cases of a point; what was wrong with each, by name."""
    shutil.rmtree(folder / point, ignore_errors=True)
    faults = {}
    for case in find_cases(point):
        faults[pathlib.Path(case).name] = []
        try:
            write(folder, case)
        except CaseError as error:
            faults[pathlib.Path(case).name].append(str(error))
    return faults


def test_point(ipav, folder, point):
    """Judges the cases of a point; returns the number of failures."""
    faults = write_cases(folder, point)
    if not faults:
        print(f"FAILED {point}\n  the point has no case")
        return 1
    devices, plains, *outcome = judge(ipav, folder, point)
    failed = 0
    for name, wrong in faults.items():
        wrong = wrong or list(case_faults(
            CASES / point / name, devices.get(name), plains.get(name, "")))
        print(f"{'FAILED' if wrong else 'ok'} {point}/{name}")
        print("".join(f"  {fault}\n" for fault in wrong), end="")
        failed += bool(wrong)
    for fault in [
            *point_faults(ipav, folder, devices, plains, tuple(outcome)),
            *save_faults(folder, point, faults)]:
        print(f"FAILED {point}\n  {fault}")
        failed += 1
    print(f"{len(faults)} cases, {failed} failed")
    return failed


def test_folders(ipav):
    """Compares the folders with the model; returns the number of failures."""
    points = set(re.findall(r"opaque: (\S+)", run(".", ipav, "points")[1]))
    folders = {path.name for path in CASES.iterdir() if path.is_dir()}
    wrong = points ^ folders ^ {BASES.name}
    if wrong:
        print(f"points without folder, or the reverse: {sorted(wrong)}")
    count = len(find_cases())
    if count < FEWEST_CASES:
        print(f"{count} cases; there were {FEWEST_CASES}")
    return bool(wrong) + (count < FEWEST_CASES)


def main(ipav, folder=None, point=None):
    """Runs the test; returns the exit status."""
    if folder is None:
        return min(test_folders(ipav), 1)
    return min(test_point(ipav, pathlib.Path(folder), point), 1)


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
