# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Servers appear, and disappear in each of the four ways."""

import unittest

from fixtures.banks import Bank
from fixtures.case import EndToEndCase, loopback
from fixtures.waiting import wait_for

SMALL = ("--generate", "3", "--folders", "2", "--visuals", "3")
# 121 ticks of 250 ms after the last announcement, and a generous margin.
SILENCE = 90.0


class Discovery(EndToEndCase):
    def setUp(self):
        super().setUp()
        self.left = self.serve(loopback(2), "Left", *SMALL)
        self.right = self.serve(loopback(3), "Right", *SMALL)

    def test_announced_servers_appear_in_the_banks(self):
        program = self.start_program()
        banks = Bank(program, 0), Bank(program, 1)
        wait_for(lambda: {bank.server() for bank in banks} == {"Left", "Right"},
                 "the first two servers in the banks", 60)
        for bank in banks:
            self.assertEqual(bank.rows()[0], self.left.folder_names()[0])
        self.end_program(program)

    def test_folder_opens_in_both_banks_and_back_closes_it(self):
        program = self.start_program()
        banks = self.show(program, self.left, self.right)
        banks[1].open(1)
        for bank in banks:
            bank.wait_for_rows(257)
            self.assertEqual(bank.rows()[:2], ["Back", "000: NO VISUAL"])
            names = {name for (folder, _), (name, _) in self.left.slots().items() if folder == 1}
            self.assertLessEqual(names, set(bank.rows()))
        banks[0].open(0)
        for bank in banks:
            bank.wait_for_rows(256)
        self.end_program(program)

    def test_new_name_appears_in_both_boxes_and_clears_the_choice(self):
        program = self.start_program()
        banks = self.show(program, self.left, self.right)
        self.left.send("rename Far left")
        wait_for(lambda: "Far left" in banks[0].servers() and "Far left" in banks[1].servers(),
                 "the new name in both boxes")
        self.assertEqual([bank.server() for bank in banks], ["", ""])
        self.end_program(program)


class LostServers(EndToEndCase):
    """Left and Right are shown; Spare is not."""

    def setUp(self):
        super().setUp()
        self.left = self.serve(loopback(2), "Left", *SMALL)
        self.right = self.serve(loopback(3), "Right", *SMALL)
        self.spare = self.serve(loopback(4), "Spare", *SMALL)
        self.program = self.start_program()
        self.banks = self.show(self.program, self.left, self.right)
        wait_for(lambda: "Spare" in self.banks[0].servers(), "the third server")

    def leave(self, server, command):
        """The server leaves, and stays away because it no longer announces itself."""
        server.send("silence")
        server.send(command)

    def check_gone(self, name):
        wait_for(lambda: all(name not in bank.servers() for bank in self.banks),
                 f"{name} to leave both boxes", SILENCE)

    def test_shown_server_announces_its_shutdown(self):
        self.leave(self.right, "shutdown")
        lines = self.program.close_error('Server "Right" disconnected.')
        self.assertEqual(lines, ['Server "Right" was shut down.'])
        self.check_gone("Right")
        self.assertEqual(self.banks[1].server(), "")
        self.assertTrue(self.program.out_of_sync())
        self.end_program(self.program)

    def test_shown_server_ends_its_stream(self):
        self.leave(self.right, "end-stream")
        self.assertEqual(self.program.close_error('Server "Right" disconnected.'), [])
        self.check_gone("Right")
        self.end_program(self.program)

    def test_shown_server_resets_the_connection(self):
        self.leave(self.left, "reset-stream")
        line, = self.program.close_error('Server "Left" disconnected.')
        self.assertRegex(line, r"^Network error: .+\.$")
        self.check_gone("Left")
        self.assertEqual(self.banks[0].server(), "")
        self.end_program(self.program)

    def test_silent_servers_are_removed_without_a_message(self):
        self.right.send("silence")
        self.spare.send("silence")
        self.check_gone("Right")
        self.check_gone("Spare")
        self.assertIsNone(self.program.window("dialog"))
        self.assertEqual(self.banks[1].server(), "")
        # A server that announces itself again is a new server.
        self.right.send("announce")
        wait_for(lambda: "Right" in self.banks[0].servers(), "the server to come back")
        self.end_program(self.program)

    def test_hidden_server_leaves_without_a_message(self):
        for index, command in enumerate(("shutdown", "end-stream", "reset-stream")):
            with self.subTest(command):
                name = f"Guest {index}"
                guest = self.serve(loopback(10 + index), name, *SMALL)
                wait_for(lambda: name in self.banks[0].servers(), "the guest")
                self.leave(guest, command)
                self.check_gone(name)
                self.assertIsNone(self.program.window("dialog"))
        self.end_program(self.program)


if __name__ == "__main__":
    unittest.main(verbosity=2)
