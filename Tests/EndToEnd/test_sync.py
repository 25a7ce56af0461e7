# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""One server is made equal to another: whole, with a failure, cancelled, refused, killed."""

import unittest

from fixtures import library
from fixtures.banks import Bank
from fixtures.case import BUILD, EndToEndCase, loopback
from fixtures.rehearsal import Rehearsal
from fixtures.waiting import wait_for


class Sync(EndToEndCase):
    def rehearse(self, left=(), right=()):
        # A program on a busy machine may pause in the middle of a burst.
        rehearsal = Rehearsal(BUILD / "media-server", self.folder / "servers",
                              (loopback(2), *left),
                              (loopback(3), "--burst-grace", "5000", *right))
        self.addCleanup(rehearsal.close)
        return rehearsal

    def start_sync(self, program, answer="Yes"):
        """Left to right with nothing selected; the libraries differ in more than ten slots."""
        program.button("from bank a to bank b").click()
        warning = program.wait_for_dialog("Visual synchronize")
        texts = " ".join(program.dialog_texts(warning))
        self.assertIn("from server Stage left to server Stage right.", texts)
        program.press_button(warning, answer)

    def wait_for_the_end(self, program, rehearsal):
        program.wait_until_no_dialog(120)
        rehearsal.right.wait_until_quiet()

    def test_sync_makes_the_libraries_equal(self):
        rehearsal = self.rehearse()
        before = rehearsal.left.files()
        program = self.start_program()
        self.show(program, rehearsal.left, rehearsal.right)
        self.assertTrue(program.out_of_sync())
        self.start_sync(program)
        self.wait_for_the_end(program, rehearsal)
        wait_for(lambda: not program.out_of_sync(), "the out-of-sync sign to go", 60)
        self.assertEqual(rehearsal.left.files(), before, "the source was changed")
        self.assertEqual(rehearsal.right.files(), before)
        self.assertEqual(rehearsal.right.document(), rehearsal.left.document())
        order = [body.split("&")[0] for line in rehearsal.right.requests() if "execute.html" in line
                 for body in [line.split(" ")[-1]]]
        sync = order[order.index("req_type=1"):]
        self.assertEqual(set(sync), {"req_type=1"}, "the phases overlap")
        self.end_program(program)

    def test_answer_no_sends_nothing(self):
        rehearsal = self.rehearse()
        program = self.start_program()
        self.show(program, rehearsal.left, rehearsal.right)
        before = rehearsal.right.requests()
        self.start_sync(program, "No")
        program.wait_until_no_dialog()
        self.end_program(program)
        self.assertEqual([line for line in rehearsal.right.requests()[len(before):]
                          if "POST" in line], [])

    def test_failed_import_is_reported_and_the_others_continue(self):
        rehearsal = self.rehearse(right=("--fail-import", "5/250"))
        # Not the same file as on the right.
        picture = self.folder / "Left.ppm"
        picture.write_bytes(library.picture(library.CYAN))
        rehearsal.left.upload(5, 250, picture)
        program = self.start_program()
        self.show(program, rehearsal.left, rehearsal.right)
        self.start_sync(program)
        program.close_error("Folder synchronization completed with errors")
        self.wait_for_the_end(program, rehearsal)
        left, right = rehearsal.left.slots(), rehearsal.right.slots()
        self.assertEqual({slot for slot in left.keys() | right.keys()
                          if left.get(slot) != right.get(slot)}, {(5, 250)})
        self.assertTrue(program.out_of_sync())
        self.end_program(program)

    def test_cancelled_sync_stops_and_loses_nothing(self):
        rehearsal = self.rehearse(left=("--bandwidth", "20000"), right=("--workers", "1"))
        program = self.start_program()
        self.show(program, rehearsal.left, rehearsal.right)
        before = rehearsal.right.slots()
        self.start_sync(program)
        transfers = program.wait_for_dialog("Ongoing Transfers")
        self.keep_picture("transfers")
        program.press_button(transfers, "Cancel")
        self.wait_for_the_end(program, rehearsal)
        self.assertEqual(len(rehearsal.right.commands(4)), 1)
        left, right = rehearsal.left.slots(), rehearsal.right.slots()
        self.assertTrue(set(left) - set(right), "everything was copied in spite of the cancel")
        self.assertLessEqual(set(right), set(left), "the removals come before the transfers")
        for slot, visual in left.items():
            self.assertIn(right.get(slot), (before.get(slot), visual), slot)
        self.assertEqual(rehearsal.right.incoming(), [])
        hashes = {content for _, content in right.values()}
        self.assertLessEqual(hashes, set(rehearsal.right.files().values()))
        self.end_program(program)

    def test_servers_without_a_common_subnet_are_refused(self):
        rehearsal = self.rehearse()
        program = self.start_program()
        self.show(program, rehearsal.left, rehearsal.foyer)
        program.button("from bank a to bank b").click()
        program.close_error("The servers don't share a subnet")
        self.assertEqual(rehearsal.foyer.commands(1), [])
        self.end_program(program)

    def test_program_killed_during_a_sync_starts_again(self):
        rehearsal = self.rehearse(left=("--bandwidth", "20000"), right=("--workers", "1"))
        program = self.start_program()
        self.show(program, rehearsal.left, rehearsal.right)
        self.start_sync(program)
        program.wait_for_dialog("Ongoing Transfers")
        program.kill()
        again = self.start_program()
        wait_for(lambda: "Stage right" in Bank(again, 0).servers(), "the servers", 60)
        self.end_program(again)

    def test_destination_is_lost_during_a_sync(self):
        rehearsal = self.rehearse(left=("--bandwidth", "20000"), right=("--workers", "1"))
        program = self.start_program()
        self.show(program, rehearsal.left, rehearsal.right)
        self.start_sync(program)
        program.wait_for_dialog("Ongoing Transfers")
        rehearsal.right.send("silence")
        rehearsal.right.send("reset-stream")
        program.close_error(
            'Server "Stage right" disconnected while an operation was in progress.')
        self.end_program(program)


if __name__ == "__main__":
    unittest.main(verbosity=2)
