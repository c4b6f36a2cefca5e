#!/usr/bin/env python3
"""What check_documents.py finds, in small clones made for it."""
import pathlib
import subprocess
import tempfile
import unittest

import check_documents

README = """# A product

## Where things are

| where | question |
| --- | --- |
| `src/lib/` | one |
| [docs/guide.md](docs/guide.md) | two |
"""
DEV = """case "$1" in
  build) make ;;
  help | -h) usage ;;
esac
"""
COMMAND = "```console\n$ true\n```\n"


class HelpOfOneCommand:
    commands = {"check"}

    def options_of(self, _):
        return {"--all", "--format"}


REASON = "<!-- not run: it takes an hour -->\n"
NOT_RUN = "docs/guide.md:%d: this block is not run"
NOT_OPTION = "docs/guide.md: ipav check has no --every"

# A guide, and its faults.
GUIDES = {
    "a block of commands must be run": ("# A\n\n" + COMMAND, [NOT_RUN % 3]),
    "a block may say why it is not run": (REASON + COMMAND, []),
    "also above an empty line": (REASON + "\n" + COMMAND, []),
    "a reason is for the next block alone":
        (REASON + COMMAND + COMMAND, [NOT_RUN % 5]),
    "and not behind other words":
        (REASON + "Words.\n\n" + COMMAND, [NOT_RUN % 4]),
    **{f"{marker} is no reason": (marker + "\n" + COMMAND, [NOT_RUN % 2])
       for marker in ("<!-- not run -->", "<!-- not run: -->",
                      "<!-- not run:  -->", "<!-- run: github -->")},
    "a link leads to a file":
        ("See [x](none.md),\nand ![y](a.svg).",
         ["docs/guide.md:1: no file none.md",
          "docs/guide.md:2: no file a.svg"]),
    "such as this": ("See [x](../README.md) and [x\ny](../src/lib/).", []),
    "a link leads to a heading of its document":
        ("# One `two`, 3-four_5!\n\n[a](#one-two-3-four_5) [b](#one)\n",
         ["docs/guide.md:3: no heading #one"]),
    "or of another one":
        ("[x](../README.md#where-things-are) [x](../README.md#where)",
         ["docs/guide.md:1: no heading ../README.md#where"]),
    "links to elsewhere and in code are left alone":
        ("[x](https://a.example/none.md) `[x](none.md)`\n" + REASON +
         "```\n[x](none.md)\n```\n", []),
    "dev has the commands":
        ("`./dev build`, `./dev help`, `./dev test`",
         ["docs/guide.md: there is no ./dev test"]),
    "ipav has the commands":
        ("`ipav check --all --format x a.xml` `ipav judge`",
         ["docs/guide.md: there is no ipav judge"]),
    "and the options": ("`ipav check --every a.xml`", [NOT_OPTION]),
    "also on the next line":
        (REASON + "```console\n$ ipav check \\\n>   --every a\n```\n",
         [NOT_OPTION]),
    "also in a block without prompts":
        (REASON + "```\nipav check \\\n  --every a\n```\n", [NOT_OPTION]),
    "options of what follows are others":
        (REASON + "```console\n$ ipav check a | sort --unique\n"
         "$ ls --color\n```\n", []),
}


class CheckDocumentsTest(unittest.TestCase):
    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.root = pathlib.Path(place.name)
        (self.root / "src" / "lib").mkdir(parents=True)
        (self.root / "build").mkdir()
        (self.root / ".git").mkdir()
        self.write("dev", DEV)
        self.write("README.md", README)
        self.write("docs/guide.md", "# The guide\n")

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(exist_ok=True)
        path.write_text(text, encoding="utf-8")

    def faults(self, guide=None, run=()):
        if guide is not None:
            self.write("docs/guide.md", guide)
        return check_documents.faults_of(str(self.root), run,
                                         HelpOfOneCommand())

    def test_finds_the_faults_of_a_guide(self):
        self.assertEqual(self.faults(), [])
        for what, (guide, faults) in GUIDES.items():
            with self.subTest(what):
                self.assertEqual(self.faults(guide), faults)

    def test_blocks_of_commands_alone_are_run(self):
        for kind in ("console", "", "sh", "text", "yaml", "json"):
            with self.subTest(kind):
                block = COMMAND.replace("console", kind)
                self.assertEqual(self.faults(block, {"docs/guide.md"}),
                                 [] if kind == "console" else [NOT_RUN % 1])

    def test_examples_are_run_in_documents_with_a_test_of_their_own(self):
        self.write("README.md", README + "| `docs/ci.md` | three |\n")
        self.write("docs/ci.md", "<!-- run: github -->\n" + COMMAND)
        self.assertEqual(self.faults(), [])

    def test_the_table_has_every_folder_of_git(self):
        self.write("host/main.cc", "")
        self.write("notes/README.md", COMMAND)
        self.assertEqual(len(self.faults()), 3)
        (self.root / ".git").rmdir()
        git = ["git", "-C", str(self.root)]
        subprocess.run(git + ["init", "-q"], check=True)
        subprocess.run(git + ["add", "README.md", "dev", "docs"], check=True)
        self.assertEqual(self.faults(), [])
        subprocess.run(git + ["add", "host"], check=True)
        self.assertEqual(self.faults(), ["README.md: the table lacks host/"])

    def test_the_table_has_every_page_and_nothing_else(self):
        self.write("docs/more.md", "# More\n")
        self.write("README.md", README + "| `lib/`, `src/` | three |\n"
                   "\n## Files\n\n| `none/` | |\n")
        self.assertEqual(
            self.faults(),
            ["README.md: the table has lib/, which is not there",
             "README.md: the table lacks docs/more.md"])


if __name__ == "__main__":
    unittest.main()
