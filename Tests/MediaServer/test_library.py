# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The library document, the thumbnails, and the files themselves."""

import fcntl
import json
import socket
import struct
import termios
import time
import unittest

from media_server import (TIMEOUT, PORT, MediaServerTest, eventually, library_on_disk, loopback,
                          shape, uploaded_library, wire)


def png_size(data):
    return struct.unpack(">II", data[16:24])


class LibraryTest(MediaServerTest):
    def test_empty_library_has_no_folders_and_a_hash(self):
        document = self.server(loopback(1)).library()
        self.assertEqual(document["folders"], [])
        self.assertRegex(document["hash"], "^[0-9a-f]{32}$")

    def test_document_has_the_structure_of_the_wire_file(self):
        server = self.server(loopback(2))
        uploaded_library(server, [(0, 17)])
        reply = server.raw(wire("library.http"))
        expected = json.loads(wire("library.json"))
        self.assertEqual(shape(reply.json()["folders"][0]["files"][0]),
                         shape(expected["folders"][0]["files"][0]))
        self.assertEqual(reply.json().keys(), expected.keys())
        self.assertEqual(reply.json()["folders"][0].keys(), expected["folders"][0].keys())

    def test_document_headers(self):
        reply = self.server(loopback(3)).get("/brenvoka/library.json?ver=1")
        self.assertEqual(reply.headers["X-BVProtocolVersion"], "281474976710656")
        self.assertEqual(reply.headers["X-BVFeatureList"], "1")
        self.assertEqual(reply.headers["Cache-Control"], "no-store")

    def test_responses_are_never_compressed(self):
        server = self.server(loopback(4), "--generate", 1)
        reply = server.get("/brenvoka/library.json", {"Accept-Encoding": "gzip, deflate"})
        self.assertIsNone(reply.headers["Content-Encoding"])
        self.assertEqual(len(reply.json()["folders"]), 6)

    def test_folders_are_listed_in_slot_order_without_gaps(self):
        server = self.server(loopback(5))
        uploaded_library(server, [(3, 255), (3, 1), (1, 9)])
        folders = server.library()["folders"]
        self.assertEqual([folder["slot"] for folder in folders], [0, 1, 2, 3])
        self.assertEqual([folder["name"] for folder in folders],
                         ["000_Folder", "001_Folder", "002_Folder", "003_Folder"])
        self.assertEqual(server.visuals().keys(), {(1, 9), (3, 1), (3, 255)})
        self.assertEqual(server.visuals()[3, 1][0], "001: File 1")

    def test_sparse_library_lists_only_folders_with_visuals(self):
        server = self.server(loopback(6), "--sparse")
        uploaded_library(server, [(5, 1), (1, 9)])
        server.rename(7, "Empty")
        self.assertEqual([folder["slot"] for folder in server.library()["folders"]], [1, 5])

    def test_equal_libraries_have_equal_hashes(self):
        servers = [self.server(loopback(7)), self.server(loopback(8))]
        slots = [(0, 1), (2, 200), (2, 3)]
        uploaded_library(servers[0], slots)
        uploaded_library(servers[1], reversed(slots))
        self.assertEqual(servers[0].library(), servers[1].library())

    def test_each_difference_changes_the_hash(self):
        server = self.server(loopback(9))
        uploaded_library(server, [(0, 1), (2, 200)])
        seen = {server.library()["hash"]}
        for change in (lambda: server.rename(1, "Named"), lambda: server.move(0, 1, 2),
                       lambda: server.upload(0, 2, "File 1.bin", b"other bytes"),
                       lambda: server.upload(0, 2, "Other name.bin", b"other bytes"),
                       lambda: server.remove(2, 200)):
            self.assertEqual(change()["RESULT"], 0)
            seen.add(server.library()["hash"])
        self.assertEqual(len(seen), 6)

    def test_generated_library_depends_only_on_its_options(self):
        options = ("--folders", 2, "--visuals", 8, "--picture-size", "160x90",
                   "--clip-bytes", 5000)
        first, same, other = [
            self.server(address, "--generate", seed, *options).library()
            for address, seed in ((loopback(10), 7), (loopback(11), 7), (loopback(12), 8))]
        self.assertEqual(first, same)
        self.assertNotEqual(first["hash"], other["hash"])
        self.assertEqual([len(folder["files"]) for folder in first["folders"]], [8, 8])
        hashes = [file["hash"] for folder in first["folders"] for file in folder["files"]]
        self.assertEqual(len(set(hashes)), 16)

    def test_library_survives_a_restart(self):
        server = self.server(loopback(13), "--generate", 1, "--folders", 2, "--visuals", 3)
        server.rename(1, "Opening%20night")
        before = server.library()
        server.process.terminate()
        server.process.wait()
        again = self.server(loopback(13), directory=server.directory)
        self.assertEqual(again.library(), before)

    def test_hash_is_the_md5_of_the_file(self):
        server = self.server(loopback(14), "--generate", 3, "--folders", 1)
        self.assertEqual({slot: visual[1] for slot, visual in server.visuals().items()},
                         server.files())


class ThumbnailTest(MediaServerTest):
    def test_pictures_and_clips_have_thumbnails_of_128_by_96(self):
        server = self.server(loopback(20), "--generate", 1, "--folders", 1, "--visuals", 8)
        thumbnails = set()
        for folder, visual in server.visuals():
            reply = server.get(f"/brenvoka/thumbnails/{folder}/{visual}.png?ver=281474976710656")
            self.assertEqual((reply.status, reply.headers["Content-Type"]), (200, "image/png"))
            self.assertEqual(png_size(reply.body), (128, 96))
            thumbnails.add(reply.body)
        self.assertEqual(len(thumbnails), 8)

    def test_thumbnail_request_in_the_wire_file_succeeds(self):
        server = self.server(loopback(21))
        self.assertEqual(server.raw(wire("thumbnail-folder-3-slot-17.http")).status, 404)
        uploaded_library(server, [(3, 17)])
        reply = server.raw(wire("thumbnail-folder-3-slot-17.http"))
        self.assertEqual(png_size(reply.body), (128, 96))

    def test_cached_thumbnail_is_revalidated_by_its_etag(self):
        server = self.server(loopback(22))
        server.upload(0, 1, "one.bin", b"one")
        path = "/brenvoka/thumbnails/0/1.png"
        first = server.get(path)
        tag = first.headers["ETag"]
        self.assertEqual(server.get(path, {"If-None-Match": tag}).status, 304)
        server.upload(0, 1, "two.bin", b"two")
        second = server.get(path, {"If-None-Match": tag})
        self.assertEqual(second.status, 200)
        self.assertNotEqual(second.body, first.body)


class MediaTest(MediaServerTest):
    SIZE = 64 << 20     # more than the buffers of two sockets can hold

    def unread(self, server):
        """Opens a connection, requests a file and does not read it."""
        connection = socket.create_connection((server.address, PORT), TIMEOUT)
        self.addCleanup(connection.close)
        connection.sendall(b"GET /media/0/1 HTTP/1.1\r\nHost: x\r\n\r\n")
        self.assertTrue(connection.recv(12).endswith(b" 200"))
        return connection

    def blocked(self, connection):
        """Whether the sockets are full: no bytes have been added to the unread ones."""
        def unread_bytes():
            return struct.unpack("i", fcntl.ioctl(connection, termios.FIONREAD, bytes(4)))[0]

        before = unread_bytes()
        time.sleep(0.2)
        return 0 < before == unread_bytes()

    def test_client_that_does_not_read_does_not_delay_quit(self):
        server = self.server(loopback(30), directory=library_on_disk({(0, 1): bytes(self.SIZE)}))
        connection = self.unread(server)
        eventually(lambda: self.blocked(connection), "the sockets are full")
        server.console("quit")
        self.assertEqual(server.process.wait(TIMEOUT), 0)


if __name__ == "__main__":
    unittest.main()
