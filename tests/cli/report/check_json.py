#!/usr/bin/env python3
"""Holds JSON reports against their schema: check_json.py SCHEMA COMMAND...

The report is what COMMAND prints, whatever its exit status. The schema is held
against the report as well: each of these damages must be found.
"""
import copy
import json
import pathlib
import subprocess
import sys

import jsonschema


def damaged(report):
    """Copies of the report with one thing wrong."""
    for name in report:
        less = copy.deepcopy(report)
        del less[name]
        yield f"without {name}", less
    for place, device in enumerate(report["devices"]):
        for name in device:
            more = copy.deepcopy(report)
            more["devices"][place][name + "er"] = "x"
            yield f"device {place} with {name}er", more
            wrong = copy.deepcopy(report)
            wrong["devices"][place][name] = -1.5
            yield f"device {place} with {name} -1.5", wrong
        for name in device.keys() & {
                "candidate", "verdict", "differences", "old", "new"}:
            less = copy.deepcopy(report)
            del less["devices"][place][name]
            yield f"device {place} without {name}", less
        if "verdict" not in device:
            continue
        other = copy.deepcopy(report)
        other["devices"][place]["verdict"] = (
            "accepted" if device["verdict"] == "badInput" else "badInput")
        yield f"device {place} with another verdict", other


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        schema = json.load(file)
    jsonschema.Draft7Validator.check_schema(schema)
    output = subprocess.run(sys.argv[2:], stdout=subprocess.PIPE, check=False)
    report = json.loads(output.stdout.decode("utf-8"))
    # A schema may refer to another one in its folder.
    base = pathlib.Path(sys.argv[1]).absolute().as_uri()
    validator = jsonschema.Draft7Validator(
        schema, resolver=jsonschema.RefResolver(base, schema))
    for error in validator.iter_errors(report):
        sys.exit(f"{error.json_path}: {error.message}")
    if not report["devices"]:
        sys.exit("the report has no device")
    for what, report in damaged(report):
        if validator.is_valid(report):
            sys.exit(f"the schema accepts a report {what}")


main()
