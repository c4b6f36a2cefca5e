#!/usr/bin/env python3
"""Turns the case folders into whole configurations, and back.

  cases.py write FOLDER [POINT[/CASE]...]
      writes the running and the candidate configuration of all cases, or of
      the named points and cases, into FOLDER/POINT/CASE
  cases.py save FOLDER POINT/CASE...
      makes the case.patch of each named case from the two configurations in
      FOLDER/POINT/CASE

README.md describes the format of case.patch.
"""

import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

CASES = pathlib.Path(__file__).resolve().parent
BASES = CASES / "base"
LINE = re.compile(r".*\n")
SECTION = re.compile(r"^--- (\S+)\n\+\+\+ (\S+)\n", re.MULTILINE)
HUNK = re.compile(r"@@ -(\d+).*\n((?:[ +-].*\n)+)")
GENERATOR = re.compile(r"^@(\S+) (\d+)\.\.(\d+)\n", re.MULTILINE)
COMMENT = re.compile(r"<!-- (.+) -->\n")

# What the heading of a hunk shows: a top-level element, or the last name.
HEADING = r"^<[^/!].*|^ *(<name>.*|<interface>.*|\"name\":.*|\"interface\":.*)$"


class CaseError(Exception):
    """A case folder that does not give two configurations."""


# ---- Lines that stand for many -----------------------------------------------


def route(family, destination, length, next_hop):
    """A static route on one line; addresses in hexadecimal digits."""

    def octets(digits):
        return ":".join(re.findall("..", digits))

    return (
        "    <rtmStaticRtEntry><rtmStaticRtFteIndex>0</rtmStaticRtFteIndex>"
        f"<rtmStaticRtDestType>{family}</rtmStaticRtDestType>"
        f"<rtmStaticRtDest>{octets(destination)}</rtmStaticRtDest>"
        f"<rtmStaticRtDestPfxLen>{length}</rtmStaticRtDestPfxLen>"
        f"<rtmStaticRtNextHopType>{family}</rtmStaticRtNextHopType>"
        f"<rtmStaticRtNextHop>{octets(next_hop)}</rtmStaticRtNextHop>"
        "</rtmStaticRtEntry>\n")


# The n-th of each kind, counted from 1.
GENERATORS = {
    "ipv4-routes": lambda n: route(
        "ipv4", f"{0x64400000 + (n - 1 << 8):08x}", 24,
        "c0000201" if n % 2 else "c0000205"),
    "ipv6-routes": lambda n: route(
        "ipv6", f"20010db8{0x1000 + n - 1:04x}" + 20 * "0", 48,
        f"20010db800fe000{1 if n % 2 else 2}" + 15 * "0" + "1"),
    "l3-interfaces": lambda n:
        '    <l3 xmlns="urn:vorplex:ipapp">\n'
        f"      <name>spare-{n}</name>\n    </l3>\n",
    "l3-interfaces-json": lambda n:
        f'        {{\n          "name": "spare-{n}"\n        }},\n',
}


def expanded(text):
    """The text with each generator line replaced by what it stands for."""

    def generate(match):
        name, first, last = match.groups()
        if name not in GENERATORS:
            raise CaseError(f"there is no generator {name}")
        return "".join(map(GENERATORS[name], range(int(first), int(last) + 1)))

    return GENERATOR.sub(generate, text)


def folded(text):
    """The text with a generator line in place of each long generated run."""
    for name, entry in GENERATORS.items():
        first = 1
        while first < 2000:
            at = text.find(entry(first))
            if at < 0:
                first += 1
                continue
            end, n = at, first
            while text.startswith(entry(n), end):
                end += len(entry(n))
                n += 1
            if n - first > 5:
                text = f"{text[:at]}@{name} {first}..{n - 1}\n{text[end:]}"
            first = n
    return text


# ---- Reading a case ----------------------------------------------------------


def patched(name, text, hunks):
    """The text after the hunks of a unified diff; each must fit exactly."""
    lines = LINE.findall(text)
    result, done = [], 0
    if HUNK.sub("", hunks):
        raise CaseError(f"the changes of {name} are not a unified diff")
    for start, body in HUNK.findall(hunks):
        changes = LINE.findall(body)
        old = [line[1:] for line in changes if line[0] in " -"]
        begin = int(start) - 1
        if begin < done or lines[begin:begin + len(old)] != old:
            raise CaseError(f"the hunk at line {start} does not fit {name}")
        result += lines[done:begin]
        result += [line[1:] for line in changes if line[0] in " +"]
        done = begin + len(old)
    return "".join(result + lines[done:])


def patch_of(case):
    """The text of the case.patch of POINT/CASE."""
    file = CASES / case / "case.patch"
    if not file.is_file():
        raise CaseError("there is no case.patch")
    return file.read_text("utf-8")


def configurations(patch):
    """The texts of the two configurations of a case.patch, by file name."""
    comment, *sections = SECTION.split(patch)
    texts = {base.name: base.read_text("utf-8") for base in BASES.iterdir()}
    names = []
    for old, new, hunks in zip(*(sections[i::3] for i in range(3))):
        if old not in texts:
            raise CaseError(f"there is no base configuration {old}")
        texts[new] = patched(old, texts[old], hunks)
        names = [old, new]
    suffix = pathlib.Path(names[0]).suffix if names else ""
    if not names or names[1] != "candidate" + suffix:
        raise CaseError("the last section of case.patch makes no candidate")
    first_line = ""
    if suffix == ".xml":
        first_line = f"<!-- {comment.strip()} -->\n"
        if not COMMENT.fullmatch(first_line):
            raise CaseError("case.patch must begin with one line of comment")
    return {"running" + suffix: expanded(texts[names[0]]),
            "candidate" + suffix: first_line + expanded(texts[names[1]])}


def find_cases(point="*"):
    """The cases of a point, or all, as POINT/CASE, sorted."""
    return sorted(str(case.relative_to(CASES))
                  for case in CASES.glob(f"{point}/*")
                  if case.parent != BASES)


def write(folder, case):
    """Writes the two configurations of a case; returns the files."""
    try:
        texts = configurations(patch_of(case))
    except (OSError, UnicodeDecodeError) as error:
        raise CaseError(error) from error
    target = pathlib.Path(folder, case)
    shutil.rmtree(target, ignore_errors=True)
    target.mkdir(parents=True)
    for name, text in texts.items():
        (target / name).write_text(text, "utf-8")
    return [target / name for name in texts]


# ---- Saving a case -----------------------------------------------------------


def section(old, old_text, new, new_text):
    """The changes from one text to the other, as a section of case.patch."""
    with tempfile.TemporaryDirectory() as folder:
        for name, text in ((old, old_text), (new, new_text)):
            pathlib.Path(folder, name).write_text(text, "utf-8")
        diff = subprocess.run(
            ["git", "-c", f"diff.default.xfuncname={HEADING}", "diff",
             "--no-index", "--no-prefix", "--no-color", "-U1", old, new],
            cwd=folder, stdout=subprocess.PIPE, encoding="utf-8", check=False)
    hunks = diff.stdout.partition("\n@@")
    return f"--- {old}\n+++ {new}\n" + (hunks[1] + hunks[2])[1:]


def make_patch(folder, case):
    """The case.patch of the configurations in FOLDER/POINT/CASE."""
    candidate = next(pathlib.Path(folder, case).glob("candidate.*"), None)
    if candidate is None:
        raise CaseError(f"there is no candidate in {folder}")
    running = candidate.with_stem("running")
    texts = [folded(file.read_text("utf-8")) for file in (running, candidate)]
    comment = ""
    if running.suffix == ".xml":
        if not COMMENT.match(texts[1]):
            raise CaseError("the candidate must begin with a line of comment")
        comment = COMMENT.match(texts[1])[1] + "\n\n"
        texts[1] = COMMENT.sub("", texts[1], 1)
    elif (CASES / case).exists():
        comment = SECTION.split(patch_of(case))[0]
    to_running = min(
        (section(base.name, base.read_text("utf-8"), running.name, texts[0])
         for base in sorted(BASES.glob("*" + running.suffix))), key=len)
    base, hunks = SECTION.match(to_running)[1], to_running.count("\n@@")
    patch = comment
    if hunks:
        patch += to_running
        base = running.name
    return patch + section(base, texts[0], candidate.name, texts[1])


def save(folder, case):
    """Writes the case.patch of the configurations in FOLDER/POINT/CASE."""
    patch = make_patch(folder, case)
    (CASES / case).mkdir(parents=True, exist_ok=True)
    (CASES / case / "case.patch").write_text(patch, "utf-8")


def main(command=None, folder=None, *names):
    """Runs a command; returns the exit status."""
    if command not in ("write", "save") or not folder:
        print(__doc__, file=sys.stderr)
        return 2
    status = 0
    for name in names or ["*"]:
        for case in [name] if "/" in name else find_cases(name):
            try:
                (write if command == "write" else save)(folder, case)
            except CaseError as error:
                print(f"{case}: {error}", file=sys.stderr)
                status = 1
    return status


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
