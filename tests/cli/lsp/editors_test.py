"""The language server in editors, with the settings of editors/."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

from client import IPAV, ROOT

BRANCH = ROOT / "examples/branch-router"
HERE = pathlib.Path(__file__).parent
TEXT = ("l3 meeting-rooms vrf global ipv4 address 172.31.12.129/25 overlaps "
        "with mgmt eth0 vrf mgmt ipv4 address 172.31.12.2/24.\noverlaps with: "
        "/config/interface/mgmt{eth0}/ipv4/address/ip 172.31.12.2/24 "
        "(unchanged), line 754")
LEAVE_OUT = ("leave out /config/interface/l3{meeting-rooms}/ipv4/address/"
             "secondary{172.31.12.129/25}, which the change adds (suggested)")
NARROW = "narrow mgmt eth0 to 172.31.12.2/25 (suggested)"


class EditorsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.candidate = self.folder / "candidate.xml"
        shutil.copy(BRANCH / "running.xml", self.folder)
        shutil.copy(BRANCH / "office-overlaps-management.xml", self.candidate)

    def run_editor(self, *command):
        """What the script in the editor has written."""
        if shutil.which(command[0]) is None:
            self.skipTest(f"{command[0]} is not installed")
        out = self.folder / "out.json"
        result = subprocess.run(
            command, capture_output=True, text=True, timeout=120, check=False,
            cwd=self.folder, stdin=subprocess.DEVNULL,
            env={**os.environ, "HOME": str(self.folder), "IPAV_PROGRAM": IPAV,
                 "XDG_STATE_HOME": str(self.folder),
                 "IPAV_TEST_CANDIDATE": str(self.candidate),
                 "IPAV_TEST_OUT": str(out)})
        self.assertTrue(out.exists(), result.stdout + result.stderr)
        return json.loads(out.read_text())

    def test_neovim_shows_and_corrects_a_refusal(self):
        seen = self.run_editor(
            "nvim", "--headless", "--clean",
            "--cmd", f"let g:ipav = {{'cmd': ['{IPAV}', 'lsp']}}",
            "-u", str(ROOT / "editors/neovim/ipav.lua"),
            "-c", f"luafile {HERE}/neovim.lua", "-c", "cquit")
        self.assertEqual(seen["at_first"], 0)
        self.assertEqual(seen["diagnostics"], [
            {"line": 509, "column": 16, "code": "interface-overlap",
             "text": TEXT}])
        self.assertEqual(seen["lenses"], ["refused: 1 finding",
                                          "1 change against running.xml"])
        self.assertEqual(seen["actions"], [LEAVE_OUT, NARROW])
        self.assertEqual([each[1:] for each in seen["completed"]], [
            ["ä<lower-layer-if>", "", "</lower-layer-if>"], ["<vrf></vrf>"],
            ['"description": ""'], ['"enabled": true']])
        self.assertEqual({each[0] for each in seen["completed"][2:]},
                         {'"name": "ä",'})
        [typed] = seen["typed"]
        self.assertIn("cannot be read beyond this place", typed["text"])
        # Without the program.
        said = self.run_editor(
            "nvim", "--headless", "--clean",
            "--cmd", "let g:ipav = {'cmd': ['no-such-ipav', 'lsp']}",
            "-u", str(ROOT / "editors/neovim/ipav.lua"),
            "-c", "edit candidate.xml", "-c", "edit running.xml",
            "-c", "call writefile([json_encode(execute('messages'))], "
                  "$IPAV_TEST_OUT)", "-c", "quitall!")
        self.assertEqual(
            [each for each in said.splitlines() if "lines" not in each and each],
            ["ipav.lua: no program no-such-ipav, so no verdicts. Install ipav, "
             "or set vim.g.ipav.cmd."])

    def test_neovim_starts_a_server_with_a_wrong_option_once(self):
        said = self.run_editor(
            "nvim", "--headless", "--clean",
            "--cmd", f"let g:ipav = {{'cmd': ['{IPAV}', 'lsp', '--none']}}",
            "-u", str(ROOT / "editors/neovim/ipav.lua"), "-c", "edit running.xml",
            "-c", "lua for _ = 1, 3 do vim.cmd('normal Ox | doautocmd TextChanged'); "
                  "vim.wait(300) end",
            "-c", "call writefile([json_encode(execute('messages'))], "
                  "$IPAV_TEST_OUT)", "-c", "quitall!")
        self.assertEqual(said.count("quit with exit code 2"), 1, said)
        self.assertEqual(said.count("the server is not started again"), 1, said)

    def test_emacs_shows_and_corrects_a_refusal(self):
        if not shutil.which("emacs") or subprocess.run(
                ["emacs", "--batch", "--eval", "(require 'eglot)"],
                capture_output=True, check=False).returncode != 0:
            self.skipTest("Emacs or its package eglot is not installed")
        seen = self.run_editor(
            "emacs", "--batch", "-l", str(ROOT / "editors/emacs/ipav.el"),
            "-l", str(HERE / "eglot.el"))
        self.assertEqual((seen["line"], seen["action"]), (509, NARROW))
        self.assertIn(TEXT, seen["texts"][0])


if __name__ == "__main__":
    unittest.main()
