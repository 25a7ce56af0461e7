# SPDX-FileCopyrightText: The Brenvoka authors
# SPDX-License-Identifier: MIT

"""Operations by hand: visuals are removed, moved by a drag, and uploaded."""

import time
import unittest

from fixtures.banks import SLOTS
from fixtures.case import SANITIZED, EndToEndCase, loopback
from fixtures.library import CYAN, GREEN, MAGENTA, clips, lay_out, picture
from fixtures.program import click, press
from fixtures.waiting import wait_for


class Operations(EndToEndCase):
    """One server to work on in bank A, and another beside it."""

    def set_up(self, visuals, *options, address=loopback(2)):
        lay_out(self.folder / "Left", visuals)
        self.left = self.serve(address, "Left", *options)
        self.right = self.serve(loopback(3), "Right", "--generate", "3", "--folders", "2",
                                "--visuals", "3")
        self.program = self.start_program()
        self.bank, self.other = self.show(self.program, self.left, self.right)

    def open_folder(self, folder):
        self.bank.open(folder)
        self.bank.wait_for_rows(SLOTS)
        self.other.wait_for_rows(SLOTS)

    def answer(self, title, text, button):
        warning = self.program.wait_for_dialog(title)
        self.assertIn(text, " ".join(self.program.dialog_texts(warning)))
        self.program.press_button(warning, button)

    def wait_for_the_notice(self):
        """Until the change that the server reports is drawn, which clears selections and cancels
        drags. A stream's messages arrive in order: before later rates, the notice has arrived."""
        wait_for(lambda: self.left.ask("reported?") == "reported", "the notice of the change")
        rates = self.bank.rates()
        wait_for(lambda: self.bank.rates() != rates, "later rates")
        wait_for(self.libraries_have_come, "the libraries")
        wait_for(lambda: self.bank.list.enabled, "the bank")

    def libraries_have_come(self):
        log = self.program.log_text()
        return log.count("Downloading server info") == log.count("Downloaded server info")

    def end(self):
        self.program.wait_until_no_dialog()
        self.end_program(self.program)


class Removal(Operations):
    SURE = "Are you sure you want to remove the selected visuals?"

    def test_remove_300_visuals_with_each_result_once(self):
        reasons = {10: (1, "Visual is in use"), 75: (2, "Unknown failure"), 150: (3, "%1 is full"),
                   151: (4, "Media library folder is in use"),
                   299: (5, "Reserved or read-only folder"), 300: (6, "")}
        options = [text for number, (code, _) in reasons.items()
                   for text in ("--refuse", f"{code}@2#{number}")]
        asked = [(folder, slot) for folder in (0, 1) for slot in range(20, 170)]
        self.set_up({**clips(0, range(20, 170)), **clips(1, range(20, 170)), **clips(2, (5,))},
                   *options, "--refuse-text", "%1 is full")
        self.bank.select(0, 1)
        self.bank.remove()
        self.answer("Visual remove", self.SURE, "Yes")
        lines = self.program.close_error("Failed to remove 6 visuals from a total of 300.")
        self.assertEqual(lines, [
            f'Remove visual {slot:03d} in folder {folder:03d} on server "Left" failed: {reason}.'
            for number, (_, reason) in reasons.items()
            for folder, slot in [asked[number - 1]]])
        self.assertEqual([body.rsplit("&", 1)[0] for body in self.left.commands(2)],
                         [f"req_type=2&folderIdx={folder}&visualIdx={slot}"
                          for folder, slot in asked])
        kept = {asked[number - 1] for number in reasons}
        self.assertEqual(set(self.left.slots()), kept | {(2, 5)})
        self.wait_for_the_notice()
        self.open_folder(0)
        self.assertEqual([row for row in self.bank.rows() if "Clip" in row],
                         [name for (folder, _), (name, _) in sorted(self.left.slots().items())
                          if folder == 0])
        self.end()

    def test_cancel_keeps_visuals_that_were_not_sent(self):
        self.set_up(clips(0, range(1, 9)), "--stall")
        self.open_folder(0)
        self.bank.select(3, 5, 8)
        self.bank.remove()
        self.answer("Visual remove", self.SURE, "Yes")
        removing = self.program.wait_for_dialog("Removing...")
        self.keep_picture("removing")
        self.program.press_button(removing, "Cancel")
        self.program.wait_until_no_dialog()
        # The removal in flight completes; the others are not sent.
        wait_for(lambda: len(self.left.commands(2)) == 1, "the order to remove")
        self.left.send("end-stall")
        wait_for(lambda: len(self.left.slots()) == 7, "the first visual to go")
        self.wait_for_the_notice()
        self.end()
        self.assertEqual(len(self.left.commands(2)), 1)
        self.assertEqual(len(self.left.slots()), 7)

    def test_warning_appears_with_nothing_to_remove(self):
        self.set_up(clips(0, (1,)))
        self.bank.remove()
        self.answer("Visual remove", self.SURE, "Yes")
        self.end()
        self.assertEqual(self.left.commands(2), [])


class Move(Operations):
    SURE = "Are you sure you want to move the selected visual?"

    def test_drag_moves_onto_any_slot_but_back(self):
        self.set_up({(1, 3): ("One.ppm", picture(MAGENTA)), (1, 10): ("Two.ppm", picture(CYAN))})
        self.open_folder(1)
        for source, target in ((3, 8), (8, 10)):
            self.bank.drag(source + 1, target + 1)
            self.answer("Visual remove", self.SURE, "Yes")
            wait_for(lambda: f"{target:03d}: One" in self.bank.rows(), "the visual in its new row")
            self.wait_for_the_notice()
            self.keep_picture(f"moved-to-{target}")
        self.assertEqual([name for name, _ in self.left.slots().values()], ["010: One"])
        self.bank.drag(11, 0)
        self.answer("Visual remove", self.SURE, "Yes")
        lines = self.program.close_error("Visual could not be moved")
        self.assertEqual(lines, ['Move from 010 to 000 in folder 001 on server "Left" failed: '
                                 "Reserved or read-only folder."])
        self.assertEqual([body.rsplit("&", 1)[0] for body in self.left.commands(3)],
                         [f"req_type=3&folderIdx=1&visualIdx={source}&visualToIdx={target}"
                          for source, target in ((3, 8), (8, 10), (10, 0))])
        self.end()

    def test_drag_needs_one_row_of_the_same_list_and_a_yes(self):
        self.set_up(clips(0, (1, 2, 3)))
        self.open_folder(0)
        self.bank.drag(2, 6)
        self.answer("Visual remove", self.SURE, "No")
        self.program.wait_until_no_dialog()
        self.bank.drag(2, 6, self.other)
        self.bank.select(2, 3)
        self.bank.drag(3, 6)
        self.end()
        self.assertEqual(self.left.commands(3), [])
        self.assertEqual(self.right.commands(3), [])


class Upload(Operations):
    def choose(self, path):
        self.program.fill_in_file(path)
        self.keep_picture("file-dialog")
        press("Return")

    def test_upload_replaces_a_picture_and_its_thumbnail(self):
        self.set_up({(0, 4): ("Old.ppm", picture(CYAN))}, "--import-delay", "600000")
        (self.folder / "New one.ppm").write_bytes(picture(GREEN))
        self.open_folder(0)
        self.bank.select(5)
        self.bank.upload()
        self.answer("Visual upload", "Are you sure you want to overwrite the selected visual?",
                    "No")
        self.program.wait_until_no_dialog()
        self.bank.upload()
        self.answer("Visual upload", "Are you sure you want to overwrite the selected visual?",
                    "Yes")
        self.choose(self.folder / "New one.ppm")
        importing = self.program.wait_for_dialog("Importing...")
        self.assertIn("Importing visual", self.program.dialog_texts(importing))
        self.assertFalse(importing.find("push button", "Cancel").enabled)
        self.keep_picture("importing")
        self.left.send("end-imports")
        self.program.wait_until_no_dialog()
        wait_for(lambda: "004: New one" in self.bank.rows(), "the row of the new visual")
        wait_for(lambda: self.display.count_pixels(GREEN) > 500, "the new picture")
        self.keep_picture("uploaded")
        self.assertEqual(self.display.count_pixels(CYAN), 0)
        self.assertEqual((self.left.library / "000/004/New one.ppm").read_bytes(), picture(GREEN))
        self.end()

    def test_upload_of_3_gigabytes_is_cancelled_at_half(self):
        self.set_up({}, "--bandwidth", "300000000", "--generate", "3", "--folders", "2",
                   "--visuals", "3")
        before = self.left.files()
        with (self.folder / "Large.mov").open("wb") as file:
            file.truncate(3 << 30)
        self.open_folder(1)
        self.bank.select(7)
        self.bank.upload()
        self.choose(self.folder / "Large.mov")
        uploading = self.program.wait_for_dialog("Uploading...")
        bar = uploading.find("progress bar")
        wait_for(lambda: bar.percent >= 1, "the first bytes")
        memory, begin = self.program.memory_peak_megabytes(), time.monotonic()
        wait_for(lambda: bar.percent >= 45, "half of the file", 300)
        self.keep_picture("half")
        self.program.press_button(uploading, "Cancel")
        self.program.wait_until_no_dialog()
        wait_for(lambda: not self.left.incoming(), "the server to drop what it has")
        growth = self.program.memory_peak_megabytes() - memory
        print(f"3 GB upload: cancelled after {time.monotonic() - begin:.1f} s, "
              f"peak memory grew by {growth:.1f} MB")
        if not SANITIZED:
            self.assertLess(growth, 40)
        self.assertEqual(self.left.files(), before)
        self.end()

    def test_upload_of_a_file_with_an_unusual_name(self):
        documents = self.folder / "home" / "Documents"
        documents.mkdir(parents=True)
        name = 'Bühne "舞台"\n' + "x" * 200 + ".bin"
        (documents / name).write_text("content")
        self.set_up(clips(0, (1,)))
        self.open_folder(0)
        self.bank.select(6)
        self.bank.upload()
        dialog = self.program.wait_for_dialog("Select file for upload")
        cell = wait_for(lambda: dialog.find("table cell", name), "the file in the list")
        self.keep_picture("list")
        click(cell.center(), 2)
        wait_for(lambda: (0, 5) in self.left.slots(), "the file on the server")
        self.assertEqual([path.read_text() for path in (self.left.library / "000/005").iterdir()],
                         ["content"])
        sent = [line for line in self.left.requests() if "upload.html" in line]
        self.assertIn('visualFile=Bühne %22舞台%22%0A' + "x" * 200 + ".bin&", sent[0])
        self.wait_for_the_notice()
        self.end()

    def test_refused_upload_is_reported(self):
        self.set_up(clips(0, (1,)), "--refuse", "3@upload", "--refuse-text", "Disk is full")
        (self.folder / "Clip.bin").write_bytes(b"x")
        self.open_folder(0)
        self.bank.select(3)
        self.bank.upload()
        self.choose(self.folder / "Clip.bin")
        lines = self.program.close_error("Visual could not be uploaded")
        self.assertEqual(lines, ['Upload for visual 002 in folder 000 to server "Left" failed: '
                                 "Disk is full."])
        self.end()


if __name__ == "__main__":
    unittest.main(verbosity=2)
