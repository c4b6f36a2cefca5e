#!/usr/bin/env python3
"""What check_documents.py finds, in small clones made for it."""
import pathlib
import subprocess
import tempfile
import unittest

import check_documents
import console_blocks

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

    def test_finds_nothing_where_all_is_right(self):
        self.assertEqual(self.faults(), [])

    # ---- Blocks ------------------------------------------------------------

    def test_a_block_of_commands_must_be_run(self):
        self.assertEqual(self.faults("# A\n\n" + COMMAND),
                         ["docs/guide.md:3: this block is not run"])
        self.assertEqual(self.faults(COMMAND, {"docs/guide.md"}), [])

    def test_blocks_of_other_kinds_are_never_run(self):
        for kind in ("", "sh", "text", "yaml", "json"):
            block = COMMAND.replace("console", kind)
            self.assertEqual(self.faults(block, {"docs/guide.md"}),
                             ["docs/guide.md:1: this block is not run"], kind)

    def test_a_block_may_say_why_it_is_not_run(self):
        reason = "<!-- not run: it takes an hour -->\n"
        self.assertEqual(self.faults(reason + COMMAND), [])
        self.assertEqual(self.faults(reason + "\n" + COMMAND), [])

    def test_a_reason_is_for_the_next_block_alone(self):
        reason = "<!-- not run: it takes an hour -->\n"
        for between in (COMMAND, "Words.\n\n"):
            self.assertEqual(
                len(self.faults(reason + between + COMMAND)), 1, between)

    def test_a_reason_must_be_given(self):
        for marker in ("<!-- not run -->\n", "<!-- not run: -->\n",
                       "<!-- not run:  -->\n"):
            self.assertEqual(len(self.faults(marker + COMMAND)), 1, marker)

    def test_examples_are_run_in_documents_with_a_test_of_their_own(self):
        example = "<!-- run: github -->\n" + COMMAND
        self.assertEqual(len(self.faults(example)), 1)
        self.write("README.md", README + "| `docs/ci.md` | three |\n")
        self.write("docs/ci.md", example)
        self.assertEqual(self.faults("# The guide\n"), [])

    def test_what_is_not_run_is_what_the_runner_leaves_out(self):
        for marker, count in (("", 1), ("<!-- not run -->\n", 1),
                              ("<!-- not run: it hangs -->\n", 0)):
            lines = (marker + COMMAND).splitlines()
            self.assertEqual(len(console_blocks.commands_of(lines)), count,
                             marker)

    # ---- Links -------------------------------------------------------------

    def test_a_link_leads_to_a_file(self):
        self.assertEqual(self.faults("See [x](none.md),\nand ![y](a.svg)."),
                         ["docs/guide.md:1: no file none.md",
                          "docs/guide.md:2: no file a.svg"])
        self.assertEqual(self.faults("See [x](../README.md)."), [])
        self.assertEqual(self.faults("See [x\ny](../src/lib/)."), [])

    def test_a_link_leads_to_a_heading(self):
        text = "# One `two`, 3-four_5!\n\n[a](#one-two-3-four_5) [b](#one)\n"
        self.assertEqual(self.faults(text), ["docs/guide.md:3: no heading #one"])
        self.assertEqual(self.faults("[x](../README.md#where-things-are)"), [])
        self.assertEqual(self.faults("[x](../README.md#where)"),
                         ["docs/guide.md:1: no heading ../README.md#where"])

    def test_links_to_elsewhere_and_in_code_are_left_alone(self):
        self.assertEqual(self.faults("[x](https://a.example/none.md)"), [])
        self.assertEqual(self.faults("`[x](none.md)`"), [])
        self.assertEqual(
            self.faults("<!-- not run: a link -->\n```\n[x](none.md)\n```\n"),
            [])

    # ---- The table ---------------------------------------------------------

    def test_the_table_has_every_folder(self):
        self.write("host/main.cc", "")
        self.assertEqual(self.faults(), ["README.md: the table lacks host/"])

    def test_what_git_does_not_keep_is_left_alone(self):
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

    def test_the_table_has_every_page(self):
        self.write("docs/more.md", "# More\n")
        self.assertEqual(self.faults(),
                         ["README.md: the table lacks docs/more.md"])

    def test_the_table_has_nothing_else(self):
        self.write("README.md", README + "| `lib/`, `src/` | three |\n")
        self.assertEqual(
            self.faults(),
            ["README.md: the table has lib/, which is not there"])

    def test_a_table_behind_another_heading_is_another_one(self):
        self.write("README.md", README + "\n## Files\n\n| `none/` | |\n")
        self.assertEqual(self.faults(), [])

    # ---- Commands ----------------------------------------------------------

    def test_dev_has_the_commands(self):
        self.assertEqual(self.faults("`./dev build`, `./dev help`"), [])
        self.assertEqual(self.faults("`./dev test`"),
                         ["docs/guide.md: there is no ./dev test"])

    def test_ipav_has_the_commands_and_options(self):
        self.assertEqual(self.faults("`ipav check --all --format x a.xml`"), [])
        self.assertEqual(self.faults("`ipav judge`"),
                         ["docs/guide.md: there is no ipav judge"])
        self.assertEqual(self.faults("`ipav check --every a.xml`"),
                         ["docs/guide.md: ipav check has no --every"])

    def test_options_may_stand_on_the_next_line_of_a_command(self):
        for block in ("$ ipav check \\\n>   --every a\n",
                      "ipav check \\\n  --every a\n"):
            self.assertIn(
                "docs/guide.md: ipav check has no --every",
                self.faults("```console\n" + block + "```\n",
                            {"docs/guide.md"}), block)

    def test_options_of_what_follows_are_not_those_of_ipav(self):
        self.assertEqual(
            self.faults("```console\n$ ipav check a | sort --unique\n"
                        "$ ls --color\n```\n", {"docs/guide.md"}), [])


if __name__ == "__main__":
    unittest.main()
