"""The pytest plug-in: devices as tests."""

import os

import pytest
from test_package import BRANCH, NETWORK, RUNNING, TEXT

pytest_plugins = ["pytester"]


def make_devices(pytester):
    def put(path, source):
        file = pytester.path / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(source if source[0] == "<" else (BRANCH / source).read_text())

    put("devices/good/candidate.xml", "ra-timers-tuned.xml")
    put("devices/good/running.xml", "running.xml")
    put("devices/build/bad/candidate.xml", NETWORK.name)
    put("devices/build/bad/running.xml", "running.xml")
    put("devices/build/wrong.xml", "<a>\n<b")
    put("devices/.git/hidden.xml", "<a")
    put("devices/.candidate.xml", "<a")
    put("other/file.xml", "<a")
    (pytester.path / "devices/build/again").symlink_to(".")
    pytester.makepyfile(**{"tests/test_m": "def test_one(): pass\ndef test_two(): pass"})


def run(pytester, *arguments):
    return pytester.runpytest_inprocess("-p", "ipav.pytest_plugin", *arguments)


def test_each_device_is_a_test(pytester):
    make_devices(pytester)
    result = run(pytester, "--ipav", "devices", "-v", "-rN")
    result.assert_outcomes(passed=1, failed=2)
    result.stdout.fnmatch_lines_random(
        [
            "devices/good/candidate.xml::good PASSED*",
            "devices/build/bad/candidate.xml::build/bad FAILED*",
            "devices/build/wrong.xml::build/wrong FAILED*",
        ]
    )
    place = "devices/build/bad/candidate.xml:459:15"
    result.stdout.fnmatch_lines(
        ["*_ ipav: build/bad _*", TEXT, f"  {place}: address, changed"]
    )
    result.stdout.fnmatch_lines(
        ["devices/build/wrong.xml:2:3: no well-formed XML: *"]
    )
    result.stdout.no_fnmatch_line("*Traceback*")


def test_the_settings_name_folders(pytester):
    make_devices(pytester)
    pytester.makeini("[pytest]\nipav = devices/build\n")
    result = run(pytester, f"--ipav-running={RUNNING}", "-k", "bad")
    result.assert_outcomes(failed=1, deselected=3)
    result = run(pytester, "--ipav=nowhere")
    assert result.ret == 4
    result.stderr.fnmatch_lines(["*--ipav: */nowhere is not a folder"])


ID = "devices/build/bad/candidate.xml::build/bad"


@pytest.mark.parametrize(
    "arguments, expected",
    [
        ([], "build/bad build/wrong good test_one test_two"),
        (["."], "build/bad build/wrong good test_one test_two"),
        (["tests/test_m.py::test_one"], "test_one"),
        (["devices/good"], "good"),
        (["devices/build/wrong.xml", "tests"], "build/wrong test_one test_two"),
        ([ID], "build/bad"),
        (["devices", ID], "build/bad build/wrong good"),
        # The folders of the command line take the place of those of the settings.
        (["--ipav=devices/build"], "bad wrong"),
        (["--ipav=devices/build", "tests/test_m.py::test_one"], "bad test_one wrong"),
        (["--ipav=devices", ID], "build/bad"),
        (["--ipav=devices", "devices/good", "tests/test_m.py::test_two"], "good test_two"),
    ],
)
def test_paths_choose_devices_as_they_choose_tests(pytester, arguments, expected):
    make_devices(pytester)
    pytester.makeini("[pytest]\nipav = devices\n")
    result = run(pytester, "--collect-only", "-q", *arguments)
    assert result.ret == 0
    tests = [line.partition("::")[2] for line in result.outlines if "::" in line]
    assert sorted(tests) == expected.split()


def test_a_folder_that_cannot_be_read_is_a_test_that_fails(pytester, monkeypatch):
    make_devices(pytester)
    pytester.mkdir("devices/locked")

    def refuse(name, end):
        function = getattr(os, name)

        def refusing(path, **options):
            if "/locked/" in f"{path}{end}":
                raise PermissionError(path)
            return function(path, **options)

        monkeypatch.setattr(os, name, refusing)

    # The user may be root, who can read all.
    refuse("listdir", "/")
    refuse("scandir", "/")
    refuse("stat", "")
    result = run(pytester, "--ipav=devices", "-v")
    result.assert_outcomes(passed=1, failed=3)
    result.stdout.fnmatch_lines(["devices::locked FAILED*"])


def test_help_needs_no_folder(pytester):
    pytester.makeini("[pytest]\nipav = nowhere\n")
    for option in ("--help", "--version", "--markers"):
        result = run(pytester, option)
        assert "Traceback" not in result.stderr.str()
        assert result.ret == (4 if option == "--markers" else 0)


def test_a_folder_is_named_from_below(pytester, monkeypatch):
    make_devices(pytester)
    monkeypatch.chdir(pytester.mkdir("below"))
    run(pytester, "--ipav=../devices/good").assert_outcomes(passed=1)


def test_each_folder_has_devices(pytester):
    make_devices(pytester)
    pytester.mkdir("empty")
    result = run(pytester, "--ipav=devices/good", "--ipav=empty")
    assert result.ret == 4
    result.stderr.fnmatch_lines(["*--ipav: */empty has no devices"])
    # Tests that are not chosen are there, and a test may be of two folders.
    folders = ("--ipav=devices", "--ipav=devices/good")
    result = run(pytester, *folders, "-k", "good or candidate or xml")
    result.assert_outcomes(passed=1, deselected=2)
