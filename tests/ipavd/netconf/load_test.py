"""Clients that commit at once lose nothing; the long run of bench/serve, for
some seconds, and that it finds what it looks for."""

import contextlib
import io
import pathlib
import shutil
import signal
import tempfile
import unittest

from served import IPAVD

import ledger
import load


class LoadTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="ipav-load-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.run_ = None

    def make_run(self, *arguments):
        options = load.parse([IPAVD, "--interfaces", "32", *arguments])
        self.run_ = load.Run(options, self.folder)
        return self.run_

    def started(self):
        """A run whose clients have not begun, and the first of them."""
        run = self.make_run()
        self.addCleanup(lambda: run.server.stop(signal.SIGKILL))
        run.start()
        for client in run.clients:
            self.addCleanup(client.session.close)
        return run, run.clients[0]

    def edit(self, *interfaces):
        """Running as somebody else leaves it."""
        with contextlib.closing(self.run_.connect()) as session:
            for operation in (ledger.edit_of(interfaces), load.COMMIT):
                load.must(session, operation)

    def assert_violation(self, text, body, *arguments):
        with self.assertRaisesRegex(ledger.Violation, text):
            body(*arguments)

    def test_four_clients_at_once_lose_nothing(self):
        run = self.make_run("--seconds", "3", "--commits", "200",
                            "--growth", "0")
        with contextlib.redirect_stdout(io.StringIO()) as output:
            status = load.execute(run)
        self.assertEqual((run.violations, status), ([], 0))
        self.assertGreaterEqual(run.commits(), 200)
        self.assertIn("4 clients", output.getvalue())
        for client in run.clients:
            self.assertGreater(len(client.times["commit"]), 0)
            self.assertEqual(len(client.times["refusal"]),
                             client.serial // load.REFUSED_ONE_IN)

    def test_finds_a_lost_commit(self):
        run, client = self.started()
        file = run.state / "running.xml"
        before = file.read_bytes()
        client.transaction()
        run.check_end("now")
        run.server.stop(signal.SIGKILL)
        file.write_bytes(before)
        run.start_server()
        self.assert_violation("which is not between", run.check_end, "again")

    def test_finds_a_lost_commit_at_the_next_one(self):
        run, client = self.started()
        client.transaction()
        client.pairs[client.serial % len(client.pairs)].committed += 1
        client.serial += len(client.pairs) - 1
        self.assert_violation("data-missing", client.transaction)

    def test_finds_a_lost_commit_in_the_file_alone(self):
        run, client = self.started()
        before = run.read_file()
        client.transaction()
        run.read_file = lambda: before
        self.assert_violation("running.xml now: ", run.check_end, "now")

    def test_finds_half_a_commit(self):
        run, client = self.started()
        pair = client.pairs[0]
        for name, change in [
                (pair.second, "<description>17</description>"),
                (pair.first, "<description>0</description><ipv4><address>"
                             "<secondary><ip>200.0.0.1/30</ip></secondary>"
                             "</address></ipv4>")]:
            with self.subTest(name):
                self.edit(ledger.l3(name, None, change))
                self.assert_violation("half a commit", run.check_end, "now")

    def test_finds_what_should_be_refused_and_is_not_or_with_another_text(self):
        _, client = self.started()
        for address in ["10.100.0.0/24", "199.0.0.1/24"]:
            for pair in client.pairs:
                pair.refusal = lambda _, bad=address: (bad, "l3 is no good")
            with self.subTest(address), \
                    contextlib.closing(self.run_.connect()) as session:
                client.session = session
                self.assert_violation("wanted .*is no good.*got",
                                      self.until_refusal, client)

    @staticmethod
    def until_refusal(client):
        for _ in range(load.REFUSED_ONE_IN):
            client.transaction()

    def test_finds_a_refused_commit_that_is_there(self):
        run, client = self.started()
        client.transaction()
        client.refused.add(client.serial)
        self.assert_violation("has the refused", run.check_end, "now")

    def test_finds_memory_that_grows(self):
        run = self.make_run()
        run.samples = [(10000 + 100 * i, {7: 500}) for i in range(100)]
        self.assert_violation("own processes grows", run.check_memory)
        run.samples = [(10000, {7: 500 + 100 * i}) for i in range(100)]
        self.assert_violation("other processes grows", run.check_memory)
        run.samples = [(10000 + i % 7, {7: 500}) for i in range(100)]
        run.check_memory()


if __name__ == "__main__":
    unittest.main()
