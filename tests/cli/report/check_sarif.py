#!/usr/bin/env python3
"""Holds a SARIF 2.1.0 log against what the standard asks of its parts.

check_sarif.py COMMAND...: the log is what COMMAND prints, whatever its exit
status. The members that are required, their types, and what must agree.
"""
import json
import re
import subprocess
import sys

LEVELS = {"none", "note", "warning", "error"}
BASELINE_STATES = {"new", "unchanged", "updated", "absent"}


def need(condition, what):
    if not condition:
        sys.exit(f"SARIF: {what}")


def is_index(number, least):
    return isinstance(number, int) and not isinstance(number, bool) \
        and number >= least


def members(value, required, optional, what):
    need(isinstance(value, dict), f"{what} is no object")
    need(required <= value.keys(), f"{what} lacks {required - value.keys()}")
    unknown = value.keys() - required - optional
    need(not unknown, f"{what} has {unknown}")


def message(value, what):
    members(value, {"text"}, {"markdown"}, what)
    need(isinstance(value["text"], str) and value["text"], f"{what} is empty")
    # Braces are doubled, or they are placeholders for arguments (3.11.5).
    rest = value["text"].replace("{{", "").replace("}}", "")
    need("{" not in rest and "}" not in rest, f"{what}: a brace alone")


def region(value, what):
    members(value, {"startLine"}, {"startColumn", "endColumn", "snippet"}, what)
    need(is_index(value["startLine"], 1), f"{what}: startLine")
    if "startColumn" in value:
        need(is_index(value["startColumn"], 1), f"{what}: startColumn")
        need(value["endColumn"] > value["startColumn"], f"{what}: endColumn")
    if "snippet" in value:
        need(isinstance(value["snippet"]["text"], str), f"{what}: snippet")


def location(value, what):
    members(value, {"physicalLocation"}, {"logicalLocations", "message", "id"},
            what)
    physical = value["physicalLocation"]
    members(physical, {"artifactLocation"}, {"region", "contextRegion"}, what)
    uri = physical["artifactLocation"]["uri"]
    need(re.fullmatch(r"[A-Za-z0-9._~!$&'()*+,;=:@%/-]+", uri), f"URI {uri}")
    for name in ("region", "contextRegion"):
        if name in physical:
            region(physical[name], f"{what}: {name}")
    need("contextRegion" not in physical or "region" in physical,
         f"{what}: contextRegion without region")
    for logical in value.get("logicalLocations", []):
        need(logical["fullyQualifiedName"], f"{what}: logicalLocations")
    if "message" in value:
        message(value["message"], what)


# 3.55 to 3.57.
def fix(value, what):
    members(value, {"artifactChanges", "description"}, set(), what)
    message(value["description"], what)
    need(value["artifactChanges"], f"{what}: no change")
    for change in value["artifactChanges"]:
        members(change, {"artifactLocation", "replacements"}, set(), what)
        need(change["replacements"], f"{what}: no replacement")
        for each in change["replacements"]:
            members(each, {"deletedRegion"}, {"insertedContent"}, what)
            region = each["deletedRegion"]
            members(region, {"startLine", "startColumn", "endLine", "endColumn"},
                    set(), what)
            need(all(is_index(number, 1) for number in region.values()), what)
            need((region["startLine"], region["startColumn"])
                 <= (region["endLine"], region["endColumn"]), what)
            content = each.get("insertedContent", {"text": "x"})
            members(content, {"text"}, set(), what)


def result(value, rules):
    what = f"result {value.get('ruleId')}"
    members(value, {"ruleId", "ruleIndex", "level", "message", "locations",
                    "partialFingerprints", "properties"},
            {"relatedLocations", "baselineState", "fixes"}, what)
    need(is_index(value["ruleIndex"], 0), f"{what}: ruleIndex")
    need(rules[value["ruleIndex"]]["id"] == value["ruleId"],
         f"{what}: another rule at its index")
    need(value["level"] in LEVELS, f"{what}: level")
    need(value.get("baselineState", "new") in BASELINE_STATES,
         f"{what}: baselineState")
    message(value["message"], what)
    for each in value["locations"] + value.get("relatedLocations", []):
        location(each, what)
    for each in value.get("fixes", []):
        fix(each, f"{what}: fix")
    ids = [each["id"] for each in value.get("relatedLocations", [])]
    need(len(ids) == len(set(ids)), f"{what}: two places of one id")
    need(all(isinstance(f, str) for f in value["partialFingerprints"].values()),
         f"{what}: partialFingerprints")


def driver(value):
    members(value, {"name", "version", "rules", "notifications"}, set(),
            "driver")
    for kind in ("rules", "notifications"):
        ids = [rule["id"] for rule in value[kind]]
        need(len(ids) == len(set(ids)), f"two {kind} of one id")
        for rule in value[kind]:
            members(rule, {"id"}, {"shortDescription", "help",
                                   "defaultConfiguration"}, "rule")
            for text in ("shortDescription", "help"):
                need(rule.get(text, {"text": "x"})["text"], f"rule: {text}")


def invocation(value, notifications):
    members(value, {"executionSuccessful"},
            {"exitCode", "toolExecutionNotifications"}, "invocation")
    need(isinstance(value["executionSuccessful"], bool), "executionSuccessful")
    need(is_index(value["exitCode"], 0), "exitCode")
    for each in value["toolExecutionNotifications"]:
        members(each, {"message"}, {"descriptor", "level", "locations"},
                "notification")
        message(each["message"], "notification")
        need(each["descriptor"]["id"] in notifications, "unknown notification")
        need(each["level"] in LEVELS, "level of a notification")
        for place in each["locations"]:
            location(place, "notification")


def main():
    output = subprocess.run(sys.argv[1:], stdout=subprocess.PIPE, check=False)
    log = json.loads(output.stdout.decode("utf-8"))
    members(log, {"version", "runs"}, {"$schema"}, "log")
    need(log["version"] == "2.1.0", "version")
    need(len(log["runs"]) == 1, "one run")
    run = log["runs"][0]
    members(run, {"tool", "results"}, {"invocations", "columnKind"}, "run")
    need(run["columnKind"] in {"utf16CodeUnits", "unicodeCodePoints"},
         "columnKind")
    members(run["tool"], {"driver"}, set(), "tool")
    driver(run["tool"]["driver"])
    need(run["results"], "no results")
    for each in run["results"]:
        result(each, run["tool"]["driver"]["rules"])
    ids = {n["id"] for n in run["tool"]["driver"]["notifications"]}
    need(len(run["invocations"]) == 1, "one invocation")
    invocation(run["invocations"][0], ids)


main()
