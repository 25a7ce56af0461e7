# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Bursts of commands as the largest synchronisations bring them."""

import concurrent.futures
import socket
import threading
import unittest

from media_server import PATIENCE, PORT, MediaServerTest, loopback

CONNECTIONS = 6
COMMANDS = 5000


class BurstTest(MediaServerTest):
    def post_all(self, server, places):
        """Posts one sync command for each place, over as many connections as a client has, each of
        which stays open from the first command to the last."""
        remaining = iter(places)
        lock = threading.Lock()

        def next_place():
            with lock:
                return next(remaining, None)

        def work():
            with socket.create_connection((server.address, PORT), PATIENCE) as connection:
                while place := next_place():
                    body = ("req_type=1&serverURL=http://127.0.0.2:4567&folderIdx=%d&visualIdx=%d"
                            "&ver=281474976710656" % place)
                    connection.sendall(
                        ("POST /brenvoka/execute.html HTTP/1.1\r\nHost: x\r\nContent-Type: "
                         "application/x-www-form-urlencoded\r\nContent-Length: %d\r\n\r\n%s"
                         % (len(body), body)).encode())
                    answer = b""
                    while not answer.endswith(b"}"):
                        piece = connection.recv(4096)
                        self.assertTrue(piece, "the server closed the connection")
                        answer += piece

        with concurrent.futures.ThreadPoolExecutor(CONNECTIONS) as pool:
            for worker in [pool.submit(work) for _ in range(CONNECTIONS)]:
                worker.result()

    def test_every_command_is_answered_and_the_table_does_not_run_empty(self):
        server = self.server(loopback(1), "--answer-only", "--burst-grace", 600000)
        stream = self.stream(server)
        places = [(number // 255, number % 255 + 1) for number in range(COMMANDS)]
        self.post_all(server, places)
        stream.wait_for_type(3, COMMANDS - 1)
        running, sizes = set(), []
        for message in stream.messages:
            if message["msg_type"] == 1:
                running.add(message["sync"]["ID"])
            elif message["msg_type"] == 3:
                self.assertEqual(message["sync"]["STATUS"], 6)
                running.remove(message["sync"]["ID"])
                sizes.append(len(running))
        self.assertEqual(len(sizes), COMMANDS - 1)
        self.assertNotIn(0, sizes)
        self.assertEqual(len(running), 1)
        self.assertEqual(server.visuals(), {})

    def test_a_cancel_of_thousands_ends_each_of_them(self):
        server = self.server(loopback(2), "--workers", 1, "--import-delay", 600000)
        source = self.server(loopback(3))
        source.upload(0, 1, "x.bin", b"x")
        stream = self.stream(server)
        server.sync(source.url, 0, 1)
        stream.wait_for(lambda all: any(m.get("sync", {}).get("STATUS") == 2 for m in all),
                        "the one worker is busy")
        places = [(1 + number // 255, number % 255 + 1) for number in range(2000)]
        self.post_all(server, places)
        server.command(4)
        ends = stream.ended_transfers(len(places))
        self.assertEqual({sync["STATUS"] for sync in ends.values()}, {5})
        self.assertEqual(ends.keys(), set(places))


if __name__ == "__main__":
    unittest.main()
