# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The built console program, rehearsal servers, and servers that answer with given bytes."""

import json
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import unittest

import jsonschema

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "Tests/EndToEnd"))

from fixtures.case import BUILD, loopback  # noqa: E402
from fixtures.children import folders_below  # noqa: E402
from fixtures.servers import MediaServer  # noqa: E402

PROGRAM = BUILD / "brenvokactl"
VERSION = "X-BVProtocolVersion: 281474976710656\r\n"


def validate(document, command):
    """Checks a document of `--format json` against its published schema."""
    schema = json.loads((ROOT / f"Docs/brenvokactl-{command}.schema.json").read_text())
    jsonschema.Draft202012Validator.check_schema(schema)
    jsonschema.Draft202012Validator(schema).validate(document)


class RawServer:
    """Answers every connection with the same bytes; without `closes` it stays silent after them."""

    def __init__(self, address, answer, closes=True, repeats=False):
        self._answer, self._closes, self._repeats = answer, closes, repeats
        self._listener = socket.create_server((address, 4567))
        self._open = []
        self._thread = threading.Thread(target=self._accept, daemon=True)
        self._thread.start()

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(connection,), daemon=True).start()

    def _serve(self, connection):
        self._open.append(connection)
        try:
            connection.recv(65536)
            connection.sendall(self._answer)
            while self._repeats:
                connection.sendall(b"x" * 65536)
        except OSError:
            return
        if self._closes:
            connection.close()

    def close(self):
        self._listener.shutdown(socket.SHUT_RDWR)  # wakes the thread, which would keep the port
        self._thread.join()
        self._listener.close()
        for connection in self._open:
            connection.close()


def reply(body, headers=VERSION, status="200 OK"):
    body = body if isinstance(body, bytes) else json.dumps(body).encode()
    return (f"HTTP/1.1 {status}\r\n{headers}Content-Length: {len(body)}\r\n\r\n").encode() + body


class ProgramCase(unittest.TestCase):
    """Everything that a test starts is ended after it."""

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="brenvokactl-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        self.home = self.folder / "home"
        self.environment = dict(os.environ, HOME=str(self.home), LC_ALL="C.UTF-8",
                                **folders_below(self.home))
        self.work = self.folder / "work"
        self.work.mkdir()

    def run_program(self, *words, **options):
        """Runs it in an empty directory; it may not take longer than a minute."""
        return subprocess.run([PROGRAM, *map(str, words)], cwd=self.work, capture_output=True,
                              env=self.environment, timeout=60, stdin=subprocess.DEVNULL,
                              check=False, **options)

    def output(self, code, *words):
        """Standard output as text, after the exit code was checked."""
        done = self.run_program(*words)
        self.assertEqual((done.returncode, done.stderr.decode()), (code, ""), done.stdout)
        return done.stdout.decode()

    def document(self, code, *words):
        return json.loads(self.output(code, *words, "--format", "json"))

    def assert_refused(self, *words, contains=""):
        """One line on standard error, exit code 2, nothing else."""
        before = sorted(self.folder.rglob("*"))
        done = self.run_program(*words)
        error = done.stderr.decode()
        self.assertEqual((done.returncode, done.stdout), (2, b""), error)
        self.assertRegex(error, r"\Abrenvokactl: [^\n]+\n\Z")
        self.assertIn(contains, error)
        self.assertEqual(sorted(self.folder.rglob("*")), before)

    def serve(self, number, name, *options):
        server = MediaServer(BUILD / "media-server", loopback(number), name, self.folder / name,
                             *options)
        self.addCleanup(server.close)
        return server.wait_until_up()

    def answer(self, number, *arguments, **options):
        server = RawServer(loopback(number), *arguments, **options)
        self.addCleanup(server.close)
        return loopback(number)
