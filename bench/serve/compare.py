#!/usr/bin/env python3
"""`ipavd` beside Debian's netconfd, with as many interfaces.

compare.py IPAVD [--sizes 10,100,1000] [--rounds N] [--seconds S]
           [--transport ssh|local]

Needs netconfd, and for SSH openssh-server, which nothing else here does:
apt install netconfd openssh-server. Without them it says so and measures
nothing.

All servers run at a time, with a session each, and take turns: one edit-config
of the candidate that changes the address of one interface, and its commit, then
the next server. netconfd is there three times, with the model
bench-interfaces.yang: without a rule, with a must and with a unique that refuse
an address that another interface has. That each refuses what it should, and
nothing else, is tried first. ipav is there a second time with its state in
memory: netconfd leaves it to the system when its file comes to the disk, ipav
waits for it. A server that has worked for S seconds at a size takes no more
turns.

ssh: through OpenSSH's client, and its server for netconfd, on loopback. local:
ipav's UNIX socket, and netconf-subsystem on netconfd's: one process between
client and server in either case.

Memory is that of the server's own process (RSS), and what all its processes
with one client have that is of no file (Pss_Anon): what files have, libraries
above all, is shared with whatever else runs.
"""

import argparse
import contextlib
import getpass
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import time

import ledger
import netconf

HERE = pathlib.Path(__file__).resolve().parent
PEERS = {
    "netconfd": ("", ""),
    "netconfd, must": ("// must", 'must "count(../../interface'
                       '[address = current()]) = 1";'),
    "netconfd, unique": ("// unique", 'unique "address";'),
}
MODULES = "/usr/share/yuma/modules"
NETCONFD = "/usr/sbin/netconfd"
SUBSYSTEM = "/usr/sbin/netconf-subsystem"
SSHD = "/usr/sbin/sshd"

HELLO_SECONDS = 0.5
IN_MEMORY = "/dev/shm"  # files that no disk has
MOST_L3 = 256  # interfaces of kind l3 that ipav's network element takes


def edit_of(config):
    # The test is the commit's: netconfd would make it twice.
    return ("<edit-config><target><candidate/></target>"
            "<test-option>set</test-option>"
            f"<config>{config}</config></edit-config>")


def address_of(place, host=1):
    return f"10.{place >> 8}.{place & 255}.{host}/24"


class Ipav:
    """ipavd with the plug-in. What is more than the l3 interfaces that
    there may be is loopbacks."""

    def __init__(self, name, options, folder, keys):
        self.name = name
        self.keys = keys
        more = ["--ssh", "0", "--authorized-keys", keys.authorized] \
            if keys else []
        self.server = netconf.Server(options.ipavd, folder / name, *more)

    def connect(self):
        if not self.keys:
            return netconf.connect_unix(self.server.socket)
        return netconf.connect_command(
            self.keys.client(str(self.server.port)))

    @staticmethod
    def config(addresses):
        def interface(place, address):
            l3 = ledger.l3(f"port-{place}", f"<ip>{address}</ip>")
            return l3 if place < MOST_L3 else \
                l3.replace("<l3", "<loopback").replace("/l3>", "/loopback>")

        return ledger.config(*[interface(*each)
                               for each in addresses.items()])

    def processes(self, _):
        return [self.server.pid, *netconf.family(self.server.pid)]

    def wants(self, error):
        return error.get("error-message") == (
            "l3 port-0 vrf global ipv4 address 10.0.1.1/24 overlaps with l3 "
            "port-1 vrf global ipv4 address 10.0.1.1/24.")

    def stop(self):
        self.server.stop()


class Netconfd:
    """netconfd, with a scratch home and a startup file of its own."""

    def __init__(self, name, folder, keys):
        self.name = name
        self.keys = keys
        self.sshd = None
        self.socket = folder / "ncx.sock"
        self.port = str(free_port())
        text = (HERE / "bench-interfaces.yang").read_text()
        folder.mkdir()
        (folder / "bench-interfaces.yang").write_text(
            text.replace(*PEERS[name]) if PEERS[name][0] else text)
        startup = folder / "startup.xml"
        startup.write_text(f'<config xmlns="{netconf.NETCONF}"/>\n')
        self.server = netconf.Process(
            [NETCONFD, f"--home={folder}", f"--modpath={folder}:{MODULES}",
             "--module=bench-interfaces",
             f"--ncxserver-sockname={self.socket}", f"--port={self.port}",
             "--target=candidate", "--access-control=off",
             f"--superuser={getpass.getuser()}", f"--startup={startup}",
             "--log-level=error"],
            folder / "netconfd.log", folder)
        self.server.wait_until(self.socket.exists, "netconfd does not start")
        if keys:
            self.sshd = keys.serve(folder, self.port, self.subsystem())

    def subsystem(self):
        return f"{SUBSYSTEM} --ncxserver-sockname={self.port}@{self.socket}"

    def connect(self):
        if self.keys:
            session = netconf.connect_command(self.keys.client(self.port))
        else:
            session = netconf.connect_command(
                self.subsystem().split(),
                # What sshd tells of the connection.
                {"SSH_CONNECTION": f"127.0.0.1 1 127.0.0.1 {self.port}",
                 "USER": getpass.getuser()})
        # A request that reaches netconfd together with the hello has no answer.
        time.sleep(HELLO_SECONDS)
        return session

    @staticmethod
    def config(addresses):
        return ('<interfaces xmlns="urn:bench:interfaces">' + "".join(
            f"<interface><name>port-{place}</name>"
            f"<address>{address}</address></interface>"
            for place, address in addresses.items()) + "</interfaces>")

    def processes(self, session):
        carrier = self.sshd.pid if self.sshd else session.process.pid
        return [self.server.pid, carrier, *netconf.family(carrier)]

    def wants(self, error):
        wanted = {"netconfd": None, "netconfd, must": "must-violation",
                  "netconfd, unique": "data-not-unique"}
        return error.get("error-app-tag") == wanted[self.name]

    def stop(self):
        if self.sshd:
            self.sshd.stop()
        self.server.stop()


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


class Keys:
    """What SSH needs, of this run only."""

    def __init__(self, folder):
        self.key, self.host = folder / "key", folder / "host"
        for key in (self.key, self.host):
            subprocess.run(
                ["ssh-keygen", "-q", "-t", "ecdsa", "-N", "", "-f", str(key)],
                check=True)
        self.authorized = f"{self.key}.pub"

    def client(self, port):
        return [
            "ssh", "-F", "none", "-p", port, "-i", str(self.key),
            "-q", "-o", "IdentitiesOnly=yes", "-o", "BatchMode=yes",
            "-o", "StrictHostKeyChecking=no",
            "-o", "UserKnownHostsFile=/dev/null",
            "-s", f"{getpass.getuser()}@127.0.0.1", "netconf",
        ]

    def serve(self, folder, port, subsystem):
        if os.getuid() == 0:
            os.makedirs("/run/sshd", exist_ok=True)  # sshd asks for it
        config = folder / "sshd_config"
        config.write_text(
            f"ListenAddress 127.0.0.1:{port}\nHostKey {self.host}\n"
            f"AuthorizedKeysFile {self.authorized}\nPidFile none\n"
            "StrictModes no\nUsePAM no\nPasswordAuthentication no\n"
            f"Subsystem netconf {subsystem}\n")
        server = netconf.Process([SSHD, "-D", "-e", "-f", str(config)],
                                 folder / "sshd.log")
        server.wait_for_log("Server listening")
        return server


class Contestant:
    """A server with its session and its times."""

    def __init__(self, server, size):
        self.server = server
        self.session = server.connect()
        self.edits, self.commits = [], []
        self.must("<lock><target><candidate/></target></lock>")
        self.set({place: address_of(place) for place in range(size)})
        self.try_rule()
        self.edits, self.commits = [], []

    def must(self, operation):
        reply = self.session.rpc(operation)
        if not netconf.is_ok(reply):
            sys.exit(f"{self.server.name}: {operation[:300]}\n{reply}")

    def edit(self, addresses):
        self.must(edit_of(self.server.config(addresses)))

    def set(self, addresses):
        begin = time.perf_counter()
        self.edit(addresses)
        edited = time.perf_counter()
        self.must("<commit/>")
        self.edits.append(edited - begin)
        self.commits.append(time.perf_counter() - edited)

    def try_rule(self):
        """The address of another interface is refused, if it should be."""
        self.edit({0: address_of(1)})
        reply = self.session.rpc("<commit/>")
        if not self.server.wants(netconf.error_of(reply)):
            sys.exit(f"{self.server.name} answers\n{reply}")
        if netconf.is_ok(reply):
            self.set({0: address_of(0)})
        else:
            self.must("<discard-changes/>")

    def both(self):
        return [sum(each) for each in zip(self.edits, self.commits)]

    def row(self, size):
        both = self.both()
        times = [*[netconf.quantile(each, 0.5)
                   for each in (self.edits, self.commits, both)],
                 netconf.quantile(both, 0.99), max(both)]
        cells = [f"{1000 * each:,.1f}" for each in times]
        if len(both) < 100:
            cells[3] = ""
        own = netconf.memory(self.server.server.pid) / 1024
        whole = netconf.data_of(self.server.processes(self.session)) / 1024
        cells += [f"{own:.1f}", f"{whole:.1f}"]
        return [f"{size:,}", self.server.name, str(len(both)), *cells]


HEAD = ["interfaces", "server", "commits", "edit, ms", "commit, ms", "both, ms",
        "p99, ms", "longest, ms", "own RSS, MiB", "all data, MiB"]


def print_row(cells):
    print("| " + " | ".join(cells) + " |", flush=True)


@contextlib.contextmanager
def scratch(where=None):
    with tempfile.TemporaryDirectory(prefix="ipav-compare-", dir=where) as name:
        yield pathlib.Path(name)


def measure(options, size, folder, keys):
    with contextlib.ExitStack() as stack:
        servers = [Ipav("ipavd", options, folder, keys)]
        stack.callback(servers[-1].stop)
        memory = stack.enter_context(scratch(IN_MEMORY))
        servers.append(Ipav("ipavd, no disk", options, memory, keys))
        stack.callback(servers[-1].stop)
        for i, name in enumerate(PEERS):
            servers.append(Netconfd(name, folder / f"netconfd-{i}", keys))
            stack.callback(servers[-1].stop)
        contestants = []
        for server in servers:
            contestants.append(Contestant(server, size))
            stack.callback(contestants[-1].session.close)
        for turn in range(options.rounds):
            # Of an interface that all servers have in the same kind of list.
            place = turn % min(size, MOST_L3)
            address = address_of(place, 2 + turn % 200)
            for each in contestants:
                if sum(each.both()) < options.seconds:
                    each.set({place: address})
        for each in contestants:
            print_row(each.row(size))


def missing(transport):
    needed = [NETCONFD, SUBSYSTEM]
    if transport == "ssh":
        needed += [SSHD, shutil.which("ssh") or "ssh"]
    return [path for path in needed if not os.path.exists(path)]


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("ipavd")
    parser.add_argument("--sizes", default="10,100,1000")
    parser.add_argument("--rounds", type=int, default=300)
    parser.add_argument("--seconds", type=float, default=60)
    parser.add_argument("--transport", choices=["ssh", "local"], default="ssh")
    options = parser.parse_args()
    if missing(options.transport):
        print(f"skipped: no {', '.join(missing(options.transport))} "
              "(apt install netconfd openssh-server)")
        return
    begin = netconf.load_average()
    print_row(HEAD)
    print_row(["---:", "---"] + ["---:"] * (len(HEAD) - 2))
    for size in map(int, options.sizes.split(",")):
        with scratch() as folder:
            keys = Keys(folder) if options.transport == "ssh" else None
            measure(options, size, folder, keys)
    print(f"transport {options.transport}; load average {begin} before, "
          f"{netconf.load_average()} after, {os.cpu_count()} processors")


if __name__ == "__main__":
    main()
