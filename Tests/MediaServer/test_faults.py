# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Faults in the library document and the thumbnails, and the command line."""

import json
import subprocess
import time
import unittest

from media_server import PROGRAM, MediaServerTest, library_on_disk, loopback


class FaultTest(MediaServerTest):
    def test_protocol_headers_can_be_changed_and_omitted(self):
        for value, expected in (("0", "0"), ("", None), ("18446744073709551615",) * 2):
            server = self.server(loopback(1), "--version-header", value, "--features", value)
            headers = server.get("/brenvoka/library.json").headers
            self.assertEqual(headers["X-BVProtocolVersion"], expected)
            self.assertEqual(headers["X-BVFeatureList"], expected)
            server.process.terminate()
            server.process.wait()

    def test_bad_json_option_cuts_the_document(self):
        server = self.server(loopback(2), "--bad-json", "--generate", 1, "--folders", 1)
        reply = server.get("/brenvoka/library.json")
        self.assertEqual(reply.status, 200)
        self.assertTrue(reply.body.startswith(b'{"folders"'))
        with self.assertRaises(json.JSONDecodeError):
            reply.json()

    def test_thumbnail_delay_applies_to_all_or_one_thumbnail(self):
        server = self.server(loopback(6), "--thumbnail-delay", "300",
                             "--thumbnail-delay", "700@0/2", directory=self.three_visuals())
        for slot, least in ((1, 0.3), (2, 0.7)):
            begin = time.monotonic()
            self.assertEqual(self.thumbnail(server, slot).status, 200)
            self.assertGreaterEqual(time.monotonic() - begin, least)

    def test_fail_thumbnail_option_fails_one_thumbnail(self):
        server = self.server(loopback(5), "--fail-thumbnail", "0/2",
                             directory=self.three_visuals())
        self.assertEqual([self.thumbnail(server, slot).status for slot in (1, 2, 3)],
                         [200, 500, 200])

    @staticmethod
    def three_visuals():
        return library_on_disk({(0, slot): b"%d" % slot for slot in (1, 2, 3)})

    @staticmethod
    def thumbnail(server, slot):
        return server.get(f"/brenvoka/thumbnails/0/{slot}.png?ver=281474976710656")


class CommandLineTest(MediaServerTest):
    def failure(self, *options):
        done = subprocess.run([PROGRAM, *options], stdin=subprocess.DEVNULL, timeout=60,
                              capture_output=True, text=True, check=False)
        return done.returncode, done.stderr

    def test_invalid_option_value_is_reported(self):
        for option, value in (("--address", "host.name"), ("--mask", "24"), ("--uuid", "none"),
                              ("--announce-to", "::1"), ("--bandwidth", "-1"),
                              ("--workers", "0"), ("--refuse", "x"), ("--refuse", "1@6"),
                              ("--refuse", "1@2#"), ("--refuse", "1@2#0"), ("--refuse", "0@2"),
                              ("--thumbnail-delay", "-1"), ("--thumbnail-delay", "1@3"),
                              ("--fail-thumbnail", "3/256"),
                              ("--fail-import", "3"), ("--fail-import", "3/256"),
                              ("--announce-interval", "0"), ("--import-delay", "soon")):
            with self.subTest(f"{option} {value}"):
                code, text = self.failure("--library", "/nowhere", option, value)
                self.assertEqual(code, 2)
                self.assertIn(f'{option}: invalid value "{value}"', text)

    def test_missing_or_unknown_arguments_are_reported(self):
        self.assertIn("--library", self.failure()[1])
        self.assertIn("stray", self.failure("--library", "/nowhere", "stray")[1])
        self.assertIn("unheard-of", self.failure("--unheard-of")[1])

    def test_server_that_cannot_start_exits_with_1(self):
        self.assertEqual(self.failure("--library", "/proc/no-such-directory")[0], 1)
        server = self.server(loopback(3))
        code, text = self.failure("--address", server.address, "--no-announce",
                                  "--library", str(server.directory) + "-other")
        self.assertEqual(code, 1)
        self.assertIn(f"cannot listen on {loopback(3)}:4567", text)

    def test_unknown_console_command_is_reported(self):
        self.assertIn("dance", self.server(loopback(4)).ask("dance"))


if __name__ == "__main__":
    unittest.main()
