"""The command line of ipavd: its help, manual and completion agree."""

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
IPAVD = os.environ.get("IPAVD_PROGRAM", str(ROOT / "build/dev/bin/ipavd"))
MANUAL = ROOT / "packaging/man/ipavd.8"
# The shell, its options, and the script of ipavd.
SHELLS = [("bash", ["--norc"], "ipavd.bash"), ("zsh", ["-f"], "_ipavd"),
          ("fish", ["--no-config"], "ipavd.fish")]


def run(*command, **options):
    return subprocess.run(command, capture_output=True, text=True,
                          timeout=60, **options)


def options_in_help():
    return set(re.findall(r"^  (?:-.,)?(--[a-z-]+)",
                          run(IPAVD, "--help").stdout, re.M))


class ProgramTest(unittest.TestCase):
    def test_prints_its_version(self):
        result = run(IPAVD, "--version")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertRegex(result.stdout, r"\A\d+\.\d+\.\d+\n\Z")

    def test_shows_examples_in_its_help(self):
        result = run(IPAVD, "--help")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn("\nExamples:\n  ipavd --state ", result.stdout)

    def test_refuses_a_wrong_command_line(self):
        for arguments, error in [
                ([], "--state is required"),
                (["--state", "x", "more"],
                 "The following argument was not expected: more"),
                (["--state", "x", "--listen", "::1"],
                 "--listen requires --ssh"),
                (["--state", "x", "--hello-timeout", "0"],
                 "--hello-timeout: Value 0 not in range 1 to 1000000"),
                (["--state", "x", "--max-message-size", "2048"],
                 "--max-message-size: Value 2048 not in range 1 to 2047"),
                (["--state", "x", "--max-configuration-size", "0"],
                 "--max-configuration-size: Value 0 not in range 1 to 2047"),
                (["--state", "x", "--idle-timeout", "soon"],
                 "--idle-timeout: Value soon not in range 0 to 1000000"),
                (["--state", "x", "--authorized-keys", "x"],
                 "--authorized-keys requires --ssh"),
                (["--state", "x", "--ssh", "99999"],
                 "Could not convert: --ssh = 99999")]:
            with self.subTest(arguments):
                result = run(IPAVD, *arguments)
                self.assertEqual(
                    (result.returncode, result.stdout, result.stderr),
                    (2, "", f"ipavd: {error} (see ipavd --help)\n"))

    def test_has_each_option_in_the_synopsis_and_the_list_of_its_manual(self):
        synopsis, options = MANUAL.read_text().split(".Sh DESCRIPTION")
        options = options.split(".Sh FILES")[0]
        expected = options_in_help()
        self.assertGreater(len(expected), 10)
        self.assertEqual({"-" + each for each in re.findall(
            r"^(?:\.Op )?\.?Fl (-[a-z-]+)", synopsis.replace("\n.Fl", "\nFl"),
            re.M)}, expected)
        self.assertEqual({"-" + each for each in re.findall(
            r"^\.It (?:Fl h , )?Fl (-[a-z-]+)", options, re.M)}, expected)

    def test_has_a_manual_without_a_fault(self):
        for command in [["man", "--warnings", "-l"],
                        ["mandoc", "-Tlint", "-Wwarning"]]:
            with self.subTest(command[0]):
                if shutil.which(command[0]) is None:
                    self.skipTest("not installed")
                result = run(*command, str(MANUAL))
                faults = result.stderr
                if command[0] == "mandoc":
                    faults += result.stdout
                self.assertEqual(faults, "")


class CompletionTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        (self.folder / "file").touch()
        (self.folder / "folder").mkdir()

    def offers(self, shell, options, script, word):
        ask = ROOT / "tests/cli/completion" / f"ask.{shell}"
        result = run(
            shutil.which(shell), *options, str(ask),
            str(ROOT / "packaging/completion" / script), *word,
            cwd=self.folder,
            env={**os.environ, "HOME": str(self.folder),
                 "PATH": f"{os.path.dirname(IPAVD)}:{os.environ['PATH']}"})
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return {line.rstrip("/") for line in result.stdout.split("\n") if line}

    def test_offers_the_options_of_the_help_and_values_of_their_type(self):
        for shell, options, script in SHELLS:
            if shutil.which(shell) is None:
                continue
            for word, expected in [
                    (["--"], options_in_help()),
                    (["--once", "--st"], {"--state"}),
                    (["--state", ""], {"folder"}),
                    (["--yang", "f"], {"folder"}),
                    (["--plugin", "f"], {"file", "folder"}),
                    (["--ssh", ""], set())]:
                with self.subTest(shell, word=word):
                    self.assertEqual(
                        self.offers(shell, options, script, ["ipavd", *word]),
                        expected)


if __name__ == "__main__":
    unittest.main()
