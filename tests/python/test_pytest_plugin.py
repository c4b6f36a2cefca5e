"""The pytest plug-in: devices as tests."""

from test_package import BRANCH, NETWORK, RUNNING, TEXT

pytest_plugins = ["pytester"]


def make_devices(pytester):
    def put(path, source):
        file = pytester.path / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(source if source[0] == "<" else (BRANCH / source).read_text())

    put("devices/good/candidate.xml", "ra-timers-tuned.xml")
    put("devices/good/running.xml", "running.xml")
    put("devices/site/bad/candidate.xml", NETWORK.name)
    put("devices/site/bad/running.xml", "running.xml")
    put("devices/site/wrong.xml", "<a>\n<b")
    put("devices/.git/hidden.xml", "<a")
    put("devices/.candidate.xml", "<a")
    put("other/file.xml", "<a")


def run(pytester, *arguments):
    return pytester.runpytest_inprocess("-p", "ipav.pytest_plugin", *arguments)


def test_each_device_is_a_test(pytester):
    make_devices(pytester)
    pytester.makeini("[pytest]\nnorecursedirs =\n")  # not even .git
    result = run(pytester, "--ipav", "devices", "-v", "-rN")
    result.assert_outcomes(passed=1, failed=2)
    result.stdout.fnmatch_lines_random(
        [
            "devices/good/candidate.xml::good PASSED*",
            "devices/site/bad/candidate.xml::site/bad FAILED*",
            "devices/site/wrong.xml::site/wrong FAILED*",
        ]
    )
    place = "devices/site/bad/candidate.xml:459:15"
    result.stdout.fnmatch_lines(
        ["*_ ipav: site/bad _*", TEXT, f"  {place}: address, changed"]
    )
    result.stdout.fnmatch_lines(
        ["devices/site/wrong.xml:2:3: no well-formed XML: *"]
    )
    result.stdout.no_fnmatch_line("*Traceback*")


def test_the_settings_name_folders(pytester):
    make_devices(pytester)
    pytester.makeini("[pytest]\nipav = devices/site\n")
    result = run(pytester, f"--ipav-running={RUNNING}", "-k", "bad")
    result.assert_outcomes(failed=1, deselected=1)
    # The folder of the command line takes their place.
    run(pytester, "--ipav=devices/good").assert_outcomes(passed=1)
    result = run(pytester, "--ipav=nowhere")
    assert result.ret == 4
    result.stderr.fnmatch_lines(["*--ipav: */nowhere is not a folder"])


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
