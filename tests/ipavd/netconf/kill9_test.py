"""A server whose client commits without a pause is killed; the next one has
the configuration before the commit or behind it, whole.

IPAV_KILLS is the number of kills, IPAV_SEED makes the moments others.
"""

import os
import random
import threading
import time
import unittest

from served import IPAPP, PATIENCE, ServerTest, config

KILLS = int(os.environ.get("IPAV_KILLS", "50"))
SEED = int(os.environ.get("IPAV_SEED", "1"))

INTERFACES = 60
REPLACE = "<default-operation>replace</default-operation>"


def numbered(number):
    """A configuration in which every interface has the number."""
    return config(*[f'<l3 xmlns="{IPAPP}"><name>if{i}</name>'
                    f"<description>{number}</description></l3>"
                    for i in range(INTERFACES)])


class Committer:
    """Commits one number after another, until its server is gone."""

    def __init__(self, client, number):
        self.client = client
        self.begun = self.done = number
        self.refused = None

    def run(self):
        try:
            while True:
                self.begun = self.done + 1
                self.commit(self.begun)
                self.done = self.begun
        except (EOFError, ConnectionError):
            pass

    def commit(self, number):
        """With one operation or another."""
        if number % 7 == 0:
            self.edit("running", number)
            self.ok("<discard-changes/>")
            return
        self.edit("candidate", number)
        if number % 5 == 0:
            self.ok("<commit><confirmed/></commit>")
        self.ok("<commit/>")

    def edit(self, target, number):
        self.ok(f"<edit-config><target><{target}/></target>{REPLACE}"
                f"<config>{numbered(number)}</config></edit-config>")

    def ok(self, operation):
        reply = self.client.rpc(operation)
        if not reply[0].tag.endswith("}ok"):
            self.refused = reply[0][-1].text
            raise ConnectionError


class KillTest(ServerTest):
    def wait_for_draft(self, is_there):
        """Until the next running is being written, or stands."""
        draft = self.folder / "state" / "running.xml.new"
        end = time.monotonic() + PATIENCE
        while draft.exists() != is_there and time.monotonic() < end:
            time.sleep(0.0001)

    def wait_for_moment(self, dice):
        """Any at all, or in one of the first commits, seen by its files:
        on a slow machine no commit has begun after a fixed time.
        """
        kind = dice.choice(["any", "while it is written", "once it stands"])
        if kind == "any":
            time.sleep(dice.random() * 0.12)
            return
        for _ in range(dice.randrange(3)):
            self.wait_for_draft(True)
            self.wait_for_draft(False)
        self.wait_for_draft(True)
        if kind == "once it stands":
            self.wait_for_draft(False)
        else:
            time.sleep(dice.random() * 0.002)

    def live(self, number, dice):
        """The life of a server from there on, and its end."""
        server = self.serve()
        committer = Committer(self.raw(server), number)
        thread = threading.Thread(target=committer.run)
        thread.start()
        self.wait_for_moment(dice)
        self.assertIsNone(server.process.poll(), server.log())
        server.process.kill()
        server.process.wait()
        thread.join(PATIENCE)
        self.assertFalse(thread.is_alive())
        self.assertIsNone(committer.refused)
        return committer

    def running(self):
        """The number that is running; None where it is not whole."""
        server = self.serve()
        client = self.raw(server)
        reply = client.rpc(
            "<get-config><source><running/></source></get-config>")
        numbers = [text.text for text in reply.iter(f"{{{IPAPP}}}description")]
        client.close()
        self.assertEqual(server.stop(), 0)
        if not numbers and not self.names(reply):
            return 0
        is_whole = len(numbers) == INTERFACES and len(set(numbers)) == 1
        return int(numbers[0]) if is_whole else None

    def test_leaves_the_old_configuration_or_the_new_one(self):
        dice = random.Random(SEED)
        number = commits = 0
        left = {"old": 0, "new": 0}
        for kill in range(KILLS):
            committer = self.live(number, dice)
            found = self.running()
            self.assertIn(found, {committer.done, committer.begun},
                          f"kill {kill}")
            commits += committer.done - number
            left["old" if found == committer.done else "new"] += 1
            number = found
        print(f"{KILLS} kills among {commits} commits left the old "
              f"configuration {left['old']} times, the new one {left['new']}")
        if KILLS >= 50:
            self.assertGreater(commits, 0)
            self.assertGreater(left["old"], 0)
            self.assertGreater(left["new"], 0)


if __name__ == "__main__":
    unittest.main()
