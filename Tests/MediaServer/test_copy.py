# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""`--from-library`: a server with the layout of another one and drawn pictures."""

import hashlib
import http.server
import json
import os
import pathlib
import subprocess
import tempfile
import threading
import time
import unittest

from media_server import (PORT, PROGRAM, TIMEOUT, MediaServerTest, loopback, uploaded_library)

SMALL = ("--picture-size", "16x12")


def folder(slot, files=(), name="A folder"):
    return {"slot": slot, "name": name, "files": list(files)}


def visual(slot, name="001: Sunset", hash="0cc175b9c0f1b6a831c399e269772661"):
    return {"slot": slot, "name": name, "hash": hash}


def library(*folders):
    return json.dumps({"folders": folders, "hash": "h"}).encode()


class Source:
    """A server that answers each request with the same bytes."""

    def __init__(self, test, address, body=b"", status=200, headers=()):
        self.requests = []
        source = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def do_GET(self):
                source.requests.append(self.path)
                self.send_response(status)
                for name, value in headers:
                    self.send_header(name, value)
                self.end_headers()
                try:
                    if callable(body):
                        body(self.wfile)
                    else:
                        self.wfile.write(body)
                except OSError:
                    pass        # the client has seen enough

            def log_message(self, *_):
                pass

        self.server = http.server.ThreadingHTTPServer((address, 0), Handler)
        self.url = f"http://{address}:{self.server.server_port}"
        thread = threading.Thread(target=self.server.serve_forever, kwargs={"poll_interval": 0.02})
        thread.start()
        test.addCleanup(self.server.server_close)
        test.addCleanup(thread.join)
        test.addCleanup(self.server.shutdown)


class CopyTest(MediaServerTest):
    def copy_of(self, number, document, *options):
        """A server that was filled from this document."""
        source = Source(self, loopback(number), document)
        return self.server(loopback(number + 1), "--from-library", source.url, *SMALL, *options)

    def refused(self, url, *options):
        """The error of a server that has nothing to copy. It writes only an empty library."""
        with tempfile.TemporaryDirectory() as parent:
            path = pathlib.Path(parent, "library")
            done = subprocess.run(
                [PROGRAM, "--address", loopback(200), "--library", path, "--from-library", url,
                 *options], timeout=TIMEOUT, text=True, stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False, cwd=parent,
                env={"XDG_RUNTIME_DIR": parent, **os.environ})
            self.assertEqual(done.returncode, 2, done)
            self.assertEqual(done.stdout, "")
            self.assertRegex(done.stderr, r"\Amedia-server: [^\n]+\n\Z")
            written = {str(file.relative_to(parent)) for file in pathlib.Path(parent).rglob("*")}
            self.assertLessEqual(written, {"library", "library/.incoming"})
            return done.stderr

    def test_layout_is_that_of_the_server(self):
        original = self.server(loopback(1))
        uploaded_library(original, [(3, 255), (3, 1), (1, 9)])
        copy = self.server(loopback(2), "--from-library", original.url, *SMALL)
        expected, filled = original.library(), copy.library()
        for document in (expected, filled):
            for listed in document["folders"]:
                for file in listed["files"]:
                    del file["hash"]
        self.assertEqual(filled["folders"], expected["folders"])
        # The server was asked only for its library.
        gets = [line for line in original.log.read_text().splitlines() if line.startswith("GET")]
        self.assertEqual(gets, ["GET /brenvoka/library.json?ver=281474976710656"] * len(gets))

    def test_files_are_drawn_pictures(self):
        server = self.copy_of(3, library(folder(0, [visual(1)])))
        reply = server.get("/media/0/1")
        self.assertEqual(reply.body[:8], b"\x89PNG\r\n\x1a\n")
        self.assertEqual(reply.headers["X-Media-File"], "Sunset.png")
        self.assertEqual(server.visuals()[0, 1][1], hashlib.md5(reply.body).hexdigest())

    def test_equal_visuals_stay_equal(self):
        one = self.copy_of(5, library(folder(0, [visual(1, hash="aa"), visual(2, hash="bb")])))
        two = self.copy_of(7, library(folder(4, [visual(7, "007: Rain", hash="aa"),
                                                 visual(8, "008: Rain", hash="cc")])))
        first, second = one.visuals(), two.visuals()
        self.assertEqual(first[0, 1][1], second[4, 7][1])
        hashes = {value[1] for value in (*first.values(), *second.values())}
        self.assertEqual(len(hashes), 3)

    def test_hash_may_be_any_text(self):
        texts = ["", "\0", "a" * 100000, "<b>", "\ud800", "../x", "x"]
        files = [visual(slot, hash=text) for slot, text in enumerate(texts, 1)]
        visuals = self.copy_of(9, library(folder(0, files))).visuals()
        self.assertEqual(len({value[1] for value in visuals.values()}), len(texts))

    def test_names_are_no_paths(self):
        names = {1: "001: ../../escaped", 2: "002: /etc/passwd", 3: "003: ..", 4: "004: ",
                 5: "five", 6: "006: a\0b\nc", 7: "007: " + "W" * 5000, 8: "008: Dr. No and more",
                 9: "009: ..\\..\\up", 10: "010: .hidden"}
        with tempfile.TemporaryDirectory() as parent:
            source = Source(self, loopback(11), library(
                folder(0, [visual(slot, name) for slot, name in names.items()], "../../folder")))
            inside = pathlib.Path(parent, "a", "b", "library")
            inside.parent.mkdir(parents=True)
            server = self.server(loopback(12), "--from-library", source.url, *SMALL,
                                 directory=inside)
            outside = {path for path in pathlib.Path(parent).rglob("*")
                       if inside not in (path, *path.parents) and path not in inside.parents}
            self.assertEqual(outside, {server.log})
            files = {str(path.relative_to(inside)) for path in inside.rglob("*") if path.is_file()}
            titles = {slot: name[0] for (_, slot), name in server.visuals().items()}
        self.assertEqual(files, {
            "000/folder.name", "000/001/_.._escaped.png", "000/002/_etc_passwd.png",
            "000/003/Untitled.png", "000/004/Untitled.png", "000/005/five.png",
            "000/006/abc.png", "000/007/" + "W" * 180 + ".png", "000/008/Dr. No and more.png",
            "000/009/_.._up.png", "000/010/hidden.png"})
        self.assertEqual(titles[8], "008: Dr. No and more")
        self.assertEqual(server.library()["folders"][0]["name"], "../../folder")

    def test_filled_library_is_not_filled_again(self):
        with tempfile.TemporaryDirectory() as path:
            source = Source(self, loopback(13), library(folder(0, [visual(1)])))
            options = ("--from-library", source.url, *SMALL)
            first = self.server(loopback(14), *options, directory=pathlib.Path(path))
            listed = first.visuals()
            first.console("quit")
            first.process.wait(TIMEOUT)
            second = self.server(loopback(14), *options, directory=pathlib.Path(path))
            self.assertEqual(second.visuals(), listed)
        self.assertEqual(len(source.requests), 1)

    def test_url_may_contain_a_path(self):
        source = Source(self, loopback(15), library())
        self.server(loopback(16), "--from-library", source.url + "/other/library.json?a=b")
        self.assertEqual(source.requests, ["/other/library.json?a=b"])

    def test_wrong_urls_are_refused(self):
        for url in ("", "127.0.0.1", "https://127.0.0.1", "file:///etc/passwd", "http://",
                    "http://a b", "http://127.0.0.1:0", "http://u:p@127.0.0.1", "http://x\ny"):
            with self.subTest(url):
                self.assertIn("--from-library: invalid value", self.refused(url))
        self.assertIn("exclude each other", self.refused("http://127.0.0.1", "--generate", "1"))

    def test_server_that_does_not_answer_is_an_error(self):
        self.assertIn(f"cannot read http://{loopback(17)}:{PORT}/",
                      self.refused(f"http://{loopback(17)}"))

    def test_status_is_checked(self):
        for status in (404, 500, 302):
            source = Source(self, loopback(18), library(), status,
                            [("Location", "http://127.0.0.1/elsewhere")])
            self.assertIn(f"answered with status {status}", self.refused(source.url))

    def test_wrong_documents_are_refused(self):
        good = folder(0, [visual(1)])
        documents = {
            b"": "not a JSON object", b"[]": "not a JSON object", b'{"folders": [': "not a JSON object",
            b"{}": "no list of folders", b'{"folders": {}}': "no list of folders",
            library(7): "lists a folder without a slot",
            library(folder(-1)): "lists a folder without a slot from 0 to 255",
            library(folder(256)): "lists a folder without a slot",
            library(folder("3")): "lists a folder without a slot",
            library(folder(1.5)): "lists a folder without a slot",
            library(good, folder(2, name=None)): "lists a folder without a name",
            library(good, {"slot": 2, "name": ""}): "no list of files",
            library(good, good): "lists a folder twice: slot 0",
            library(folder(3, [visual(0)])): "lists a visual of folder 3 without a slot from 1 to 255",
            library(folder(3, [visual(256)])): "lists a visual of folder 3 without a slot",
            library(folder(3, [visual(1), visual(1)])): "lists a visual of folder 3 twice: slot 1",
            library(folder(3, [visual(1, None)])): "lists a visual of folder 3 without a name",
            library(folder(3, [visual(1, hash=4)])): "lists a visual of folder 3 without a hash",
        }
        for document, reason in documents.items():
            with self.subTest(document):
                source = Source(self, loopback(19), document)
                self.assertIn(reason, self.refused(source.url))

    def test_body_that_ends_too_early_is_an_error(self):
        source = Source(self, loopback(20), b'{"folders": []', headers=[("Content-Length", "99")])
        self.assertIn("cannot read", self.refused(source.url))

    def test_endless_body_is_an_error(self):
        def endless(stream):
            while True:
                stream.write(b" " * 1048576)

        source = Source(self, loopback(21), endless)
        started = time.monotonic()
        self.assertIn("cannot read", self.refused(source.url))
        self.assertLess(time.monotonic() - started, TIMEOUT)


if __name__ == "__main__":
    unittest.main()
