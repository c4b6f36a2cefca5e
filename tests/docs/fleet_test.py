#!/usr/bin/env python3
"""Runs the examples of docs/fleet.md: fleet_test.py DOCUMENT IPAV GENERATE

Each scheduler's example judges a small fleet in its shards, with the scheduler
where it is GNU parallel and else as it would be called; the summary must be
that of one run.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import yaml

import document

SHARDS = 8


def run(command, folder, variables=None):
    return subprocess.run(command, cwd=folder, check=False, text=True,
                          stdout=subprocess.PIPE,
                          env={**os.environ, **(variables or {})})


def expect(condition, what):
    if not condition:
        sys.exit(f"fleet.md: {what}")


def parallel(text, folder):
    result = run(["/bin/bash", "-c", text], folder)
    return result.stdout


def summarize(folder):
    command = "ipav summarize --failed-only results/*.json"
    return run(["/bin/sh", "-c", command], folder).stdout


def kubernetes(text, folder):
    job = yaml.safe_load(text)
    expect(job["apiVersion"] == "batch/v1" and job["kind"] == "Job", "no Job")
    spec = job["spec"]
    expect(spec["completionMode"] == "Indexed", "the Job is not indexed")
    expect(spec["completions"] == SHARDS, "another number of pods")
    container = spec["template"]["spec"]["containers"][0]
    mounted = {m["name"]: m["mountPath"] for m in container["volumeMounts"]}
    volumes = {v["name"] for v in spec["template"]["spec"]["volumes"]}
    expect(set(mounted) == volumes, "a volume is missing")
    expect(container["workingDir"] in mounted.values(), "workingDir")
    for index in range(spec["completions"]):
        pod = run(container["command"] + container["args"], folder,
                  {"JOB_COMPLETION_INDEX": str(index)})
        expect(pod.returncode == 0, f"pod {index}: {pod.returncode}")
    return summarize(folder)


def slurm(text, folder):
    script = folder / "job.sh"
    script.write_text(text, encoding="utf-8")
    expect(run(["bash", "-n", script], folder).returncode == 0, "syntax")
    array = re.search(r"^#SBATCH --array=(\d+)-(\d+)$", text, re.MULTILINE)
    expect(array.groups() == ("1", str(SHARDS)), "another array")
    for task in range(1, SHARDS + 1):
        result = run(["bash", script], folder,
                     {"SLURM_ARRAY_TASK_ID": str(task)})
        expect(result.returncode == 0, f"task {task}: {result.returncode}")
    return summarize(folder)


def main():
    page, ipav, generate = (
        pathlib.Path(name).resolve() for name in sys.argv[1:])
    os.environ["PATH"] = f"{ipav.parent}:{os.environ['PATH']}"
    blocks = document.examples_of(page)
    examples = {"parallel": parallel, "kubernetes": kubernetes, "slurm": slurm}
    expect(blocks.keys() == examples.keys(), f"examples: {sorted(blocks)}")
    for name, example in examples.items():
        with tempfile.TemporaryDirectory() as place:
            folder = pathlib.Path(place)
            run([generate, "21", "3", folder / "devices"], folder)
            one = run(["ipav", "check", "--failed-only", "devices"], folder)
            expect(one.returncode == 1, f"status {one.returncode}")
            expect("21 devices: 19 accepted, 2 refused" in one.stdout,
                   f"one run: {one.stdout}")
            text = example(blocks[name], folder)
            expect(text == one.stdout, f"{name}: {text}\nnot: {one.stdout}")
            reports = len(list((folder / "results").iterdir()))
            expect(reports == SHARDS, f"{name}: {reports} reports")


main()
