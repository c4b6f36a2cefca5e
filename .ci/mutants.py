#!/usr/bin/env python3
"""Plants mistakes in the sources and reports which ones the tests find.

All mistakes are compiled into one copy of the tree, each behind a number. The
environment variable IPAV_MUTANT selects the one that is active, so the tree is
built once. Each mistake runs the tests that can notice it, the nearest ones first,
until one fails. A mistake that survives is a missing test, or a change without
effect: `--only PATH:LINE` plants the one of that line again.
"""
import argparse
import collections
import hashlib
import os
import re
import subprocess
import sys

COPY = "build/mutants/source"
HEADER = """#pragma once
#include <cstdlib>
inline bool IpavMutant(int number) {
  static const char* const chosen = std::getenv("IPAV_MUTANT");
  static const int active = chosen == nullptr ? 0 : std::atoi(chosen);
  return active == number;
}
"""

# Operands without blanks, between tokens that bind more loosely than the operator,
# so that the new text has the structure of the old one.
OPERAND = r"(!?[A-Za-z_][\w.:]*(?:(?:->|\.)\w+|\[\w+\]|\(\w*\))*|\d+|'.')"
BEGIN = r"(?:(?<=\()|(?<=&& )|(?<=\|\| )|(?<=return )|(?<= = ))"
COMPARISON = re.compile(rf"{BEGIN}{OPERAND} (==|!=|<=|>=|<|>) {OPERAND}(?=[;)]| [&|?])")
JUNCTION = re.compile(rf"(?:(?<=\()|(?<=return )){OPERAND} (&&|\|\|) {OPERAND}(?=[;)])")
SUM = re.compile(rf"(?:(?<=\()|(?<=return )|(?<= = )){OPERAND} ([+-]) (1)(?=[;),])")
CONDITION = re.compile(
    r"^(\s*(?:\} else )?if )\(((?:[^();]|\([^()]*\))+)\)"
    r"( \{| return.*;| continue;| break;)$"
)
VERDICT = re.compile(r"^(\s*return )(true|false);$")
CALL = re.compile(r"^(\s+)((?:[a-z_]\w*(?:\.|->))*[A-Za-z_][\w:]*\(.*\);)$")
OTHERS = {
    "==": ("!=", ">="), "!=": ("==",), "<": ("<=",), "<=": ("<",), ">": (">=",),
    ">=": (">",), "&&": ("||",), "||": ("&&",), "+": ("-",), "-": ("+",),
}

# The tests that can notice a mistake in a folder, in the order in which they run.
PROGRAM = ["ipav_test|text_report|formats|report_test",
           "page_test|report_option|completion",
           "commands_test|netconf_client|json_report|sarif_report",
           "fleet|e2e", "robustness|_doc|server.CommitCommand|server.Completion"]
SERVER = ["store_test|transport_test", "server|netconf"]
TESTS = {
    "host": ["seam_contract_host|ipav_test|messages_test", "host_test|store_test|e2e",
             *PROGRAM, *SERVER],
    "messages": ["messages_test", "commands_test|e2e", *PROGRAM],
    "planner": ["plan_"],
    "fixer": ["commands_test", "fix_property"],
    "cli": [*PROGRAM, "plan_|compare"],
    "ipavd": SERVER,
}
BUILT = ["src/lib/all", "cli/all", "ipavd/all"] + [
    f"tests/{folder}/all"
    for folder in ("contract", "host", "messages", "cli", "report", "netconf", "ipavd",
                   "e2e", "planner", "fixer")
]
# Slow ones, and those that compare a document with the checkout.
NOT_RUN = "documents|growth|corpus|Memory|load|browser|bench|all_say|faults_are_found"


def mutations(line):
    """Yields (what, new line) for a source line; @ is the place of the number."""
    for pattern in (COMPARISON, JUNCTION, SUM):
        for match in pattern.finditer(line):
            left, operator, right = match.groups()
            old = f"{left} {operator} {right}"
            for other in OTHERS[operator]:
                if other == ">=" and re.search(r"npos|end\(|nullptr", right):
                    continue  # nothing is greater
                new = f"(IpavMutant(@) ? {left} {other} {right} : {old})"
                text = line[: match.start()] + new + line[match.end() :]
                yield f"{old} -> {left} {other} {right}", text
    match = CONDITION.match(line)
    if match and " = " not in match[2]:
        head, condition, tail = match.groups()
        new = f"{head}(IpavMutant(@) != static_cast<bool>({condition})){tail}"
        yield f"if (!({condition}))", new
    match = VERDICT.match(line)
    if match:
        negation = "!" if match[2] == "true" else ""
        yield f"return not {match[2]}", f"{match[1]}{negation}IpavMutant(@);"
    match = CALL.match(line)
    if match and not re.match(r"(if|for|while|switch|return)\b", match[2]):
        yield f"without {match[2]}", f"{match[1]}if (!IpavMutant(@)) {{ {match[2]} }}"


def candidates(path):
    """All mistakes that fit into a file: (path, line number, what, new line)."""
    with open(path, encoding="utf-8") as file:
        lines = file.read().splitlines()
    for number, line in enumerate(lines, 1):
        if re.search(r'//|^\s*#|constexpr|static_assert|"|@', line):
            continue
        begins_statement = number == 1 or re.search(r"([;{}:]|^)$", lines[number - 2])
        for what, new in mutations(line):
            if begins_statement or not what.startswith(("without", "if", "return")):
                yield path, number, what, new


def in_turn(files, seed):
    """At most one mistake of each line; one of each file, then a second of each."""

    def rank(mistake):
        return hashlib.sha256(f"{seed}{mistake[0]}{mistake[2]}".encode()).digest()

    ranked = []
    for path in files:
        first_of_line = {}
        for mistake in sorted(candidates(path), key=rank):
            first_of_line.setdefault(mistake[1], mistake)
        for turn, mistake in enumerate(first_of_line.values()):
            ranked.append((turn, rank(mistake), mistake))
    return [mistake for *_, mistake in sorted(ranked)]


def copy_tree():
    os.makedirs(COPY, exist_ok=True)
    command = f"git ls-files -z | xargs -0 cp -u --parents -t {COPY}"
    subprocess.run(command, shell=True, check=True)
    with open(f"{COPY}/mutant.h", "w", encoding="utf-8") as file:
        file.write(HEADER)
    subprocess.run(
        ["cmake", "--preset", "dev", "-DIPAV_WITH_FUZZ=OFF"],
        cwd=COPY, check=True, stdout=subprocess.DEVNULL,
    )


def plant(path, mistakes):
    """Writes a file of the copy; its lines keep the numbers that they have here."""
    with open(path, encoding="utf-8") as file:
        lines = file.read().splitlines()
    for number, (_, line, _, new) in mistakes:
        lines[line - 1] = new.replace("@", str(number))
    head = ['#include "mutant.h"', "#line 1"] if mistakes else []
    text = "\n".join(head + lines) + "\n"
    with open(f"{COPY}/{path}", "r+", encoding="utf-8") as file:
        if file.read() != text:
            file.seek(0)
            file.truncate()
            file.write(text)


def build(files, mistakes, count):
    """Builds the copy with `count` mistakes; the next ones replace those that do not
    compile. Returns them by number."""
    planted, waiting = {}, list(enumerate(mistakes, 1))
    root = os.path.abspath(COPY)
    while True:
        while waiting and len(planted) < count:
            number, mistake = waiting.pop(0)
            planted[number] = mistake
        by_file = collections.defaultdict(list)
        for number, mistake in planted.items():
            by_file[mistake[0]].append((number, mistake))
        for path in files:
            plant(path, by_file[path])
        result = subprocess.run(
            ["cmake", "--build", "build/dev", "--target", *BUILT, "--", "-k", "0"],
            cwd=COPY, capture_output=True, text=True, check=False,
        )
        if result.returncode == 0:
            return planted
        places = re.findall(r"^(?:../)*(\S+?):(\d+):\d+: error", result.stdout, re.M)
        places = [(path.removeprefix(f"{root}/"), int(line)) for path, line in places]
        bad = [n for n, mistake in planted.items() if mistake[:2] in places] or [
            n for n, mistake in planted.items() if mistake[0] in dict(places)
        ]
        if not bad:
            sys.exit(result.stdout[-3000:])
        for number in bad:
            del planted[number]


def first_failure(number, tests):
    """The name of the first of the tests that fails; None when all pass."""
    result = subprocess.run(
        ["ctest", "--test-dir", "build/dev", "--stop-on-failure", "--timeout",
         "120", "-R", tests, "-E", NOT_RUN],
        cwd=COPY, capture_output=True, text=True, check=False,
        env=dict(os.environ, IPAV_MUTANT=str(number), GTEST_FAIL_FAST="1"),
    )
    failed = re.search(r"^\s*\d+ - (\S+) \(", result.stdout, re.M)
    return failed[1] if failed else None


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("count", type=int, nargs="?", default=150)
    parser.add_argument("folders", nargs="*", default=list(TESTS))
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--only", nargs="*", metavar="PATH:LINE")
    arguments = parser.parse_args()

    files = subprocess.run(
        ["git", "ls-files", *(f"{folder}/*.cc" for folder in TESTS)],
        check=True, capture_output=True, text=True,
    ).stdout.split()
    mistakes = in_turn(
        [path for path in files if path.split("/")[0] in arguments.folders],
        arguments.seed,
    )
    if arguments.only:
        mistakes = [m for m in mistakes if f"{m[0]}:{m[1]}" in arguments.only]
    copy_tree()
    planted = build(files, mistakes, arguments.count)
    every_test = "|".join(t for folder in arguments.folders for t in TESTS[folder])
    broken = first_failure(0, every_test)
    if broken:
        sys.exit(f"{broken} fails without a mistake")

    def report(number):
        path, line, what, _ = planted[number]
        stages = TESTS[path.split("/", maxsplit=1)[0]]
        failures = (first_failure(number, t) for t in stages)
        found = next(filter(None, failures), None)
        print(f"{path}:{line}: {what}: {found or 'SURVIVED'}", flush=True)
        return found

    survivors = [report(number) for number in sorted(planted)].count(None)
    print(f"{len(planted)} mistakes, {survivors} not found")
    sys.exit(1 if survivors else 0)


if __name__ == "__main__":
    main()
