# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Uploads: multipart forms whose file is written to disk while it arrives."""

import hashlib
import http.client
import socket
import time
import unittest

from media_server import (DONE, TIMEOUT, PORT, MediaServerTest, Response, eventually, loopback,
                          multipart, wire)

HEAD = (b"POST /brenvoka/upload.html HTTP/1.1\r\nHost: x\r\n"
        b"Content-Type: multipart/form-data; boundary=%s\r\nContent-Length: %d\r\n\r\n")


class UploadTest(MediaServerTest):
    def test_upload_in_the_wire_file_succeeds(self):
        server = self.server(loopback(1))
        form = wire("upload-folder-3-slot-17.multipart")
        for boundary in (b"BOUNDARY", b'"BOUNDARY"'):
            reply = server.raw(HEAD % (boundary, len(form)) + form)
            self.assertEqual(reply.json(), DONE)
            self.assertEqual(server.visuals(),
                             {(3, 17): ("017: sunset", hashlib.md5(b"FILE BYTES").hexdigest())})
            server.remove(3, 17)
        self.assertIn("POST /brenvoka/upload.html folderIdx=3&visualIdx=17&ver=281474976710656"
                      "&visualFile=sunset.png&bytes=10", server.log_lines())

    def test_upload_replaces_the_visual_in_the_slot(self):
        server = self.server(loopback(2))
        for name, content in (("old.png", b"old"), ("new.mov", b"new"), ("new.mov", b"newer")):
            self.assertEqual(server.upload(1, 2, name, content), DONE)
        self.assertEqual(server.files(), {(1, 2): hashlib.md5(b"newer").hexdigest()})
        self.assertEqual(server.visuals()[1, 2][0], "002: new")

    def test_file_is_written_to_disk_while_it_arrives(self):
        server = self.server(loopback(3))
        content = bytes(range(256)) * (32 << 12)
        form = multipart([("folderIdx", "0"), ("visualIdx", "1")], "big.bin", content)
        with socket.create_connection((server.address, PORT), TIMEOUT) as connection:
            connection.sendall(HEAD % (b"EDGE", len(form)) + form[:-100])
            eventually(lambda: any(file.stat().st_size > len(content) - 100000
                                   for file in server.incoming()), "the file grows on disk")
            self.assertEqual(server.visuals(), {})
            connection.sendall(form[-100:])
            reply = http.client.HTTPResponse(connection)
            reply.begin()
            self.assertEqual(Response(reply).json(), DONE)
        self.assertEqual(server.files(), {(0, 1): hashlib.md5(content).hexdigest()})
        self.assertEqual(server.incoming(), [])

    def test_import_delay_applies_to_uploads(self):
        server = self.server(loopback(20), "--import-delay", 400)
        begin = time.monotonic()
        self.assertEqual(server.upload(0, 1, "x.bin", b"x"), DONE)
        self.assertGreaterEqual(time.monotonic() - begin, 0.4)
        self.assertEqual(server.visuals()[0, 1][0], "001: x")

    def test_shutdown_during_an_import_leaves_no_file(self):
        server = self.server(loopback(21), "--import-delay", 600000)
        form = multipart([("folderIdx", "0"), ("visualIdx", "1")], "x.bin", b"x")
        with socket.create_connection((server.address, PORT), TIMEOUT) as connection:
            connection.sendall(HEAD % (b"EDGE", len(form)) + form)
            eventually(server.incoming, "the file arrives")
            server.console("shutdown")
            server.process.wait(TIMEOUT)
        self.assertEqual(server.files(), {})
        self.assertEqual(server.incoming(), [])

    def test_aborted_upload_leaves_no_file(self):
        server = self.server(loopback(4))
        server.upload(0, 1, "old.bin", b"old")
        before = server.visuals()
        form = multipart([("folderIdx", "0"), ("visualIdx", "1")], "new.bin", bytes(100000))
        with socket.create_connection((server.address, PORT), TIMEOUT) as connection:
            connection.sendall(HEAD % (b"EDGE", len(form)) + form[:50000])
            eventually(server.incoming, "the upload begins")
        eventually(lambda: not server.incoming(), "the partial file is deleted")
        self.assertEqual(server.visuals(), before)

    def test_invalid_form_is_refused(self):
        server = self.server(loopback(5))
        slot_fields = [("folderIdx", "0"), ("visualIdx", "1")]
        rows = ((multipart([("visualIdx", "1")], "x.bin", b"x"), "folderIdx"),
                (multipart([("folderIdx", "x"), ("visualIdx", "1")], "x.bin", b"x"), "folderIdx"),
                (multipart(slot_fields, None, b""), "visualFile"),
                (multipart(slot_fields + [("note", "n" * 5000)], "x.bin", b"x"), "too long"),
                (multipart(slot_fields, "x.bin", b"x").replace(b"--EDGE--", b"--EDGE"),
                 "incomplete"),
                (b"no form at all", "incomplete"), (b"", "incomplete|visualFile"))
        for form, pattern in rows:
            with self.subTest(pattern):
                reply = server.raw(HEAD % (b"EDGE", len(form)) + form)
                self.assertError(reply.json(), pattern)
        reply = server.request("POST", "/brenvoka/upload.html", b"x" * 100000,
                               {"Content-Type": "application/octet-stream"})
        self.assertError(reply.json(), "multipart")
        self.assertEqual((server.visuals(), server.incoming()), ({}, []))

    def test_unreadable_form_is_answered_once_and_closes_connection(self):
        server = self.server(loopback(9))
        for head in (b"X" * 200000, b'Content-Disposition: form-data; name="visualFile"; filename="'
                     + b"A" * 200000 + b'"'):
            form = b"--EDGE\r\n" + head + b"\r\n\r\nx\r\n--EDGE--\r\n" + bytes(200000)
            with socket.create_connection((server.address, PORT), TIMEOUT) as connection:
                connection.sendall(HEAD % (b"EDGE", len(form)) + form)
                answer = b""
                while piece := connection.recv(4096):
                    answer += piece
            self.assertEqual(answer.count(b"HTTP/1.1 "), 1, answer)
            self.assertIn(b"The form is incomplete", answer)
        self.assertEqual((server.visuals(), server.incoming()), ({}, []))

    def test_file_name_cannot_leave_the_slot(self):
        server = self.server(loopback(6))
        for name, expected in (("../../../evil.png", "evil"), ("..\\..\\evil.png", "evil"),
                               ("/etc/passwd", "passwd"), (".hidden.png", "hidden"),
                               ("..", "Untitled"), ("a%22b.png", 'a"b'), ("a%41b.png", "a%41b"),
                               ("a\tb.png", "ab"), ("é" * 300 + ".png", "é" * 90),
                               ("Bühne 舞台.tar.gz", "Bühne 舞台.tar")):
            with self.subTest(name):
                self.assertEqual(server.upload(0, 1, name, name.encode()), DONE)
                self.assertEqual(server.visuals()[0, 1][0], "001: " + expected)
                self.assertEqual(server.files().keys(), {(0, 1)})

    def test_slow_link_slows_an_upload_down(self):
        server = self.server(loopback(7), "--bandwidth", 100000)
        start = time.monotonic()
        self.assertEqual(server.upload(0, 1, "x.bin", bytes(50000)), DONE)
        self.assertGreater(time.monotonic() - start, 0.4)

    def test_upload_over_a_slow_link_does_not_delay_quit(self):
        server = self.server(loopback(8), "--bandwidth", 10)
        form = multipart([("folderIdx", "0"), ("visualIdx", "1")], "x.bin", bytes(10000))
        with socket.create_connection((server.address, PORT), TIMEOUT) as connection:
            connection.sendall(HEAD % (b"EDGE", len(form)) + form)
            eventually(server.incoming, "the upload begins")
            server.console("quit")
            self.assertEqual(server.process.wait(TIMEOUT), 0)


if __name__ == "__main__":
    unittest.main()
