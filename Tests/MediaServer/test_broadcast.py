# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""By default announcements are sent to the broadcast address of the loopback network, where every
socket that is bound to port 3001 of any address receives them."""

import unittest

from media_server import Announcements, MediaServerTest, eventually, loopback


class BroadcastTest(MediaServerTest):
    def test_listener_on_any_address_receives_every_server(self):
        receiver = Announcements(self, "")
        for address in (loopback(1), loopback(2)):
            self.server(address, "--announce-to", "127.255.255.255", "--announce-interval", 50)
        for address in (loopback(1), loopback(2)):
            eventually(lambda: receiver.next()[1] == address, address + " announces itself")


if __name__ == "__main__":
    unittest.main()
