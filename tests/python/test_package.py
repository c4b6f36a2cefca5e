"""The package ipav: what its functions answer and raise."""

import gc
import os
import pickle
import shutil
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import pytest

import ipav
from ipav.process import Output

ROOT = Path(__file__).parent.parent.parent
BRANCH = ROOT / "examples/branch-router"
RUNNING = BRANCH / "running.xml"
NETWORK = BRANCH / "address-is-network.xml"
OVERLAP = BRANCH / "office-overlaps-management.xml"
TEXT = (
    "l3 printers ipv4 address 10.12.50.0/24 cannot be configured as network "
    "address."
)


@pytest.fixture
def session():
    with ipav.Session() as made:
        yield made


def process_of(session):
    """The number of the process, which runs."""
    session.explain("overlap")
    return session._process.number


def is_gone(process):
    """Whether the process ends within some seconds."""
    for _ in range(500):
        try:
            state = Path(f"/proc/{process}/stat").read_text().split()[2]
        except OSError:
            return True
        if state == "Z":  # its parent has not noticed yet
            return True
        time.sleep(0.01)
    return False


def test_an_accepted_candidate_gives_a_true_report():
    report = ipav.check(BRANCH / "ra-timers-tuned.xml", running=RUNNING)
    assert report and report.accepted
    assert report.verdict is ipav.Verdict.ACCEPTED
    assert report.validation_calls == ipav.Calls(planned=12, made=12)
    assert report.platform_calls["maapi_exists"] > 0
    assert str(report) == f"{BRANCH}/ra-timers-tuned.xml: accepted"
    assert pickle.loads(pickle.dumps(report)) == report


def test_a_refusal_names_both_culprits():
    report = ipav.check(OVERLAP, running=RUNNING, suggest=True, restore=True)
    assert not report
    (finding,) = report.findings
    assert finding.rule == "interface-overlap"
    assert [(c.role, c.novelty.value, c.place.line) for c in finding.culprits] == [
        ("address", "added", 509),
        ("overlaps with", "unchanged", 754),
    ]
    assert [fix.safe for fix in finding.fixes] == [False, False]
    assert finding.fixes[1].edits[0] == ipav.Edit(754, 15, 754, 29, "172.31.12.2/25")
    assert len(report.restart.findings) > 1
    assert report.refusals()[0] is finding
    assert f"\n  {OVERLAP}:509:17: address, added\n" in str(finding)
    assert str(finding).endswith(f"\n  suggested: {finding.fixes[1].text}")


def test_each_fault_is_listed_once_however_many_have_its_text():
    running = RUNNING.read_text()
    wrong = running.replace("<lifetime>1800<", "<lifetime>600<")
    report = ipav.check(wrong, running=running, all=True, restore=True)
    assert len(report.refusals()) == len(report.findings) == 9
    assert str(report).count("Lifetime must be greater than ") == 9
    assert str(report).count(": lifetime, changed\n") == 9
    first = ipav.check(wrong, running=running)
    assert repr(first) == f"<Report <candidate>: refused; {first.findings[0].text}>"
    old, new = "<min-interval>200<", "<min-interval>500<"
    left = ipav.fix(running.replace(old, new), running=running)
    assert len(left.left) == str(left).count("not corrected: ") == running.count(old)


def test_a_report_says_what_it_lacks():
    running = RUNNING.read_text()
    wrong = running.replace("10.12.2.1/24", "10.12.2.0/24")
    wrong = wrong.replace("10.12.50.1/24", "10.12.50.0/24")
    report = ipav.check(wrong, running=running, every=True)
    behind = "\n  behind another finding of this point\n"
    assert [behind in str(finding) for finding in report.findings] == [False, True, False]
    limited = ipav.check(wrong, running=running, every=True, limit=1)
    assert str(limited).endswith("\nthere are more findings (--limit)")


def test_texts_stand_for_files():
    running = RUNNING.read_text()
    changed = running.replace("10.12.50.1/24", "10.12.50.0/24")
    report = ipav.check("\n" + changed, running="\ufeff " + running)
    assert [finding.text for finding in report.findings] == [TEXT]
    assert report.findings[0].culprits[0].place.file == "<candidate>"
    assert ipav.check(RUNNING, running=running)
    assert ipav.check(running)  # nothing was configured
    assert ipav.check('{"vorplex-config:config": {}}')


def test_a_folder_is_one_device_or_several(tmp_path, monkeypatch):
    for name in ("a", "b"):
        (tmp_path / name).mkdir()
        (tmp_path / name / "candidate.xml").write_text(NETWORK.read_text())
        (tmp_path / name / "running.xml").write_text(RUNNING.read_text())
    (tmp_path / "b/candidate.xml").write_text("<a>")
    monkeypatch.chdir(tmp_path)
    assert [f.text for f in ipav.check("a").findings] == [TEXT]
    with pytest.raises(ipav.InputError, match="several devices"):
        ipav.check(tmp_path)
    with pytest.raises(ipav.InputError, match="^a: is a directory"):
        ipav.plan("a")
    reports = ipav.check_all(["a", "b"], jobs=2)
    assert [report.verdict.value for report in reports] == ["refused", "badInput"]
    assert reports[1].input_errors[0].startswith("b/candidate.xml:1:")


@pytest.mark.parametrize(
    "candidate, expected",
    [
        ("<a>\n<b", ("<candidate>", 2, 3, "no well-formed XML: the text ends before </a>")),
        ("{\n 1}", ("<candidate>", 2, 2)),
        ("[]", ("<candidate>", 1, None, "Expected top-level JSON object, but empty array found.")),
        ("/nowhere.xml", ("/nowhere.xml", None, None, "No such file or directory")),
        ("-", ("./-", None, None, "No such file or directory")),
        ("--help", ("--help", None, None, "No such file or directory")),
        (b"<a>\n<b", ("<candidate>", 2, 3)),
        (b"<a>\xff", ("<candidate>", None, None, "is not UTF-8")),
    ],
)
def test_an_input_error_has_the_line(candidate, expected):
    for function in (ipav.check, ipav.plan, ipav.fix, ipav.diff):
        with pytest.raises(ipav.InputError) as caught:
            function(candidate, running=RUNNING)
        error = caught.value
        place = (error.file, error.line, error.column, error.reason)
        assert place[: len(expected)] == expected, function
        assert pickle.loads(pickle.dumps(error)).problems == error.problems
        assert "None" not in str(error)


def test_a_wrong_type_is_named_before_anything_is_sent(monkeypatch):
    monkeypatch.setattr(ipav._shared, "_process", None)
    session = ipav.Session("/nowhere", running="/nowhere")
    path = "str or bytes or PathLike"
    wrong = [
        (lambda: ipav.check(1), f"candidate: expected {path}, not int"),
        (lambda: ipav.plan(None), f"goal: expected {path}, not NoneType"),
        (lambda: ipav.fix([RUNNING]), f"candidate: expected {path}, not list"),
        (lambda: ipav.diff(RUNNING, running=[]), f"running: expected {path}, not list"),
        (lambda: ipav.check(RUNNING, limit="1"), "limit: expected int, not str"),
        (lambda: ipav.plan(RUNNING, timeout=True), "timeout: expected int, not bool"),
        (lambda: ipav.check(RUNNING, all="no"), "all: expected bool, not str"),
        (lambda: ipav.fix(RUNNING, only="F1.1"), "only: expected a list, which .* str"),
        (lambda: ipav.fix(RUNNING, only=[1]), "only: expected str, not int"),
        (lambda: ipav.explain(1), "topic: expected str, not int"),
        (lambda: ipav.check_all(str(RUNNING)), "candidates: expected a list, which .* str"),
        (lambda: ipav.check_all(RUNNING), "candidates: expected a list, which .* PosixPath"),
        (lambda: ipav.check_all([1]), f"candidate: expected {path}, not int"),
        (lambda: session.run("check"), "arguments: expected a list, which .* str"),
        (lambda: session.run(["check", 1]), "arguments: expected str, not int"),
        (lambda: session.run([], {"a": 1}), "texts: expected str, not int"),
        (lambda: session.run([], "a"), "texts: expected Mapping, not str"),
        (lambda: session.check_edits([]), "edits: expected Mapping, not list"),
        (lambda: session.check_edits({1: ""}), "a path in edits: expected str, not int"),
        (lambda: session.check_edits({"/a": 1}), r"edits\['/a'\]: expected str, not int"),
        (lambda: ipav.Session(1), "program: expected str or PathLike, not int"),
        (lambda: ipav.Session(yang=b"/"), "yang: expected str or PathLike, not bytes"),
        (lambda: ipav.Session(running=1), f"running: expected {path}, not int"),
    ]
    for call, text in wrong:
        with pytest.raises(TypeError, match=f"^{text}$"):
            call()
    for call in (ipav.check, ipav.plan, ipav.fix, ipav.diff, lambda _: session.check("")):
        with pytest.raises(ipav.InputError, match="is an empty text"):
            call(" \n")


def test_all_input_errors_are_listed():
    wrong = "<config xmlns='urn:vorplex:config'>\n<x/>\n<y/></config>"
    with pytest.raises(ipav.InputError) as caught:
        ipav.check(wrong, running=wrong.replace("\n<y/>", ""))
    assert [(p.file, p.line) for p in caught.value.problems] == [
        ("<running>", 2),
        ("<candidate>", 2),
        ("<candidate>", 3),
    ]
    with pytest.raises(ipav.InputError, match="^limit: Value 0 not in range 1 to 10000$"):
        ipav.check(RUNNING, every=True, limit=0)
    with pytest.raises(ipav.InputError, match="^limit requires every$"):
        ipav.check(RUNNING, limit=1)
    assert ipav.check_all(iter([])) == ()
    with pytest.raises(ipav.InputError, match="not UTF-8"):
        ipav.check("<\udc80>")


def test_plan_and_diff_tell_what_changes():
    plan = ipav.plan(BRANCH / "floor-4-vlan-changed.xml", running=RUNNING)
    assert plan and len(plan.commits) == 2
    (detour,) = plan.detours
    assert (detour.away, detour.back) == (1, 2)
    vlan = "/config/interface/l3{users-floor-4}/lower-layer-if/vlan: 204 -> 254"
    assert f": 2 commits (fewest, 5 verdicts)\n\ncommit 1:\n  ~ {vlan}\n  - /internal/" in str(plan)
    assert "\n    comes back with commit 2; until then the OSPFv3 " in str(plan)
    assert str(ipav.plan(RUNNING, running=RUNNING)) == f"{RUNNING}: nothing to do"
    refused = ipav.plan(OVERLAP, running=RUNNING)
    added = "+ /config/interface/l3{meeting-rooms}/ipv4/address/secondary{"
    assert f"\n\nrefused in any order:\n  {added}" in str(refused)
    assert not refused
    assert str(refused).startswith(f"{OVERLAP}: its only change is refused (")
    limited = ipav.plan(OVERLAP, running=RUNNING, verdicts=1)
    assert f"{OVERLAP}: no plan found before the search ended" in str(limited)
    replaced = RUNNING.read_text().replace("2001:db8:12:201::1/", "2001:db8:12:202::9/")
    assert (
        "\ndeleted, although what may replace it is left out:\n"
        "  - /config/interface/l3{users-floor-1}/ipv6/address{2001:db8:12:201::1/64}\n"
    ) in str(ipav.plan(replaced, running=RUNNING))
    assert refused.refused[0].refusal.findings[0].rule == "interface-overlap"
    assert refused.refused[0].changes == refused.left_out

    difference = ipav.diff(OVERLAP, running=RUNNING)
    assert difference.changes == refused.left_out
    assert str(difference).startswith(added)
    assert difference.changes[0].change is ipav.ChangeKind.ADDED
    assert "ipv4_addr_validation" in [call.point for call in difference.calls]
    assert not ipav.diff(RUNNING, running=RUNNING)
    assert ipav.diff(RUNNING).changes  # nothing was configured


def test_fix_corrects_the_text_and_no_file():
    before = OVERLAP.read_bytes()
    left = ipav.fix(OVERLAP, running=RUNNING)
    assert not left and left.diff == "" and left.text == before.decode()
    assert {finding.rule for finding in left.left} == {"interface-overlap"}
    ids = [fix.id for fix in left.left[0].fixes]
    first = left.left[0]
    lines = f"not corrected: {first.text}\n  data path: {first.path}\n  suggested: "
    assert lines + "leave out " in str(left)
    fixed = ipav.fix(OVERLAP, running=RUNNING, suggested=True)
    assert fixed and not fixed.left and str(fixed) == fixed.diff
    assert ipav.check(fixed.text, running=RUNNING)
    assert OVERLAP.read_bytes() == before
    # The diff is one that others apply, too.
    patched = subprocess.run(
        ["patch", "-s", "-o", "-", OVERLAP], input=fixed.diff.encode(), capture_output=True
    )
    assert patched.stdout.decode() == fixed.text
    chosen = ipav.fix(OVERLAP, running=RUNNING, only=[ids[1]])
    assert "<ip>172.31.12.2/25</ip>" in chosen.text
    with pytest.raises(ipav.InputError):
        ipav.fix(OVERLAP, running=RUNNING, only=["F9.9"])


@pytest.mark.parametrize("running", [RUNNING, RUNNING.read_text(), RUNNING.read_bytes()])
def test_edits_of_a_running_configuration_are_judged(running):
    ip = "/config/interface/mgmt{eth0}/ipv4/address/ip"
    printers = "/config/interface/l3{printers}/ipv4/address/ip"
    with ipav.Session(running=running) as session:
        assert session.check_edits({ip: "172.31.12.3/24"})
        assert session.check_edits({printers: "10.12.50.0/24"}).findings[0].text == TEXT
        report = session.check_edits({ip: "10.12.50.9/24"})
        assert [f.rule for f in report.findings] == ["interface-overlap"]
        assert [(c.value, c.novelty.value) for c in report.findings[0].culprits] == [
            ("10.12.50.9/24", "changed"),
            ("10.12.50.1/24", "unchanged"),
        ]
        assert session.check_edits({})
        assert session.check_edits({"/config/interface/mgmt{eth0}/ipv4": None})
        # It is also what other requests without one are judged against.
        assert session.check(NETWORK) == ipav.check(NETWORK, running=running)
        assert session.diff(NETWORK) == ipav.diff(NETWORK, running=running)
        assert session.plan(RUNNING).commits == ()
        for wrong in ("/config/nothing", ip, "/config/interface", "/config/l3{name=a}"):
            with pytest.raises(ipav.InputError, match=wrong):
                session.check_edits({wrong: "1"})
    with pytest.raises(ipav.InputError, match="edits need a Session.running="):
        ipav.Session().check_edits({ip: "10.12.50.9/24"})


def test_a_wrong_running_configuration_is_named():
    ip = "/config/interface/mgmt{eth0}/ipv4/address/ip"
    for running, place in (("/nowhere.xml", "/nowhere.xml"), ("<a>\n<b", "<running>")):
        with ipav.Session(running=running) as session:
            for call in (lambda: session.check_edits({ip: "x"}), lambda: session.check(RUNNING)):
                with pytest.raises(ipav.InputError) as caught:
                    call()
                assert caught.value.file == place
                assert caught.value.line == (2 if place == "<running>" else None)


def test_explain_knows_points_rules_and_texts():
    point = ipav.explain("validate_ipv6_nd_ra_lifetime")
    assert isinstance(point, ipav.Point)
    assert len(point.steps) == 4
    assert point.uses[0].path == "/config/interface/l3/ipv6/nd/ra"
    assert str(point).startswith("validate_ipv6_nd_ra_lifetime\n")
    rule = ipav.explain("network-address")
    assert isinstance(rule, ipav.Rule)
    assert str(rule).endswith(f"\nWhat to do: {rule.advice}")
    text = ipav.explain(TEXT)
    assert text.rule == rule.rule and rule.readings == ()
    assert text.readings[0]["prefix"] == "10.12.50.0/24"
    for topic in ("", "-", "overlap\nb", "ovrelap"):
        with pytest.raises(ipav.InputError):
            ipav.explain(topic)


def test_a_plugin_that_dies_is_an_error_of_one_call():
    plugins = Path(os.environ["IPAV_TEST_PLUGINS"])
    with ipav.Session(plugin=plugins / "fails_in_init.so") as session:
        with pytest.raises(ipav.PluginError, match="lib_init"):
            session.check(NETWORK, running=RUNNING)
        assert session.explain("overlap")


def test_a_killed_command_is_no_wrong_input(session, monkeypatch):
    killed = Output(3, "", "ipav: the command was killed by signal: Killed\n")
    monkeypatch.setattr(session._process, "request", lambda *_: killed)
    monkeypatch.setattr(session, "_running", RUNNING)
    for function in (session.check, session.check_all, session.plan, session.fix):
        with pytest.raises(ipav.PluginError, match="signal: Killed"):
            function([RUNNING] if function == session.check_all else RUNNING)
    with pytest.raises(ipav.PluginError, match="signal: Killed"):
        session.check_edits({})
    for function in (session.diff, session.explain):
        with pytest.raises(ipav.SessionError, match="signal: Killed"):
            function(str(RUNNING))


def test_a_session_that_died_starts_again(session):
    first = process_of(session)
    os.kill(first, signal.SIGKILL)
    with pytest.raises(ipav.SessionError, match="signal 9"):
        session.check(RUNNING)
    assert process_of(session) != first
    with ipav.Session(yang="/nowhere") as wrong:
        with pytest.raises(ipav.InputError, match="^/nowhere: .* YANG modules$"):
            wrong.check(RUNNING)
    with ipav.Session("/no/ipav") as missing:
        with pytest.raises(ipav.SessionError, match="/no/ipav: there is no such"):
            missing.check(RUNNING)


def test_the_current_folder_may_change(session, tmp_path, monkeypatch):
    (tmp_path / "bin").mkdir()
    (tmp_path / "bin/ipav").symlink_to(shutil.which(os.environ["IPAV"]))
    monkeypatch.chdir(tmp_path)
    with ipav.Session("bin/ipav") as elsewhere:
        monkeypatch.chdir("/")
        assert elsewhere.explain("overlap")
    process_of(session)
    (tmp_path / "deleted").mkdir()
    monkeypatch.chdir(tmp_path / "deleted")
    (tmp_path / "deleted").rmdir()
    with pytest.raises(ipav.SessionError, match="^the current folder does not exist$"):
        session.explain("overlap")
    monkeypatch.chdir("/")
    assert session.explain("overlap")


def test_functions_and_sessions_can_be_pickled(tmp_path, monkeypatch):
    for function in (ipav.check, ipav.check_all, ipav.plan, ipav.fix, ipav.diff):
        assert pickle.loads(pickle.dumps(function)) == function
    (tmp_path / "running.xml").write_text(RUNNING.read_text())
    monkeypatch.chdir(tmp_path)
    with ipav.Session(running="running.xml") as session:
        monkeypatch.chdir("/")
        with pickle.loads(pickle.dumps(session)) as copy:
            assert copy.check(NETWORK) == session.check(NETWORK)
            assert process_of(copy) != process_of(session)


def test_an_interrupted_call_does_not_disturb_the_next(session, tmp_path):
    pipe = tmp_path / "pipe"
    os.mkfifo(pipe)

    def interrupt(*_):
        raise KeyboardInterrupt

    before = signal.signal(signal.SIGALRM, interrupt)
    process = process_of(session)
    signal.setitimer(signal.ITIMER_REAL, 0.2)
    with pytest.raises(KeyboardInterrupt):
        session.check(pipe)
    signal.signal(signal.SIGALRM, before)
    assert is_gone(process)
    assert session.explain("overlap")


def test_threads_take_turns(session):
    topics = ["overlap", "network-address"] * 8
    answers = {}

    def ask(number, topic):
        answers[number] = session.explain(topic).anchor

    threads = [
        threading.Thread(target=ask, args=each) for each in enumerate(topics)
    ]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert [answers[number] for number in range(len(topics))] == topics


def test_a_forked_child_has_a_process_of_its_own(session, tmp_path):
    process = process_of(session)
    pipe = tmp_path / "pipe"
    os.mkfifo(pipe)
    thread = threading.Thread(target=session.run, args=(["check", str(pipe)],))
    thread.start()
    time.sleep(0.1)  # until it waits for the answer
    child = os.fork()
    if child == 0:
        signal.alarm(10)
        own = process_of(session)
        session.close()
        os._exit(0 if own != process and is_gone(own) else 1)
    assert os.waitpid(child, 0)[1] == 0
    pipe.write_text("<a>")
    thread.join()
    assert process_of(session) == process


def test_no_process_is_left(tmp_path):
    session = ipav.Session()
    process = process_of(session)
    session.close()
    assert is_gone(process)
    process = process_of(session)
    del session
    gc.collect()
    assert is_gone(process)
    script = "import ipav, os; ipav.explain('overlap'); " + (
        "print(ipav._shared._process.number, flush=True); {}"
    )
    os.mkfifo(tmp_path / "pipe")
    waiting = (
        "import threading, time; "
        "threading.Thread(target=ipav.check, args=['pipe'], daemon=True).start(); "
        "time.sleep(0.1)"
    )
    ends = ("pass", "raise ValueError", "os.kill(os.getpid(), 9)", "os._exit(0)")
    for end in (*ends, waiting):
        done = subprocess.run(
            [sys.executable, "-c", script.format(end)],
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            text=True,
            cwd=tmp_path,
            env={**os.environ, "PYTHONPATH": str(ROOT / "python")},
            timeout=10,
        )
        assert is_gone(int(done.stdout)), end
