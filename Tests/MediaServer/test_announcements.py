# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""The announcements on UDP port 3001."""

import unittest

from media_server import Announcements, MediaServerTest, eventually, loopback, wire

UUID = "{1b4e28ba-2fa1-11d2-883f-0016d3cca427}"


class AnnouncementTest(MediaServerTest):
    def announced(self, address, *options, **settings):
        receiver = Announcements(self, loopback(200))
        server = self.server(address, "--announce-to", loopback(200), "--announce-interval", 50,
                             "--uuid", UUID, *options, **settings)
        return receiver, server

    def test_datagram_matches_the_wire_file(self):
        receiver, _ = self.announced(loopback(1), "--mask", "255.255.255.0")
        data, sender = receiver.next()
        self.assertEqual(data, wire("announcement.bin"))
        self.assertEqual(sender, loopback(1))

    def test_default_mask_and_utf8_name_are_announced(self):
        receiver, _ = self.announced(loopback(2), name="Bühne – 舞台")
        self.assertEqual(receiver.next()[0], wire("announcement-utf8-name.bin"))

    def test_mask_network_order_option_swaps_the_bytes(self):
        receiver, _ = self.announced(loopback(3), "--mask", "255.255.255.0",
                                     "--mask-network-order")
        self.assertEqual(receiver.next()[0], wire("announcement-mask-in-network-order.bin"))

    def test_long_name_is_cut_between_characters_and_ends_with_nul(self):
        receiver, _ = self.announced(loopback(4), name="舞" * 40)
        data, _ = receiver.next()
        self.assertEqual(data[32:116], ("舞" * 27).encode() + bytes(3))
        self.assertEqual(len(data), 128)

    def test_silence_announce_and_rename_commands(self):
        receiver, server = self.announced(loopback(5), "--mask", "255.255.255.0")
        receiver.next()
        server.console("silence")
        self.assertEqual(server.ask("quiet?"), "quiet")
        eventually(lambda: receiver.silent_for(0.3), "the announcements end")
        server.console("rename Bühne – 舞台")
        server.console("announce")
        data, _ = receiver.next()
        self.assertEqual(data[32:116], wire("announcement-utf8-name.bin")[32:116])

    def test_uuid_depends_on_name_and_address(self):
        def uuid(address, name):
            server = self.server(address, name=name)
            return server.ready.split()[2]

        first = uuid(loopback(6), "One")
        self.assertNotEqual(uuid(loopback(7), "One"), first)
        self.assertNotEqual(uuid(loopback(8), "Two"), first)

        server = self.server(loopback(9), name="One")
        server.process.terminate()
        server.process.wait()
        self.assertEqual(uuid(loopback(9), "One"), server.ready.split()[2])

    def test_shutdown_stops_the_announcements(self):
        receiver, server = self.announced(loopback(10))
        receiver.next()
        server.console("shutdown")
        server.process.wait()
        eventually(lambda: receiver.silent_for(0.3), "the announcements end")


if __name__ == "__main__":
    unittest.main()
