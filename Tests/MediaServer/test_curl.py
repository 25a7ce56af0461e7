# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Tests with curl, a client that does not share the assumptions of the other tests."""

import hashlib
import json
import subprocess
import unittest

from media_server import (DONE, TIMEOUT, MediaServerTest, end_with_the_parent, eventually,
                          library_on_disk, loopback, wire)

SLOTS = [(0, 1), (0, 200), (3, 17)]


def body(name):
    """The body of a request in a wire file."""
    return wire(name).split(b"\r\n\r\n", 1)[1]


class Listener:
    """A notification stream that curl writes to a file."""

    def __init__(self, test, server):
        self.path = server.directory / "stream"
        self.process = subprocess.Popen(
            ["curl", "-sSN", "-o", self.path, server.url + "/brenvoka/notifier.html?ver=1"],
            preexec_fn=end_with_the_parent)
        test.addCleanup(self.process.wait, TIMEOUT)
        test.addCleanup(self.process.terminate)
        eventually(self.messages, "the first message has arrived")

    def messages(self):
        if not self.path.exists():
            return []
        return [json.loads(frame) for frame in self.path.read_bytes().split(b"\0")[:-1]]

    def ends(self, count):
        """Waits for the ends of `count` transfers; returns their states by (folder, slot)."""
        def ended():
            ends = [m["sync"] for m in self.messages() if m["msg_type"] == 3]
            return len(ends) == count and ends

        return {(sync["FLDIDX"], sync["VISIDX"]): sync["STATUS"]
                for sync in eventually(ended, f"{count} transfers have ended")}


class CurlTest(MediaServerTest):
    def curl(self, server, page, *arguments, data=None):
        return subprocess.run(["curl", "-sSf", *arguments, f"{server.url}/brenvoka/{page}"],
                              check=True, stdout=subprocess.PIPE, input=data,
                              timeout=TIMEOUT).stdout

    def execute(self, server, data):
        return json.loads(self.curl(server, "execute.html", "--data-binary", "@-", data=data))

    def visuals(self, server):
        document = json.loads(self.curl(server, "library.json?ver=281474976710656"))
        return {(folder["slot"], file["slot"]): file["hash"]
                for folder in document["folders"] for file in folder["files"]}

    def test_each_request_succeeds(self):
        server = self.server(loopback(1))
        file = server.directory / "Sunset.bin"
        file.write_bytes(bytes(100000))
        for slot in (7, 17):
            result = self.curl(server, "upload.html", "-F", "folderIdx=3", "-F",
                               f"visualIdx={slot}", "-F", "ver=281474976710656", "-F",
                               f"visualFile=@{file}")
            self.assertEqual(json.loads(result), DONE)
        thumbnail = self.curl(server, "thumbnails/3/17.png?ver=281474976710656")
        self.assertEqual(thumbnail[:8], b"\x89PNG\r\n\x1a\n")
        for name in ("rename-folder-3-to-Opening_night.http", "remove-folder-3-slot-17.http",
                     "move-folder-3-slot-7-to-12.http", "cancel-syncs.http"):
            self.assertEqual(self.execute(server, body(name)), DONE, name)
        self.assertEqual(self.visuals(server),
                         {(3, 12): hashlib.md5(file.read_bytes()).hexdigest()})
        self.assertEqual(server.folder_names()[3], "Opening night")

    def sync(self, source, destination):
        for folder, visual in SLOTS:
            command = (f"req_type=1&serverURL={source.url}&folderIdx={folder}&visualIdx={visual}"
                       "&ver=281474976710656")
            self.assertEqual(self.execute(destination, command.encode()), DONE)

    def test_sync_copies_the_files(self):
        source = self.server(loopback(2), directory=library_on_disk(
            {slot: b"%d/%d" % slot * 10000 for slot in SLOTS}))
        destination = self.server(loopback(3))
        listener = Listener(self, destination)
        self.sync(source, destination)
        self.assertEqual(listener.ends(3), {slot: 6 for slot in SLOTS})
        self.assertEqual(destination.files(), source.files())
        self.assertEqual(self.visuals(destination), source.files())

    def test_cancel_during_a_copy_leaves_no_file(self):
        source = self.server(loopback(4), "--bandwidth", 20000, directory=library_on_disk(
            {slot: bytes(1000000) for slot in SLOTS}))
        destination = self.server(loopback(5), "--workers", 2)
        listener = Listener(self, destination)
        self.sync(source, destination)
        eventually(lambda: any(path.stat().st_size for path in destination.incoming()),
                   "the first bytes have arrived")
        self.assertEqual(self.execute(destination, body("cancel-syncs.http")), DONE)
        self.assertEqual(listener.ends(3), {slot: 5 for slot in SLOTS})
        self.assertEqual((destination.files(), destination.incoming()), ({}, []))


if __name__ == "__main__":
    unittest.main()
