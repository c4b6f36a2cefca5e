#!/usr/bin/env python3
"""Clients that edit and commit at once, and a ledger of what must be there.

load.py IPAVD [--seconds S] [--commits N] [--clients C] [--interfaces I] ...

Starts `ipavd` and lets the clients work until both the time is over and
the commits are made. Each commits, under the lock of the candidate, changes of
interfaces of its own, every tenth of them one that a rule must refuse. All of
these are violations, which end the run with exit status 1:

- a lost commit: each commit deletes what the last one of the same interfaces
  created, which fails where that is not there; a reader looks for the commits
  that had their ok in running and in running.xml, and so does the end;
- half a commit: each changes two interfaces in three places that must agree;
- a commit that should be refused and is not, or with another text, path or
  validation point; a refused one of which something is there;
- memory that grows: the median of the last tenth of the samples may exceed that
  of the second tenth by at most --growth KiB (0: not judged);
- after the end, kill -9 and a second start, or SIGTERM and a third, any of
  these in what the server has then.
"""

import argparse
import contextlib
import os
import pathlib
import random
import signal
import sys
import tempfile
import threading
import time

from ledger import Pair, Violation, edit_of, interfaces_in, l3
from netconf import (GET, Server, connect_unix, error_of, family, is_ok,
                     load_average, memory, quantile)

LOCK = "<lock><target><candidate/></target></lock>"
UNLOCK = "<unlock><target><candidate/></target></unlock>"
COMMIT = "<commit/>"

MOST_L3 = 256  # interfaces of kind l3 that the network element takes
MOST_PAIRS = 16  # of one client
REFUSED_ONE_IN = 10
READ_SECONDS = 2
SAMPLE_SECONDS = 0.5


def must(session, operation):
    reply = session.rpc(operation)
    if not is_ok(reply):
        raise Violation(f"{operation}\nis answered by\n{reply}")


class Client(threading.Thread):
    """Commits one after another; `ledger` is what is known of them."""

    def __init__(self, number, run):
        super().__init__(daemon=True)
        self.session = run.connect()
        self.run_ = run
        self.random = random.Random(number)
        self.pairs = [Pair(number, i) for i in range(run.pairs_each)]
        self.serial = run.pairs_each
        self.refused = set()
        self.denied = 0
        self.times = {"commit": [], "refusal": [], "both": [], "whole": []}

    def run(self):
        try:
            while not self.run_.is_over():
                self.transaction()
        except Exception as error:  # pylint: disable=broad-except
            self.run_.fail(f"{self.name}: {type(error).__name__}: {error}")
        finally:
            self.session.close()

    def lock(self):
        while True:
            reply = self.session.rpc(LOCK)
            if is_ok(reply):
                return
            error = error_of(reply)
            if not error.get("error-message", "").startswith(
                    "candidate is locked by session "):
                raise Violation(f"lock is answered by\n{reply}")
            self.denied += 1
            self.pause()

    def pause(self):
        """Not all at once again, nor the same one at once again: who has just
        unlocked would always be the first to lock."""
        time.sleep(self.random.uniform(0.0005, 0.002))

    def transaction(self):
        self.serial += 1
        pair = self.pairs[self.serial % len(self.pairs)]
        is_bad = self.serial % REFUSED_ONE_IN == 0
        bad, text = pair.refusal(self.serial // REFUSED_ONE_IN)
        if is_bad:
            self.refused.add(self.serial)
        start = time.perf_counter()
        self.lock()
        locked = time.perf_counter()
        must(self.session, pair.edit(self.serial, bad if is_bad else ""))
        edited = time.perf_counter()
        pair.tried = self.serial
        if is_bad:
            reply = self.session.rpc(COMMIT)
            self.times["refusal"].append(time.perf_counter() - edited)
            self.check_refusal(reply, text)
        else:
            must(self.session, COMMIT)
            done = time.perf_counter()
            pair.committed = self.serial
            self.times["commit"].append(done - edited)
            self.times["both"].append(done - locked)
        must(self.session, UNLOCK)
        self.times["whole"].append(time.perf_counter() - start)
        self.pause()

    @staticmethod
    def check_refusal(reply, text):
        wanted = {
            "error-type": "application",
            "error-tag": "operation-failed",
            "error-severity": "error",
            "error-app-tag": "ipv4_addr_validation",
            "error-path": "/vorplex-config:config/interface/ipapp:l3",
            "error-message": text,
        }
        if error_of(reply) != wanted:
            raise Violation(f"wanted {wanted}, got\n{reply}")


class Run:
    """One run: what its threads share."""

    def __init__(self, options, folder):
        self.options = options
        self.state = folder / "state"
        self.pairs_each = min(
            MOST_PAIRS, options.interfaces // (2 * options.clients))
        self.violations = []
        self.over = threading.Event()
        self.end = 0.0
        self.clients = []
        self.reads = 0
        self.samples = []
        self.server = None

    def fail(self, text):
        self.violations.append(text)
        self.over.set()

    def is_over(self):
        """Once both the time and the commits are reached, or at a violation."""
        if self.over.is_set():
            return True
        enough = self.commits() >= self.options.commits
        if enough and time.monotonic() >= self.end:
            self.over.set()
        return self.over.is_set()

    def commits(self):
        return len(self.times("commit") + self.times("refusal"))

    def times(self, what):
        return [each for client in self.clients for each in client.times[what]]

    def pairs(self):
        return [pair for client in self.clients for pair in client.pairs]

    def start_server(self):
        self.server = Server(self.options.ipavd, self.state)

    def connect(self):
        return connect_unix(self.server.socket)

    def start(self):
        self.start_server()
        self.clients = [Client(i, self) for i in range(self.options.clients)]
        self.fill()

    def fill(self):
        """The configuration that the clients begin with."""
        everyone = [each for pair in self.pairs() for each in pair.initial()]
        for i in range(self.options.interfaces - len(everyone)):
            place = 4 * i
            ip = f"<ip>9.0.{place >> 8}.{(place & 255) + 1}/30</ip>"
            everyone.append(l3(f"idle-{i}", ip))
        with contextlib.closing(self.connect()) as session:
            for operation in (edit_of(everyone), COMMIT):
                must(session, operation)

    def work(self):
        begin = time.monotonic()
        self.end = begin + self.options.seconds
        with contextlib.closing(self.connect()) as reader:
            helpers = [
                threading.Thread(target=self.repeat, args=each, daemon=True)
                for each in ((lambda: self.read(reader), READ_SECONDS),
                             (self.sample, SAMPLE_SECONDS))]
            for thread in self.clients + helpers:
                thread.start()
            for thread in self.clients + helpers:
                thread.join()
        return time.monotonic() - begin

    def repeat(self, body, seconds):
        try:
            while not self.over.wait(seconds):
                body()
        except Exception as error:  # pylint: disable=broad-except
            self.fail(f"{type(error).__name__}: {error}")

    def read(self, session):
        self.look_at(lambda: session.rpc(GET), "running")
        self.look_at(self.read_file, "running.xml")
        self.reads += 1

    def read_file(self):
        return (self.state / "running.xml").read_text(encoding="utf-8")

    def look_at(self, source, name):
        """Every commit that had its ok is there, refused ones are not, and none
        is in part."""
        floors = {pair: pair.committed for pair in self.pairs()}
        interfaces = interfaces_in(source())
        if len(interfaces) != self.options.interfaces:
            raise Violation(f"{name} has {len(interfaces)} interfaces")
        for client in self.clients:
            for pair in client.pairs:
                serial = pair.serial_in(interfaces)
                if serial < floors[pair] or serial > pair.tried:
                    raise Violation(
                        f"{name}: {pair.first} is at {serial}, which is not "
                        f"between {floors[pair]} and {pair.tried}"
                    )
                if serial in client.refused:
                    raise Violation(f"{name} has the refused {serial}")

    def check_end(self, when):
        """Now nothing is under way: what is there is what had its ok."""
        for pair in self.pairs():
            pair.tried = pair.committed
        with contextlib.closing(self.connect()) as session:
            self.look_at(lambda: session.rpc(GET), f"running {when}")
        self.look_at(self.read_file, f"running.xml {when}")

    def check_restarts(self):
        self.check_end("at the end")
        for number in (signal.SIGKILL, signal.SIGTERM):
            self.server.stop(number)
            self.start_server()
            self.check_end(f"after {number.name} and a start")
        status = self.server.stop()
        if status != 0:
            raise Violation(f"the server ended with {status}")

    def sample(self):
        rss = {child: memory(child) for child in family(self.server.pid)}
        self.samples.append((memory(self.server.pid), rss))

    def growth(self):
        """KiB of the server's own process and of the others that are there all
        the time: at first, after warming up, and at the end."""
        tenth = len(self.samples) // 10
        if tenth == 0:
            return None
        lasting = set.intersection(*(set(rss) for _, rss in self.samples))
        early = self.samples[tenth : 2 * tenth]
        late = self.samples[-tenth:]

        def median(samples, value):
            return quantile([value(*each) for each in samples], 0.5)

        own = [median(each, lambda rss, _: rss) for each in (early, late)]
        others = [median(each, lambda _, rss: sum(rss[pid] for pid in lasting))
                  for each in (early, late)]
        return own, others, len(lasting)

    def check_memory(self):
        growth = self.growth()
        if growth is None or self.options.growth == 0:
            return
        own, others, _ = growth
        for name, (early, late) in (("own", own), ("other", others)):
            if late - early > self.options.growth:
                raise Violation(f"memory of the server's {name} processes "
                                f"grows from {early} to {late} KiB")


def report(run, seconds):
    commits, accepted = run.commits(), len(run.times("commit"))
    print(f"{commits} commits of {len(run.clients)} clients in {seconds:.0f} "
          f"s, {commits / seconds:.1f}/s: {accepted} accepted, "
          f"{commits - accepted} refused; {run.options.interfaces} interfaces")
    denied = sum(client.denied for client in run.clients)
    print(f"lock-denied: {denied}, each tried again; reads: {run.reads}")
    print("| ms | median | p99 | longest |\n| --- | ---: | ---: | ---: |")
    for key, name in (("commit", "commit, accepted"),
                      ("refusal", "commit, refused"),
                      ("both", "edit-config and commit"),
                      ("whole", "with waiting for the lock, and unlock")):
        if times := run.times(key):
            figures = (quantile(times, 0.5), quantile(times, 0.99), max(times))
            cells = [f"{1000 * figure:.1f}" for figure in figures]
            print(f"| {name} | " + " | ".join(cells) + " |")
    growth = run.growth()
    if growth:
        own, others, number = growth
        peak = max(rss for rss, _ in run.samples)
        print(f"memory: own process {own[0]} KiB after warming up, {own[1]} "
              f"at the end, at most {peak}; {number} others {others[0]} and "
              f"{others[1]} KiB")
    print(f"load average {load_average()}, {os.cpu_count()} processors")


def execute(run):
    try:
        run.start()
        seconds = run.work()
        report(run, seconds)
        if not run.violations:
            run.check_restarts()
            run.check_memory()
    except (Violation, OSError, RuntimeError, EOFError) as error:
        run.fail(f"{type(error).__name__}: {error}")
    finally:
        if run.server:
            run.server.stop(signal.SIGKILL)
    for violation in run.violations:
        print(f"violation: {violation}", file=sys.stderr)
    if run.violations and run.server:
        print(run.server.log()[-2000:], file=sys.stderr)
    return 1 if run.violations else 0


def parse(arguments):
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("ipavd")
    parser.add_argument("--seconds", type=float, default=300)
    parser.add_argument("--commits", type=int, default=10000)
    parser.add_argument("--clients", type=int, default=4)
    parser.add_argument("--interfaces", type=int, default=MOST_L3)
    parser.add_argument("--growth", type=int, default=1024, metavar="KIB")
    parser.add_argument("--folder", help="for the state, instead of /tmp")
    options = parser.parse_args(arguments)
    if not 0 < 2 * options.clients <= options.interfaces <= MOST_L3:
        parser.error(f"2 interfaces for each client, and at most {MOST_L3}")
    return options


def main():
    options = parse(sys.argv[1:])
    with tempfile.TemporaryDirectory(prefix="ipav-load-",
                                     dir=options.folder) as folder:
        status = execute(Run(options, pathlib.Path(folder)))
    if status == 0:
        print("no commit lost, none in part, every refusal with its text")
    sys.exit(status)


if __name__ == "__main__":
    main()
