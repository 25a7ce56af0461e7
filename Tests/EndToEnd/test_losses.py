# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Servers that disappear during an operation, in each of the four ways."""

import unittest

from fixtures.banks import SLOTS
from fixtures.case import EndToEndCase, loopback
from fixtures.library import clips, lay_out
from fixtures.program import press
from fixtures.waiting import wait_for

ENDS = {"shutdown": 'Server "{}" was shut down.', "end-stream": "",
        "reset-stream": "Network error: "}


class Losses(EndToEndCase):
    """Left stays in its folder; guests join it there in bank B, never answer a command, and
    disappear."""

    def setUp(self):
        super().setUp()
        self.guests = 0
        self.operations = (self.remove, self.move, self.upload)
        self.large = self.folder / "Large.bin"
        with self.large.open("wb") as file:
            file.truncate(1 << 30)

    def guest(self):
        self.guests += 1
        name = f"Guest {self.guests}"
        lay_out(self.folder / name, clips(0, (1, 2, 3)))
        return self.serve(loopback(10 + self.guests), name,
                          "--stall", "--bandwidth", "4000000")

    # -- operations that do not end

    def confirm(self):
        warning = self.program.wait_for_dialog("Visual remove")
        self.program.press_button(warning, "Yes")

    def remove(self, guest):
        self.bank.select(2, 3)
        self.bank.remove()
        self.confirm()
        wait_for(lambda: guest.commands(2), "the order to remove")

    def move(self, guest):
        self.bank.drag(2, 6)
        self.confirm()
        wait_for(lambda: guest.commands(3), "the order to move")

    def upload(self, guest):
        self.bank.select(8)
        self.bank.upload()
        self.program.fill_in_file(self.large)
        press("Return")
        wait_for(guest.incoming, "the first bytes")

    # -- losses

    def begin(self, operation, guest):
        self.bank.choose(guest.name)
        self.bank.wait_for_rows(SLOTS)
        before = guest.files()
        operation(guest)
        return before

    def check_gone(self, guest, headline, before):
        lines = self.program.close_error(f'Server "{guest.name}" {headline}')
        self.assertNotIn(guest.name, self.bank.servers())
        wait_for(lambda: not guest.incoming(), "the server to drop what it has")
        self.assertEqual([name for name in guest.files() if name not in before], [])
        return " ".join(lines)

    def lose(self, way, operation, guest):
        before = self.begin(operation, guest)
        guest.send("silence")
        guest.send(way)
        detail = self.check_gone(guest, "disconnected while an operation was in progress.", before)
        self.assertTrue(detail.startswith(ENDS[way].format(guest.name)), detail)

    def fall_silent(self, operation, guest):
        before = self.begin(operation, guest)
        guest.send("silence")
        self.check_gone(guest, "became unresponsive while an operation was in progress.", before)

    def test_each_loss_during_each_operation(self):
        self.left = self.serve(loopback(2), "Left", "--generate", "3", "--folders", "1",
                               "--visuals", "3")
        guest = self.guest()
        self.program = self.start_program()
        _, self.bank = self.show(self.program, self.left, guest)
        self.bank.open(0)
        self.bank.wait_for_rows(SLOTS)
        for operation in self.operations:
            for way in ENDS:
                self.lose(way, operation, self.guest())
            self.fall_silent(operation, self.guest())
        self.end_program(self.program)


if __name__ == "__main__":
    unittest.main(verbosity=2)
