# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Bursts of commands, as a client sends them for the largest synchronisations."""

import concurrent.futures
import socket
import threading
import unittest

from media_server import TIMEOUT, PORT, MediaServerTest, loopback

CONNECTIONS = 6
COMMANDS = 5000


class BurstTest(MediaServerTest):
    def post_all(self, server, slots):
        """Posts one sync command for each slot, over as many connections as a client uses, which
        stay open until the last command."""
        remaining = iter(slots)
        lock = threading.Lock()

        def next_slot():
            with lock:
                return next(remaining, None)

        def work():
            with socket.create_connection((server.address, PORT), TIMEOUT) as connection:
                while slot := next_slot():
                    body = ("req_type=1&serverURL=http://127.0.0.2:4567&folderIdx=%d&visualIdx=%d"
                            "&ver=281474976710656" % slot)
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

    def test_burst_is_answered_and_the_table_never_empty(self):
        server = self.server(loopback(1), "--answer-only", "--burst-grace", 600000)
        stream = self.stream(server)
        slots = [(number // 255, number % 255 + 1) for number in range(COMMANDS)]
        self.post_all(server, slots)
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

    def test_cancel_ends_thousands_of_transfers(self):
        server = self.server(loopback(2), "--workers", 1, "--import-delay", 600000)
        source = self.server(loopback(3))
        source.upload(0, 1, "x.bin", b"x")
        stream = self.stream(server)
        server.sync(source.url, 0, 1)
        stream.wait_for(lambda all: any(m.get("sync", {}).get("STATUS") == 2 for m in all),
                        "the one worker is busy")
        slots = [(1 + number // 255, number % 255 + 1) for number in range(2000)]
        self.post_all(server, slots)
        server.command(4)
        ends = stream.ended_transfers(len(slots))
        self.assertEqual({sync["STATUS"] for sync in ends.values()}, {5})
        self.assertEqual(ends.keys(), set(slots))


if __name__ == "__main__":
    unittest.main()
