# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Commands that change the library, and their result documents."""

import json
import socket
import unittest

from media_server import (DONE, TIMEOUT, PORT, MediaServerTest, library_on_disk, loopback,
                          uploaded_library, wire)

RESERVED = {"msg_type": 7, "RESULT": 5}
IN_USE = {"msg_type": 7, "RESULT": 1}


class CommandTest(MediaServerTest):
    def test_commands_in_the_wire_files_succeed(self):
        server = self.server(loopback(1))
        uploaded_library(server, [(3, 7), (3, 17)])
        for name in ("remove-folder-3-slot-17.http", "move-folder-3-slot-7-to-12.http",
                     "rename-folder-3-to-Opening_night.http", "cancel-syncs.http"):
            self.assertEqual(server.raw(wire(name)).json(), DONE, name)
        self.assertEqual(server.visuals().keys(), {(3, 12)})
        self.assertEqual(server.folder_names()[3], "Opening night")
        bodies = [wire(name).split(b"\r\n\r\n")[1].decode() for name in
                  ("remove-folder-3-slot-17.http", "cancel-syncs.http")]
        lines = server.log_lines()
        for body in bodies:
            self.assertIn("POST /brenvoka/execute.html " + body, lines)

    def test_refuse_option_gives_every_result(self):
        results = [json.loads(row["body"]) for row in json.loads(wire("results.json"))
                   if row["body"].startswith('{"msg_type":7')]
        for result in results:
            if result["RESULT"] == 0 or (result["RESULT"] == 3 and "ERROR" not in result):
                continue
            server = self.server(loopback(2), "--refuse", result["RESULT"])
            self.assertEqual(server.remove(3, 17), result)
            self.assertEqual(server.upload(3, 17, "x.bin", b"x"), result)
            self.assertEqual(server.visuals(), {})
            server.process.terminate()
            server.process.wait()

    def test_refuse_with_a_kind_refuses_only_that_kind(self):
        server = self.server(loopback(3), "--refuse", "1@2", "--refuse", "3@upload",
                             "--refuse-text", "No more room")
        self.assertEqual(server.remove(3, 17), IN_USE)
        self.assertEqual(server.upload(3, 17, "x.bin", b"x"),
                         {"msg_type": 7, "RESULT": 3, "ERROR": "No more room"})
        reply = server.request("POST", "/brenvoka/upload.html", "no form",
                               {"Content-Type": "text/plain"})
        self.assertEqual((reply.status, reply.json()["RESULT"]), (200, 3))
        self.assertEqual(server.rename(3, "Name"), DONE)

    def test_refuse_with_a_number_refuses_only_that_request(self):
        server = self.server(loopback(15), "--refuse", "1@2#2", "--refuse", "5@2#3",
                             "--refuse", "4#7", "--refuse", "2@upload")
        uploaded = [server.upload(3, slot, "x.bin", b"x")["RESULT"] for slot in (1, 2)]
        self.assertEqual(uploaded, [2, 2])
        self.assertEqual(server.rename(3, "Name"), DONE)
        removed = [server.remove(3, 1)["RESULT"] for _ in range(5)]
        # The slot is empty, so the server itself answers with 3. The fourth removal is the seventh
        # request.
        self.assertEqual(removed, [3, 1, 5, 4, 3])

    def test_refused_sync_starts_no_transfer(self):
        server = self.server(loopback(4), "--refuse", "2@1")
        stream = self.stream(server)
        self.assertEqual(server.sync(f"http://{loopback(4)}:4567", 0, 1)["RESULT"], 2)
        server.console("library-changed")
        stream.wait_for_type(6)
        self.assertEqual(stream.of_type(1), [])

    def test_moved_visual_keeps_its_name(self):
        server = self.server(loopback(5))
        server.upload(3, 7, "Sunset.png", b"sunset")
        digest = server.visuals()[3, 7][1]
        self.assertEqual(server.move(3, 7, 12), DONE)
        self.assertEqual(server.visuals(), {(3, 12): ("012: Sunset", digest)})
        self.assertEqual(server.files(), {(3, 12): digest})
        self.assertEqual(server.move(3, 12, 12), DONE)
        self.assertEqual(server.visuals(), {(3, 12): ("012: Sunset", digest)})

    def test_move_replaces_the_visual_in_the_target_slot(self):
        server = self.server(loopback(6))
        server.upload(0, 1, "New.png", b"new")
        server.upload(0, 2, "Old.png", b"old")
        self.assertEqual(server.move(0, 1, 2), DONE)
        self.assertEqual([name for name, _ in server.visuals().values()], ["002: New"])
        self.assertEqual(len(server.files()), 1)

    def test_rename_creates_a_missing_folder(self):
        server = self.server(loopback(7))
        self.assertEqual(server.rename(2, "B%C3%BChne%20%E2%80%93%20%E8%88%9E%E5%8F%B0"), DONE)
        self.assertEqual(server.folder_names(), ["000_Folder", "001_Folder", "Bühne – 舞台"])
        self.assertEqual((server.directory / "002/folder.name").read_text(), "Bühne – 舞台")
        self.assertEqual(server.rename(255, "Last"), DONE)
        self.assertEqual(len(server.folder_names()), 256)

    def test_form_values_are_url_decoded(self):
        server = self.server(loopback(8))
        server.rename(0, "one+two%2Bthree%26four")
        self.assertEqual(server.folder_names(), ["one two+three&four"])

    def test_emptied_folder_keeps_its_name(self):
        server = self.server(loopback(9))
        uploaded_library(server, [(1, 4)])
        server.rename(1, "Act")
        self.assertEqual(server.remove(1, 4), DONE)
        self.assertEqual(server.files(), {})
        self.assertEqual(server.folder_names(), ["000_Folder", "Act"])

    def test_remove_and_move_fail_for_an_empty_slot(self):
        server = self.server(loopback(10))
        for result in (server.remove(3, 17), server.move(3, 17, 18)):
            self.assertError(result, "There is no visual in folder 003 slot 017")

    def test_slot_0_and_numbers_out_of_range_are_refused(self):
        server = self.server(loopback(11))
        for folder, visual in ((0, 0), (0, 256), (256, 1), (-1, 1), (0, -1), (99999, 1)):
            with self.subTest((folder, visual)):
                self.assertEqual(server.remove(folder, visual), RESERVED)
                self.assertEqual(server.sync(server.url, folder, visual), RESERVED)
                self.assertEqual(server.upload(folder, visual, "x.bin", b"x"), RESERVED)
        self.assertEqual(server.move(0, 1, 0), RESERVED)
        self.assertEqual(server.move(0, 1, 256), RESERVED)
        self.assertEqual(server.rename(256, "Name"), RESERVED)
        self.assertEqual(server.library()["folders"], [])

    def test_slot_with_a_running_transfer_is_in_use(self):
        source = self.server(loopback(12), "--bandwidth", 2000,
                             directory=library_on_disk({(0, 1): bytes(1000000)}))
        server = self.server(loopback(13))
        uploaded_library(server, [(0, 1), (0, 2)])
        self.assertEqual(server.sync(source.url, 0, 1), DONE)
        self.assertEqual(server.ask("quiet?"), "busy")
        self.assertEqual(server.remove(0, 1), IN_USE)
        self.assertEqual(server.move(0, 2, 1), IN_USE)
        self.assertEqual(server.move(0, 1, 3), IN_USE)
        self.assertEqual(server.upload(0, 1, "x.bin", b"x"), IN_USE)
        self.assertEqual(server.sync(f"http://{loopback(99)}:4567", 0, 1), IN_USE)
        self.assertEqual(server.rename(0, "Name"), {"msg_type": 7, "RESULT": 4})
        self.assertEqual(server.rename(1, "Name"), DONE)
        self.assertEqual(server.remove(0, 2), DONE)

    def test_stalled_server_keeps_streaming(self):
        server = self.server(loopback(14), "--stall", "--frame-rate-interval", 50)
        stream = self.stream(server)
        with socket.create_connection((server.address, PORT), TIMEOUT) as connection:
            connection.sendall(wire("remove-folder-3-slot-17.http"))
            stream.wait_for_type(5, 5)
            connection.setblocking(False)
            with self.assertRaises(BlockingIOError):
                connection.recv(1)
            server.console("end-stall")
            connection.settimeout(TIMEOUT)
            self.assertIn(b"200 OK", connection.recv(4096))
        self.assertEqual(server.rename(0, "Name"), DONE)


class MalformedTest(MediaServerTest):
    def test_form_with_missing_or_invalid_fields_fails(self):
        server = self.server(loopback(20))
        rows = (("", "req_type"), ("req_type=two", "req_type"), ("req_type=", "req_type"),
                ("req_type=9", "no command 9"), ("req_type=2", "folderIdx"),
                ("req_type=2&folderIdx=1", "visualIdx"),
                ("req_type=2&folderIdx=1&visualIdx=1.5", "visualIdx"),
                ("req_type=2&folderIdx=99999999999&visualIdx=1", "folderIdx"),
                ("req_type=3&folderIdx=1&visualIdx=1", "visualToIdx"),
                ("req_type=1&folderIdx=1&visualIdx=1", "serverURL"),
                ("req_type=5&folderIdx=1", "folderName"),
                ("req_type=5&folderIdx=1&folderName=", "folderName"),
                ("req_type=5&folderIdx=1&folderName=a%00b", "folderName"),
                ("&&&===%%%", "req_type"))
        for body, pattern in rows:
            with self.subTest(body):
                self.assertError(server.post(body), pattern)

    def test_body_of_another_content_type_fails(self):
        server = self.server(loopback(21))
        self.assertError(server.post("req_type=4", "text/plain"), "req_type")
        self.assertError(server.post('{"req_type": 4}', "application/json"), "req_type")

    def test_too_long_body_is_answered_with_413(self):
        server = self.server(loopback(22))
        reply = server.request("POST", "/brenvoka/execute.html", "req_type=4&x=" + "x" * 20000,
                               {"Content-Type": "application/x-www-form-urlencoded"})
        self.assertEqual(reply.status, 413)

    def test_unknown_path_is_answered_with_404(self):
        server = self.server(loopback(23), "--generate", 1, "--folders", 1)
        for path in ("/", "/brenvoka/", "/brenvoka/libraryXjson", "/media/0/", "/media/0/999",
                     "/media/../media/0/1", "/media/0/..%2f..%2ffolder.name", "/media/0/-1",
                     "/brenvoka/thumbnails/0/%2e%2e.png", "/brenvoka/thumbnails/9999/1.png",
                     "/../../../../etc/passwd"):
            self.assertEqual(server.get(path).status, 404, path)

    def test_malformed_request_is_never_answered_with_200(self):
        server = self.server(loopback(24))
        for noise in (b"\0\0\0\0\r\n\r\n", b"GET\r\n\r\n", b"HELLO / SMTP/3\r\n\r\n",
                      b"GET /" + b"x" * 100000 + b" HTTP/1.1\r\n\r\n", b""):
            with socket.create_connection((server.address, PORT), TIMEOUT) as connection:
                connection.sendall(noise)
                connection.shutdown(socket.SHUT_WR)
                answer = b""
                try:
                    while piece := connection.recv(4096):
                        answer += piece
                except ConnectionResetError:
                    pass
                self.assertNotIn(b" 200 ", answer)
        self.assertEqual(server.library()["folders"], [])


if __name__ == "__main__":
    unittest.main()
