#!/usr/bin/env python3
"""The bundled examples end as the tables of their README say.

  examples_test.py IPAV EXAMPLES
"""

import collections
import pathlib
import re
import subprocess
import sys

SECTION = re.compile(r"## (\S+)")
# | `file` | change | verdict | text |
ROW = re.compile(r"\| `([^`]*\.[^`]*)` \|[^|]*\| (\w+) \|(?: (.*))? \|")


def read_rows(readme):
    """Verdict and text of each candidate, by its path from the examples."""
    rows, folder = {}, None
    for line in readme.read_text("utf-8").splitlines():
        if section := SECTION.match(line):
            folder = section[1]
        if row := ROW.fullmatch(line):
            rows[f"{folder}/{row[1]}"] = row[2], (row[3] or "").strip()
    return rows


def check(ipav, examples, files):
    """Exit status of one run of ipav check, and its text by candidate."""
    running = pathlib.Path(files[0]).with_stem("running")
    result = subprocess.run(
        [ipav, "check", "--running", running, *files], cwd=examples,
        stdout=subprocess.PIPE, encoding="utf-8", check=False)
    starts = [result.stdout.find(file + ": ") for file in files] + [None]
    return result.returncode, {file: result.stdout[starts[i]:starts[i + 1]]
                               for i, file in enumerate(files)}


def main(ipav, examples):
    """Judges all examples; returns the exit status."""
    examples = pathlib.Path(examples)
    rows = read_rows(examples / "README.md")
    there = {str(file.relative_to(examples)) for file in examples.glob("*/*")
             if file.stem != "running"}
    for file in sorted(there ^ set(rows)):
        print(f"FAILED {file}: only in the folder, or only in the README")
    failed = len(there ^ set(rows))
    runs = collections.defaultdict(list)
    for file in sorted(there & set(rows)):
        runs[pathlib.Path(file).parent, pathlib.Path(file).suffix].append(file)
    for files in runs.values():
        status, texts = check(ipav, examples, files)
        if status != any(rows[file][0] == "refused" for file in files):
            print(f"FAILED {files[0]} and others: exit status {status}")
            failed += 1
        for file, printed in texts.items():
            verdict, text = rows[file]
            good = printed.startswith(f"{file}: {verdict} (") and (
                verdict == "accepted" or f"\n{text}\n" in printed)
            print(f"{'ok' if good else 'FAILED'} {file}")
            print("" if good else f"{printed}must be: {verdict} {text}\n",
                  end="")
            failed += not good
    print(f"{len(rows)} examples, {failed} failed")
    return 1 if failed or not rows else 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
