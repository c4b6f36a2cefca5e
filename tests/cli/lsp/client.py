"""A client of the language server, for tests and measurements."""

import itertools
import json
import os
import pathlib
import select
import subprocess
import time

ROOT = pathlib.Path(__file__).resolve().parents[3]
IPAV = os.environ.get("IPAV_PROGRAM", str(ROOT / "build/dev/bin/ipav"))
SECONDS = 20  # more than any answer takes, also with sanitizers


class Client:
    """Starts the server; `messages` are all that it has sent and nobody took."""

    def __init__(self, *arguments):
        self.server = subprocess.Popen(
            [IPAV, "lsp", *arguments],
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            bufsize=0,
        )
        self.messages = []
        self.bytes = b""
        self.ids = itertools.count(1)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.server.kill()
        self.server.wait()
        for stream in (self.server.stdin, self.server.stdout,
                       self.server.stderr):
            stream.close()

    def send_bytes(self, data):
        self.server.stdin.write(data)

    def send(self, **message):
        content = json.dumps({"jsonrpc": "2.0", **message}).encode()
        self.send_bytes(b"Content-Length: %d\r\n\r\n" % len(content) + content)

    def notify(self, method, **params):
        self.send(method=method, params=params)

    def request(self, method, **params):
        """Sends a request, and returns its id."""
        number = next(self.ids)
        self.send(id=number, method=method, params=params)
        return number

    def call(self, method, **params):
        """The result of a request."""
        return self.answer(self.request(method, **params))["result"]

    def answer(self, number):
        return self.take(lambda m: m.get("id") == number and "method" not in m)

    def take(self, is_wanted):
        """The first message that is wanted, waited for."""
        end = time.monotonic() + SECONDS
        while True:
            for message in self.messages:
                if is_wanted(message):
                    self.messages.remove(message)
                    return message
            if not self._read(max(0, end - time.monotonic())):
                raise TimeoutError(f"not sent; others: {self.messages}")

    def _read(self, seconds):
        """Reads a message. False after the time, and after the last one."""
        while True:
            header, found, rest = self.bytes.partition(b"\r\n\r\n")
            size = int(header.split(b":")[1]) if found else 0
            if found and len(rest) >= size:
                self.messages.append(json.loads(rest[:size]))
                self.bytes = rest[size:]
                return True
            if not select.select([self.server.stdout], [], [], seconds)[0]:
                return False
            data = self.server.stdout.read(1 << 20)
            if not data:
                return False
            self.bytes += data

    # ---- Usual steps

    def initialize(self, **params):
        result = self.call("initialize", capabilities={}, **params)
        self.notify("initialized")
        return result

    def open(self, path, text=None):
        """Opens a file, or a text instead of it; returns its URI."""
        uri = pathlib.Path(path).as_uri()
        if text is None:
            text = pathlib.Path(path).read_text(encoding="utf-8")
        self.notify(
            "textDocument/didOpen",
            textDocument={
                "uri": uri,
                "languageId": "xml",
                "version": 1,
                "text": text,
            },
        )
        return uri

    def change(self, uri, version, *changes):
        self.notify(
            "textDocument/didChange",
            textDocument={"uri": uri, "version": version},
            contentChanges=changes,
        )

    def published(self, uri, version):
        """The diagnostics of that version."""
        return self.take(
            lambda m: m.get("method") == "textDocument/publishDiagnostics"
            and m["params"]["uri"] == uri
            and m["params"].get("version") == version
        )["params"]["diagnostics"]

    def shut_down(self):
        """Ends the server in the right way; returns its exit status."""
        self.call("shutdown")
        self.notify("exit")
        return self.server.wait(SECONDS)


def insertion(line, character, text):
    at = {"line": line, "character": character}
    return {"range": {"start": at, "end": at}, "text": text}


def replacement(line, begin, end, text):
    return {
        "range": {
            "start": {"line": line, "character": begin},
            "end": {"line": line, "character": end},
        },
        "text": text,
    }
