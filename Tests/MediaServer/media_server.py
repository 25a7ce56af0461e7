# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Starts real media-server processes, sends them HTTP requests and raw bytes, and reads their
notification streams."""

import ctypes
import hashlib
import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import threading
import time
import unittest

PORT = 4567
TIMEOUT = 30
WIRE = pathlib.Path(os.environ["BRENVOKA_WIRE_DIR"])
PROGRAM = os.environ["MEDIA_SERVER"]
NETWORK = os.environ["BRENVOKA_LOOPBACK"]


def loopback(number):
    """An address that only this test program uses; `number` is 1 to 254."""
    return f"{NETWORK}.{number}"


def wire(name):
    return (WIRE / name).read_bytes()


def eventually(condition, what):
    """Waits until the condition returns a true value, and returns that value."""
    deadline = time.monotonic() + TIMEOUT
    while time.monotonic() < deadline:
        result = condition()
        if result:
            return result
        time.sleep(0.02)
    raise AssertionError("timeout while waiting until " + what)


def shape(value):
    """The structure of a JSON value: its keys and types without its numbers and texts."""
    if isinstance(value, dict):
        return {key: shape(item) for key, item in value.items()}
    if isinstance(value, list):
        return [shape(item) for item in value]
    if isinstance(value, bool):
        return "bool"
    return "number" if isinstance(value, (int, float)) else "text"


def end_with_the_parent():
    """Call in the child process: it is terminated when the test is killed."""
    ctypes.CDLL(None).prctl(1, signal.SIGTERM)     # PR_SET_PDEATHSIG, prctl(2)


class Response:
    def __init__(self, reply):
        self.status = reply.status
        self.headers = reply.headers
        self.body = reply.read()

    def json(self):
        return json.loads(self.body)


class NotificationStream:
    """Collects the messages of one stream. `end` is "clean", "cut" or "reset" when it has ended."""

    def __init__(self, address):
        self.messages = []
        self.end = None
        self.changed = threading.Condition()
        self.socket = socket.create_connection((address, PORT), TIMEOUT)
        self.socket.settimeout(None)
        self.socket.sendall(wire("notifier.http"))
        self.reader = threading.Thread(target=self.read, daemon=True)
        self.reader.start()

    def close(self):
        try:
            self.socket.shutdown(socket.SHUT_RDWR)
        except OSError:
            pass
        self.reader.join(TIMEOUT)
        self.socket.close()

    def read(self):
        try:
            end = self.read_chunks(self.socket.makefile("rb"))
        except ConnectionResetError:
            end = "reset"
        with self.changed:
            self.end = end
            self.changed.notify_all()

    def read_chunks(self, file):
        while file.readline().strip():
            pass
        unfinished = b""
        while True:
            size = file.readline()
            if not size:
                return "cut"
            if int(size, 16) == 0:
                return "clean"
            unfinished += file.read(int(size, 16))
            file.readline()
            *frames, unfinished = unfinished.split(b"\0")
            with self.changed:
                self.messages += [json.loads(frame) for frame in frames]
                self.changed.notify_all()

    def wait_for(self, condition, what):
        """Waits until the condition, called with all messages, returns a true value."""
        with self.changed:
            result = None

            def found():
                nonlocal result
                result = condition(self.messages)
                return result

            if not self.changed.wait_for(found, TIMEOUT):
                raise AssertionError(f"timeout while waiting until {what}\n{self.messages}")
            return result

    def wait_for_end(self):
        with self.changed:
            if not self.changed.wait_for(lambda: self.end, TIMEOUT):
                raise AssertionError("the stream does not end")
            return self.end

    def of_type(self, kind):
        with self.changed:
            return [message for message in self.messages if message["msg_type"] == kind]

    def wait_for_type(self, kind, count=1):
        self.wait_for(lambda all: sum(m["msg_type"] == kind for m in all) >= count,
                      f"{count} messages of type {kind} have arrived")
        return self.of_type(kind)

    def ended_transfers(self, count):
        """Waits for the ends of `count` transfers; returns "sync" objects by (folder, slot)."""
        ends = [message["sync"] for message in self.wait_for_type(3, count)]
        return {(sync["FLDIDX"], sync["VISIDX"]): sync for sync in ends}


class MediaServer:
    """One server process. Its library is in `directory`, which is deleted after the test."""

    def __init__(self, test, address, *options, name="Stage left", directory=None):
        self.address = address
        self.url = f"http://{address}:{PORT}"
        self.directory = pathlib.Path(directory or tempfile.mkdtemp(prefix="media-server-"))
        self.log = self.directory.with_suffix(".log")
        self.exit_codes = {0}
        test.addCleanup(shutil.rmtree, self.directory, True)
        test.addCleanup(self.log.unlink, True)
        options = [str(option) for option in options]
        if "--announce-to" not in options and "--no-announce" not in options:
            options.append("--no-announce")
        self.process = subprocess.Popen(
            [PROGRAM, "--address", address, "--name", name, "--library", self.directory,
             "--log", self.log, *options],
            env={"XDG_RUNTIME_DIR": str(self.directory), **os.environ},
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1,
            preexec_fn=end_with_the_parent)
        test.addCleanup(self.check_exit, test)
        self.ready = self.process.stdout.readline()
        test.assertTrue(self.ready.startswith("ready " + self.url), self.ready)

    def check_exit(self, test):
        if self.process.poll() is None:
            self.process.terminate()
        try:
            code = self.process.wait(TIMEOUT)
        except subprocess.TimeoutExpired:
            self.process.kill()
            code = self.process.wait()
        try:
            self.process.stdin.close()
        except BrokenPipeError:
            pass
        self.process.stdout.close()
        test.assertIn(code, self.exit_codes, "exit code of " + self.address)

    def console(self, line):
        """Sends a console command."""
        self.process.stdin.write(line + "\n")

    def ask(self, line):
        """Sends a console command and returns its answer."""
        self.console(line)
        return self.process.stdout.readline().strip()

    def get(self, path, headers=None):
        return self.request("GET", path, headers=headers or {})

    def request(self, method, path, body=None, headers=None):
        connection = http.client.HTTPConnection(self.address, PORT, timeout=TIMEOUT)
        try:
            connection.request(method, path, body, headers or {})
            return Response(connection.getresponse())
        finally:
            connection.close()

    def raw(self, request):
        """Sends the bytes unchanged and reads one response."""
        with socket.create_connection((self.address, PORT), TIMEOUT) as connection:
            connection.sendall(request)
            reply = http.client.HTTPResponse(connection)
            reply.begin()
            return Response(reply)

    def library(self):
        return self.get("/brenvoka/library.json?ver=281474976710656").json()

    def visuals(self):
        """The listed visuals: (name, hash) by (folder, slot)."""
        return {(folder["slot"], file["slot"]): (file["name"], file["hash"])
                for folder in self.library()["folders"] for file in folder["files"]}

    def folder_names(self):
        return [folder["name"] for folder in self.library()["folders"]]

    def post(self, body, content_type="application/x-www-form-urlencoded"):
        return self.request("POST", "/brenvoka/execute.html", body,
                            {"Content-Type": content_type}).json()

    def command(self, kind, fields=""):
        return self.post(f"req_type={kind}&{fields}ver=281474976710656")

    def sync(self, source, folder, visual):
        return self.command(1, f"serverURL={source}&folderIdx={folder}&visualIdx={visual}&")

    def remove(self, folder, visual):
        return self.command(2, f"folderIdx={folder}&visualIdx={visual}&")

    def move(self, folder, visual, to):
        return self.command(3, f"folderIdx={folder}&visualIdx={visual}&visualToIdx={to}&")

    def rename(self, folder, name):
        return self.command(5, f"folderIdx={folder}&folderName={name}&")

    def upload(self, folder, visual, name, content):
        form = multipart([("folderIdx", str(folder)), ("visualIdx", str(visual)),
                          ("ver", "281474976710656")], name, content)
        return self.request("POST", "/brenvoka/upload.html", form,
                            {"Content-Type": 'multipart/form-data; boundary="EDGE"'}).json()

    def files(self):
        """The files on disk: the MD5 of their bytes by (folder, slot)."""
        return {tuple(int(part) for part in path.parts[-3:-1]):
                hashlib.md5(path.read_bytes()).hexdigest()
                for path in self.directory.glob("[0-9]*/[0-9]*/*")}

    def incoming(self):
        return list((self.directory / ".incoming").iterdir())

    def log_lines(self):
        return self.log.read_text().splitlines()


def library_on_disk(files):
    """Creates a library for a server to start with. `files` has bytes by (folder, slot)."""
    directory = pathlib.Path(tempfile.mkdtemp(prefix="media-server-"))
    for (folder, visual), content in files.items():
        slot = directory / f"{folder:03}" / f"{visual:03}"
        slot.mkdir(parents=True)
        (slot / f"File {visual}.bin").write_bytes(content)
    return directory


def multipart(fields, file_name, content):
    parts = [f'--EDGE\r\nContent-Disposition: form-data; name="{key}"\r\n\r\n{value}\r\n'.encode()
             for key, value in fields]
    if file_name is not None:
        parts.append(b"--EDGE\r\nContent-Type: application/octet-stream\r\n"
                     + f'Content-Disposition: form-data; name="visualFile"; filename="{file_name}"'
                     .encode() + b"\r\n\r\n" + content + b"\r\n")
    return b"".join(parts) + b"--EDGE--\r\n"


def uploaded_library(server, slots, content=b"old"):
    """Uploads a small file into each slot. Its bytes depend on the slot and `content`."""
    for folder, visual in slots:
        server.upload(folder, visual, f"File {visual}.bin", b"%s %d %d" % (content, folder, visual))


DONE = {"msg_type": 7, "RESULT": 0}


class MediaServerTest(unittest.TestCase):
    def server(self, address, *options, **settings):
        return MediaServer(self, address, *options, **settings)

    def stream(self, server):
        stream = NotificationStream(server.address)
        self.addCleanup(stream.close)
        stream.wait_for_type(0)
        return stream

    def assertError(self, result, pattern):
        self.assertEqual((result["msg_type"], result["RESULT"]), (7, 3), result)
        self.assertTrue(re.search(pattern, result["ERROR"]), result)


class Announcements:
    """Receives the announcements that are sent to one address."""

    def __init__(self, test, address):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self.socket.bind((address, 3001))
        self.socket.settimeout(TIMEOUT)
        test.addCleanup(self.socket.close)

    def next(self):
        """Waits for one datagram; returns its bytes and the sender's address."""
        data, sender = self.socket.recvfrom(2048)
        return data, sender[0]

    def silent_for(self, seconds):
        self.socket.settimeout(seconds)
        try:
            self.socket.recvfrom(2048)
            return False
        except socket.timeout:
            return True
        finally:
            self.socket.settimeout(TIMEOUT)


def reset(connection):
    """Closes a connection with a reset."""
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
    connection.close()
