# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The notification stream: its messages, their order, and how it ends."""

import itertools
import json
import socket
import time
import unittest

from media_server import (TIMEOUT, PORT, MediaServerTest, eventually, library_on_disk, loopback,
                          reset, shape, uploaded_library, wire)


def wire_frames():
    """The messages in the wire file, by message type and state of the transfer."""
    frames = [json.loads(frame) for frame in wire("stream.bin").split(b"\0") if frame]
    return {(frame["msg_type"], frame.get("sync", {}).get("STATUS")): frame for frame in frames}


class StreamTest(MediaServerTest):
    def test_first_message_lists_the_running_transfers(self):
        server = self.server(loopback(1))
        self.assertEqual(self.stream(server).messages[0], wire_frames()[0, None])

    def test_later_stream_lists_the_running_transfers(self):
        source = self.server(loopback(2), "--bandwidth", 2000,
                             directory=library_on_disk({(0, 1): bytes(1000000)}))
        destination = self.server(loopback(3), "--workers", 1)
        early = self.stream(destination)
        destination.sync(source.url, 0, 1)
        destination.sync(source.url, 0, 2)
        early.wait_for(lambda all: any(m["msg_type"] == 2 for m in all), "the transfer has begun")
        started = [message["sync"] for message in early.wait_for_type(1, 2)]
        late = self.stream(destination).messages[0]["active_transfers"]
        self.assertEqual([transfer["ID"] for transfer in late], [sync["ID"] for sync in started])
        self.assertEqual([transfer["STATUS"] for transfer in late], [1, 0])
        self.assertEqual(shape(late[0]), shape(wire_frames()[1, 0]["sync"]))

    def test_transfer_messages_match_the_wire_file(self):
        source = self.server(loopback(4), "--bandwidth", 50000,
                             directory=library_on_disk({(3, 17): bytes(100000)}))
        destination = self.server(loopback(5), "--import-delay", 50)
        stream = self.stream(destination)
        destination.sync(source.url, 3, 17)
        end = stream.ended_transfers(1)[3, 17]
        expected = wire_frames()
        messages = [m for m in stream.messages if m.get("sync", {}).get("ID") == end["ID"]]
        order = [(m["msg_type"], m["sync"]["STATUS"]) for m in messages]
        progress = [m["sync"] for m in messages if m["sync"]["STATUS"] == 1]
        self.assertEqual([order[0], *order[-2:]], [(1, 0), (2, 2), (3, 6)])
        self.assertTrue(all(kind == (2, 1) for kind in order[1:-2]), order)
        for message in messages:
            kind = message["msg_type"], message["sync"]["STATUS"]
            self.assertEqual(shape(message), shape(expected[kind]), kind)
        percents = [sync["CPERCENT"] for sync in progress]
        self.assertEqual(percents, sorted(percents))
        self.assertTrue(any(0 < percent < 100 for percent in percents), percents)
        self.assertTrue(all(isinstance(sync["SPEEDBPS"], int) for sync in progress))
        self.assertGreater(max(sync["SPEEDBPS"] for sync in progress), 0)
        self.assertEqual((end["SERVER"], end["ERROR"]), (source.url, ""))

    def test_frame_rates_are_reported_regularly(self):
        server = self.server(loopback(6), "--frame-rate-interval", 50)
        reports = self.stream(server).wait_for_type(5, 3)
        self.assertEqual(shape(reports[0]), shape(wire_frames()[5, None]))

    def test_changes_within_200_ms_are_reported_together(self):
        server = self.server(loopback(7))
        stream = self.stream(server)
        begin = time.monotonic()
        uploaded_library(server, [(0, slot) for slot in range(1, 21)])
        eventually(lambda: server.ask("reported?") == "reported", "all changes are reported")
        # One message in 200 ms; timers may fire a little early.
        most = 1 + (time.monotonic() - begin) / 0.19
        self.assertEqual(stream.wait_for_type(6)[0], wire_frames()[6, None])
        server.console("shutdown")
        stream.wait_for_end()
        self.assertLessEqual(len(stream.of_type(6)), most)

    def test_unreported_change_is_pending(self):
        server = self.server(loopback(14))
        self.assertEqual(server.ask("reported?"), "reported")
        numbers = itertools.count()
        eventually(lambda: server.rename(0, f"Act{next(numbers)}") and
                   server.ask("reported?") == "pending",
                   "a change is pending")
        eventually(lambda: server.ask("reported?") == "reported", "the change is reported")

    def test_each_kind_of_change_is_reported(self):
        server = self.server(loopback(8))
        stream = self.stream(server)
        changes = (lambda: server.upload(0, 1, "a.bin", b"a"), lambda: server.move(0, 1, 2),
                   lambda: server.rename(0, "Name"), lambda: server.remove(0, 2))
        for number, change in enumerate(changes, 1):
            self.assertEqual(change()["RESULT"], 0)
            stream.wait_for_type(6, number)

    def test_transfer_is_reported_before_its_command_is_answered(self):
        server = self.server(loopback(9), "--answer-only")
        with socket.create_connection((server.address, PORT), TIMEOUT) as connection:
            connection.sendall(wire("notifier.http"))
            received = b""
            while b'"msg_type":0' not in received:
                received += connection.recv(4096)
            received, late = b"", 0
            for slot in range(1, 256):
                server.sync("http://127.0.0.2:4567", 3, slot)
                try:
                    received += connection.recv(65536, socket.MSG_DONTWAIT)
                except BlockingIOError:
                    pass
                late += received.count(b'"msg_type":1,') < slot
            # A busy system may deliver the bytes of one connection later than those of another.
            self.assertLess(late, 20)
            while received.count(b'"msg_type":1,') < 255:
                received += connection.recv(65536)

    def test_shutdown_is_reported_and_ends_the_stream_cleanly(self):
        server = self.server(loopback(10))
        stream = self.stream(server)
        server.console("shutdown")
        self.assertEqual(stream.wait_for_end(), "clean")
        self.assertEqual(stream.messages[-1], wire_frames()[4, None])
        self.assertEqual(server.process.wait(TIMEOUT), 0)

    def test_console_commands_end_streams_as_named(self):
        for command, end in (("end-stream", "clean"), ("cut-stream", "cut"),
                             ("reset-stream", "reset"), ("quit", "cut")):
            with self.subTest(command):
                server = self.server(loopback(11))
                streams = [self.stream(server), self.stream(server)]
                server.console(command)
                self.assertEqual([stream.wait_for_end() for stream in streams], [end, end])
                self.assertEqual(streams[0].of_type(4), [])
                server.console("quit")
                self.assertEqual(server.process.wait(TIMEOUT), 0)

    def test_dropped_stream_is_cut_and_can_be_reopened(self):
        server = self.server(loopback(12), "--drop-stream-after", 200)
        self.assertEqual(self.stream(server).wait_for_end(), "cut")
        self.stream(server)

    def test_lost_clients_do_not_affect_the_others(self):
        server = self.server(loopback(13), "--frame-rate-interval", 20)
        staying = self.stream(server)
        for _ in range(20):
            connection = socket.create_connection((server.address, PORT), TIMEOUT)
            connection.sendall(wire("notifier.http"))
            connection.recv(100)
            reset(connection)
        before = len(staying.of_type(5))
        staying.wait_for_type(5, before + 5)
        tasks = f"/proc/{server.process.pid}/status"

        def threads():
            with open(tasks, encoding="ascii") as status:
                return int(status.read().split("Threads:")[1].split()[0])

        eventually(lambda: threads() < 12, "the threads of lost streams end")


if __name__ == "__main__":
    unittest.main()
