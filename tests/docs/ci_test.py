#!/usr/bin/env python3
"""Runs the jobs of docs/ci.md: ci_test.py DOCUMENT IPAV EXAMPLES CHECK_SARIF

Each job has what its system requires of it, and its commands run as they stand
in a repository that is laid out as the document says. Only apt-get is played:
it looks whether the packages are there that it shall install.
"""
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest
import unittest.mock
import xml.etree.ElementTree

import yaml

import document

DOCUMENT, IPAV, EXAMPLES, CHECK_SARIF = sys.argv[1:5]

APT_GET = """#!/bin/sh
[ "$1" = update ] && exit
[ "$1" = install ] || exit 100
for argument; do
  case $argument in
    ./*) [ -f "$argument" ] || exit 100; echo "installed: $argument" ;;
  esac
done
"""

# An accepted and a refused change of each example.
CHANGES = {
    ".xml": ("branch-router", "address-is-host.xml", "address-is-network.xml"),
    ".json": ("campus-core", "ra-timers-tuned.json",
              "ra-lifetime-one-above-max.json"),
}
REFUSED = ".xml"
RULE = "address-is-network"
TEXT = ("l3 printers ipv4 address 10.12.50.0/24 cannot be configured as "
        "network address.")


def examples():
    return document.examples_of(DOCUMENT)


def lay_out(folder, refused):
    """The repository of the document, with a refused change or without."""
    place = folder
    for line in examples()["layout"].splitlines():
        if line.endswith("/") and not line.startswith(" "):
            place = folder / line
            place.mkdir()
            continue
        path = place / line.strip()
        path.parent.mkdir(exist_ok=True)
        if path.suffix == ".deb":
            path.write_bytes(b"")
            continue
        example, good, bad = CHANGES[path.suffix]
        is_bad = refused and path.suffix == REFUSED
        name = path.name
        if path.stem == "candidate":
            name = bad if is_bad else good
        shutil.copy(pathlib.Path(EXAMPLES) / example / name, path)


class JobTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        place = tempfile.TemporaryDirectory()
        self.addCleanup(place.cleanup)
        self.repository = pathlib.Path(place.name) / "repository"
        self.repository.mkdir()
        tools = pathlib.Path(place.name) / "tools"
        tools.mkdir()
        (tools / "apt-get").write_text(APT_GET, encoding="utf-8")
        (tools / "apt-get").chmod(0o755)
        self.path = f"{tools}:{pathlib.Path(IPAV).parent}:{os.environ['PATH']}"

    def run_commands(self, commands):
        """As both systems do in a container: the first failure ends it."""
        return subprocess.run(
            ["sh", "-e", "-c", commands], cwd=self.repository, check=False,
            env={**os.environ, "PATH": self.path}, text=True,
            stdout=subprocess.PIPE)


class DocumentTest(JobTest):
    def test_the_document_has_these_examples(self):
        self.assertEqual(examples().keys(), {
            "layout", "hook", "precommit", "github", "reviewdog", "gitlab"})

    def test_the_layout_has_devices_of_both_formats_and_the_packages(self):
        lay_out(self.repository, refused=False)
        found = {path.suffix for path in self.repository.rglob("candidate.*")}
        self.assertEqual(found, set(CHANGES))
        version = subprocess.run([IPAV, "--version"], check=True, text=True,
                                 stdout=subprocess.PIPE).stdout.strip()
        packages = self.repository / "packages"
        self.assertEqual(
            {path.name for path in packages.iterdir()},
            {f"{name}_{version}_amd64.deb"
             for name in ("ipav", "libip-app-validation")})


class PipelineTest:
    """What the jobs of both systems must do: `install` is the script that
    installs, `install_and_judge` runs all, `findings` are the texts that the
    job hands over."""

    def test_installs_both_packages(self):
        lay_out(self.repository, refused=False)
        result = self.run_commands(self.install)
        self.assertEqual(result.returncode, 0)
        self.assertEqual(result.stdout.count("installed: ./packages/"), 2)

    def test_is_green_where_all_changes_are_accepted(self):
        lay_out(self.repository, refused=False)
        self.assertEqual(self.install_and_judge().returncode, 0)
        self.assertEqual(self.findings(), [])

    def test_shows_a_refusal_and_fails(self):
        lay_out(self.repository, refused=True)
        self.assertEqual(self.install_and_judge().returncode, 1)
        self.assertEqual(self.findings(), [TEXT])
        self.look_at_refusal()


class GithubTest(PipelineTest, JobTest):
    def setUp(self):
        super().setUp()
        self.workflow = yaml.safe_load(examples()["github"])
        (self.job,) = self.workflow["jobs"].values()
        self.scripts = [step["run"] for step in self.job["steps"]
                        if "run" in step]
        (self.install,) = [each for each in self.scripts if "apt-get" in each]
        (self.upload,) = [step for step in self.job["steps"]
                          if "upload-sarif@" in step.get("uses", "")]
        self.log = self.repository / self.upload["with"]["sarif_file"]

    def install_and_judge(self):
        """Each step that is a script, until one fails."""
        for script in self.scripts:
            result = self.run_commands(script)
            if result.returncode != 0:
                break
        return result

    def sarif(self):
        (run,) = json.loads(self.log.read_text(encoding="utf-8"))["runs"]
        return run

    def findings(self):
        return [each["message"]["text"] for each in self.sarif()["results"]]

    def look_at_refusal(self):
        (result,) = self.sarif()["results"]
        self.assertEqual(result["ruleId"], RULE)
        place = result["locations"][0]["physicalLocation"]
        file = self.repository / place["artifactLocation"]["uri"]
        line = place["region"]["startLine"]
        text = file.read_text(encoding="utf-8").splitlines()[line - 1]
        self.assertIn("<ip>10.12.50.0/24</ip>", text)
        check = subprocess.run([sys.executable, CHECK_SARIF, "cat", self.log],
                               check=False)
        self.assertEqual(check.returncode, 0)

    def test_has_the_keys_of_a_workflow_and_its_steps(self):
        # For YAML 1.1 the key "on" is a boolean.
        self.assertEqual(self.workflow.keys(),
                         {"name", True, "permissions", "jobs"})
        self.assertEqual(self.workflow[True], ["pull_request"])
        self.assertEqual(self.job["runs-on"], "ubuntu-latest")
        self.assertLessEqual(self.job.keys(),
                             {"runs-on", "container", "steps"})
        for step in self.job["steps"]:
            self.assertEqual(("run" in step) + ("uses" in step), 1, step)
            self.assertLessEqual(step.keys(),
                                 {"name", "if", "run", "uses", "with"})
            if "uses" in step:
                self.assertRegex(step["uses"], r"^[\w-]+(/[\w-]+)+@v\d+$")
        self.assertTrue(
            self.job["steps"][0]["uses"].startswith("actions/checkout@"))

    def test_may_upload_findings_also_behind_a_refusal(self):
        self.assertEqual(self.workflow["permissions"]["contents"], "read")
        self.assertEqual(self.workflow["permissions"]["security-events"],
                         "write")
        self.assertEqual(self.upload["if"], "always()")
        self.assertIs(self.upload, self.job["steps"][-1])

    def test_a_file_that_is_none_fails_and_is_shown(self):
        lay_out(self.repository, refused=False)
        broken = next(self.repository.rglob("candidate.xml"))
        broken.write_text("<config", encoding="utf-8")
        self.assertEqual(self.install_and_judge().returncode, 2)
        (invocation,) = self.sarif()["invocations"]
        (told,) = invocation["toolExecutionNotifications"]
        self.assertEqual(told["descriptor"]["id"], "bad-input")


class RepositoryTest(JobTest):
    """Before and during a pull request that changes a device."""

    def setUp(self):
        super().setUp()
        self.root = pathlib.Path(DOCUMENT).parent.parent
        lay_out(self.repository, refused=False)
        home = self.repository.parent
        (home / ".gitconfig").write_text("[user]\nname = n\nemail = e\n",
                                         encoding="utf-8")
        patch = unittest.mock.patch.dict(os.environ, {"HOME": str(home)})
        patch.start()
        self.addCleanup(patch.stop)
        self.run_commands("git init -q && git add -A && git commit -qm m && "
                          "git update-ref refs/remotes/origin/main HEAD")
        example, _, bad = CHANGES[REFUSED]
        self.candidate = next(self.repository.rglob("candidate" + REFUSED))
        shutil.copy(pathlib.Path(EXAMPLES) / example / bad, self.candidate)

    def test_the_hook_refuses_the_commit(self):
        folder = "/usr/share/ipav/git"
        script = examples()["hook"]
        self.assertIn(f" {folder}/pre-commit ", script)
        script = script.replace(folder, str(self.root / "packaging/git"))
        result = self.run_commands(script + "git commit -qam m\n")
        self.assertEqual(result.returncode, 1)

    def test_the_hook_judges_the_changed_device_only(self):
        devices = self.candidate.parent.parent
        for name in ("second", "third"):
            shutil.copytree(self.candidate.parent, devices / name)
        self.run_commands("git add -A && git commit -qm m")
        example, good, _ = CHANGES[REFUSED]
        shutil.copy(pathlib.Path(EXAMPLES) / example / good, self.candidate)
        hook = self.root / "packaging/git/pre-commit"
        result = self.run_commands(
            f"ln -s {hook} .git/hooks/pre-commit\n"
            "git add -A\ngit commit -m m 2>&1\n")
        self.assertEqual(result.returncode, 0, result.stdout)
        (judged,) = [line for line in result.stdout.splitlines()
                     if " validation calls made)" in line]
        self.assertIn(str(self.candidate.relative_to(self.repository)), judged)

    def test_pre_commit_finds_the_hook(self):
        (repository,) = yaml.safe_load(examples()["precommit"])["repos"]
        (wanted,) = repository["hooks"]
        hooks = yaml.safe_load(
            (self.root / ".pre-commit-hooks.yaml").read_text(encoding="utf-8"))
        (hook,) = [each for each in hooks if each["id"] == wanted["id"]]
        self.assertEqual(hook["language"], "system")
        self.assertIs(hook["pass_filenames"], False)
        command = " ".join([hook["entry"], *wanted["args"]])
        self.assertEqual(self.run_commands(command).returncode, 1)
        self.run_commands("git checkout -q .")
        self.assertEqual(self.run_commands(command).returncode, 0)

    def test_reviewdog_gets_a_fix_that_a_router_accepts(self):
        reviewdog = self.repository.parent / "tools/reviewdog"
        reviewdog.write_text("#!/bin/sh\ncat > reviewed\n", encoding="utf-8")
        reviewdog.chmod(0o755)
        (job,) = yaml.safe_load(examples()["reviewdog"])["jobs"].values()
        step = job["steps"][-1]
        self.assertIn("-f=sarif", step["run"])
        self.assertEqual(step["env"]["BASE"], "origin/${{ github.base_ref }}")
        result = self.run_commands("BASE=origin/main\n" + step["run"])
        self.assertEqual(result.returncode, 1)
        reviewed = (self.repository / "reviewed").read_text(encoding="utf-8")
        (finding,) = json.loads(reviewed)["runs"][0]["results"]
        self.assertEqual(finding["message"]["text"], TEXT)
        (change,) = finding["fixes"][0]["artifactChanges"]
        (replacement,) = change["replacements"]
        file = self.repository / change["artifactLocation"]["uri"]
        self.assertEqual(file, self.candidate)
        region = replacement["deletedRegion"]
        self.assertEqual(region["startLine"], region["endLine"])
        lines = file.read_text(encoding="utf-8").split("\n")
        line = lines[region["startLine"] - 1]
        lines[region["startLine"] - 1] = (
            line[:region["startColumn"] - 1]
            + replacement["insertedContent"]["text"]
            + line[region["endColumn"] - 1:])
        file.write_text("\n".join(lines), encoding="utf-8")
        self.assertEqual(
            self.run_commands("ipav check --base HEAD devices").returncode, 0)


class GitlabTest(PipelineTest, JobTest):
    def setUp(self):
        super().setUp()
        (self.job,) = yaml.safe_load(examples()["gitlab"]).values()
        self.install = "\n".join(self.job["before_script"])

    def install_and_judge(self):
        return self.run_commands(
            "\n".join([self.install, *self.job["script"]]))

    def findings(self):
        path = self.repository / self.job["artifacts"]["reports"]["junit"]
        tree = xml.etree.ElementTree.parse(path)
        return [each.get("message") for each in tree.findall(".//failure")]

    def look_at_refusal(self):
        """The pages that are kept have it."""
        for path in self.job["artifacts"]["paths"]:
            page = (self.repository / path).read_text(encoding="utf-8")
            self.assertIn(TEXT, page)

    def test_has_the_keys_of_a_job(self):
        self.assertEqual(self.job.keys(),
                         {"image", "before_script", "script", "artifacts"})
        artifacts = self.job["artifacts"]
        self.assertEqual(artifacts.keys(), {"when", "paths", "reports"})
        self.assertEqual(artifacts["when"], "always")
        self.assertEqual(artifacts["reports"].keys(), {"junit"})


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
