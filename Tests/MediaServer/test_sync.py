# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Synchronisations between two servers that copy real files."""

import unittest

from media_server import (DONE, TIMEOUT, MediaServerTest, eventually, library_on_disk, loopback,
                          uploaded_library)


def states(ends):
    return {slot: sync["STATUS"] for slot, sync in ends.items()}


class SyncTest(MediaServerTest):
    def pair(self, number, source_options=(), destination_options=(), files=None):
        source = self.server(loopback(number), *source_options,
                             directory=library_on_disk(files or {}))
        destination = self.server(loopback(number + 1), *destination_options)
        return source, destination

    def test_sync_makes_one_server_equal_to_another(self):
        generate = ("--visuals", 8, "--picture-size", "160x90", "--clip-bytes", 100000)
        source, destination = self.pair(
            1, ("--generate", 1, "--folders", 4, *generate),
            ("--generate", 2, "--folders", 3, *generate, "--burst-grace", 200))
        source.rename(1, "Opening%20night")
        stream = self.stream(destination)
        for folder in source.library()["folders"]:
            destination.rename(folder["slot"], folder["name"].replace(" ", "%20"))
        wanted, present = source.visuals(), destination.visuals()
        for slot in present.keys() - wanted.keys():
            self.assertEqual(destination.remove(*slot), DONE)
        different = [slot for slot in wanted if wanted[slot] != present.get(slot)]
        self.assertGreater(len(different), 20)
        for slot in different:
            self.assertEqual(destination.sync(source.url, *slot), DONE)
        ends = stream.ended_transfers(len(different))
        self.assertEqual(states(ends), {slot: 6 for slot in different})
        self.assertEqual(destination.files(), source.files())
        self.assertEqual(destination.library(), source.library())
        self.assertEqual(destination.incoming(), [])
        self.assertEqual(destination.ask("quiet?"), "quiet")
        stream.wait_for_type(6)
        self.assertEqual(sorted(line for line in source.log_lines() if "/media/" in line),
                         sorted(f"GET /media/{f}/{v}" for f, v in different))

    def test_sync_creates_a_missing_folder(self):
        source, destination = self.pair(3)
        uploaded_library(source, [(5, 9)])
        stream = self.stream(destination)
        destination.sync(source.url, 5, 9)
        stream.ended_transfers(1)
        self.assertEqual(destination.library(), source.library())

    def test_cancel_ends_queued_and_copying_transfers(self):
        slots = [(0, slot) for slot in range(1, 5)]
        source, destination = self.pair(5, ("--bandwidth", 20000), ("--workers", 2),
                                        {slot: bytes(1000000) for slot in slots})
        uploaded_library(destination, slots)
        before = destination.files()
        stream = self.stream(destination)
        for slot in slots:
            destination.sync(source.url, *slot)
        stream.wait_for(lambda all: len({m["sync"]["ID"] for m in all if m["msg_type"] == 2}) == 2,
                        "two transfers run")
        self.assertEqual(destination.command(4), DONE)
        ends = stream.ended_transfers(4)
        self.assertEqual(states(ends), {slot: 5 for slot in slots})
        self.assertEqual(destination.files(), before)
        self.assertEqual(destination.incoming(), [])
        self.assertEqual(destination.command(4), DONE)

    def test_cancel_ends_a_transfer_from_a_silent_source(self):
        source, destination = self.pair(7, ("--bandwidth", 1), (), {(0, 1): bytes(1000)})
        stream = self.stream(destination)
        destination.sync(source.url, 0, 1)
        eventually(source.log_lines, "the source gets the request")
        destination.command(4)
        self.assertEqual(states(stream.ended_transfers(1)), {(0, 1): 5})

    def test_import_is_completed_after_a_cancel(self):
        source, destination = self.pair(9, (), ("--workers", 1, "--import-delay", 600000))
        uploaded_library(source, [(0, 1), (0, 2)])
        stream = self.stream(destination)
        destination.sync(source.url, 0, 1)
        destination.sync(source.url, 0, 2)
        stream.wait_for(lambda all: any(m.get("sync", {}).get("STATUS") == 2 for m in all),
                        "an import runs")
        destination.command(4)
        destination.console("end-imports")
        self.assertEqual(states(stream.ended_transfers(2)), {(0, 1): 6, (0, 2): 5})
        self.assertEqual(destination.files().keys(), {(0, 1)})

    def test_table_is_never_empty_during_a_burst(self):
        source, destination = self.pair(11, (), ("--burst-grace", 600000))
        uploaded_library(source, [(0, 1), (0, 2)])
        stream = self.stream(destination)
        destination.sync(source.url, 0, 1)
        eventually(lambda: destination.files(), "the first file is there")
        destination.sync(source.url, 0, 2)
        self.assertEqual(stream.ended_transfers(1).keys(), {(0, 1)})
        kinds = [m["msg_type"] for m in stream.messages if m["msg_type"] in (1, 3)]
        self.assertEqual(kinds, [1, 1, 3])

    def test_repeated_sync_command_is_ignored(self):
        source, destination = self.pair(13, (), ("--import-delay", 600000), {(0, 1): bytes(10000)})
        stream = self.stream(destination)
        for _ in range(3):
            self.assertEqual(destination.sync(source.url, 0, 1), DONE)
        destination.console("end-imports")
        stream.ended_transfers(1)
        self.assertEqual(len(stream.of_type(1)), 1)
        self.assertEqual(destination.sync(source.url, 0, 1), DONE)
        self.assertEqual(len(stream.wait_for_type(1, 2)), 2)


class SyncFailureTest(MediaServerTest):
    def test_failed_import_is_reported_and_the_others_finish(self):
        source = self.server(loopback(41))
        destination = self.server(loopback(42), "--fail-import", "0/2", "--fail-import", "0/4")
        slots = [(0, slot) for slot in range(1, 6)]
        uploaded_library(source, slots, b"new")
        uploaded_library(destination, [(0, 2)])
        before = destination.files()[0, 2]
        stream = self.stream(destination)
        for slot in slots:
            destination.sync(source.url, *slot)
        ends = stream.ended_transfers(5)
        self.assertEqual(states(ends), {(0, 1): 6, (0, 2): 2, (0, 3): 6, (0, 4): 2, (0, 5): 6})
        self.assertEqual(ends[0, 2]["ERROR"], "Import failure")
        self.assertEqual(destination.files()[0, 2], before)
        self.assertNotIn((0, 4), destination.files())
        self.assertEqual(destination.incoming(), [])

    def test_transfer_from_an_unusable_source_fails(self):
        source = self.server(loopback(43))
        destination = self.server(loopback(44))
        stream = self.stream(destination)
        rows = (((0, 1), source.url, 1, "404"), ((0, 2), f"http://{loopback(99)}:4567", 1, "."),
                ((0, 3), f"ftp://{loopback(43)}:4567", 0, "no address"),
                ((0, 4), "rubbish", 0, "rub"),
                ((0, 5), f"http://{loopback(43)}", 0, "no address"))
        for slot, url, _, _ in rows:
            self.assertEqual(destination.sync(url, *slot), DONE)
        ends = stream.ended_transfers(len(rows))
        for slot, url, state, pattern in rows:
            self.assertEqual((ends[slot]["STATUS"], ends[slot]["SERVER"]), (state, url))
            self.assertRegex(ends[slot]["ERROR"], pattern)
        self.assertEqual((destination.visuals(), destination.incoming()), ({}, []))

    def test_transfer_fails_when_the_source_dies(self):
        dying = self.server(loopback(45), "--die-after", 50000, "--bandwidth", 200000,
                            directory=library_on_disk({(0, 1): bytes(100000)}))
        dying.exit_codes = {1}
        destination = self.server(loopback(46))
        uploaded_library(destination, [(0, 1)])
        before = destination.files()
        stream = self.stream(destination)
        destination.sync(dying.url, 0, 1)
        self.assertEqual(states(stream.ended_transfers(1)), {(0, 1): 1})
        self.assertEqual(dying.process.wait(TIMEOUT), 1)
        self.assertEqual((destination.files(), destination.incoming()), (before, []))


if __name__ == "__main__":
    unittest.main()
